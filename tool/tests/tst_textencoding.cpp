#include "textencoding.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QStringDecoder>
#include <QTest>
#include <QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// As much as the reader decodes at once; what stands there is cut.
constexpr int pieceSize = 16384;

// A device that cannot seek, like a pipe.
class Pipe final : public QIODevice
{
public:
    explicit Pipe(const QByteArray &bytes) : m_bytes(bytes) { }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size() + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const qint64 count = std::min(size, qint64(m_bytes.size()));
        std::copy_n(m_bytes.constData(), count, data);
        m_bytes.remove(0, count);
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
};

QStringList linesOf(QIODevice &device)
{
    TextLineReader reader(device);
    QStringList lines;
    QStringView line;
    while (reader.next(line))
        lines += line.toString();
    return lines;
}

QStringList linesOf(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return buffer.open(QIODevice::ReadOnly) ? linesOf(buffer) : QStringList();
}

// The straightforward way to the same lines: one check of all bytes, one stream over them.
QStringList linesOfStream(const QByteArray &bytes)
{
    QTextStream stream(bytes, QIODevice::ReadOnly);
    if (const auto encoding = detectTextEncoding(bytes, "Locale"))
        stream.setEncoding(*encoding);
    QStringList lines;
    QString line;
    while (stream.readLineInto(&line))
        lines += line;
    return lines;
}

}

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
    void readsFromThePositionOfTheDevice();
    void readsPipes();
    void agreesWithStreamAroundPieces_data();
    void agreesWithStreamAroundPieces();
    void agreesWithStreamOnAnything_data();
    void agreesWithStreamOnAnything();
    void longLine();
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
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QCOMPARE(detectTextEncoding(buffer, "Locale"), encoding);
}

void TestTextEncoding::unknownFallbackGivesNothing()
{
    QVERIFY(!detectTextEncoding("\xE4", "no such encoding").has_value());
    QCOMPARE(detectTextEncoding("\xE4", "ISO-8859-1"), QStringConverter::Latin1);
    for (const qsizetype size : {0, pieceSize}) {
        QByteArray bytes = QByteArray(size, 'x') + '\xE4';
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QVERIFY(!detectTextEncoding(buffer, "no such encoding").has_value());
    }
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
    QTest::newRow("CR at the end of the text is dropped") << QByteArray("a\r") << QStringList{u"a"_s};
    QTest::newRow("CR alone is an empty line") << QByteArray("\r") << QStringList{u""_s};
    QTest::newRow("CR CR LF") << QByteArray("a\r\r\nb") << QStringList{u"a\r"_s, u"b"_s};
    QTest::newRow("empty lines") << QByteArray("\n\nx") << QStringList{u""_s, u""_s, u"x"_s};
    QTest::newRow("mark is dropped") << QByteArray("\xEF\xBB\xBFx") << QStringList{u"x"_s};
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE\xE4\0\n\0y\0", 8) << QStringList{u"ä"_s, u"y"_s};
    QTest::newRow("NUL stays") << QByteArray("a\0b", 3) << QStringList{QString::fromUtf16(u"a\0b", 3)};
}

void TestTextEncoding::reads()
{
    QFETCH(QByteArray, bytes);
    QTEST(linesOf(bytes), "lines");
    QTEST(linesOfStream(bytes), "lines");
}

void TestTextEncoding::readsFromThePositionOfTheDevice()
{
    QByteArray bytes("\xE4 skipped\na\nb");
    QBuffer buffer(&bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QVERIFY(buffer.seek(10));
    QCOMPARE(linesOf(buffer), (QStringList{u"a"_s, u"b"_s}));
}

void TestTextEncoding::readsPipes()
{
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("a\r\nb"), QByteArray(3 * pieceSize, 'x') + "\n\xE4\n",
          QByteArray("\xFF\xFE\xE4\0\n\0y\0", 8)}) {
        Pipe pipe(bytes);
        QVERIFY(pipe.open(QIODevice::ReadOnly));
        QCOMPARE(linesOf(pipe), linesOfStream(bytes));
    }
}

// Each of these stands across the end of a piece in all the ways that it can.
void TestTextEncoding::agreesWithStreamAroundPieces_data()
{
    QTest::addColumn<QByteArray>("mark");
    QTest::addColumn<QByteArray>("cut");
    QTest::addColumn<QByteArray>("behind");

    const QByteArray none;
    const QByteArray utf8Mark("\xEF\xBB\xBF");
    QTest::newRow("LF") << none << QByteArray("a\nb") << none;
    QTest::newRow("CR LF") << none << QByteArray("a\r\nb") << none;
    QTest::newRow("CR CR LF") << none << QByteArray("a\r\r\nb") << none;
    QTest::newRow("lone CR") << none << QByteArray("a\rb") << none;
    QTest::newRow("LF CR") << none << QByteArray("a\n\rb") << none;
    QTest::newRow("LF at the end") << none << QByteArray("a\n") << none;
    QTest::newRow("CR LF at the end") << none << QByteArray("a\r\n") << none;
    QTest::newRow("CR at the end") << none << QByteArray("a\r") << none;
    QTest::newRow("two CR at the end") << none << QByteArray("a\r\r") << none;
    QTest::newRow("NUL") << none << QByteArray("a\0b", 3) << none;
    QTest::newRow("two bytes") << none << QByteArray("a\xC3\xA4z") << none;
    QTest::newRow("three bytes") << none << QByteArray("a\xE2\x82\xACz") << none;
    QTest::newRow("four bytes") << none << QByteArray("a\xF0\x9F\x98\x80z") << none;
    QTest::newRow("umlauts, then no UTF-8") << none << QByteArray("a\xC3\xA4z") << QByteArray("\n\xE4\n");
    QTest::newRow("no UTF-8 far behind")
        << none << QByteArray("\xF0\x9F\x98\x80") << QByteArray(2 * pieceSize, 'y') + '\xE4';
    QTest::newRow("character without its end") << none << QByteArray("a\xF0\x9F\x98") << none;
    QTest::newRow("character without its end, then text")
        << none << QByteArray("a\xF0\x9F\x98zzz") << QByteArray("\nz");
    QTest::newRow("bytes that begin nothing") << none << QByteArray("\x80\xBF\x80\xBF") << QByteArray("z");
    QTest::newRow("bytes that are never UTF-8") << none << QByteArray("\xFF\xFE\xFD\xC0") << QByteArray("z");
    QTest::newRow("mark, then invalid bytes")
        << utf8Mark << QByteArray("a\xF0\x9F\xE4z\xC3\n\xBF") << QByteArray("z");
    QTest::newRow("mark, then characters without their ends")
        << utf8Mark << QByteArray("\xE2\x82\xF0\x9F\x98\xC3") << none;
    QTest::newRow("mark in the middle") << none << "a" + utf8Mark + "b" << none;
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE", 2) << QByteArray("\r\0\n\0\x3D\xD8\0\xDE", 8) << none;
    QTest::newRow("UTF-16, big endian")
        << QByteArray("\xFE\xFF", 2) << QByteArray("\0\r\0\n\xD8\x3D\xDE\0", 8) << none;
    QTest::newRow("UTF-16 without a mark") << none << QByteArray("\r\0\n\0\xE4\0", 6) << none;
    QTest::newRow("UTF-32") << QByteArray("\xFF\xFE\0\0", 4) << QByteArray("\r\0\0\0\n\0\0\0", 8) << none;
}

void TestTextEncoding::agreesWithStreamAroundPieces()
{
    QFETCH(QByteArray, mark);
    QFETCH(QByteArray, cut);
    QFETCH(QByteArray, behind);
    for (qsizetype cutAt = -1; cutAt <= cut.size() + 1; ++cutAt) {
        for (const char filling : {'x', '\0', '\n'}) {
            const QByteArray bytes
                = mark + QByteArray(pieceSize - mark.size() - cutAt, filling) + cut + behind;
            QCOMPARE(linesOf(bytes), linesOfStream(bytes));
        }
    }
}

void TestTextEncoding::agreesWithStreamOnAnything_data()
{
    QTest::addColumn<QByteArray>("mark");
    QTest::addColumn<QByteArray>("alphabet"); // parts, separated by blanks
    QTest::newRow("ASCII") << QByteArray() << QByteArray("a bc \r \n \r\n \n\n");
    QTest::newRow("UTF-8") << QByteArray()
                           << QByteArray("a \r \n \r\n \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80");
    QTest::newRow("UTF-8 with mark") << QByteArray("\xEF\xBB\xBF")
                                     << QByteArray("a \r \n \xC3\xA4 \xF0\x9F\x98\x80");
    QTest::newRow("broken UTF-8 with mark")
        << QByteArray("\xEF\xBB\xBF") << QByteArray("a \r \n \xC3\xA4 \xC3 \xF0\x9F \x80 \xFF \xE2\x82");
    QTest::newRow("anything") << QByteArray()
                              << QByteArray("a \r \n \xC3\xA4 \xC3 \xF0\x9F \x80 \xFF \xE2\x82");
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE") << QByteArray("a\1 \r \n \xD8 \xDC \xE4");
    QTest::newRow("UTF-16, big endian") << QByteArray("\xFE\xFF") << QByteArray("a\1 \r \n \xD8 \xDC \xE4");
}

void TestTextEncoding::agreesWithStreamOnAnything()
{
    QFETCH(QByteArray, mark);
    QFETCH(QByteArray, alphabet);
    QList<QByteArray> parts = alphabet.split(' ');
    parts += QByteArray("\0", 1);
    QRandomGenerator random(20261122);
    for (int round = 0; round < 400; ++round) {
        QByteArray bytes = mark;
        // Most of them short, some around the size of a piece and beyond.
        const qsizetype size
            = round % 8 != 0 ? random.bounded(60) : pieceSize * 2 + random.bounded(200) - 100;
        while (bytes.size() < size) {
            bytes += parts.at(random.bounded(parts.size()));
            if (size > pieceSize && random.bounded(4) == 0)
                bytes += QByteArray(random.bounded(300), mark.size() == 2 ? '\0' : 'x');
        }
        const QStringList lines = linesOf(bytes);
        const QStringList expected = linesOfStream(bytes);
        QVERIFY2(lines == expected, bytes.toHex().constData());
    }
}

void TestTextEncoding::longLine()
{
    const QByteArray bytes = QByteArray(32 << 20, 'x') + "\xC3\xA4\r\nend";
    const QStringList lines = linesOf(bytes);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0].size(), (32 << 20) + 1);
    QVERIFY(lines[0].endsWith(u"xä"_s));
    QCOMPARE(lines[1], u"end"_s);
}

QTEST_APPLESS_MAIN(TestTextEncoding)
#include "tst_textencoding.moc"
