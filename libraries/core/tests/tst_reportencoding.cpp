#include "protocol/reportencoding.h"

#include <QTest>

#include <string_view>

using namespace Qt::StringLiterals;

namespace
{

// The characters of the bytes from 80 to FE, written out once more and as they look, so that a slip in the
// library's table cannot hide.
constexpr std::u16string_view table =
    // clang-format off
    u"ÇüéâäàåçêëèïîìÄÅ"
    u"ÉæÆôöòûùÿÖÜø£Øİƒ"
    u"áíóúñÑªº¿®¬½¼¡«»"
    u"░őű│┤ÁÂÀ©ĞğŞş¢¥┐"
    u"└┴┬├─┼ãÃĆŁŃŚŹŻż¤"
    u"ąćÊËÈıÍÎÏ┘┌ęłĄÌń"
    u"ÓßÔÒõÕµśźÚÛÙýÝ¯´"
    u"Ő±ŰĘ¶§œŒ°¨·¹³²€";
// clang-format on
static_assert(table.size() == 127);

QByteArray byteOf(int value)
{
    return QByteArray(1, static_cast<char>(value));
}

}

class TestReportEncoding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ascii();
    void tableRows_data();
    void tableRows();
    void escapes_data();
    void escapes();
    void texts_data();
    void texts();
    void brokenBytes_data();
    void brokenBytes();
    void everyCharacterComesBack();
    void everyByteIsRead();
    void longText();
};

void TestReportEncoding::ascii()
{
    for (int byte = 0; byte < 0x80; ++byte) {
        const QString text(QChar(static_cast<char16_t>(byte)));
        QCOMPARE(toReportEncoding(text), byteOf(byte));
        QCOMPARE(fromReportEncoding(byteOf(byte)), text);
    }
}

void TestReportEncoding::tableRows_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<QString>("text");
    for (int byte = 0x80; byte < 0xFF; ++byte)
        QTest::addRow("%02X", uint(byte)) << byte << QString(QChar(table[size_t(byte - 0x80)]));
}

void TestReportEncoding::tableRows()
{
    QFETCH(int, byte);
    QFETCH(QString, text);
    QCOMPARE(toReportEncoding(text), byteOf(byte));
    QCOMPARE(fromReportEncoding(byteOf(byte)), text);
}

void TestReportEncoding::escapes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("two bytes, C1 control 80") << u"\u0080"_s << "\xFF\xC2\x80"_ba;
    QTest::newRow("two bytes, no-break space") << u"\u00A0"_s << "\xFF\xC2\xA0"_ba;
    QTest::newRow("two bytes, multiplication sign") << u"×"_s << "\xFF\xC3\x97"_ba;
    QTest::newRow("two bytes, last") << u"\u07FF"_s << "\xFF\xDF\xBF"_ba;
    QTest::newRow("three bytes, first") << u"\u0800"_s << "\xFF\xE0\xA0\x80"_ba;
    QTest::newRow("three bytes, dash") << u"–"_s << "\xFF\xE2\x80\x93"_ba;
    QTest::newRow("three bytes, non-character") << QString(QChar(0xFFFF)) << "\xFF\xEF\xBF\xBF"_ba;
    QTest::newRow("three bytes, replacement character") << u"\uFFFD"_s << "\xFF\xEF\xBF\xBD"_ba;
    QTest::newRow("four bytes, first") << u"\U00010000"_s << "\xFF\xF0\x90\x80\x80"_ba;
    QTest::newRow("four bytes, face") << u"\U0001F600"_s << "\xFF\xF0\x9F\x98\x80"_ba;
    QTest::newRow("four bytes, last") << u"\U0010FFFF"_s << "\xFF\xF4\x8F\xBF\xBF"_ba;
}

void TestReportEncoding::escapes()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(toReportEncoding(text), bytes);
    QCOMPARE(fromReportEncoding(bytes), text);
}

void TestReportEncoding::texts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << u""_s << ""_ba;
    QTest::newRow("null") << QString() << ""_ba;
    QTest::newRow("the mark alone") << u"\uFEFF"_s << ""_ba;
    QTest::newRow("the mark in front") << u"\uFEFFab"_s << "ab"_ba;
    QTest::newRow("the mark inside") << u"a\uFEFF\uFEFFb"_s << "ab"_ba;
    QTest::newRow("line feeds stay single") << u"a\n\nb\r\n"_s << "a\n\nb\r\n"_ba;
    QTest::newRow("a null inside") << u"a\0b"_s << QByteArray("a\0b", 3);
    QTest::newRow("mixed") << u"Größe 5 € – ok"_s
                           << "Gr\x94\xE1"
                              "e 5 \xFE \xFF\xE2\x80\x93 ok"_ba;
    QTest::newRow("high surrogate alone") << QString(QChar(0xD83D)) << "\xFF\xEF\xBF\xBD"_ba;
    QTest::newRow("low surrogate alone") << (QString(QChar(0xDE00)) + u'x') << "\xFF\xEF\xBF\xBDx"_ba;
}

void TestReportEncoding::texts()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(toReportEncoding(text), bytes);
}

void TestReportEncoding::brokenBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("escape at the end") << "a\xFF"_ba << u"a\uFFFD"_s;
    QTest::newRow("escape before ASCII") << "\xFF"
                                            "A"_ba
                                         << u"A"_s;
    QTest::newRow("two escapes") << "\xFF\xFF"
                                    "A"_ba
                                 << u"\uFFFDA"_s;
    QTest::newRow("cut character") << "\xFF\xE2\x80"_ba << u"\uFFFDÔÇ"_s;
    QTest::newRow("continuation byte first") << "\xFF\x80z"_ba << u"\uFFFDÇz"_s;
    QTest::newRow("overlong form") << "\xFF\xC0\x80"_ba << u"\uFFFD└Ç"_s;
    QTest::newRow("surrogate in UTF-8") << "\xFF\xED\xA0\x80"_ba << u"\uFFFDÝáÇ"_s;
    QTest::newRow("beyond Unicode") << "\xFF\xF5\x80\x80\x80"_ba << u"\uFFFD§ÇÇÇ"_s;
    QTest::newRow("second byte of ASCII") << "\xFF\xC3"
                                             "A"_ba
                                          << u"\uFFFD├A"_s;
}

void TestReportEncoding::brokenBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(fromReportEncoding(bytes), text);
}

void TestReportEncoding::everyCharacterComesBack()
{
    // Behind the first plane all is alike.
    for (char32_t character = 0; character <= 0x10FFFF; character += character < 0x10000 ? 1 : 1021) {
        if (character == 0xFEFF || (character >= 0xD800 && character < 0xE000))
            continue;
        const QString text = QString::fromUcs4(&character, 1);
        if (fromReportEncoding(toReportEncoding(text)) != text)
            QFAIL(qPrintable(u"U+%1 is lost"_s.arg(QString::number(character, 16))));
    }
}

void TestReportEncoding::everyByteIsRead()
{
    for (int byte = 0; byte < 0x100; ++byte)
        QCOMPARE(fromReportEncoding(byteOf(byte)).size(), 1);
}

void TestReportEncoding::longText()
{
    const QString text = u"Übergröße €–\U0001F600\n"_s.repeated(100000);
    QCOMPARE(fromReportEncoding(toReportEncoding(text)), text);
}

QTEST_GUILESS_MAIN(TestReportEncoding)
#include "tst_reportencoding.moc"
