#include "textencoding.h"

#include <QRandomGenerator>
#include <QStringDecoder>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTextEncoding final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void detects_data();
    void detects();
    void unknownFallbackGivesNothing();
    void agreesWithStatelessDecoder();
    void reads_data();
    void reads();
};

void TestTextEncoding::detects_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("expected");

    QTest::newRow("empty is UTF-8") << QByteArray() << int(QStringConverter::Utf8);
    QTest::newRow("ASCII is UTF-8") << QByteArray("abc") << int(QStringConverter::Utf8);
    QTest::newRow("umlauts in UTF-8") << QByteArray("\xC3\xA4") << int(QStringConverter::Utf8);
    QTest::newRow("UTF-8 mark") << QByteArray("\xEF\xBB\xBFx") << int(QStringConverter::Utf8);
    QTest::newRow("UTF-8 mark before invalid bytes")
        << QByteArray("\xEF\xBB\xBF\xFF") << int(QStringConverter::Utf8);
    QTest::newRow("UTF-16 little endian mark")
        << QByteArray("\xFF\xFEx\0", 4) << int(QStringConverter::Utf16LE);
    QTest::newRow("UTF-16 big endian mark") << QByteArray("\xFE\xFF\0x", 4) << int(QStringConverter::Utf16BE);
    QTest::newRow("UTF-32 little endian mark")
        << QByteArray("\xFF\xFE\0\0x\0\0\0", 8) << int(QStringConverter::Utf32LE);
    QTest::newRow("UTF-32 big endian mark")
        << QByteArray("\0\0\xFE\xFF\0\0\0x", 8) << int(QStringConverter::Utf32BE);
    QTest::newRow("UTF-16 without a mark is not recognised")
        << QByteArray("a\0b\0", 4) << int(QStringConverter::Utf8);
    QTest::newRow("Latin-1 umlauts") << QByteArray("\xE4\xF6") << int(QStringConverter::System);
    QTest::newRow("UTF-8 cut in the last character")
        << QByteArray("abc\xC3") << int(QStringConverter::System);
    QTest::newRow("overlong form") << QByteArray("\xC0\xAF") << int(QStringConverter::System);
    QTest::newRow("surrogate in UTF-8") << QByteArray("\xED\xA0\x80") << int(QStringConverter::System);
    QTest::newRow("NUL bytes") << QByteArray("a\0b", 3) << int(QStringConverter::Utf8);
}

void TestTextEncoding::detects()
{
    QFETCH(QByteArray, bytes);
    const auto encoding = detectTextEncoding(bytes, "Locale");
    QVERIFY(encoding.has_value());
    QTEST(int(*encoding), "expected");
}

void TestTextEncoding::unknownFallbackGivesNothing()
{
    QVERIFY(!detectTextEncoding("\xE4", "no such encoding").has_value());
    QCOMPARE(detectTextEncoding("\xE4", "ISO-8859-1"), QStringConverter::Latin1);
}

// The check without a decoded copy must take the same side as a decoder that counts invalid
// characters, whatever the bytes.
void TestTextEncoding::agreesWithStatelessDecoder()
{
    QRandomGenerator random(20260101);
    static constexpr char alphabet[] = "a\x80\xBF\xC0\xC2\xC3\xE0\xED\xEF\xF0\xF4\xF5\xFF\0";
    for (int round = 0; round < 20000; ++round) {
        QByteArray bytes;
        const int length = random.bounded(1, 9);
        for (int i = 0; i < length; ++i)
            bytes += alphabet[random.bounded(int(sizeof alphabet) - 1)];
        if (QStringConverter::encodingForData(bytes, 0).has_value())
            continue;
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        const QString text = decoder.decode(bytes);
        QCOMPARE(detectTextEncoding(bytes, "ISO-8859-1") == QStringConverter::Utf8, !decoder.hasError());
    }
}

void TestTextEncoding::reads_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("empty") << QByteArray() << QStringList();
    QTest::newRow("LF") << QByteArray("a\nb\n") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("CR LF") << QByteArray("a\r\nb") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("lone CR is no line end") << QByteArray("a\rb") << QStringList{u"a\rb"_s};
    QTest::newRow("empty lines") << QByteArray("\n\nx") << QStringList{u""_s, u""_s, u"x"_s};
    QTest::newRow("mark is dropped") << QByteArray("\xEF\xBB\xBFx") << QStringList{u"x"_s};
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE\xE4\0\n\0y\0", 8) << QStringList{u"ä"_s, u"y"_s};
    QTest::newRow("NUL stays") << QByteArray("a\0b", 3) << QStringList{QString::fromUtf16(u"a\0b", 3)};
}

void TestTextEncoding::reads()
{
    QFETCH(QByteArray, bytes);
    TextLineReader reader(bytes);
    QStringList lines;
    QString line;
    while (reader.next(line))
        lines += line;
    QTEST(lines, "lines");
}

QTEST_APPLESS_MAIN(TestTextEncoding)
#include "tst_textencoding.moc"
