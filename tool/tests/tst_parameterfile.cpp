#include "parameterfile.h"

#include "zmlfile.h"

#include <QElapsedTimer>
#include <QStringEncoder>
#include <QTest>

using namespace Qt::StringLiterals;

class TestParameterFile final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_data();
    void values();
    void keepsNameAsGiven();
    void unopenableFile_data();
    void unopenableFile();
    void integers_data();
    void integers();
    void booleans_data();
    void booleans();
    void encodings_data();
    void encodings();
    void hugeLine_data();
    void hugeLine();
    void binaryNoise();
};

void TestParameterFile::values_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected"); // null: the default

    const QString none;
    QTest::newRow("plain") << QByteArray("[S]\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("no final line end") << QByteArray("[S]\nA=x") << u"A"_s << u"x"_s;
    QTest::newRow("CR LF") << QByteArray("[S]\r\nA=x\r\n") << u"A"_s << u"x"_s;
    QTest::newRow("mixed case section") << QByteArray("[s]\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("mixed case key in the file") << QByteArray("[S]\naB=x\n") << u"Ab"_s << u"x"_s;
    QTest::newRow("value is trimmed") << QByteArray("[S]\nA= \t x y \t\n") << u"A"_s << u"x y"_s;
    QTest::newRow("value of white space is empty") << QByteArray("[S]\nA=  \n") << u"A"_s << u""_s;
    QTest::newRow("value keeps case") << QByteArray("[S]\nA=xY\n") << u"A"_s << u"xY"_s;
    QTest::newRow("value is not unescaped")
        << QByteArray("[S]\nA=\"x\\n%20\"\n") << u"A"_s << u"\"x\\n%20\""_s;
    QTest::newRow("further equals signs belong to the value")
        << QByteArray("[S]\nA=x=y=\n") << u"A"_s << u"x=y="_s;
    QTest::newRow("white space in front of the key") << QByteArray("[S]\n \tA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("white space behind the key belongs to it") << QByteArray("[S]\nA =x\n") << u"A"_s << none;
    QTest::newRow("key with a blank at its end") << QByteArray("[S]\nA =x\n") << u"A "_s << u"x"_s;
    QTest::newRow("key of one blank") << QByteArray("[S]\n  =x\n") << u" "_s << u"x"_s;
    QTest::newRow("no key") << QByteArray("[S]\n=x\n") << u""_s << none;
    QTest::newRow("no comments") << QByteArray("[S]\n#A=x\n") << u"#A"_s << u"x"_s;
    QTest::newRow("semicolon is no comment") << QByteArray("[S]\n;A=x\n") << u";a"_s << u"x"_s;
    QTest::newRow("last of two") << QByteArray("[S]\nA=x\na=y\n") << u"A"_s << u"y"_s;
    QTest::newRow("last of two is empty") << QByteArray("[S]\nA=x\nA=\n") << u"A"_s << u""_s;
    QTest::newRow("section in two pieces")
        << QByteArray("[S]\nB=1\n[T]\nA=z\n[s]\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("key of another section") << QByteArray("[T]\nA=x\n[S]\nB=1\n") << u"A"_s << none;
    QTest::newRow("key before the first section") << QByteArray("A=x\n[S]\nB=1\n") << u"A"_s << none;
    QTest::newRow("no section at all") << QByteArray("A=x\n") << u"A"_s << none;
    QTest::newRow("head with blanks around") << QByteArray(" \t[S] \nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("blanks in a head belong to the name") << QByteArray("[ S ]\nA=x\n") << u"A"_s << none;
    QTest::newRow("head with an equals sign is a head") << QByteArray("[S]\n[A=B]\nA=x\n") << u"A"_s << none;
    QTest::newRow("head ends at the last bracket") << QByteArray("[S]\n[S] x]\nA=x\n") << u"A"_s << none;
    QTest::newRow("text behind a head makes it a key") << QByteArray("[S]\n[A]=x\n") << u"[a]"_s << u"x"_s;
    QTest::newRow("head without its end") << QByteArray("[S]\n[T\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("line of neither kind") << QByteArray("[S]\nhello\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("empty section head") << QByteArray("[S]\n[]\nA=x\n") << u"A"_s << none;
    QTest::newRow("NUL in a value") << QByteArray("[S]\nA=x\0y\n", 10) << u"A"_s
                                    << QString::fromUtf16(u"x\0y", 3);
    QTest::newRow("lone CR in a value") << QByteArray("[S]\nA=x\ry\n") << u"A"_s << u"x\ry"_s;
    QTest::newRow("CR at the end of the file") << QByteArray("[S]\r\nA=x\r") << u"A"_s << u"x"_s;
    QTest::newRow("head between CRs") << QByteArray("\r[S]\r\r\nA=x\n") << u"A"_s << u"x"_s;
    QTest::newRow("empty file") << QByteArray() << u"A"_s << none;
    QTest::newRow("head alone") << QByteArray("[S]") << u"A"_s << none;
    QTest::newRow("umlaut key") << QByteArray("[S]\n\xC3\x84=x\n") << u"ä"_s << u"x"_s;
}

void TestParameterFile::values()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, key);
    QFETCH(QString, expected);
    const ZmlFile zml("");
    zml.writeRaw(file);

    const ParameterFile parameters(zml.path(), u"S"_s);
    QCOMPARE(parameters.contains(key), !expected.isNull());
    QCOMPARE(parameters.value(key, u"the default"_s), expected.isNull() ? u"the default"_s : expected);
    QCOMPARE(parameters.value(key, QString()).isNull(), expected.isNull());
}

void TestParameterFile::keepsNameAsGiven()
{
    const ParameterFile parameters(u"no\\such/file.zml"_s, u"S"_s);
    QCOMPARE(parameters.fileName(), u"no\\such/file.zml"_s);
}

void TestParameterFile::unopenableFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << QDir::tempPath() + u"/no such directory/mail.zml"_s;
    QTest::newRow("a directory") << QDir::tempPath();
    QTest::newRow("no name") << QString();
}

void TestParameterFile::unopenableFile()
{
    QFETCH(QString, path);
    const ParameterFile parameters(path, u"S"_s);
    QVERIFY(!parameters.contains(u"A"_s));
    QCOMPARE(parameters.value(u"A"_s, u"d"_s), u"d"_s);
    QCOMPARE(parameters.intValue(u"A"_s, 7), 7);
    QCOMPARE(parameters.boolValue(u"A"_s, true), true);
}

void TestParameterFile::integers_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("decimal") << QByteArray("42") << 42;
    QTest::newRow("negative") << QByteArray("-3") << -3;
    QTest::newRow("hexadecimal") << QByteArray("0x10") << 16;
    QTest::newRow("octal") << QByteArray("010") << 8;
    QTest::newRow("no number") << QByteArray("high") << 0;
    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("too large") << QByteArray("99999999999") << 0;
}

void TestParameterFile::integers()
{
    QFETCH(QByteArray, value);
    const ZmlFile zml("N=" + value + "\n");
    QTEST(ParameterFile(zml.path(), u"zerkmail"_s).intValue(u"n"_s, 3), "expected");
    QCOMPARE(ParameterFile(zml.path(), u"zerkmail"_s).intValue(u"missing"_s, -3), -3);
}

void TestParameterFile::booleans_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("expected");
    QTest::newRow("true") << QByteArray("True") << true;
    QTest::newRow("1") << QByteArray("1") << true;
    QTest::newRow("-5") << QByteArray("-5") << true;
    QTest::newRow("0") << QByteArray("0") << false;
    QTest::newRow("yes") << QByteArray("yes") << false;
    QTest::newRow("empty") << QByteArray("") << false;
}

void TestParameterFile::booleans()
{
    QFETCH(QByteArray, value);
    const ZmlFile zml("B=" + value + "\n");
    QTEST(ParameterFile(zml.path(), u"ZERKMAIL"_s).boolValue(u"b"_s, !QTest::currentDataTag()), "expected");
    QCOMPARE(ParameterFile(zml.path(), u"ZERKMAIL"_s).boolValue(u"missing"_s, true), true);
    QCOMPARE(ParameterFile(zml.path(), u"ZERKMAIL"_s).boolValue(u"missing"_s, false), false);
}

void TestParameterFile::encodings_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("expected"); // null: nothing is found

    const QString text = u"[ZERKMAIL]\nA=Grüße €\n"_s;
    const auto encoded = [&](QStringConverter::Encoding encoding, bool mark) {
        QStringEncoder encoder(encoding,
                               mark ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
        return QByteArray(encoder.encode(text));
    };
    QTest::newRow("UTF-8") << encoded(QStringConverter::Utf8, false) << u"Grüße €"_s;
    QTest::newRow("UTF-8 with mark") << encoded(QStringConverter::Utf8, true) << u"Grüße €"_s;
    QTest::newRow("UTF-16 LE with mark") << encoded(QStringConverter::Utf16LE, true) << u"Grüße €"_s;
    QTest::newRow("UTF-16 BE with mark") << encoded(QStringConverter::Utf16BE, true) << u"Grüße €"_s;
    QTest::newRow("UTF-32 LE with mark") << encoded(QStringConverter::Utf32LE, true) << u"Grüße €"_s;
    QTest::newRow("UTF-32 BE with mark") << encoded(QStringConverter::Utf32BE, true) << u"Grüße €"_s;
    QTest::newRow("UTF-16 without mark is not recognised")
        << encoded(QStringConverter::Utf16LE, false) << QString();
    // Not valid as UTF-8, so the system's encoding decides, whatever that is here.
    const QByteArray local = "Gr\xFC\xDF"
                             "e";
    QTest::newRow("system code page") << "[ZERKMAIL]\nA=" + local + "\n" << QString::fromLocal8Bit(local);
}

void TestParameterFile::encodings()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, expected);
    const ZmlFile zml("");
    zml.writeRaw(file);
    const ParameterFile parameters(zml.path(), u"ZERKMAIL"_s);
    QCOMPARE(parameters.value(u"A"_s, QString()), expected);
}

void TestParameterFile::hugeLine_data()
{
    QTest::addColumn<QByteArray>("line");
    const qsizetype size = 8 * 1024 * 1024;
    QTest::newRow("letters") << QByteArray(size, 'x');
    QTest::newRow("blanks") << QByteArray(size, ' ');
    QTest::newRow("opening brackets") << QByteArray(size, '[');
    QTest::newRow("closing brackets") << QByteArray(size, ']');
    QTest::newRow("bracket and blanks") << "[" + QByteArray(size, ' ');
    QTest::newRow("equals signs") << QByteArray(size, '=');
    QTest::newRow("NUL bytes") << QByteArray(size, '\0');
    QTest::newRow("blanks, then a key") << QByteArray(size, ' ') + "k=v";
    QTest::newRow("blanks, then an equals sign") << QByteArray(size, ' ') + "=v";
    QTest::newRow("head and blanks and a letter") << "[S]" + QByteArray(size, ' ') + "x";
    QTest::newRow("value") << "k=" + QByteArray(size, 'v');
}

// A line of any length takes time in proportion to it; the limit only tells that from a hang.
void TestParameterFile::hugeLine()
{
    QFETCH(QByteArray, line);
    const ZmlFile zml(line + "\nA=x\n");
    QElapsedTimer timer;
    timer.start();
    const ParameterFile parameters(zml.path(), u"ZERKMAIL"_s);
    QVERIFY2(timer.elapsed() < 60000, "the line took more than a minute");
    QCOMPARE(parameters.value(u"A"_s, QString()), u"x"_s);
}

void TestParameterFile::binaryNoise()
{
    QByteArray noise;
    for (int i = 0; i < 100000; ++i)
        noise += char((i * 7919 + i / 251) & 0xFF);
    const ZmlFile zml("");
    zml.writeRaw(noise);
    const ParameterFile parameters(zml.path(), u"ZERKMAIL"_s);
    QVERIFY(!parameters.contains(u"TO1"_s));
}

QTEST_APPLESS_MAIN(TestParameterFile)
#include "tst_parameterfile.moc"
