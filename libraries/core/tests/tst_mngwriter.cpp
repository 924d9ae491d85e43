#include "dictionaryfixture.h"
#include "gettextcatalogue.h"
#include "s3dictionary.h"
#include "s3dictionaryformat.h"
#include "tabseparatedcontents.h"

#include <ostrelletest/memoryresource.h>

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;
using namespace s3DictionaryFormat;

namespace
{

constexpr qint32 german = 0;
constexpr qint32 english = 1;

// A compiled catalogue in either byte order, as msgfmt writes it but without the hash table.
QByteArray catalogue(const QList<std::pair<QByteArray, QByteArray>> &messages, bool littleEndian)
{
    QByteArray bytes;
    const auto add = [&](quint32 number) {
        char field[4];
        if (littleEndian)
            qToLittleEndian(number, field);
        else
            qToBigEndian(number, field);
        bytes.append(field, sizeof(field));
    };
    constexpr quint32 headSize = 28;
    const auto tableSize = quint32(messages.size()) * 8;
    for (const quint32 field :
         {0x950412deU, 0U, quint32(messages.size()), headSize, headSize + tableSize, 0U, 0U})
        add(field);
    quint32 offset = headSize + 2 * tableSize;
    QByteArray texts;
    for (const auto member :
         {&std::pair<QByteArray, QByteArray>::first, &std::pair<QByteArray, QByteArray>::second}) {
        for (const auto &message : messages) {
            const QByteArray &text = message.*member;
            add(quint32(text.size()));
            add(offset + quint32(texts.size()));
            texts += text + '\0';
        }
    }
    return bytes + texts;
}

QByteArray header(const QByteArray &charset)
{
    return "Project-Id-Version: x\nContent-Type: text/plain; charset=" + charset + "\nX: y\n";
}

} // namespace

class TestMngWriter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void layout();
    void emptyContents();
    void missingTranslationsShareThePlace();
    void equalWordingsHavePlacesOfTheirOwn();
    void refusedContents_data();
    void refusedContents();
    void refusedContentsWriteNothing();
    void failingDevice();
    void fileIsReplacedAtTheEnd();
    void tabSeparated();
    void escapes_data();
    void escapes();
    void tabSeparatedErrors_data();
    void tabSeparatedErrors();
    void catalogues_data();
    void catalogues();
    void catalogueCharsets_data();
    void catalogueCharsets();
    void catalogueErrors_data();
    void catalogueErrors();
    void truncatedCatalogue();
    void cataloguesOfSeveralLanguages();
};

// Each byte of a small file.
void TestMngWriter::layout()
{
    DictionaryContents contents;
    contents.columnCount = 32;
    contents.texts = {{2, {u"ß"_s, u"A"_s, {{german, u"B"_s}, {english, u"C"_s}}}}};
    const QByteArray bytes = dictionaryBytes(contents);

    QByteArray expected("0043200002U");
    // "*** 1 ***", A, B, C, each with its zero unit
    expected += QByteArray::fromHex("00000020"
                                    "00000000");
    expected += QByteArray(4 * 32, '\0');
    expected += QByteArray(4 * 32, '\0');
    expected += QByteArray::fromHex("00000014"
                                    "00000018"
                                    "0000001c");
    for (int column = 3; column < 32; ++column)
        expected += QByteArray::fromHex("00000018");
    expected += QByteArray(14, '\0') + QByteArray::fromHex("00000000");
    expected += QByteArray(14, '\0') + QByteArray::fromHex("00000001");
    for (const QString &text : {u"*** 1 ***"_s, u"A"_s, u"B"_s, u"C"_s})
        expected.append(reinterpret_cast<const char *>(text.utf16()), (text.size() + 1) * 2);
    expected += QByteArray("\0ß\0", 4);
    QCOMPARE(bytes.toHex(), expected.toHex());
}

void TestMngWriter::emptyContents()
{
    const QByteArray bytes = dictionaryBytes({});
    QCOMPARE(bytes.size(), 19 + 4 * 33);
    const MemoryResource resource(u":/writer/empty.dat"_s, bytes);
    s3Dictionary dictionary(u":/writer/empty.dat"_s);
    QVERIFY(dictionary.open());
    QCOMPARE(dictionary.textCount(), 0);
}

void TestMngWriter::missingTranslationsShareThePlace()
{
    DictionaryContents contents;
    contents.texts
        = {{1, {QString(), u"Quelle"_s, {{german, u"Deutsch"_s}}}}, {2, {QString(), u"Quelle"_s, {}}}};
    const MemoryResource resource(u":/writer/shared.dat"_s, dictionaryBytes(contents));
    s3Dictionary dictionary(u":/writer/shared.dat"_s);
    QVERIFY(dictionary.open());
    QCOMPARE(dictionary.text(1, english), u"Deutsch"_s);
    QVERIFY(!dictionary.hasText(1, english));
    QCOMPARE(dictionary.text(2, english), u"Quelle"_s);
    QVERIFY(!dictionary.hasText(2, english));
}

void TestMngWriter::equalWordingsHavePlacesOfTheirOwn()
{
    DictionaryContents contents;
    contents.texts = {{1, {QString(), u"Radio"_s, {{german, u"Radio"_s}, {english, u"Radio"_s}}}}};
    const MemoryResource resource(u":/writer/equal.dat"_s, dictionaryBytes(contents));
    s3Dictionary dictionary(u":/writer/equal.dat"_s);
    QVERIFY(dictionary.open());
    QVERIFY(dictionary.hasText(1, english));
}

void TestMngWriter::refusedContents_data()
{
    QTest::addColumn<qint32>("columns");
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");

    QTest::newRow("31 columns") << 31 << 1 << 0 << u"x"_s << u"31 columns are not between 32 and 99."_s;
    QTest::newRow("100 columns") << 100 << 1 << 0 << u"x"_s << u"100 columns are not between 32 and 99."_s;
    QTest::newRow("number 0") << 33 << 0 << 0 << u"x"_s << u"Text number 0 is not between 1 and 99999."_s;
    QTest::newRow("negative number") << 33 << -1 << 0 << u"x"_s
                                     << u"Text number -1 is not between 1 and 99999."_s;
    QTest::newRow("number with six digits")
        << 33 << 100'000 << 0 << u"x"_s << u"Text number 100000 is not between 1 and 99999."_s;
    QTest::newRow("language without column")
        << 32 << 7 << 31 << u"x"_s
        << u"Text 7 has a wording for language index 31, for which there is no column."_s;
    QTest::newRow("negative language")
        << 32 << 7 << -1 << u"x"_s
        << u"Text 7 has a wording for language index -1, for which there is no column."_s;
    QTest::newRow("null character") << 33 << 7 << 0 << u"a\0b"_s << u"Text 7 contains a null character."_s;
}

void TestMngWriter::refusedContents()
{
    QFETCH(qint32, columns);
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    QFETCH(QString, text);
    DictionaryContents contents;
    contents.columnCount = columns;
    contents.texts[number].source = u"source"_s;
    contents.texts[number].translations.insert(language, text);
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QString error;
    QVERIFY(!writeDictionary(contents, buffer, error));
    QTEST(error, "error");
    QVERIFY(buffer.data().isEmpty());
}

void TestMngWriter::refusedContentsWriteNothing()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"old.dat"_s);
    QVERIFY(writeBytes(path, "old"));
    DictionaryContents contents;
    contents.texts[1].key = u"a\0"_s;
    QString error;
    QVERIFY(!writeDictionaryFile(contents, path, error));
    QCOMPARE(error, u"Text 1 contains a null character."_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("old"));
}

void TestMngWriter::failingDevice()
{
    struct FullDevice final : QIODevice {
        qint64 readData(char *, qint64) override { return -1; }
        qint64 writeData(const char *, qint64) override
        {
            setErrorString(u"full"_s);
            return -1;
        }
    };
    FullDevice device;
    QVERIFY(device.open(QIODevice::WriteOnly));
    QString error;
    QVERIFY(!writeDictionary({}, device, error));
    QCOMPARE(error, u"full"_s);
}

void TestMngWriter::fileIsReplacedAtTheEnd()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"Wörterbuch.dat"_s);
    DictionaryContents contents;
    contents.texts[1].source = u"x"_s;
    QString error = u"old"_s;
    QVERIFY(writeDictionaryFile(contents, path, error));
    QCOMPARE(error, QString());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), dictionaryBytes(contents));
    QVERIFY(!writeDictionaryFile(contents, directory.filePath(u"no/such/folder.dat"_s), error));
    QVERIFY(!error.isEmpty());
}

void TestMngWriter::tabSeparated()
{
    QByteArray text = "\xef\xbb\xbf# texts of the tests\n"
                      "\n"
                      "number\tsource\tE\td\tkey\r\n"
                      "7\tGröße\tSize\t\tsize\r\n"
                      "2\tDatei\t\\e\n"
                      "3\n"
                      "4\t\tno source\t\tk";
    QBuffer buffer(&text);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DictionaryContents contents;
    QString error = u"old"_s;
    QVERIFY2(readTabSeparated(buffer, contents, error), qPrintable(error));
    QCOMPARE(error, QString());
    QCOMPARE(contents.texts.keys(), (QList<qint32>{2, 3, 4, 7}));
    QCOMPARE(contents.texts[7].source, u"Größe"_s);
    QCOMPARE(contents.texts[7].key, u"size"_s);
    QCOMPARE(contents.texts[7].translations, (QHash<qint32, QString>{{english, u"Size"_s}}));
    // An empty wording is there, an empty field is not.
    QCOMPARE(contents.texts[2].translations, (QHash<qint32, QString>{{english, u""_s}}));
    QVERIFY(contents.texts[3].source.isNull());
    QVERIFY(contents.texts[4].source.isNull());
    QCOMPARE(contents.texts[4].key, u"k"_s);
}

void TestMngWriter::escapes_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("text");

    QTest::newRow("line feed") << QByteArray("a\\nb") << u"a\nb"_s;
    QTest::newRow("tab") << QByteArray("a\\tb") << u"a\tb"_s;
    QTest::newRow("carriage return") << QByteArray("a\\rb") << u"a\rb"_s;
    QTest::newRow("backslash") << QByteArray("C:\\\\temp") << u"C:\\temp"_s;
    QTest::newRow("escaped backslash before n") << QByteArray("\\\\n") << u"\\n"_s;
    QTest::newRow("blanks stay") << QByteArray(" a ") << u" a "_s;
}

void TestMngWriter::escapes()
{
    QFETCH(QByteArray, field);
    QByteArray text = "number\tsource\n1\t" + field + '\n';
    QBuffer buffer(&text);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DictionaryContents contents;
    QString error;
    QVERIFY2(readTabSeparated(buffer, contents, error), qPrintable(error));
    QTEST(contents.texts[1].source, "text");
}

void TestMngWriter::tabSeparatedErrors_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");

    QTest::newRow("nothing") << QByteArray() << u"The line with the names of the columns is missing."_s;
    QTest::newRow("only a comment") << QByteArray("# x\n")
                                    << u"The line with the names of the columns is missing."_s;
    QTest::newRow("unknown column") << QByteArray("number\tQuelle\n")
                                    << u"Line 1: There is no column \"Quelle\"."_s;
    QTest::newRow("column twice") << QByteArray("number\tE\te\n")
                                  << u"Line 1: The column \"e\" comes twice."_s;
    QTest::newRow("no numbers") << QByteArray("source\tE\n")
                                << u"Line 1: The column \"number\" is missing."_s;
    QTest::newRow("too many fields") << QByteArray("number\tE\n1\ta\tb\n")
                                     << u"Line 2: There are more fields than columns."_s;
    QTest::newRow("unknown escape") << QByteArray("number\tE\n1\ta\\x\n")
                                    << u"Line 2: A field has a backslash without meaning: a\\x"_s;
    QTest::newRow("backslash at the end")
        << QByteArray("number\tE\n1\ta\\\n") << u"Line 2: A field has a backslash without meaning: a\\"_s;
    QTest::newRow("no number") << QByteArray("number\tE\nx\ta\n")
                               << u"Line 2: The line has no text number."_s;
    QTest::newRow("number 0") << QByteArray("number\tE\n0\ta\n") << u"Line 2: The line has no text number."_s;
    QTest::newRow("number twice") << QByteArray("number\tE\n\n5\ta\n5\tb\n")
                                  << u"Line 4: Text number 5 comes twice."_s;
    QTest::newRow("not UTF-8") << QByteArray("number\tE\n1\t\xff\n") << u"The text is not UTF-8."_s;
}

void TestMngWriter::tabSeparatedErrors()
{
    QFETCH(QByteArray, text);
    QBuffer buffer(&text);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DictionaryContents contents;
    QString error;
    QVERIFY(!readTabSeparated(buffer, contents, error));
    QTEST(error, "error");
}

void TestMngWriter::catalogues_data()
{
    QTest::addColumn<bool>("littleEndian");
    QTest::newRow("little-endian") << true;
    QTest::newRow("big-endian") << false;
}

void TestMngWriter::catalogues()
{
    QFETCH(bool, littleEndian);
    const QByteArray bytes = catalogue({{"", header("UTF-8")},
                                        {"File", "Datei"},
                                        {"empty", ""},
                                        {QByteArray("one\0many", 8), QByteArray("eins\0viele", 10)},
                                        {"menu\x04Open", "Öffnen"}},
                                       littleEndian);
    QList<GettextMessage> messages;
    QString error;
    QVERIFY2(readGettextCatalogue(bytes, messages, error), qPrintable(error));
    QCOMPARE(messages.size(), 3);
    QCOMPARE(messages[0].source, u"File"_s);
    QCOMPARE(messages[0].translation, u"Datei"_s);
    QCOMPARE(messages[1].source, u"one"_s);
    QCOMPARE(messages[1].translation, u"eins"_s);
    QCOMPARE(messages[2].source, u"menu\u0004Open"_s);
    QCOMPARE(messages[2].translation, u"Öffnen"_s);
}

void TestMngWriter::catalogueCharsets_data()
{
    QTest::addColumn<QByteArray>("charset");
    QTest::addColumn<QByteArray>("translation");
    QTest::addColumn<QString>("error");

    const QString broken = u"Message 1 is not in the charset of the catalogue."_s;
    QTest::newRow("UTF-8") << QByteArray("utf-8") << QByteArray("Größe") << QString();
    QTest::newRow("ASCII") << QByteArray("ASCII") << QByteArray("Groesse") << QString();
    QTest::newRow("US-ASCII") << QByteArray("us-ascii") << QByteArray("Groesse") << QString();
    QTest::newRow("Latin-1") << QByteArray("ISO-8859-1")
                             << QByteArray("Gr\xf6\xdf"
                                           "e")
                             << QString();
    QTest::newRow("bytes that are no UTF-8") << QByteArray("UTF-8")
                                             << QByteArray("Gr\xf6\xdf"
                                                           "e")
                                             << broken;
    QTest::newRow("unknown charset") << QByteArray("x-klingon") << QByteArray("x")
                                     << u"The charset \"x-klingon\" is not known."_s;
}

void TestMngWriter::catalogueCharsets()
{
    QFETCH(QByteArray, charset);
    QFETCH(QByteArray, translation);
    QFETCH(QString, error);
    QList<GettextMessage> messages;
    QString actual;
    const bool isRead = readGettextCatalogue(catalogue({{"", header(charset)}, {"size", translation}}, true),
                                             messages, actual);
    QCOMPARE(actual, error);
    QCOMPARE(isRead, error.isEmpty());
    if (isRead)
        QVERIFY(messages.first().translation.startsWith(u"Gr"_s));
}

void TestMngWriter::catalogueErrors_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");

    const QString noCatalogue = u"This is no compiled gettext catalogue."_s;
    QByteArray manyMessages = catalogue({{"a", "b"}}, true);
    manyMessages[11] = '\x7f';
    QByteArray farText = catalogue({{"a", "b"}}, true);
    farText[35] = '\x7f';
    QTest::newRow("nothing") << QByteArray() << noCatalogue;
    QTest::newRow("text") << QByteArray("msgid \"File\"\nmsgstr \"Datei\"\n") << noCatalogue;
    QTest::newRow("more messages than bytes") << manyMessages << u"Message 1 lies outside the catalogue."_s;
    QTest::newRow("text outside") << farText << u"Message 0 lies outside the catalogue."_s;
}

void TestMngWriter::catalogueErrors()
{
    QFETCH(QByteArray, bytes);
    QList<GettextMessage> messages;
    QString error;
    QVERIFY(!readGettextCatalogue(bytes, messages, error));
    QTEST(error, "error");
}

void TestMngWriter::truncatedCatalogue()
{
    const QByteArray bytes = catalogue({{"", header("UTF-8")}, {"File", "Datei"}}, true);
    for (qsizetype size = 0; size < bytes.size() - 1; ++size) {
        QList<GettextMessage> messages;
        QString error;
        QVERIFY2(!readGettextCatalogue(bytes.left(size), messages, error), qPrintable(QString::number(size)));
        QVERIFY(!error.isEmpty());
    }
}

void TestMngWriter::cataloguesOfSeveralLanguages()
{
    DictionaryContents contents;
    addGettextMessages({{u"File"_s, u"Datei"_s}, {u"Open"_s, u"Öffnen"_s}}, german, contents);
    addGettextMessages({{u"Open"_s, u"Open up"_s}, {u"Close"_s, u"Shut"_s}}, english, contents);
    QCOMPARE(contents.texts.keys(), (QList<qint32>{1, 2, 3}));
    QCOMPARE(contents.texts[2].source, u"Open"_s);
    QCOMPARE(contents.texts[2].translations,
             (QHash<qint32, QString>{{german, u"Öffnen"_s}, {english, u"Open up"_s}}));
    QCOMPARE(contents.texts[3].source, u"Close"_s);
}

QTEST_APPLESS_MAIN(TestMngWriter)
#include "tst_mngwriter.moc"
