#include "failure.h"
#include "message.h"
#include "resultcodes.h"
#include "text.h"

#include <QTest>

#include <array>
#include <cerrno>
#include <clocale>
#include <string>

using namespace std::string_literals;

namespace
{

template <typename Call> ULONG codeOf(const Call &call)
{
    try {
        static_cast<void>(call());
    } catch (const mapi::Failure &failure) {
        return failure.code();
    }
    return SUCCESS_SUCCESS;
}

char *chars(std::string &text)
{
    return text.data();
}

}

class TestMapiMessage final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void utf16_data();
    void utf16();
    void charsets_data();
    void charsets();
    void brokenUtf8IsReplaced();
    void localeTextInPlainC();
    void lineEnds_data();
    void lineEnds();
    void nullMessages();
    void countsWithoutLists();
    void nullTextsAreEmpty();
    void wideFields();
    void narrowFields();
    void narrowUtf8Mark();
    void fileNames_data();
    void fileNames();
    void errnoTable_data();
    void errnoTable();
    void exitTable_data();
    void exitTable();
};

void TestMapiMessage::utf16_data()
{
    QTest::addColumn<std::u16string>("text");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("empty") << u""s << ""s;
    QTest::newRow("ascii") << u"Hello"s << "Hello"s;
    QTest::newRow("umlauts and euro") << u"\u00fc\u20ac"s << "\xC3\xBC\xE2\x82\xAC"s;
    QTest::newRow("surrogate pair") << u"\U0001F600"s << "\xF0\x9F\x98\x80"s;
    QTest::newRow("last code point") << u"\U0010FFFF"s << "\xF4\x8F\xBF\xBF"s;
    QTest::newRow("high surrogate at the end") << std::u16string{u'a', 0xD83D} << "a\xEF\xBF\xBD"s;
    QTest::newRow("low surrogate first") << std::u16string{0xDE00, u'a'} << "\xEF\xBF\xBD\x61"s;
    QTest::newRow("two high surrogates")
        << std::u16string{0xD83D, 0xD83D, 0xDE00} << "\xEF\xBF\xBD\xF0\x9F\x98\x80"s;
    QTest::newRow("pair the wrong way round")
        << std::u16string{0xDE00, 0xD83D} << "\xEF\xBF\xBD\xEF\xBF\xBD"s;
    QTest::newRow("right to left") << u"\u05d0\u202e\u05d1"s << "\xD7\x90\xE2\x80\xAE\xD7\x91"s;
}

void TestMapiMessage::utf16()
{
    QFETCH(std::u16string, text);
    QFETCH(std::string, expected);
    QCOMPARE(mapi::utf8FromUtf16(text.c_str()), expected);
}

void TestMapiMessage::charsets_data()
{
    QTest::addColumn<std::string>("charset");
    QTest::addColumn<std::string>("text");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("latin 1") << "ISO-8859-1"s
                             << "M\xFCller"s
                             << "M\xC3\xBCller"s;
    QTest::newRow("windows 1252") << "CP1252"s
                                  << "\x80 100"s
                                  << "\xE2\x82\xAC 100"s;
    QTest::newRow("byte that is undefined there") << "CP1252"s
                                                  << "a\x81z"s
                                                  << "a\xEF\xBF\xBDz"s;
    QTest::newRow("shift jis with a backslash byte") << "SHIFT_JIS"s
                                                     << "\x95\x5C"s
                                                     << "\xE8\xA1\xA8"s;
    QTest::newRow("half a character at the end") << "EUC-JP"s
                                                 << "a\xA4"s
                                                 << "a\xEF\xBF\xBD"s;
    QTest::newRow("unknown charset counts as utf-8") << "NO-SUCH-CHARSET"s
                                                     << "\xC3\xBC\xFF"s
                                                     << "\xC3\xBC\xEF\xBF\xBD"s;
    QTest::newRow("empty") << "CP1252"s
                           << ""s
                           << ""s;
    std::string expected;
    for (int i = 0; i < 5000; ++i)
        expected += "\xC3\xBC";
    QTest::newRow("longer than a buffer") << "ISO-8859-1"s << std::string(5000, '\xFC') << expected;
}

void TestMapiMessage::charsets()
{
    QFETCH(std::string, charset);
    QFETCH(std::string, text);
    QFETCH(std::string, expected);
    QCOMPARE(mapi::utf8FromCharset(text, charset.c_str()), expected);
}

void TestMapiMessage::brokenUtf8IsReplaced()
{
    QCOMPARE(mapi::utf8FromBytes("a\xFFz"), "a\xEF\xBF\xBDz"s);
    QCOMPARE(mapi::utf8FromBytes("\xC3"), "\xEF\xBF\xBD"s);
    QCOMPARE(mapi::utf8FromBytes(nullptr), ""s);
    QCOMPARE(mapi::utf8FromBytes(""), ""s);
}

void TestMapiMessage::localeTextInPlainC()
{
    // The suite runs in a UTF-8 locale; a program that never asked for its user's locale runs in "C".
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "C");
    const std::string inC = mapi::utf8FromLocale("M\xC3\xBCller");
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const std::string inUtf8 = mapi::utf8FromLocale("M\xC3\xBCller\xFF");
    std::setlocale(LC_CTYPE, saved.c_str());
    QCOMPARE(inC, "M\xC3\xBCller"s);
    QCOMPARE(inUtf8, "M\xC3\xBCller\xEF\xBF\xBD"s);
    QCOMPARE(mapi::utf8FromLocale(nullptr), ""s);
}

void TestMapiMessage::lineEnds_data()
{
    QTest::addColumn<std::string>("text");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("none") << "a"s
                          << "a"s;
    QTest::newRow("empty") << ""s
                           << ""s;
    QTest::newRow("dos") << "a\r\nb\r\n"s
                         << "a|b|"s;
    QTest::newRow("unix") << "a\nb"s
                          << "a|b"s;
    QTest::newRow("old mac") << "a\rb\r"s
                             << "a|b|"s;
    QTest::newRow("mixed") << "\r\r\n\n\n\r"s
                           << "|||||"s;
}

void TestMapiMessage::lineEnds()
{
    QFETCH(std::string, text);
    QFETCH(std::string, expected);
    QCOMPARE(mapi::withLineEnds(text, "|"), expected);
}

void TestMapiMessage::nullMessages()
{
    QCOMPARE(codeOf([] { return mapi::messageFromWide(nullptr); }), MAPI_E_INVALID_MESSAGE);
    QCOMPARE(codeOf([] { return mapi::messageFromNarrow(nullptr); }), MAPI_E_INVALID_MESSAGE);
}

void TestMapiMessage::countsWithoutLists()
{
    MapiMessageW wide{};
    wide.nRecipCount = 1;
    QCOMPARE(codeOf([&] { return mapi::messageFromWide(&wide); }), MAPI_E_INVALID_RECIPS);
    wide.nRecipCount = 0;
    wide.nFileCount = 1;
    QCOMPARE(codeOf([&] { return mapi::messageFromWide(&wide); }), MAPI_E_INVALID_MESSAGE);
    MapiMessage narrow{};
    narrow.nRecipCount = 1;
    QCOMPARE(codeOf([&] { return mapi::messageFromNarrow(&narrow); }), MAPI_E_INVALID_RECIPS);
    narrow.nRecipCount = 0;
    narrow.nFileCount = 0xFFFFFFFF;
    QCOMPARE(codeOf([&] { return mapi::messageFromNarrow(&narrow); }), MAPI_E_INVALID_MESSAGE);
}

void TestMapiMessage::nullTextsAreEmpty()
{
    MapiRecipDescW recipient{};
    MapiFileDescW file{};
    MapiMessageW wide{};
    wide.nRecipCount = 1;
    wide.lpRecips = &recipient;
    wide.nFileCount = 1;
    wide.lpFiles = &file;
    const mapi::Message message = mapi::messageFromWide(&wide);
    QCOMPARE(message.subject, ""s);
    QCOMPARE(message.noteText, ""s);
    QVERIFY(!message.originator);
    QVERIFY(!message.receiptRequested);
    QCOMPARE(message.recipients.size(), std::size_t(1));
    QCOMPARE(message.recipients[0].recipientClass, MAPI_ORIG);
    QCOMPARE(message.recipients[0].address, ""s);
    QCOMPARE(message.files.size(), std::size_t(1));
    QCOMPARE(message.files[0].path, ""s);
    QCOMPARE(message.files[0].name, ""s);
}

void TestMapiMessage::wideFields()
{
    std::u16string subject = u"S\u00fc";
    std::u16string note = u"a\r\nb";
    std::u16string name = u"Max";
    std::u16string address = u"SMTP:max@example.org";
    std::u16string path = u"\\tmp\\a b\\\u00fc.pdf";
    std::array recipients{MapiRecipDescW{7, MAPI_CC, name.data(), address.data(), 0, nullptr},
                          MapiRecipDescW{0, 99, nullptr, address.data(), 0, nullptr}};
    MapiRecipDescW originator{0, MAPI_ORIG, name.data(), nullptr, 0, nullptr};
    MapiFileDescW file{0, 0, 0xFFFFFFFF, path.data(), nullptr, nullptr};
    MapiMessageW wide{0,
                      subject.data(),
                      note.data(),
                      nullptr,
                      nullptr,
                      nullptr,
                      MAPI_RECEIPT_REQUESTED | 0x1000,
                      &originator,
                      2,
                      recipients.data(),
                      1,
                      &file};
    const mapi::Message message = mapi::messageFromWide(&wide);
    QCOMPARE(message.subject, "S\xC3\xBC"s);
    QCOMPARE(message.noteText, "a\r\nb"s);
    QVERIFY(message.receiptRequested);
    QVERIFY(message.originator.has_value());
    QCOMPARE(message.originator->name, "Max"s);
    QCOMPARE(message.recipients.size(), std::size_t(2));
    QCOMPARE(message.recipients[0].recipientClass, MAPI_CC);
    QCOMPARE(message.recipients[0].name, "Max"s);
    QCOMPARE(message.recipients[0].address, "SMTP:max@example.org"s);
    QCOMPARE(message.recipients[1].recipientClass, ULONG(99));
    QCOMPARE(message.files[0].path, "/tmp/a b/\xC3\xBC.pdf"s);
    QCOMPARE(message.files[0].name, "\xC3\xBC.pdf"s);
}

void TestMapiMessage::narrowFields()
{
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::string subject = "S\xC3\xBC";
    std::string address = "max@example.org";
    std::string path = "\\tmp\\x.txt";
    std::string name = "sh\xC3\xB6wn.txt";
    MapiRecipDesc recipient{0, MAPI_BCC, nullptr, chars(address), 0, nullptr};
    MapiFileDesc file{0, 0, 0xFFFFFFFF, chars(path), chars(name), nullptr};
    MapiMessage narrow{0, chars(subject), nullptr, nullptr,    nullptr, nullptr,
                       0, nullptr,        1,       &recipient, 1,       &file};
    const mapi::Message message = mapi::messageFromNarrow(&narrow);
    std::setlocale(LC_CTYPE, saved.c_str());
    QCOMPARE(message.subject, "S\xC3\xBC"s);
    QCOMPARE(message.recipients[0].recipientClass, MAPI_BCC);
    QCOMPARE(message.recipients[0].address, address);
    QCOMPARE(message.files[0].path, "/tmp/x.txt"s);
    QCOMPARE(message.files[0].name, name);
}

void TestMapiMessage::narrowUtf8Mark()
{
    // Without a locale of another charset on every machine, the difference is shown by the fallback: text
    // in the locale's charset is valid here as well, so both give the same, and broken bytes are replaced.
    std::string subject = "\xE2\x82\xAC\xFF";
    MapiMessage narrow{};
    narrow.ulReserved = 65001;
    narrow.lpszSubject = chars(subject);
    narrow.lpszNoteText = chars(subject);
    const mapi::Message message = mapi::messageFromNarrow(&narrow);
    QCOMPARE(message.subject, "\xE2\x82\xAC\xEF\xBF\xBD"s);
    QCOMPARE(message.noteText, "\xE2\x82\xAC\xEF\xBF\xBD"s);
}

void TestMapiMessage::fileNames_data()
{
    QTest::addColumn<std::u16string>("path");
    QTest::addColumn<std::u16string>("name");
    QTest::addColumn<std::string>("expectedPath");
    QTest::addColumn<std::string>("expectedName");

    QTest::newRow("from the path") << u"\\home\\max\\a.txt"s << u""s << "/home/max/a.txt"s
                                   << "a.txt"s;
    QTest::newRow("slashes stay") << u"/home/max/a.txt"s << u""s << "/home/max/a.txt"s
                                  << "a.txt"s;
    QTest::newRow("mixed") << u"\\home/max\\a.txt"s << u""s << "/home/max/a.txt"s
                           << "a.txt"s;
    QTest::newRow("name given") << u"\\tmp\\x17.tmp"s << u"Invoice.pdf"s << "/tmp/x17.tmp"s
                                << "Invoice.pdf"s;
    QTest::newRow("name with a path") << u"\\tmp\\x"s << u"..\\..\\etc/passwd"s << "/tmp/x"s
                                      << "passwd"s;
    QTest::newRow("name that is only a directory") << u"\\tmp\\x"s << u"a/"s << "/tmp/x"s
                                                   << "x"s;
    QTest::newRow("no directory") << u"a.txt"s << u""s << "a.txt"s
                                  << "a.txt"s;
    QTest::newRow("path ends in a separator") << u"\\tmp\\"s << u""s << "/tmp/"s
                                              << ""s;
    QTest::newRow("empty") << u""s << u""s << ""s
                           << ""s;
}

void TestMapiMessage::fileNames()
{
    QFETCH(std::u16string, path);
    QFETCH(std::u16string, name);
    QFETCH(std::string, expectedPath);
    QFETCH(std::string, expectedName);
    MapiFileDescW file{0, 0, 0, path.data(), name.data(), nullptr};
    MapiMessageW wide{};
    wide.nFileCount = 1;
    wide.lpFiles = &file;
    const mapi::Message message = mapi::messageFromWide(&wide);
    QCOMPARE(message.files[0].path, expectedPath);
    QCOMPARE(message.files[0].name, expectedName);
}

void TestMapiMessage::errnoTable_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<ULONG>("expected");

    QTest::newRow("disk full") << ENOSPC << MAPI_E_DISK_FULL;
    QTest::newRow("quota") << EDQUOT << MAPI_E_DISK_FULL;
    QTest::newRow("file size limit") << EFBIG << MAPI_E_DISK_FULL;
    QTest::newRow("memory") << ENOMEM << MAPI_E_INSUFFICIENT_MEMORY;
    QTest::newRow("no permission") << EACCES << MAPI_E_ACCESS_DENIED;
    QTest::newRow("not permitted") << EPERM << MAPI_E_ACCESS_DENIED;
    QTest::newRow("read only") << EROFS << MAPI_E_ACCESS_DENIED;
    QTest::newRow("anything else") << EIO << MAPI_E_FAILURE;
    QTest::newRow("not a directory") << ENOTDIR << MAPI_E_FAILURE;
}

void TestMapiMessage::errnoTable()
{
    QFETCH(int, error);
    QFETCH(ULONG, expected);
    QCOMPARE(mapi::resultFromErrno(error), expected);
    QCOMPARE(mapi::systemFailure("do", "it", error).code(), expected);
}

void TestMapiMessage::exitTable_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<ULONG>("expected");

    QTest::newRow("ok") << 0 << SUCCESS_SUCCESS;
    QTest::newRow("plain failure") << 1 << MAPI_E_FAILURE;
    QTest::newRow("usage") << 64 << MAPI_E_FAILURE;
    QTest::newRow("data") << 65 << MAPI_E_INVALID_MESSAGE;
    QTest::newRow("no input") << 66 << MAPI_E_FAILURE;
    QTest::newRow("no user") << 67 << MAPI_E_UNKNOWN_RECIPIENT;
    QTest::newRow("no host") << 68 << MAPI_E_UNKNOWN_RECIPIENT;
    QTest::newRow("unavailable") << 69 << MAPI_E_NETWORK_FAILURE;
    QTest::newRow("software") << 70 << MAPI_E_FAILURE;
    QTest::newRow("system") << 71 << MAPI_E_FAILURE;
    QTest::newRow("system file") << 72 << MAPI_E_FAILURE;
    QTest::newRow("cannot create") << 73 << MAPI_E_FAILURE;
    QTest::newRow("input or output") << 74 << MAPI_E_FAILURE;
    QTest::newRow("temporary") << 75 << MAPI_E_NETWORK_FAILURE;
    QTest::newRow("protocol") << 76 << MAPI_E_NETWORK_FAILURE;
    QTest::newRow("permission") << 77 << MAPI_E_ACCESS_DENIED;
    QTest::newRow("configuration") << 78 << MAPI_E_LOGON_FAILURE;
    QTest::newRow("not executable") << 126 << MAPI_E_FAILURE;
    QTest::newRow("not found") << 127 << MAPI_E_FAILURE;
    QTest::newRow("highest") << 255 << MAPI_E_FAILURE;
}

void TestMapiMessage::exitTable()
{
    QFETCH(int, status);
    QFETCH(ULONG, expected);
    QCOMPARE(mapi::resultFromSendmailExit(status), expected);
}

QTEST_GUILESS_MAIN(TestMapiMessage)
#include "tst_mapimessage.moc"
