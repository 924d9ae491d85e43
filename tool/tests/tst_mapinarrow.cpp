#include "fakemapiplatform.h"
#include "mapinarrow.h"

#include <QTest>

#include <array>
#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 outOfMemory = static_cast<qint32>(0x8007000EU);
constexpr qint32 invalidArgument = static_cast<qint32>(0x80070057U);
constexpr qint32 noTranslation = static_cast<qint32>(0x80070459U); // 1113

// A message with something in every field. The texts live as long as the object.
class FullMessage
{
public:
    FullMessage()
    {
        m_recipients[0] = recipient(MAPI_ORIG, m_names[0], m_names[1], &m_entryId);
        m_recipients[1] = recipient(MAPI_TO, m_names[2], m_names[3], &m_entryId);
        m_recipients[2] = recipient(MAPI_BCC, m_names[4], m_names[5], nullptr);
        m_files[0] = {11, 12, 13, toWide(m_names[6]), toWide(m_names[7]), &m_fileType};
        m_files[1] = {0, 0, 0xFFFFFFFF, toWide(m_names[8]), nullptr, nullptr};
        message.ulReserved = 77;
        message.lpszSubject = toWide(subject);
        message.lpszNoteText = toWide(noteText);
        message.lpszMessageType = toWide(m_names[9]);
        message.lpszDateReceived = toWide(m_names[10]);
        message.lpszConversationID = toWide(m_names[11]);
        message.flFlags = MAPI_RECEIPT_REQUESTED;
        message.lpOriginator = m_recipients.data();
        message.nRecipCount = 2;
        message.lpRecips = &m_recipients[1];
        message.nFileCount = 2;
        message.lpFiles = m_files.data();
    }
    Q_DISABLE_COPY_MOVE(FullMessage)

    const QString subject = u"Grüße"_s;
    const QString noteText = u"Zeile ä"_s;
    MapiMessageW message{};

private:
    static MapiRecipDescW recipient(ULONG kind, const QString &name, const QString &address,
                                    std::array<unsigned char, 3> *entryId)
    {
        return {5, kind, toWide(name), toWide(address), entryId != nullptr ? 3U : 0U, entryId};
    }

    const std::array<QString, 12> m_names{u"örig"_s,      u"örig@x"_s,   u"tö"_s,        u"tö@x"_s,
                                          u"bcc"_s,       u"bcc@x"_s,    u"C:\\ä.txt"_s, u"näme"_s,
                                          u"C:\\b.txt"_s, u"IPM.Nöte"_s, u"2024/01"_s,   u"cönv"_s};
    std::array<unsigned char, 3> m_entryId{1, 0, 255};
    int m_fileType = 0;
    std::array<MapiRecipDescW, 3> m_recipients{};
    std::array<MapiFileDescW, 2> m_files{};
};

QByteArray latin1(const char16_t *text)
{
    return QString::fromUtf16(text).toLatin1();
}

}

class TestMapiNarrow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nullMessage();
    void emptyMessage();
    void everyField_data();
    void everyField();
    void textsGoInOrder();
    void arraysOfNothing_data();
    void arraysOfNothing();
    void entryId_data();
    void entryId();
    void allocationFails_data();
    void allocationFails();
    void conversionFails_data();
    void conversionFails();
    void freeNull();

    void text_data();
    void text();
    void textCalls_data();
    void textCalls();
    void textStatus_data();
    void textStatus();
    void textWithoutMemory();
    void textClearsResults();

    void attachmentPath_data();
    void attachmentPath();
    void attachmentPathCalls();
    void attachmentPathStatus_data();
    void attachmentPathStatus();
    void attachmentPathNull();
    void unconvertibleAttachmentFailsMessage();
};

void TestMapiNarrow::nullMessage()
{
    FakeMapiPlatform platform;
    MapiMessage message{};
    MapiMessage *narrow = &message;
    QCOMPARE(convertMessageToNarrow(platform, nullptr, &narrow, true), S_OK);
    QVERIFY(narrow == nullptr);
    QCOMPARE(platform.allocations, 0);
    QCOMPARE(platform.calls, QStringList());
}

void TestMapiNarrow::emptyMessage()
{
    FakeMapiPlatform platform;
    const MapiMessageW wide{};
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &wide, &narrow, false), S_OK);
    QVERIFY(narrow != nullptr);
    const MapiMessage zeroed{};
    QVERIFY(std::memcmp(narrow, &zeroed, sizeof(zeroed)) == 0);
    freeNarrowMessage(platform, narrow);
    QCOMPARE(platform.allocations, 1);
    QCOMPARE(platform.calls, QStringList());
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::everyField_data()
{
    QTest::addColumn<bool>("useUtf8");
    QTest::newRow("ANSI") << false;
    QTest::newRow("UTF-8") << true;
}

void TestMapiNarrow::everyField()
{
    QFETCH(bool, useUtf8);
    FakeMapiPlatform platform;
    const FullMessage full;
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &full.message, &narrow, useUtf8), S_OK);
    QVERIFY(narrow != nullptr);

    QCOMPARE(narrow->ulReserved, useUtf8 ? 65001U : 77U);
    QCOMPARE(QByteArray(narrow->lpszSubject), useUtf8 ? full.subject.toUtf8() : full.subject.toLatin1());
    QCOMPARE(QByteArray(narrow->lpszNoteText), useUtf8 ? full.noteText.toUtf8() : full.noteText.toLatin1());
    QCOMPARE(QByteArray(narrow->lpszMessageType), latin1(u"IPM.Nöte"));
    QCOMPARE(QByteArray(narrow->lpszDateReceived), latin1(u"2024/01"));
    QCOMPARE(QByteArray(narrow->lpszConversationID), latin1(u"cönv"));
    QCOMPARE(narrow->flFlags, MAPI_RECEIPT_REQUESTED);

    QVERIFY(narrow->lpOriginator != nullptr);
    QCOMPARE(QByteArray(narrow->lpOriginator->lpszName), latin1(u"örig"));
    QCOMPARE(QByteArray(narrow->lpOriginator->lpszAddress), latin1(u"örig@x"));
    QCOMPARE(narrow->lpOriginator->ulReserved, 5U);
    QCOMPARE(narrow->lpOriginator->ulRecipClass, MAPI_ORIG);

    QCOMPARE(narrow->nRecipCount, 2U);
    const MapiRecipDesc &first = narrow->lpRecips[0];
    const MapiRecipDesc &second = narrow->lpRecips[1];
    QCOMPARE(first.ulReserved, 5U);
    QCOMPARE(first.ulRecipClass, MAPI_TO);
    QCOMPARE(QByteArray(first.lpszName), latin1(u"tö"));
    QCOMPARE(QByteArray(first.lpszAddress), latin1(u"tö@x"));
    QCOMPARE(first.ulEIDSize, 3U);
    QVERIFY(first.lpEntryID != full.message.lpRecips[0].lpEntryID);
    QCOMPARE(QByteArray(static_cast<const char *>(first.lpEntryID), 3), QByteArray("\x01\x00\xFF", 3));
    QCOMPARE(second.ulRecipClass, MAPI_BCC);
    QCOMPARE(QByteArray(second.lpszName), QByteArray("bcc"));
    QCOMPARE(QByteArray(second.lpszAddress), QByteArray("bcc@x"));
    QCOMPARE(second.ulEIDSize, 0U);
    QVERIFY(second.lpEntryID == nullptr);

    QCOMPARE(narrow->nFileCount, 2U);
    const MapiFileDesc &file = narrow->lpFiles[0];
    QCOMPARE(file.ulReserved, 11U);
    QCOMPARE(file.flFlags, 12U);
    QCOMPARE(file.nPosition, 13U);
    QCOMPARE(QByteArray(file.lpszPathName), latin1(u"C:\\ä.txt"));
    QCOMPARE(QByteArray(file.lpszFileName), latin1(u"näme"));
    QCOMPARE(file.lpFileType, full.message.lpFiles[0].lpFileType);
    QCOMPARE(narrow->lpFiles[1].nPosition, 0xFFFFFFFFU);
    QCOMPARE(QByteArray(narrow->lpFiles[1].lpszPathName), QByteArray("C:\\b.txt"));
    QVERIFY(narrow->lpFiles[1].lpszFileName == nullptr);
    QVERIFY(narrow->lpFiles[1].lpFileType == nullptr);

    freeNarrowMessage(platform, narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::textsGoInOrder()
{
    FakeMapiPlatform platform;
    const FullMessage full;
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &full.message, &narrow, true), S_OK);
    freeNarrowMessage(platform, narrow);
    QStringList expected;
    const auto expect = [&expected](const QString &kind, const QString &text) {
        expected.append(u"convert %1 %2 size"_s.arg(kind, text));
        expected.append(u"convert %1 %2 text"_s.arg(kind, text));
    };
    const QString utf8 = u"65001 128"_s;
    const QString ansi = u"0 0"_s;
    expect(utf8, u"Grüße"_s);
    expect(utf8, u"Zeile ä"_s);
    for (const QString &text : {u"IPM.Nöte"_s, u"2024/01"_s, u"cönv"_s, u"örig"_s, u"örig@x"_s, u"tö"_s,
                                u"tö@x"_s, u"bcc"_s, u"bcc@x"_s, u"C:\\ä.txt"_s, u"näme"_s, u"C:\\b.txt"_s})
        expect(ansi, text);
    QCOMPARE(platform.calls, expected);
}

void TestMapiNarrow::arraysOfNothing_data()
{
    QTest::addColumn<bool>("hasArrays");
    QTest::addColumn<quint32>("count");
    QTest::newRow("null arrays with a count") << false << 3U;
    QTest::newRow("arrays with a count of 0") << true << 0U;
}

void TestMapiNarrow::arraysOfNothing()
{
    QFETCH(bool, hasArrays);
    QFETCH(quint32, count);
    FakeMapiPlatform platform;
    std::array<MapiRecipDescW, 1> recipients{};
    std::array<MapiFileDescW, 1> files{};
    MapiMessageW wide{};
    wide.nRecipCount = count;
    wide.nFileCount = count;
    wide.lpRecips = hasArrays ? recipients.data() : nullptr;
    wide.lpFiles = hasArrays ? files.data() : nullptr;
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &wide, &narrow, false), S_OK);
    QCOMPARE(narrow->nRecipCount, count);
    QCOMPARE(narrow->nFileCount, count);
    QVERIFY(narrow->lpRecips == nullptr);
    QVERIFY(narrow->lpFiles == nullptr);
    freeNarrowMessage(platform, narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::entryId_data()
{
    QTest::addColumn<bool>("isSet");
    QTest::addColumn<quint32>("size");
    QTest::newRow("bytes and size") << true << 4U;
    QTest::newRow("bytes without a size") << true << 0U;
    QTest::newRow("size without bytes") << false << 4U;
}

void TestMapiNarrow::entryId()
{
    QFETCH(bool, isSet);
    QFETCH(quint32, size);
    FakeMapiPlatform platform;
    QByteArray bytes("\0\1\2\3", 4);
    MapiRecipDescW recipient{};
    recipient.ulEIDSize = size;
    recipient.lpEntryID = isSet ? bytes.data() : nullptr;
    MapiMessageW wide{};
    wide.nRecipCount = 1;
    wide.lpRecips = &recipient;
    MapiMessage *narrow = nullptr;
    QCOMPARE(convertMessageToNarrow(platform, &wide, &narrow, false), S_OK);
    QCOMPARE(narrow->lpRecips[0].ulEIDSize, size);
    QVERIFY(narrow->lpRecips[0].lpszName == nullptr);
    QCOMPARE(narrow->lpRecips[0].lpEntryID != nullptr, isSet && size != 0);
    if (isSet && size != 0)
        QCOMPARE(QByteArray(static_cast<const char *>(narrow->lpRecips[0].lpEntryID), 4), bytes);
    freeNarrowMessage(platform, narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::allocationFails_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<QString>("expectedCalls"); // the last text that was asked for, empty for none
    // The message, its texts, the originator with two texts and its identifier, the recipients with two
    // texts each and one identifier, the files with a path each and one name.
    const QStringList texts{u"Grüße"_s, u"Zeile ä"_s, u"IPM.Nöte"_s, u"2024/01"_s, u"cönv"_s};
    QTest::newRow("message") << 1 << u""_s;
    for (int index = 0; index < 5; ++index)
        QTest::addRow("text %d", index + 1) << index + 2 << texts.at(index);
    QTest::newRow("originator") << 7 << u"cönv"_s;
    QTest::newRow("originator's name") << 8 << u"örig"_s;
    QTest::newRow("originator's address") << 9 << u"örig@x"_s;
    QTest::newRow("originator's identifier") << 10 << u"örig@x"_s;
    QTest::newRow("recipients") << 11 << u"örig@x"_s;
    QTest::newRow("first recipient's name") << 12 << u"tö"_s;
    QTest::newRow("first recipient's address") << 13 << u"tö@x"_s;
    QTest::newRow("first recipient's identifier") << 14 << u"tö@x"_s;
    QTest::newRow("second recipient's name") << 15 << u"bcc"_s;
    QTest::newRow("second recipient's address") << 16 << u"bcc@x"_s;
    QTest::newRow("files") << 17 << u"bcc@x"_s;
    QTest::newRow("first file's path") << 18 << u"C:\\ä.txt"_s;
    QTest::newRow("first file's name") << 19 << u"näme"_s;
    QTest::newRow("second file's path") << 20 << u"C:\\b.txt"_s;
    QTest::newRow("none") << 21 << u"C:\\b.txt"_s;
}

void TestMapiNarrow::allocationFails()
{
    QFETCH(int, failing);
    QFETCH(QString, expectedCalls);
    FakeMapiPlatform platform;
    platform.failingAllocation = failing;
    const FullMessage full;
    MapiMessage *narrow = reinterpret_cast<MapiMessage *>(&platform);
    const bool fails = failing <= 20;
    QCOMPARE(qint32(convertMessageToNarrow(platform, &full.message, &narrow, false)),
             fails ? outOfMemory : 0);
    QCOMPARE(narrow == nullptr, fails);
    QCOMPARE(platform.allocations, fails ? failing : 20);
    QCOMPARE(platform.calls.isEmpty(), expectedCalls.isEmpty());
    if (!expectedCalls.isEmpty())
        QVERIFY2(platform.calls.last().contains(expectedCalls), qPrintable(platform.calls.last()));
    freeNarrowMessage(platform, narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::conversionFails_data()
{
    QTest::addColumn<int>("failing");
    for (int call = 1; call <= 28; ++call)
        QTest::addRow("call %d", call) << call;
}

// Both calls for each of the 14 texts.
void TestMapiNarrow::conversionFails()
{
    QFETCH(int, failing);
    for (const bool useUtf8 : {false, true}) {
        FakeMapiPlatform platform;
        platform.failingConversion = failing;
        platform.error = 5;
        const FullMessage full;
        MapiMessage *narrow = reinterpret_cast<MapiMessage *>(&platform);
        QCOMPARE(qint32(convertMessageToNarrow(platform, &full.message, &narrow, useUtf8)),
                 static_cast<qint32>(0x80070005U));
        QVERIFY(narrow == nullptr);
        QCOMPARE(platform.callsOf(u"convert"_s).size(), failing);
        QCOMPARE(platform.calls.last(), u"last error"_s);
        QCOMPARE(platform.mistakes(), QStringList());
    }
}

void TestMapiNarrow::freeNull()
{
    FakeMapiPlatform platform;
    platform.logMemory = true;
    freeNarrowMessage(platform, nullptr);
    QCOMPARE(platform.calls, QStringList());
}

void TestMapiNarrow::text_data()
{
    QTest::addColumn<QString>("wide");
    QTest::addColumn<bool>("useUtf8");
    QTest::addColumn<qint32>("status");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<bool>("isLossy");
    const QString unpaired = u"a"_s + QChar(0xD800) + u'b';
    QTest::newRow("empty, ANSI") << u""_s << false << 0 << QByteArray("") << false;
    QTest::newRow("empty, UTF-8") << u""_s << true << 0 << QByteArray("") << false;
    QTest::newRow("ASCII, ANSI") << u"abc"_s << false << 0 << QByteArray("abc") << false;
    QTest::newRow("umlaut, ANSI") << u"ä"_s << false << 0 << QByteArray("\xE4") << false;
    QTest::newRow("umlaut, UTF-8") << u"ä"_s << true << 0 << QByteArray("\xC3\xA4") << false;
    QTest::newRow("outside, ANSI") << u"aж"_s << false << 0 << QByteArray("a?") << true;
    QTest::newRow("outside, UTF-8") << u"ж"_s << true << 0 << QByteArray("\xD0\xB6") << false;
    QTest::newRow("four bytes, UTF-8")
        << u"\U0001F600"_s << true << 0 << QByteArray("\xF0\x9F\x98\x80") << false;
    QTest::newRow("unpaired, UTF-8") << unpaired << true << noTranslation << QByteArray() << false;
    QTest::newRow("unpaired at the end, UTF-8")
        << unpaired.chopped(1) << true << noTranslation << QByteArray() << false;
    QTest::newRow("unpaired, ANSI") << unpaired << false << 0 << QByteArray("a?b") << true;
    QTest::newRow("null, ANSI") << QString() << false << 0 << QByteArray() << false;
    QTest::newRow("null, UTF-8") << QString() << true << 0 << QByteArray() << false;
}

void TestMapiNarrow::text()
{
    QFETCH(QString, wide);
    QFETCH(bool, useUtf8);
    QFETCH(qint32, status);
    QFETCH(QByteArray, expected);
    QFETCH(bool, isLossy);
    FakeMapiPlatform platform;
    const WCHAR *source = wide.isNull() ? nullptr : toWide(wide);
    for (const bool asksLossy : {true, false}) {
        char *narrow = nullptr;
        bool lossy = !isLossy;
        QCOMPARE(qint32(convertText(platform, source, &narrow, useUtf8, asksLossy ? &lossy : nullptr)),
                 status);
        QCOMPARE(narrow == nullptr, expected.isNull());
        QCOMPARE(QByteArray(narrow), expected);
        QCOMPARE(lossy, asksLossy ? isLossy : !isLossy);
        platform.release(narrow);
    }
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::textCalls_data()
{
    QTest::addColumn<bool>("useUtf8");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("ANSI") << false
                          << QStringList({u"convert 0 0 ä size"_s, u"allocate 2"_s, u"convert 0 0 ä text"_s});
    QTest::newRow("UTF-8") << true
                           << QStringList({u"convert 65001 128 ä size"_s, u"allocate 3"_s,
                                           u"convert 65001 128 ä text"_s});
}

void TestMapiNarrow::textCalls()
{
    QFETCH(bool, useUtf8);
    QFETCH(QStringList, calls);
    FakeMapiPlatform platform;
    platform.logMemory = true;
    const QString wide = u"ä"_s;
    char *narrow = nullptr;
    QCOMPARE(convertText(platform, toWide(wide), &narrow, useUtf8, nullptr), S_OK);
    QCOMPARE(platform.calls, calls);
    platform.release(narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::textStatus_data()
{
    QTest::addColumn<quint32>("error");
    QTest::addColumn<qint32>("status");
    QTest::newRow("system code") << 122U << static_cast<qint32>(0x8007007AU);
    QTest::newRow("largest of 16 bits") << 0xFFFFU << static_cast<qint32>(0x8007FFFFU);
    QTest::newRow("more than 16 bits") << 0x12345U << static_cast<qint32>(0x80072345U);
    QTest::newRow("negative stays") << 0x80004005U << static_cast<qint32>(0x80004005U);
    QTest::newRow("0 stays, a good status") << 0U << 0;
    QTest::newRow("largest positive")
        << quint32(std::numeric_limits<qint32>::max()) << static_cast<qint32>(0x8007FFFFU);
}

void TestMapiNarrow::textStatus()
{
    QFETCH(quint32, error);
    QFETCH(qint32, status);
    const QString wide = u"ä"_s;
    for (const int failing : {1, 2}) {
        FakeMapiPlatform platform;
        platform.failingConversion = failing;
        platform.error = error;
        char *narrow = nullptr;
        bool lossy = true;
        QCOMPARE(qint32(convertText(platform, toWide(wide), &narrow, false, &lossy)), status);
        QVERIFY(narrow == nullptr);
        QVERIFY(!lossy);
        QCOMPARE(platform.calls.last(), u"last error"_s);
        QCOMPARE(platform.mistakes(), QStringList());
    }
}

void TestMapiNarrow::textWithoutMemory()
{
    FakeMapiPlatform platform;
    platform.failingAllocation = 1;
    const QString wide = u"ж"_s;
    char *narrow = nullptr;
    bool lossy = true;
    QCOMPARE(qint32(convertText(platform, toWide(wide), &narrow, false, &lossy)), outOfMemory);
    QVERIFY(narrow == nullptr);
    QVERIFY(!lossy);
    QCOMPARE(platform.callsOf(u"convert"_s).size(), 1);
}

void TestMapiNarrow::textClearsResults()
{
    FakeMapiPlatform platform;
    char old = 'x';
    char *narrow = &old;
    bool lossy = true;
    QCOMPARE(convertText(platform, nullptr, &narrow, false, &lossy), S_OK);
    QVERIFY(narrow == nullptr);
    QVERIFY(!lossy);
    QCOMPARE(platform.calls, QStringList());
}

void TestMapiNarrow::attachmentPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("shortPath"); // null for none
    QTest::addColumn<qint32>("status");
    QTest::addColumn<QByteArray>("expected");
    const QString outside = u"C:\\ж\\ä.txt"_s;
    const QString none;
    QTest::newRow("in the code page")
        << u"C:\\ä.txt"_s << u"C:\\A~1.TXT"_s << 0 << QByteArray("C:\\\xE4.txt");
    QTest::newRow("outside") << outside << u"C:\\ZH~1\\\u00C4.TXT"_s << 0 << QByteArray("C:\\ZH~1\\\xC4.TXT");
    QTest::newRow("no short path") << outside << none << static_cast<qint32>(0x80070032U) << QByteArray();
    QTest::newRow("short path loses characters too") << outside << outside << invalidArgument << QByteArray();
    QTest::newRow("short path of 259") << outside << QString(259, u's') << 0 << QByteArray(259, 's');
    QTest::newRow("short path of 260") << outside << QString(260, u's') << invalidArgument << QByteArray();
    QTest::newRow("empty") << u""_s << none << 0 << QByteArray("");
}

void TestMapiNarrow::attachmentPath()
{
    QFETCH(QString, path);
    QFETCH(QString, shortPath);
    QFETCH(qint32, status);
    QFETCH(QByteArray, expected);
    FakeMapiPlatform platform;
    platform.error = 50;
    if (!shortPath.isNull())
        platform.shortPaths.insert(path, shortPath);
    char *narrow = nullptr;
    QCOMPARE(qint32(convertAttachmentPath(platform, toWide(path), &narrow)), status);
    QCOMPARE(narrow == nullptr, expected.isNull());
    QCOMPARE(QByteArray(narrow), expected);
    platform.release(narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::attachmentPathCalls()
{
    FakeMapiPlatform platform;
    platform.logMemory = true;
    const QString path = u"ж"_s;
    platform.shortPaths.insert(path, u"Z~1"_s);
    char *narrow = nullptr;
    QCOMPARE(convertAttachmentPath(platform, toWide(path), &narrow), S_OK);
    QCOMPARE(platform.calls,
             QStringList({u"convert 0 0 ж size"_s, u"allocate 2"_s, u"convert 0 0 ж text"_s, u"release"_s,
                          u"short ж 260"_s, u"convert 0 0 Z~1 size"_s, u"allocate 4"_s,
                          u"convert 0 0 Z~1 text"_s}));
    platform.release(narrow);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::attachmentPathStatus_data()
{
    QTest::addColumn<int>("failingConversion");
    QTest::addColumn<int>("failingAllocation");
    QTest::addColumn<int>("shortPathResult"); // -1 for the right one
    QTest::addColumn<quint32>("error");
    QTest::addColumn<qint32>("status");
    const qint32 denied = static_cast<qint32>(0x80070005U);
    QTest::newRow("length of the path") << 1 << 0 << -1 << 5U << denied;
    QTest::newRow("path") << 2 << 0 << -1 << 5U << denied;
    QTest::newRow("memory of the path") << 0 << 1 << -1 << 5U << outOfMemory;
    QTest::newRow("length of the short path") << 3 << 0 << -1 << 5U << denied;
    QTest::newRow("short path") << 4 << 0 << -1 << 5U << denied;
    QTest::newRow("memory of the short path") << 0 << 2 << -1 << 5U << outOfMemory;
    QTest::newRow("no room for the short path") << 0 << 0 << 260 << 5U << invalidArgument;
    QTest::newRow("far too long") << 0 << 0 << 32767 << 5U << invalidArgument;
    QTest::newRow("short path fails without a reason, a good status") << 0 << 0 << 0 << 0U << 0;
}

void TestMapiNarrow::attachmentPathStatus()
{
    QFETCH(int, failingConversion);
    QFETCH(int, failingAllocation);
    QFETCH(int, shortPathResult);
    QFETCH(quint32, error);
    QFETCH(qint32, status);
    FakeMapiPlatform platform;
    platform.failingConversion = failingConversion;
    platform.failingAllocation = failingAllocation;
    platform.error = error;
    if (shortPathResult >= 0)
        platform.shortPathResult = static_cast<DWORD>(shortPathResult);
    const QString path = u"ж"_s;
    platform.shortPaths.insert(path, u"Z~1"_s);
    char *narrow = nullptr;
    QCOMPARE(qint32(convertAttachmentPath(platform, toWide(path), &narrow)), status);
    QVERIFY(narrow == nullptr);
    QCOMPARE(platform.mistakes(), QStringList());
}

void TestMapiNarrow::attachmentPathNull()
{
    FakeMapiPlatform platform;
    char old = 'x';
    char *narrow = &old;
    QCOMPARE(convertAttachmentPath(platform, nullptr, &narrow), S_OK);
    QVERIFY(narrow == nullptr);
    QCOMPARE(platform.calls, QStringList());
}

void TestMapiNarrow::unconvertibleAttachmentFailsMessage()
{
    FakeMapiPlatform platform;
    platform.error = 50;
    const FullMessage full;
    const QString path = u"C:\\ж.txt"_s;
    std::array<MapiFileDescW, 2> files{};
    files[0].lpszPathName = full.message.lpFiles[0].lpszPathName;
    files[1].lpszPathName = toWide(path);
    MapiMessageW wide = full.message;
    wide.lpFiles = files.data();
    MapiMessage *narrow = nullptr;
    QCOMPARE(qint32(convertMessageToNarrow(platform, &wide, &narrow, true)),
             static_cast<qint32>(0x80070032U));
    QVERIFY(narrow == nullptr);
    QCOMPARE(platform.mistakes(), QStringList());
}

QTEST_APPLESS_MAIN(TestMapiNarrow)
#include "tst_mapinarrow.moc"
