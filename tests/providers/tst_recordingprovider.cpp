#include "mapitypes.h"
#include "recorder.h"

#include "ostrelletest/scopedenvironment.h"
#include "platform/library.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

LPWSTR wide(const QString &text)
{
    return reinterpret_cast<LPWSTR>(const_cast<char16_t *>(reinterpret_cast<const char16_t *>(text.utf16())));
}

class Provider
{
public:
    explicit Provider(const char *choice)
    {
        const QDir folder(QString::fromUtf8(OSTRELLE_PROVIDERS) + u'/' + QString::fromUtf8(choice));
        m_library = platform::openLibrary(
            folder.filePath(folder.entryList({u"*.so"_s, u"*.dll"_s}, QDir::Files).value(0)));
    }
    ~Provider() { platform::closeLibrary(m_library); }
    Q_DISABLE_COPY_MOVE(Provider)

    [[nodiscard]] bool isLoaded() const { return m_library != nullptr; }
    [[nodiscard]] LPMAPISENDMAILW wideEntry() const
    {
        return reinterpret_cast<LPMAPISENDMAILW>(platform::librarySymbol(m_library, "MAPISendMailW"));
    }
    [[nodiscard]] LPMAPISENDMAIL narrowEntry() const
    {
        return reinterpret_cast<LPMAPISENDMAIL>(platform::librarySymbol(m_library, "MAPISendMail"));
    }

private:
    platform::LibraryHandle m_library = nullptr;
};

}

class TestRecordingProvider : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void choices_data();
    void choices();
    void wideMessage();
    void narrowMessage();
    void nullMessage();
    void narrowTexts_data();
    void narrowTexts();
    void result_data();
    void result();
    void notRecordedWithoutFile();
    void notRecordedInUnwritableFile();

private:
    QJsonArray calls() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ScopedEnvironment> m_record;
    std::unique_ptr<ScopedEnvironment> m_result;
};

void TestRecordingProvider::init()
{
    m_result.reset();
    m_record.reset();
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_record = std::make_unique<ScopedEnvironment>("OSTRELLE_RECORD", m_dir->filePath(u"record"_s).toUtf8());
    m_result = std::make_unique<ScopedEnvironment>("OSTRELLE_RECORD_RESULT", QByteArray());
}

QJsonArray TestRecordingProvider::calls() const
{
    QJsonArray calls;
    QFile file(m_dir->filePath(u"record"_s));
    if (!file.open(QIODevice::ReadOnly))
        return calls;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines.first(lines.size() - 1))
        calls.append(QJsonDocument::fromJson(line).object());
    return calls;
}

void TestRecordingProvider::choices_data()
{
    QTest::addColumn<bool>("hasWide");
    QTest::addColumn<bool>("hasNarrow");
    QTest::newRow("both") << true << true;
    QTest::newRow("narrow") << false << true;
    QTest::newRow("neither") << false << false;
    QTest::newRow("wide") << true << false;
}

void TestRecordingProvider::choices()
{
    QFETCH(bool, hasWide);
    QFETCH(bool, hasNarrow);
    const Provider provider(QTest::currentDataTag());
    QVERIFY(provider.isLoaded());
    QCOMPARE(provider.wideEntry() != nullptr, hasWide);
    QCOMPARE(provider.narrowEntry() != nullptr, hasNarrow);
}

void TestRecordingProvider::wideMessage()
{
    const Provider provider("wide");
    const QString name = u"Grüße ж \U0001F600.txt"_s;
    QFile file(m_dir->filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write("12345"), 5);
    file.close();

    const QString subject = u"\"Zeile\"\r\n\t\u007f"_s + QChar(0xD800) + u"!"_s;
    const QString address = u"a@example.org"_s;
    const QString path = QDir::toNativeSeparators(m_dir->filePath(name)).replace(u'/', u'\\');
    std::array<unsigned char, 3> entryId{0x00, 0xFF, 0x10};
    std::array<MapiRecipDescW, 2> recipients{};
    recipients[0].ulRecipClass = MAPI_CC;
    recipients[0].lpszName = wide(address);
    recipients[0].lpszAddress = wide(address);
    recipients[1].ulReserved = 7;
    recipients[1].ulEIDSize = 3;
    recipients[1].lpEntryID = entryId.data();
    std::array<MapiFileDescW, 2> files{};
    files[0].nPosition = 0xFFFFFFFF;
    files[0].lpszPathName = wide(path);
    files[1].lpszPathName = wide(address);
    files[1].lpszFileName = wide(name);
    files[1].lpFileType = entryId.data();
    MapiMessageW message{};
    message.ulReserved = 3;
    message.lpszSubject = wide(subject);
    message.flFlags = MAPI_RECEIPT_REQUESTED;
    message.lpOriginator = &recipients[0];
    message.nRecipCount = 2;
    message.lpRecips = recipients.data();
    message.nFileCount = 2;
    message.lpFiles = files.data();

    QCOMPARE(provider.wideEntry()(1, 2, &message, 9, 4), 0U);
    MapiMessageW empty{};
    empty.lpRecips = recipients.data();
    QCOMPARE(provider.wideEntry()(0, 0, &empty, 1, 0), 0U);

    const QJsonObject first{{u"ulReserved"_s, 0},          {u"ulRecipClass"_s, 2},
                            {u"lpszName"_s, address},      {u"lpszAddress"_s, address},
                            {u"nameIsAddress"_s, true},    {u"ulEIDSize"_s, 0},
                            {u"lpEntryID"_s, QJsonValue()}};
    const QJsonObject second{{u"ulReserved"_s, 7},          {u"ulRecipClass"_s, 0},
                             {u"lpszName"_s, QJsonValue()}, {u"lpszAddress"_s, QJsonValue()},
                             {u"nameIsAddress"_s, true},    {u"ulEIDSize"_s, 3},
                             {u"lpEntryID"_s, u"00ff10"_s}};
    const QJsonObject firstFile{{u"ulReserved"_s, 0},
                                {u"flFlags"_s, 0},
                                {u"nPosition"_s, 4294967295.0},
                                {u"lpszPathName"_s, path},
                                {u"lpszFileName"_s, QJsonValue()},
                                {u"lpFileType"_s, QJsonValue()},
                                {u"exists"_s, true},
                                {u"size"_s, 5}};
    const QJsonObject secondFile{{u"ulReserved"_s, 0},      {u"flFlags"_s, 0},
                                 {u"nPosition"_s, 0},       {u"lpszPathName"_s, address},
                                 {u"lpszFileName"_s, name}, {u"lpFileType"_s, true},
                                 {u"exists"_s, false},      {u"size"_s, 0}};
    const QJsonObject expected{{u"ulReserved"_s, 3},
                               {u"lpszSubject"_s, subject},
                               {u"lpszNoteText"_s, QJsonValue()},
                               {u"lpszMessageType"_s, QJsonValue()},
                               {u"lpszDateReceived"_s, QJsonValue()},
                               {u"lpszConversationID"_s, QJsonValue()},
                               {u"flFlags"_s, 2},
                               {u"lpOriginator"_s, first},
                               {u"nRecipCount"_s, 2},
                               {u"lpRecips"_s, QJsonArray{first, second}},
                               {u"nFileCount"_s, 2},
                               {u"lpFiles"_s, QJsonArray{firstFile, secondFile}}};
    const QJsonArray recorded = calls();
    QCOMPARE(recorded.size(), 2);
    const QJsonObject call = recorded.at(0).toObject();
    QCOMPARE(call.value("message"_L1).toObject(), expected);
    QCOMPARE(call.value("entry"_L1).toString(), u"MAPISendMailW"_s);
    QVERIFY(call.value("library"_L1).toString().contains("wide"_L1));
    QCOMPARE(call.value("session"_L1).toInt(), 1);
    QCOMPARE(call.value("uiParam"_L1).toInt(), 2);
    QCOMPARE(call.value("flags"_L1).toInt(), 9);
    QCOMPARE(call.value("reserved"_L1).toInt(), 4);
    QCOMPARE(call.value("result"_L1).toInt(), 0);
    const QJsonObject emptyMessage = recorded.at(1).toObject().value("message"_L1).toObject();
    QVERIFY(emptyMessage.value("lpRecips"_L1).isArray());
    QVERIFY(emptyMessage.value("lpFiles"_L1).isNull());
    QVERIFY(emptyMessage.value("lpszSubject"_L1).isNull());
}

void TestRecordingProvider::narrowMessage()
{
    const Provider provider("both");
    QFile file(m_dir->filePath(u"attachment"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();

    QByteArray subject = "Gr\xC3\xBC\xC3\x9F";
    QByteArray path = m_dir->filePath(u"attachment"_s).replace(u'/', u'\\').toLocal8Bit();
    MapiFileDesc attachment{};
    attachment.lpszPathName = path.data();
    MapiMessage message{};
    message.ulReserved = 65001;
    message.lpszSubject = subject.data();
    message.nFileCount = 1;
    message.lpFiles = &attachment;
    QCOMPARE(provider.narrowEntry()(0, 0, &message, 1, 0), 0U);

    const QJsonArray recorded = calls();
    QCOMPARE(recorded.size(), 1);
    const QJsonObject call = recorded.at(0).toObject();
    QCOMPARE(call.value("entry"_L1).toString(), u"MAPISendMail"_s);
    const QJsonObject narrow = call.value("message"_L1).toObject();
    QCOMPARE(narrow.value("ulReserved"_L1).toInt(), 65001);
    const QJsonObject text{{u"hex"_s, u"4772c3bcc39f"_s}, {u"text"_s, u"Grüß"_s}};
    QCOMPARE(narrow.value("lpszSubject"_L1).toObject(), text);
    QVERIFY(narrow.value("lpRecips"_L1).isNull());
    const QJsonObject seen = narrow.value("lpFiles"_L1).toArray().at(0).toObject();
    QCOMPARE(seen.value("exists"_L1).toBool(), true);
    QCOMPARE(seen.value("size"_L1).toInt(-1), 0);
}

void TestRecordingProvider::nullMessage()
{
    const Provider provider("both");
    QCOMPARE(provider.wideEntry()(0, 0, nullptr, 0, 0), 0U);
    QCOMPARE(provider.narrowEntry()(0, 0, nullptr, 0, 0), 0U);
    const QJsonArray recorded = calls();
    QCOMPARE(recorded.size(), 2);
    QVERIFY(recorded.at(0).toObject().value("message"_L1).isNull());
    QVERIFY(recorded.at(1).toObject().value("message"_L1).isNull());
}

void TestRecordingProvider::narrowTexts_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QByteArray("") << u""_s;
    QTest::newRow("quote and backslash") << QByteArray("\"\\\x01") << u"\"\\\u0001"_s;
    QTest::newRow("two, three and four bytes")
        << QByteArray("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80") << u"ä€\U0001F600"_s;
    QTest::newRow("Latin-1") << QByteArray("\xE4") << QString();
    QTest::newRow("cut short") << QByteArray("a\xE2\x82") << QString();
    QTest::newRow("overlong") << QByteArray("\xC0\xAF") << QString();
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80") << QString();
    QTest::newRow("above the last code point") << QByteArray("\xF4\x90\x80\x80") << QString();
}

void TestRecordingProvider::narrowTexts()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    const Provider provider("narrow");
    MapiMessage message{};
    message.lpszNoteText = bytes.data();
    QCOMPARE(provider.narrowEntry()(0, 0, &message, 1, 0), 0U);
    const QJsonObject seen
        = calls().at(0).toObject().value("message"_L1).toObject().value("lpszNoteText"_L1).toObject();
    QCOMPARE(seen.value("hex"_L1).toString(), QString::fromLatin1(bytes.toHex()));
    QCOMPARE(seen.value("text"_L1).isNull(), text.isNull());
    QCOMPARE(seen.value("text"_L1).toString(), text);
}

void TestRecordingProvider::result_data()
{
    QTest::addColumn<QByteArray>("wanted");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("none") << QByteArray() << 0U;
    QTest::newRow("0") << QByteArray("0") << 0U;
    QTest::newRow("28") << QByteArray("28") << 28U;
    QTest::newRow("-1") << QByteArray("-1") << 4294967295U;
    QTest::newRow("4294967295") << QByteArray("4294967295") << 4294967295U;
    QTest::newRow("no number") << QByteArray("12x") << quint32(recorder::notRecorded);
    QTest::newRow("blank") << QByteArray(" ") << quint32(recorder::notRecorded);
    QTest::newRow("too large") << QByteArray("4294967296") << quint32(recorder::notRecorded);
}

void TestRecordingProvider::result()
{
    QFETCH(QByteArray, wanted);
    QFETCH(quint32, expected);
    const ScopedEnvironment environment("OSTRELLE_RECORD_RESULT", wanted);
    const Provider provider("wide");
    MapiMessageW message{};
    QCOMPARE(quint32(provider.wideEntry()(0, 0, &message, 1, 0)), expected);
    if (expected != recorder::notRecorded)
        QCOMPARE(quint32(calls().at(0).toObject().value("result"_L1).toDouble()), expected);
}

void TestRecordingProvider::notRecordedWithoutFile()
{
    const ScopedEnvironment environment("OSTRELLE_RECORD", QByteArray());
    const Provider provider("wide");
    QCOMPARE(provider.wideEntry()(0, 0, nullptr, 1, 0), recorder::notRecorded);
}

void TestRecordingProvider::notRecordedInUnwritableFile()
{
    const ScopedEnvironment environment("OSTRELLE_RECORD", m_dir->filePath(u"missing/record"_s).toUtf8());
    const Provider provider("wide");
    QCOMPARE(provider.wideEntry()(0, 0, nullptr, 1, 0), recorder::notRecorded);
}

QTEST_APPLESS_MAIN(TestRecordingProvider)
#include "tst_recordingprovider.moc"
