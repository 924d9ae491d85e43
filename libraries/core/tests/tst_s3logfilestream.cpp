#include "ostrelletest/filecontent.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "protocol/s3logfilestream.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestLogFileStream final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void writesInItsEncoding_data();
    void writesInItsEncoding();
    void lineFeedsStayAsTheyAre();
    void emptyNameIsMadeFromTheKey();
    void openTruncates();
    void relativeNameLiesInTheWorkingDirectory();
    void namesInEitherSpelling();
    void secondOpenKeepsTheFirstFile();
    void failedOpenLeavesTheRegistry();
    void unknownKeyGetsTheNullStream();
    void nullStreamDiscardsItsText();
    void closeFlushes();
    void closeOfAnUnknownKey();
    void keyCanBeOpenedAgain();
    void closeAllFlushesEverything();
    void streamsAreApart();
    void listsItsStreams();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ScopedCurrentDir> m_inside;
};

void TestLogFileStream::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_inside = std::make_unique<ScopedCurrentDir>(m_dir->path());
    QVERIFY(m_inside->entered());
    QCOMPARE(s3LogFileStream::list(), QString());
}

void TestLogFileStream::cleanup()
{
    s3LogFileStream::closeAll();
    m_inside.reset();
    m_dir.reset();
}

void TestLogFileStream::writesInItsEncoding_data()
{
    QTest::addColumn<QStringConverter::Encoding>("encoding");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("UTF-8, no mark") << QStringConverter::Utf8 << QByteArray("a\xC3\xA4\n");
    QTest::newRow("UTF-16 little-endian, mark")
        << QStringConverter::Utf16LE << QByteArray("\xFF\xFE\x61\x00\xE4\x00\x0A\x00", 8);
    QTest::newRow("UTF-16 big-endian, mark")
        << QStringConverter::Utf16BE << QByteArray("\xFE\xFF\x00\x61\x00\xE4\x00\x0A", 8);
    QByteArray native("\x61\x00\xE4\x00\x0A\x00", 6);
    if constexpr (Q_BYTE_ORDER == Q_BIG_ENDIAN)
        native = QByteArray("\x00\x61\x00\xE4\x00\x0A", 6);
    QTest::newRow("plain UTF-16, no mark") << QStringConverter::Utf16 << native;
    QTest::newRow("UTF-32 little-endian, no mark")
        << QStringConverter::Utf32LE << QByteArray("\x61\0\0\0\xE4\0\0\0\x0A\0\0\0", 12);
    QTest::newRow("UTF-32 big-endian, no mark")
        << QStringConverter::Utf32BE << QByteArray("\0\0\0\x61\0\0\0\xE4\0\0\0\x0A", 12);
    QTest::newRow("Latin-1") << QStringConverter::Latin1 << QByteArray("a\xE4\n");
}

void TestLogFileStream::writesInItsEncoding()
{
    QFETCH(const QStringConverter::Encoding, encoding);
    QFETCH(const QByteArray, bytes);
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, encoding));
    QVERIFY(s3LogFileStream::isOpen(u"k"_s));
    *s3LogFileStream::stream(u"k"_s) << u"a"_s;
    *s3LogFileStream::stream(u"k"_s) << u"ä\n"_s;
    s3LogFileStream::stream(u"k"_s)->flush();
    QCOMPARE(readFile(u"f"_s), bytes);
}

void TestLogFileStream::lineFeedsStayAsTheyAre()
{
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf8));
    *s3LogFileStream::stream(u"k"_s) << u"a\nb\r\n"_s << Qt::endl;
    QCOMPARE(readFile(u"f"_s), "a\nb\r\n\n");
}

void TestLogFileStream::emptyNameIsMadeFromTheKey()
{
    QVERIFY(writeFile(u"log_x ä.txt"_s, "old"));
    QVERIFY(s3LogFileStream::open(u"x ä"_s, QString(), QStringConverter::Utf8));
    QCOMPARE(readFile(u"log_x ä.txt"_s), "");
    QVERIFY(s3LogFileStream::open(QString(), QString(), QStringConverter::Utf8));
    QCOMPARE(readFile(u"log_.txt"_s), "");
}

void TestLogFileStream::openTruncates()
{
    QVERIFY(writeFile(u"f"_s, "old text"));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf16LE));
    QCOMPARE(readFile(u"f"_s), "");
}

void TestLogFileStream::relativeNameLiesInTheWorkingDirectory()
{
    QVERIFY(QDir().mkdir(u"sub"_s));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"sub/f"_s, QStringConverter::Utf8));
    const ScopedCurrentDir deeper(u"sub"_s);
    *s3LogFileStream::stream(u"k"_s) << u"x"_s << Qt::flush;
    QCOMPARE(readFile(m_dir->filePath(u"sub/f"_s)), "x");
    QVERIFY(s3LogFileStream::open(u"absolute"_s, m_dir->filePath(u"g"_s), QStringConverter::Utf8));
    QCOMPARE(readFile(m_dir->filePath(u"g"_s)), "");
}

void TestLogFileStream::namesInEitherSpelling()
{
    QVERIFY(QDir().mkdir(u"ä b"_s));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"ä b\\f"_s, QStringConverter::Utf8));
    QCOMPARE(readFile(u"ä b/f"_s), "");
    QCOMPARE(s3LogFileStream::list(), u"k ä b/f\n"_s);
}

void TestLogFileStream::secondOpenKeepsTheFirstFile()
{
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf8));
    QTextStream *const stream = s3LogFileStream::stream(u"k"_s);
    *stream << u"ä"_s;
    QVERIFY(s3LogFileStream::open(u"k"_s, u"g"_s, QStringConverter::Utf16LE));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"none/g"_s, QStringConverter::Utf16LE));
    QVERIFY(s3LogFileStream::stream(u"k"_s) == stream);
    *stream << u"ö"_s << Qt::flush;
    QVERIFY(!QFileInfo::exists(u"g"_s));
    QCOMPARE(readFile(u"f"_s), "\xC3\xA4\xC3\xB6");
}

void TestLogFileStream::failedOpenLeavesTheRegistry()
{
    QVERIFY(!s3LogFileStream::open(u"k"_s, u"sub/f"_s, QStringConverter::Utf8));
    QVERIFY(!s3LogFileStream::open(u"k"_s, m_dir->path(), QStringConverter::Utf8));
    QVERIFY(!s3LogFileStream::isOpen(u"k"_s));
    QCOMPARE(s3LogFileStream::list(), QString());
    QVERIFY(!s3LogFileStream::close(u"k"_s));
    QVERIFY(QDir().mkdir(u"sub"_s));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"sub/f"_s, QStringConverter::Utf8));
}

void TestLogFileStream::unknownKeyGetsTheNullStream()
{
    QTextStream *const stream = s3LogFileStream::stream(u"k"_s);
    QVERIFY(stream != nullptr);
    *stream << u"text"_s << Qt::endl;
    QVERIFY(s3LogFileStream::stream(u"other"_s) == stream);
    QVERIFY(s3LogFileStream::stream(QString()) == stream);
    QVERIFY(!s3LogFileStream::isOpen(u"k"_s));
    QCOMPARE(s3LogFileStream::list(), QString());
    QVERIFY(QDir().isEmpty());
}

void TestLogFileStream::nullStreamDiscardsItsText()
{
    QTextStream *const stream = s3LogFileStream::stream(u"k"_s);
    QVERIFY(stream->device() == nullptr);
    QVERIFY(stream->string() != nullptr);
    *stream << u"first"_s;
    QCOMPARE(*stream->string(), u"first"_s);
    *s3LogFileStream::stream(u"k"_s) << u"2"_s;
    QCOMPARE(*stream->string(), u"2"_s);
    s3LogFileStream::closeAll();
    *s3LogFileStream::stream(u"k"_s) << u"3"_s;
    QCOMPARE(*stream->string(), u"3"_s);
}

void TestLogFileStream::closeFlushes()
{
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf8));
    *s3LogFileStream::stream(u"k"_s) << u"text"_s;
    QVERIFY(s3LogFileStream::close(u"k"_s));
    QCOMPARE(readFile(u"f"_s), "text");
    QVERIFY(!s3LogFileStream::isOpen(u"k"_s));
    // The file is free again; Windows would refuse to remove an open one.
    QVERIFY(QFile::remove(u"f"_s));
}

void TestLogFileStream::closeOfAnUnknownKey()
{
    QVERIFY(!s3LogFileStream::close(u"k"_s));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf8));
    QVERIFY(!s3LogFileStream::close(u"K"_s));
    QVERIFY(s3LogFileStream::close(u"k"_s));
    QVERIFY(!s3LogFileStream::close(u"k"_s));
}

void TestLogFileStream::keyCanBeOpenedAgain()
{
    QVERIFY(s3LogFileStream::open(u"k"_s, u"f"_s, QStringConverter::Utf8));
    *s3LogFileStream::stream(u"k"_s) << u"old"_s;
    QVERIFY(s3LogFileStream::close(u"k"_s));
    QVERIFY(s3LogFileStream::open(u"k"_s, u"g"_s, QStringConverter::Utf16BE));
    *s3LogFileStream::stream(u"k"_s) << u"n"_s << Qt::flush;
    QCOMPARE(readFile(u"f"_s), "old");
    QCOMPARE(readFile(u"g"_s), QByteArray("\xFE\xFF\0n", 4));
}

void TestLogFileStream::closeAllFlushesEverything()
{
    for (const QString &key : {u"a"_s, u"b"_s, u"c"_s}) {
        QVERIFY(s3LogFileStream::open(key, key, QStringConverter::Utf8));
        *s3LogFileStream::stream(key) << u"text "_s << key;
    }
    s3LogFileStream::closeAll();
    s3LogFileStream::closeAll();
    for (const QString &key : {u"a"_s, u"b"_s, u"c"_s}) {
        QVERIFY(!s3LogFileStream::isOpen(key));
        QCOMPARE(readFile(key), "text " + key.toUtf8());
    }
}

void TestLogFileStream::streamsAreApart()
{
    QVERIFY(s3LogFileStream::open(u"a"_s, u"f"_s, QStringConverter::Utf8));
    QVERIFY(s3LogFileStream::open(u"b"_s, u"g"_s, QStringConverter::Latin1));
    *s3LogFileStream::stream(u"a"_s) << u"1ä"_s;
    *s3LogFileStream::stream(u"b"_s) << u"2ä"_s;
    *s3LogFileStream::stream(u"c"_s) << u"3ä"_s;
    s3LogFileStream::closeAll();
    QCOMPARE(readFile(u"f"_s), "1\xC3\xA4");
    QCOMPARE(readFile(u"g"_s), "2\xE4");
}

void TestLogFileStream::listsItsStreams()
{
    QCOMPARE(s3LogFileStream::list(), QString());
    QVERIFY(s3LogFileStream::open(u"a"_s, QString(), QStringConverter::Utf8));
    QCOMPARE(s3LogFileStream::list(), u"a log_a.txt\n"_s);
    QVERIFY(s3LogFileStream::open(u"b c"_s, u"ä.txt"_s, QStringConverter::Utf8));
    QStringList lines = s3LogFileStream::list().split(u'\n');
    lines.sort();
    QCOMPARE(lines, QStringList({QString(), u"a log_a.txt"_s, u"b c ä.txt"_s}));
    QVERIFY(s3LogFileStream::close(u"a"_s));
    QCOMPARE(s3LogFileStream::list(), u"b c ä.txt\n"_s);
}

QTEST_GUILESS_MAIN(TestLogFileStream)
#include "tst_s3logfilestream.moc"
