#include "dictionaryfixture.h"
#include "platform/systemerror.h"
#include "s3dictionary.h"
#include "s3dictionaryformat.h"
#include "s3language.h"
#include "s3translate.h"

#include <ostrelletest/memoryresource.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;
using namespace s3DictionaryFormat;

namespace
{

constexpr qint32 german = 0;
constexpr qint32 english = 1;
constexpr qint32 french = 2;
constexpr qint32 american = 13;
constexpr qint32 japanese = 31;
constexpr qint32 sourceColumn = -1;

// A small dictionary:
//     1  all of source, "D", "A", "F" differ        key "first"
//     2  only a source text, so all cells are one    key "zweiter Schlüssel"
//     3  unfilled
//     4  "F" reads like "D", but stands elsewhere    no key
//     5  empty wordings
//     6  the source cell holds the mark of number 12
//     7  the last language letter has a wording
DictionaryContents smallContents()
{
    DictionaryContents contents;
    contents.texts = {
        {1,
         {u"first"_s,
          u"Datei"_s,
          {{german, u"die Datei"_s}, {american, u"the file"_s}, {french, u"le fichier"_s}}}},
        {2, {u"zweiter Schlüssel"_s, u"Größe"_s, {}}},
        {4, {QString(), u"Nein"_s, {{german, u"Nein"_s}, {french, u"Nein"_s}}}},
        {5, {u"empty"_s, u""_s, {{german, u""_s}, {french, u""_s}}}},
        {6, {u"mark"_s, u"*** 12 ***"_s, {{french, u"*** 6 ***"_s}, {english, u"*** 5 ***"_s}}}},
        {7, {u"last"_s, u"Ende"_s, {{japanese, u"終わり"_s}}}},
    };
    return contents;
}

// A dictionary that is mapped from memory right up to its last byte.
class MappedDictionary
{
public:
    explicit MappedDictionary(const QByteArray &bytes)
        : m_path(nextPath()), m_resource(m_path, bytes), m_dictionary(m_path)
    {
        m_isOpen = m_dictionary.open(m_error);
    }

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] QString error() const { return m_error; }
    const s3Dictionary *operator->() const { return &m_dictionary; }

private:
    // Of two resources with one path the first would answer for both.
    static QString nextPath()
    {
        static int count = 0;
        return u":/test/mapped%1.dat"_s.arg(++count);
    }

    QString m_path;
    MemoryResource m_resource;
    s3Dictionary m_dictionary;
    QString m_error;
    bool m_isOpen = false;
};

QByteArray header(const QByteArray &head, quint32 firstBlockSize = 0, quint32 secondBlockSize = 0)
{
    char sizes[8];
    qToBigEndian(firstBlockSize, sizes);
    qToBigEndian(secondBlockSize, sizes + 4);
    return head + QByteArray(sizes, sizeof(sizes));
}

// Sets the cell of `number` and `language` in the bytes of a file with `columns` columns.
void setCell(QByteArray &bytes, qint32 columns, qint32 number, qint32 language, quint32 offset)
{
    qToBigEndian(offset, bytes.data() + headerSize + cellSize * (number * columns + language + 1));
}

// Every answer that the dictionary can give, so that a sanitizer sees every read.
void askEverything(const MappedDictionary &dictionary)
{
    QStringList answers;
    const qint32 last = qMin(dictionary->textCount(), 20);
    for (qint32 number = -last - 1; number <= last + 1; ++number) {
        answers += dictionary->sourceText(number);
        answers += dictionary->textKey(number);
        for (qint32 language = -2; language < 35; ++language) {
            answers += dictionary->text(number, language);
            answers += QString::number(int(dictionary->hasText(number, language)));
        }
    }
    QVERIFY(!answers.isEmpty());
}

} // namespace

class TestDictionary final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void closedHasNoNumbers();
    void answers_data();
    void answers();
    void numbersOutOfRange_data();
    void numbersOutOfRange();
    void negativeNumbersAddressTheSameTexts();
    void lowestNumberHasNoText();
    void hasText_data();
    void hasText();
    void cellOfAmericanEnglishIsNoTranslation();
    void sourceTexts_data();
    void sourceTexts();
    void keys_data();
    void keys();
    void columns_data();
    void columns();
    void headerErrors_data();
    void headerErrors();
    void headerErrorOrder_data();
    void headerErrorOrder();
    void missingFileHasSystemWords();
    void errorZeroHasNoWords();
    void emptyFileCannotBeMapped();
    void errorIsClearedOnSuccess();
    void openAgainAfterFailure();
    void openOnOpenChangesNothing();
    void closeForgetsTheFile();
    void openWithoutReasonRunsTheOverride();
    void fileCanBeOpenedThroughBackslashes();
    void secondBlockMovesTheKeys();
    void fieldsThatAreNoNumber_data();
    void fieldsThatAreNoNumber();
    void truncatedAtEveryByte();
    void cellsOutsideTheFile_data();
    void cellsOutsideTheFile();
    void textWithoutEndStopsAtTheFile_data();
    void textWithoutEndStopsAtTheFile();
    void keysOutsideTheFile();
    void tablesOutsideTheFile();
    void hugeBlockSizes();
    void offsetsBeyondFourGigabytes();
    void fullSizeFile();
    void textLengths_data();
    void textLengths();
};

void TestDictionary::closedHasNoNumbers()
{
    const s3Dictionary dictionary(u"does/not/exist"_s);
    QCOMPARE(dictionary.textCount(), 0);
    QCOMPARE(dictionary.text(1, german), u"*** 1 ***"_s);
    QCOMPARE(dictionary.sourceText(1), QString());
    QCOMPARE(dictionary.textKey(1), QString());
    QVERIFY(!dictionary.hasText(1, german));
}

void TestDictionary::answers_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("source column") << 1 << sourceColumn << u"Datei"_s;
    QTest::newRow("D") << 1 << german << u"die Datei"_s;
    QTest::newRow("A") << 1 << american << u"the file"_s;
    QTest::newRow("F") << 1 << french << u"le fichier"_s;
    QTest::newRow("shared with D") << 1 << english << u"die Datei"_s;
    QTest::newRow("D shared with source") << 2 << german << u"Größe"_s;
    QTest::newRow("unfilled source") << 3 << sourceColumn << u"*** 3 ***"_s;
    QTest::newRow("unfilled") << 3 << french << u"*** 3 ***"_s;
    QTest::newRow("empty") << 5 << french << QString();
    QTest::newRow("the mark of another number") << 6 << sourceColumn << u"*** 12 ***"_s;
    QTest::newRow("last letter") << 7 << japanese << u"終わり"_s;
}

void TestDictionary::answers()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY2(dictionary.isOpen(), qPrintable(dictionary.error()));
    QCOMPARE(dictionary->textCount(), 7);
    QTEST(dictionary->text(number, language), "text");
}

void TestDictionary::numbersOutOfRange_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("mark");

    QTest::newRow("0") << 0 << german << u"*** 0 ***"_s;
    QTest::newRow("behind the last") << 8 << german << u"*** 8 ***"_s;
    QTest::newRow("negative behind the last") << -8 << german << u"*** -8 ***"_s;
    QTest::newRow("highest") << std::numeric_limits<qint32>::max() << german << u"*** 2147483647 ***"_s;
    QTest::newRow("language below the source column") << 1 << -2 << u"*** 1 ***"_s;
    QTest::newRow("negative with that language") << -1 << -2 << u"*** -1 ***"_s;
    QTest::newRow("language behind the last") << 1 << 32 << u"*** 1 ***"_s;
    QTest::newRow("highest language") << 1 << std::numeric_limits<qint32>::max() << u"*** 1 ***"_s;
    QTest::newRow("lowest language") << 1 << std::numeric_limits<qint32>::min() << u"*** 1 ***"_s;
}

void TestDictionary::numbersOutOfRange()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->text(number, language), "mark");
    QVERIFY(!dictionary->hasText(number, language));
    if (language == german) {
        QCOMPARE(dictionary->sourceText(number), QString());
        QCOMPARE(dictionary->textKey(number), QString());
    }
}

void TestDictionary::negativeNumbersAddressTheSameTexts()
{
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->text(-7, japanese), u"終わり"_s);
    QCOMPARE(dictionary->sourceText(-7), u"Ende"_s);
    QCOMPARE(dictionary->textKey(-7), u"last"_s);
    QVERIFY(dictionary->hasText(-7, japanese));
    // An unfilled row stays one.
    QCOMPARE(dictionary->sourceText(-3), QString());
    QVERIFY(!dictionary->hasText(-3, german));
}

void TestDictionary::lowestNumberHasNoText()
{
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY(dictionary.isOpen());
    const qint32 lowest = std::numeric_limits<qint32>::min();
    QCOMPARE(dictionary->text(lowest, german), u"*** -2147483648 ***"_s);
    QCOMPARE(dictionary->sourceText(lowest), QString());
    QCOMPARE(dictionary->textKey(lowest), QString());
}

void TestDictionary::hasText_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<bool>("has");

    QTest::newRow("own F") << 1 << french << true;
    QTest::newRow("own A") << 1 << american << true;
    QTest::newRow("D") << 1 << german << true;
    QTest::newRow("E shares with D") << 1 << english << false;
    QTest::newRow("source differs from D and A") << 1 << sourceColumn << true;
    QTest::newRow("source shares with D") << 2 << sourceColumn << false;
    QTest::newRow("D shares with source") << 2 << german << true;
    QTest::newRow("A shares with D") << 2 << american << false;
    QTest::newRow("unfilled D") << 3 << german << false;
    QTest::newRow("unfilled F") << 3 << french << false;
    QTest::newRow("equal wording elsewhere") << 4 << french << true;
    QTest::newRow("empty wording") << 5 << french << true;
    QTest::newRow("mark of the own number") << 6 << french << false;
    QTest::newRow("mark of another number") << 6 << english << true;
    QTest::newRow("language out of range") << 1 << 32 << false;
}

void TestDictionary::hasText()
{
    QFETCH(qint32, number);
    QFETCH(qint32, language);
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->hasText(number, language), "has");
}

void TestDictionary::cellOfAmericanEnglishIsNoTranslation()
{
    QByteArray bytes = dictionaryBytes(smallContents());
    const auto cellOf = [&](qint32 language) {
        return qFromBigEndian<quint32>(bytes.constData() + headerSize + cellSize * (33 + language + 1));
    };
    QVERIFY(cellOf(american) != cellOf(german));
    setCell(bytes, 33, 1, french, cellOf(american));
    const MappedDictionary dictionary(bytes);
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->text(1, french), u"the file"_s);
    QVERIFY(!dictionary->hasText(1, french));
    QVERIFY(dictionary->hasText(1, american));
}

void TestDictionary::sourceTexts_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("text");

    QTest::newRow("text") << 1 << u"Datei"_s;
    QTest::newRow("unfilled") << 3 << QString();
    QTest::newRow("empty") << 5 << QString();
    QTest::newRow("the mark of another number") << 6 << u"*** 12 ***"_s;
    QTest::newRow("an asterisk") << 12 << u"*"_s;
    QTest::newRow("begins like the mark") << 13 << u"*** 13 ****"_s;
    QTest::newRow("ends like the mark") << 14 << u" *** 14 ***"_s;
    QTest::newRow("a mark with another number in front") << 15 << u"*** 015 ***"_s;
    QTest::newRow("0") << 0 << QString();
    QTest::newRow("behind the last") << 16 << QString();
}

void TestDictionary::sourceTexts()
{
    QFETCH(qint32, number);
    DictionaryContents contents = smallContents();
    contents.texts[12].source = u"*"_s;
    contents.texts[13].source = u"*** 13 ****"_s;
    contents.texts[14].source = u" *** 14 ***"_s;
    contents.texts[15].source = u"*** 015 ***"_s;
    const MappedDictionary dictionary(dictionaryBytes(contents));
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->sourceText(number), "text");
    QTEST(dictionary->sourceText(-number), "text");
}

void TestDictionary::keys_data()
{
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("key");

    QTest::newRow("first") << 1 << u"first"_s;
    QTest::newRow("non-ASCII") << 2 << u"zweiter Schlüssel"_s;
    QTest::newRow("unfilled") << 3 << QString();
    QTest::newRow("none") << 4 << QString();
    QTest::newRow("last") << 7 << u"last"_s;
    QTest::newRow("0") << 0 << QString();
    QTest::newRow("behind the last") << 8 << QString();
}

void TestDictionary::keys()
{
    QFETCH(qint32, number);
    const MappedDictionary dictionary(dictionaryBytes(smallContents()));
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->textKey(number), "key");
}

void TestDictionary::columns_data()
{
    QTest::addColumn<qint32>("columns");
    QTest::addColumn<qint32>("language");
    QTest::addColumn<QString>("text");

    QTest::newRow("32 serve 31 languages") << 32 << 30 << u"Ende"_s;
    QTest::newRow("32 leave out the last letter") << 32 << japanese << u"*** 7 ***"_s;
    QTest::newRow("33 serve all letters") << 33 << japanese << u"終わり"_s;
    QTest::newRow("99 serve all letters") << 99 << japanese << u"終わり"_s;
    QTest::newRow("99 have more columns than letters") << 99 << 97 << u"Ende"_s;
    QTest::newRow("behind 99") << 99 << 98 << u"*** 7 ***"_s;
}

void TestDictionary::columns()
{
    QFETCH(qint32, columns);
    QFETCH(qint32, language);
    DictionaryContents contents = smallContents();
    contents.columnCount = columns;
    if (columns == 32)
        contents.texts[7].translations.clear();
    const MappedDictionary dictionary(dictionaryBytes(contents));
    QVERIFY2(dictionary.isOpen(), qPrintable(dictionary.error()));
    QTEST(dictionary->text(7, language), "text");
}

void TestDictionary::headerErrors_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("error");

    QTest::newRow("version") << QByteArray("0053300000U")
                             << u"Wrong dictionary version!\n\n'004' is expected instead of '005'."_s;
    QTest::newRow("version of placeholders")
        << QByteArray("%2%3300000U") << u"Wrong dictionary version!\n\n'004' is expected instead of '%2%'."_s;
    QTest::newRow("non-ASCII version") << QByteArray("\xe2\x82\xac"
                                                     "3300000U")
                                       << u"Wrong dictionary version!\n\n'004' is expected instead of '€'."_s;
    QTest::newRow("charset") << QByteArray("0043300000A") << u"Wrong CHSET format in dictionary"_s;
    QTest::newRow("charset in lower case")
        << QByteArray("0043300000u") << u"Wrong CHSET format in dictionary"_s;
    QTest::newRow("too few languages")
        << QByteArray("0043100000U")
        << u"Wrong language count in dictionary!\n\n'32' is expected instead of '31'."_s;
    QTest::newRow("language count is no number")
        << QByteArray("004xy00000U")
        << u"Wrong language count in dictionary!\n\n'32' is expected instead of '0'."_s;
}

void TestDictionary::headerErrors()
{
    QFETCH(QByteArray, head);
    QFETCH(QString, error);
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"mng.dat.0"_s);
    QVERIFY(writeBytes(path, header(head)));
    s3Dictionary dictionary(path);
    QString actual;
    QVERIFY(!dictionary.open(actual));
    QCOMPARE(actual, QFileInfo(path).absoluteFilePath() + u":\n\n"_s + error);
    QVERIFY(!dictionary.open());
}

void TestDictionary::headerErrorOrder_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("begin");

    QTest::newRow("version before charset") << QByteArray("0053300000A") << u"Wrong dictionary version!"_s;
    QTest::newRow("charset before languages") << QByteArray("0040100000A") << u"Wrong CHSET format"_s;
    QTest::newRow("version before languages") << QByteArray("0050100000U") << u"Wrong dictionary version!"_s;
}

void TestDictionary::headerErrorOrder()
{
    QFETCH(QByteArray, head);
    QFETCH(QString, begin);
    const MappedDictionary dictionary(header(head));
    QVERIFY(!dictionary.isOpen());
    QVERIFY2(dictionary.error().section(u":\n\n"_s, 1).startsWith(begin), qPrintable(dictionary.error()));
}

void TestDictionary::missingFileHasSystemWords()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"missing"_s);
    s3Dictionary dictionary(path);
    QString error;
    QVERIFY(!dictionary.open(error));
    // The number of "no such file" is 2 on both platforms.
    QCOMPARE(error, path + u":\n\nCannot open file\n\n"_s + qt_error_string(2) + u" (2)"_s);
}

void TestDictionary::errorZeroHasNoWords()
{
    // A missing resource asks nothing of the operating system, so its last error is what it was.
    s3Dictionary dictionary(u":/test/missing"_s);
    QString error;
    platform::setLastSystemError(0);
    QVERIFY(!dictionary.open(error));
    QCOMPARE(error, u":/test/missing:\n\nCannot open file"_s);
}

void TestDictionary::emptyFileCannotBeMapped()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"leer.dat"_s);
    QVERIFY(writeBytes(path, QByteArray()));
    s3Dictionary dictionary(path);
    QString error;
    QVERIFY(!dictionary.open(error));
    QCOMPARE(error, QFileInfo(path).absoluteFilePath() + u":\n\nCannot map dictionary into memory!"_s);
}

void TestDictionary::errorIsClearedOnSuccess()
{
    const MemoryResource resource(u":/test/a.dat"_s, dictionaryBytes(smallContents()));
    s3Dictionary dictionary(u":/test/a.dat"_s);
    QString error = u"old"_s;
    QVERIFY(dictionary.open(error));
    QCOMPARE(error, QString());
    error = u"old"_s;
    QVERIFY(dictionary.open(error));
    QCOMPARE(error, QString());
}

void TestDictionary::openAgainAfterFailure()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"Wörterbuch 辞書.dat"_s);
    QVERIFY(writeBytes(path, "005"));
    s3Dictionary dictionary(path);
    QString error;
    QVERIFY(!dictionary.open(error));
    QCOMPARE(dictionary.textCount(), 0);
    QCOMPARE(dictionary.text(1, german), u"*** 1 ***"_s);

    QVERIFY(writeBytes(path, dictionaryBytes(smallContents())));
    QVERIFY2(dictionary.open(error), qPrintable(error));
    QCOMPARE(error, QString());
    QCOMPARE(dictionary.text(1, german), u"die Datei"_s);
}

void TestDictionary::openOnOpenChangesNothing()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"a.dat"_s);
    QVERIFY(writeBytes(path, dictionaryBytes(smallContents())));
    s3Dictionary dictionary(path);
    QVERIFY(dictionary.open());
    // A file that takes the name of the open one is not seen; where the open one keeps its name, as under
    // Windows, there is nothing to see.
    if (QFile::remove(path))
        QVERIFY(writeBytes(path, "nothing"));
    QVERIFY(dictionary.open());
    QCOMPARE(dictionary.textCount(), 7);
    QCOMPARE(dictionary.text(1, french), u"le fichier"_s);
}

void TestDictionary::closeForgetsTheFile()
{
    const MemoryResource resource(u":/test/a.dat"_s, dictionaryBytes(smallContents()));
    s3Dictionary dictionary(u":/test/a.dat"_s);
    dictionary.close();
    QVERIFY(dictionary.open());
    dictionary.close();
    QCOMPARE(dictionary.textCount(), 0);
    QCOMPARE(dictionary.text(1, german), u"*** 1 ***"_s);
    QCOMPARE(dictionary.textKey(1), QString());
    dictionary.close();
    // What the constructor found stays: "D" still is the language that needs no comparison.
    QVERIFY(dictionary.open());
    QVERIFY(dictionary.hasText(2, german));
    QVERIFY(!dictionary.hasText(2, american));
}

void TestDictionary::openWithoutReasonRunsTheOverride()
{
    struct Counting final : s3Dictionary {
        Counting() : s3Dictionary(u":/nothing"_s) { }
        using s3Dictionary::open;
        bool open(QString &error) override
        {
            ++calls;
            error = u"reason"_s;
            return true;
        }
        int calls = 0;
    };
    Counting dictionary;
    QVERIFY(dictionary.open());
    QCOMPARE(dictionary.calls, 1);
}

void TestDictionary::fileCanBeOpenedThroughBackslashes()
{
    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir(u"data"_s));
    QVERIFY(writeBytes(directory.filePath(u"data/a.dat"_s), dictionaryBytes(smallContents())));
    s3Dictionary dictionary(directory.path() + u"\\data\\a.dat"_s);
    QString error;
    QVERIFY2(dictionary.open(error), qPrintable(error));
}

void TestDictionary::secondBlockMovesTheKeys()
{
    QByteArray bytes = dictionaryBytes(smallContents());
    const auto firstBlock = qFromBigEndian<quint32>(bytes.constData() + firstBlockSizeOffset);
    qToBigEndian(firstBlock - 20, bytes.data() + firstBlockSizeOffset);
    qToBigEndian(quint32(20), bytes.data() + secondBlockSizeOffset);
    const MappedDictionary dictionary(bytes);
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->textKey(7), u"last"_s);
    QCOMPARE(dictionary->text(7, japanese), u"終わり"_s);
}

void TestDictionary::fieldsThatAreNoNumber_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<qint32>("count");

    QTest::newRow("text count of letters") << QByteArray("00433abcdeU") << true << 0;
    QTest::newRow("negative text count") << QByteArray("00433-0001U") << true << 0;
    QTest::newRow("hexadecimal text count") << QByteArray("004330x001U") << true << 0;
    QTest::newRow("highest counts") << QByteArray("0049999999U") << true << 99999;
    QTest::newRow("negative language count") << QByteArray("004-100001U") << false << 0;
}

void TestDictionary::fieldsThatAreNoNumber()
{
    QFETCH(QByteArray, head);
    const MappedDictionary dictionary(header(head));
    QTEST(dictionary.isOpen(), "accepted");
    QTEST(dictionary->textCount(), "count");
    askEverything(dictionary);
}

void TestDictionary::truncatedAtEveryByte()
{
    DictionaryContents contents;
    contents.columnCount = 32;
    contents.texts = {{1, {u"k"_s, u"ab"_s, {{french, u"*"_s}}}}, {2, {u"kk"_s, u"*** 2 ***"_s, {}}}};
    const QByteArray bytes = dictionaryBytes(contents);
    QVERIFY(bytes.size() > 400);
    for (qsizetype size = 0; size < bytes.size(); ++size) {
        const MappedDictionary dictionary(bytes.left(size));
        // Version, charset and language count are all that is asked of a file.
        QCOMPARE(dictionary.isOpen(), size > charsetOffset);
        QCOMPARE(dictionary->textCount(), size > charsetOffset ? 2 : 0);
        if (dictionary.isOpen() && size < headerSize + matrixSize(32, 2))
            QCOMPARE(dictionary->text(2, 30), u"*** 2 ***"_s);
        askEverything(dictionary);
    }
}

void TestDictionary::cellsOutsideTheFile_data()
{
    QTest::addColumn<qint64>("fromEnd");
    QTest::addColumn<QString>("text");

    QTest::newRow("last unit of the file") << qint64(-2) << u"z"_s;
    QTest::newRow("half a unit") << qint64(-1) << u"*** 1 ***"_s;
    QTest::newRow("end of the file") << qint64(0) << u"*** 1 ***"_s;
    QTest::newRow("behind the file") << qint64(1) << u"*** 1 ***"_s;
    QTest::newRow("far behind the file") << qint64(0x7fff0000) << u"*** 1 ***"_s;
}

void TestDictionary::cellsOutsideTheFile()
{
    QFETCH(qint64, fromEnd);
    DictionaryContents contents;
    contents.texts = {{1, {QString(), u"ab"_s, {}}}};
    QByteArray bytes = dictionaryBytes(contents);
    const char16_t last[] = u"z";
    bytes.append(reinterpret_cast<const char *>(last), sizeof(char16_t));
    const qint64 texts = headerSize + matrixSize(33, 1) + recordsSize(1, fieldsPerText);
    setCell(bytes, 33, 1, french, quint32(bytes.size() - texts + fromEnd));
    const MappedDictionary dictionary(bytes);
    QVERIFY(dictionary.isOpen());
    QTEST(dictionary->text(1, french), "text");
    QCOMPARE(dictionary->hasText(1, french), fromEnd == -2);
    QCOMPARE(dictionary->text(1, german), u"ab"_s);
    // A source cell outside is an empty source text.
    setCell(bytes, 33, 1, sourceColumn, quint32(bytes.size() - texts + qMax(fromEnd, qint64(-1))));
    const MappedDictionary withoutSource(bytes);
    QCOMPARE(withoutSource->sourceText(1), QString());
    // So is a German cell, against which others are compared.
    setCell(bytes, 33, 1, german, 0xffffffff);
    const MappedDictionary withoutGerman(bytes);
    QVERIFY(!withoutGerman->hasText(1, german));
    QVERIFY(withoutGerman->hasText(1, american));
}

void TestDictionary::textWithoutEndStopsAtTheFile_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("halfUnit");
    for (const qsizetype size : {1, 2, 3, 4, 5, 7, 8, 9, 1000}) {
        QTest::addRow("%d units", int(size)) << size << false;
        QTest::addRow("%d units and a half", int(size)) << size << true;
    }
}

void TestDictionary::textWithoutEndStopsAtTheFile()
{
    QFETCH(qsizetype, size);
    QFETCH(bool, halfUnit);
    DictionaryContents contents;
    contents.texts = {{1, {QString(), u"ab"_s, {}}}};
    QByteArray bytes = dictionaryBytes(contents);
    const QString text(size, u'ß');
    const qint64 texts = headerSize + matrixSize(33, 1) + recordsSize(1, fieldsPerText);
    setCell(bytes, 33, 1, french, quint32(bytes.size() - texts));
    bytes.append(reinterpret_cast<const char *>(text.utf16()), size * 2);
    if (halfUnit)
        bytes.append('x');
    const MappedDictionary dictionary(bytes);
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->text(1, french), text);
}

void TestDictionary::keysOutsideTheFile()
{
    DictionaryContents contents;
    contents.texts = {{1, {u"key"_s, u"ab"_s, {}}}};
    const QByteArray bytes = dictionaryBytes(contents);
    // The key loses its end, then all of its bytes, then the key area is gone.
    QCOMPARE(MappedDictionary(bytes)->textKey(1), u"key"_s);
    QCOMPARE(MappedDictionary(bytes.chopped(1))->textKey(1), u"key"_s);
    QCOMPARE(MappedDictionary(bytes.chopped(2))->textKey(1), u"ke"_s);
    QCOMPARE(MappedDictionary(bytes.chopped(4))->textKey(1), QString());
    QCOMPARE(MappedDictionary(bytes.chopped(5))->textKey(1), QString());

    const qint64 field = headerSize + matrixSize(33, 1) + 14;
    for (const quint32 offset : {4U, 5U, 0x80000000U, 0xffffffffU}) {
        QByteArray hostile = bytes;
        qToBigEndian(offset, hostile.data() + field);
        QCOMPARE(MappedDictionary(hostile)->textKey(1), QString());
    }
}

void TestDictionary::tablesOutsideTheFile()
{
    // A header alone that promises everything.
    const MappedDictionary dictionary(header("0049999999U", 0xffffffff, 0xffffffff));
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->textCount(), 99999);
    QCOMPARE(dictionary->text(99999, 97), u"*** 99999 ***"_s);
    QCOMPARE(dictionary->sourceText(1), QString());
    QCOMPARE(dictionary->textKey(99999), QString());
    askEverything(dictionary);
}

void TestDictionary::hugeBlockSizes()
{
    QByteArray bytes = dictionaryBytes(smallContents());
    qToBigEndian(0xffffffffU, bytes.data() + firstBlockSizeOffset);
    qToBigEndian(0xffffffffU, bytes.data() + secondBlockSizeOffset);
    const MappedDictionary dictionary(bytes);
    QVERIFY(dictionary.isOpen());
    // A 32-bit sum of the sizes would be in the file again.
    QCOMPARE(dictionary->textKey(1), QString());
    QCOMPARE(dictionary->text(1, german), u"die Datei"_s);
}

void TestDictionary::offsetsBeyondFourGigabytes()
{
    constexpr quint32 blockSize = 0xfffffff0;
    DictionaryContents contents;
    contents.texts = {{1, {u"key"_s, u"ab"_s, {}}}};
    QByteArray bytes = dictionaryBytes(contents);
    const qint64 records = headerSize + matrixSize(33, 1);
    const qint64 texts = records + recordsSize(1, fieldsPerText);
    qToBigEndian(blockSize, bytes.data() + firstBlockSizeOffset);
    qToBigEndian(blockSize, bytes.data() + secondBlockSizeOffset);
    setCell(bytes, 33, 1, french, 0xfffffff0);
    qToBigEndian(quint32(0xfffffff8), bytes.data() + records + 14);

    // A file of 12 GiB, nearly all of it a hole.
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"huge.dat"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(bytes) == bytes.size());
    const qint64 keys = texts + 2 * qint64(blockSize);
    if (!file.resize(keys + 0xfffffff8 + 16))
        QSKIP("This file system takes no file of 12 GiB with a hole.");
    const char16_t text[] = u"weit hinten";
    QVERIFY(file.seek(texts + 0xfffffff0));
    QVERIFY(file.write(reinterpret_cast<const char *>(text), sizeof(text)) == sizeof(text));
    QVERIFY(file.seek(keys + 0xfffffff8));
    QVERIFY(file.write("farKey") == 6);
    file.close();

    s3Dictionary dictionary(path);
    QString error;
    QVERIFY2(dictionary.open(error), qPrintable(error));
    QCOMPARE(dictionary.text(1, french), u"weit hinten"_s);
    QCOMPARE(dictionary.textKey(1), u"farKey"_s);
    // The first bytes of the text area were not made a hole.
    QCOMPARE(dictionary.text(1, german), u"ab"_s);
}

void TestDictionary::fullSizeFile()
{
    DictionaryContents contents;
    contents.columnCount = maximumLanguageCount;
    for (qint32 number = 1; number <= maximumTextCount; ++number) {
        const QString digits = QString::number(number);
        contents.texts.insert(number,
                              {u"key"_s + digits,
                               u"Quelltext "_s + digits,
                               {{french, u"texte "_s + digits}, {97, u"letzte Spalte "_s + digits}}});
    }
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"full.dat"_s);
    QString error;
    QVERIFY2(writeDictionaryFile(contents, path, error), qPrintable(error));
    contents = {};

    s3Dictionary dictionary(path);
    QVERIFY2(dictionary.open(error), qPrintable(error));
    QCOMPARE(dictionary.textCount(), maximumTextCount);
    for (qint32 number = 1; number <= maximumTextCount; ++number) {
        const QString digits = QString::number(number);
        if (dictionary.sourceText(number) != u"Quelltext "_s + digits
            || dictionary.text(number, german) != u"Quelltext "_s + digits
            || dictionary.text(number, french) != u"texte "_s + digits
            || dictionary.text(number, 97) != u"letzte Spalte "_s + digits
            || dictionary.textKey(number) != u"key"_s + digits || !dictionary.hasText(number, french)
            || dictionary.hasText(number, english)) {
            QFAIL(qPrintable(u"text "_s + digits));
        }
    }
    QCOMPARE(dictionary.text(maximumTextCount + 1, french), u"*** 100000 ***"_s);
}

void TestDictionary::textLengths_data()
{
    QTest::addColumn<QString>("text");

    // Around the words of four units, and units in which one byte is zero.
    for (int size = 0; size < 10; ++size)
        QTest::addRow("%d units", size) << QString(size, u'a');
    QTest::newRow("low bytes zero") << QString(9, QChar(0x0100));
    QTest::newRow("high bits set") << QString(9, QChar(0x8000));
    QTest::newRow("highest units") << QString(9, QChar(0xffff));
    QTest::newRow("lowest units") << QString(9, QChar(0x0001));
    QTest::newRow("beyond the basic plane") << u"a😀b"_s;
    QTest::newRow("100,000 units") << QString(100'000, u'x');
}

void TestDictionary::textLengths()
{
    QFETCH(QString, text);
    DictionaryContents contents;
    contents.texts = {{1, {QString(), u"source"_s, {{french, text}, {english, u"neighbour"_s}}}}};
    const MappedDictionary dictionary(dictionaryBytes(contents));
    QVERIFY(dictionary.isOpen());
    QCOMPARE(dictionary->text(1, french), text);
    QCOMPARE(dictionary->text(1, english), u"neighbour"_s);
}

QTEST_APPLESS_MAIN(TestDictionary)
#include "tst_s3dictionary.moc"
