#include "ostrelletest/filecontent.h"
#include "ostrelletest/plainsettingsconversion.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/settingsquestions.h"
#include "ostrelletest/tracerecorder.h"
#include "s3file.h"
#include "s3settingsprivate.h"
#include "s3settingsprivate_p.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSettings>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// Wrong from the start, so that a call that leaves them alone shows.
struct Outcome {
    bool rewritten = false;
    bool formatOk = false;
    QString error = u"left over"_s;
};

Outcome update(const QString &path, bool checkOnly, bool alreadyConverted = false)
{
    Outcome outcome;
    outcome.formatOk = !QFile::exists(path);
    outcome.rewritten = s3SettingsPrivate::updateFormat(path, checkOnly, alreadyConverted, &outcome.formatOk,
                                                        &outcome.error);
    return outcome;
}

// Bytes as a file in text mode holds them on this platform.
QByteArray platformText(const QByteArray &text)
{
    static const bool hasCarriageReturns = [] {
        const QTemporaryDir dir;
        QFile file(dir.filePath(u"text"_s));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Text) || file.write("\n") != 1)
            qFatal("cannot write");
        file.close();
        return readFile(file.fileName()) == "\r\n";
    }();
    QByteArray result = text;
    return hasCarriageReturns ? result.replace('\n', "\r\n") : result;
}

QByteArray encoded(const QString &text, QStringConverter::Encoding encoding)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder(text);
}

// A settings file whose last opening for writing meets a directory of its name.
class UnwritableFile final : public s3File
{
public:
    using s3File::s3File;

    bool open(OpenMode mode) override
    {
        if ((mode & WriteOnly) != 0 && (!QFile::remove(fileName()) || !QDir().mkdir(fileName())))
            qFatal("cannot make the directory");
        return s3File::open(mode);
    }
};

// A file that takes nothing.
class FullFile final : public s3File
{
public:
    using s3File::s3File;

protected:
    qint64 writeData(const char *, qint64) override { return -1; }
};

QString randomText(QRandomGenerator &random, int maxLength)
{
    static const QStringList pieces = {u"\\"_s,
                                       u"\\"_s,
                                       u"\""_s,
                                       u"\""_s,
                                       u"\"\""_s,
                                       u","_s,
                                       u";"_s,
                                       u"="_s,
                                       u"["_s,
                                       u"]"_s,
                                       u" "_s,
                                       u" "_s,
                                       u"\t"_s,
                                       u"%"_s,
                                       u"%41"_s,
                                       u"@"_s,
                                       u"#"_s,
                                       u"'"_s,
                                       u"/"_s,
                                       u"n"_s,
                                       u"x41"_s,
                                       u"0"_s,
                                       u"a"_s,
                                       u"word"_s,
                                       u"ä"_s,
                                       u"€"_s,
                                       u"😀"_s,
                                       u"\u00a0"_s,
                                       u"\u2028"_s,
                                       u"\r"_s,
                                       u"\a"_s,
                                       u"\v"_s,
                                       u"\u0085"_s,
                                       u"true"_s,
                                       u"()"_s,
                                       u"日本"_s,
                                       QString(QChar(0)),
                                       QString(QChar::ByteOrderMark)};
    QString text;
    const int length = random.bounded(maxLength + 1);
    for (int i = 0; i < length; ++i)
        text += pieces.at(random.bounded(int(pieces.size())));
    return text;
}

}

class TestSettingsFormat final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void currentFormat();
    void conversions_data();
    void conversions();
    void checkOnlyWritesNothing_data();
    void checkOnlyWritesNothing();
    void alreadyConverted_data();
    void alreadyConverted();
    void convertsOnce_data();
    void convertsOnce();
    void largeFiles_data();
    void largeFiles();
    void makesAReadOnlyFileWritable();
    void normalisesTheName();
    void pointersMayBeNull();
    void missingFile();
    void directory();
    void cannotBeOpenedForWriting();
    void cannotBeWritten();
    void tracesEachChangedLine();
    void tracesTheFirstChangedLineOfACheck();
    void tracesAFailure();
    void isSilentWithoutItsFlag();
    void doesWhatThePlainOneDoes_data();
    void doesWhatThePlainOneDoes();
    void isReadBackByQt_data();
    void isReadBackByQt();
    void literalValuesAreReadBackByQt_data();
    void literalValuesAreReadBackByQt();
    void readOtherwiseByQt_data();
    void readOtherwiseByQt();
    void fuzzInputs_data();
    void fuzzInputs();
};

void TestSettingsFormat::currentFormat()
{
    QCOMPARE(s3SettingsPrivate::currentFormat(), 2);
}

void TestSettingsFormat::conversions_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after"); // null: the file keeps its bytes

    const QByteArray unchanged;
    QTest::newRow("empty file") << QByteArray("") << unchanged;
    QTest::newRow("backslash") << "path=C:\\temp\n"_ba
                               << "path=C:\\\\temp\n"_ba;
    QTest::newRow("two backslashes") << "path=\\\\server\n"_ba
                                     << "path=\\\\\\\\server\n"_ba;
    QTest::newRow("backslash at the end") << "path=C:\\\nb=1\n"_ba
                                          << "path=C:\\\\\nb=1\n"_ba;
    QTest::newRow("comma") << "list=1,2\n"_ba
                           << "list=\"1,2\"\n"_ba;
    QTest::newRow("semicolon") << "k=1;2\n"_ba
                               << "k=\"1;2\"\n"_ba;
    QTest::newRow("equals sign") << "a=b=c\n"_ba
                                 << "a=\"b=c\"\n"_ba;
    QTest::newRow("quotes in quotes") << "text=\"say \"hi\"\"\n"_ba
                                      << "text=\"say \\\"hi\\\"\"\n"_ba;
    QTest::newRow("quotes inside") << "k=say \"hi\" now\n"_ba
                                   << "k=say \\\"hi\\\" now\n"_ba;
    QTest::newRow("one lone quote") << "k=\"\n"_ba
                                    << "k=\\\"\n"_ba;
    QTest::newRow("two quotes") << "k=\"\"\n"_ba << unchanged;
    QTest::newRow("three quotes") << "k=\"\"\"\n"_ba
                                  << "k=\"\\\"\"\n"_ba;
    QTest::newRow("lone quote at the beginning") << "k=\"abc\n"_ba
                                                 << "k=\\\"abc\n"_ba;
    QTest::newRow("lone quote at the end") << "k=abc\"\n"_ba
                                           << "k=abc\\\"\n"_ba;
    QTest::newRow("lone quote and comma") << "k=\"a,b\n"_ba
                                          << "k=\"\\\"a,b\"\n"_ba;
    QTest::newRow("text behind the quotes") << "k=\"a\";\n"_ba
                                            << "k=\"\\\"a\\\";\"\n"_ba;
    QTest::newRow("backslash and quote") << "k=\\\"\n"_ba
                                         << "k=\\\\\\\"\n"_ba;
    QTest::newRow("quoted backslash") << "k=\"C:\\x\"\n"_ba
                                      << "k=\"C:\\\\x\"\n"_ba;
    QTest::newRow("quoted") << "k=\"x y\"\n"_ba << unchanged;
    QTest::newRow("quoted, blanks inside") << "k=\"  x  \"\n"_ba << unchanged;
    QTest::newRow("quoted list") << "k=\"a,b;c=d\"\n"_ba << unchanged;
    QTest::newRow("quoted, blanks outside") << "k =  \"x\"  \n"_ba << unchanged;
    QTest::newRow("apostrophes") << "k='x'\n"_ba << unchanged;
    QTest::newRow("plain") << "k=v\n"_ba << unchanged;
    QTest::newRow("inner blanks") << "k=a  b\tc\n"_ba << unchanged;
    QTest::newRow("empty value") << "key=\n"_ba << unchanged;
    QTest::newRow("empty value and a change") << "key=\nx=1,2\n"_ba
                                              << "key=\nx=\"1,2\"\n"_ba;
    QTest::newRow("blank value") << "key=   \n"_ba << unchanged;
    QTest::newRow("blank value and a change") << "key =   \nx=1,2\n"_ba
                                              << "key =\nx=\"1,2\"\n"_ba;
    QTest::newRow("blanks around") << "  key =  value  \n"_ba << unchanged;
    QTest::newRow("blanks around and a change")
        << "  key =  value  \n\t; c \n [s] \n\n text \n k \t=\t a,b \t\n"_ba
        << "key =  value\n; c\n[s]\n\ntext\nk=\"a,b\"\n"_ba;
    QTest::newRow("no key") << "=value\n"_ba << unchanged;
    QTest::newRow("no key, list") << "=a,b\n"_ba << unchanged;
    QTest::newRow("equals sign as key") << "=a=b\n"_ba << unchanged;
    QTest::newRow("equals sign as key, list") << "=a=b,c\n"_ba
                                              << "=a=\"b,c\"\n"_ba;
    QTest::newRow("two equals signs, list") << "==b,c\n"_ba
                                            << "==\"b,c\"\n"_ba;
    QTest::newRow("three equals signs") << "===\n"_ba
                                        << "==\"=\"\n"_ba;
    QTest::newRow("comment") << "; a=b\n;a=b,c\n  ;a=\\\n"_ba << unchanged;
    QTest::newRow("section") << "[a=b]\n[a=b,c]\n [a=\\\n"_ba << unchanged;
    QTest::newRow("comment and section in a rewrite") << "; a=b,c\n[a=b,c]\nx=1,2\n"_ba
                                                      << "; a=b,c\n[a=b,c]\nx=\"1,2\"\n"_ba;
    QTest::newRow("hash is a key") << "#c=a,b\n"_ba
                                   << "#c=\"a,b\"\n"_ba;
    QTest::newRow("semicolon and bracket inside a key") << "a;b[c]=1,2\n"_ba
                                                        << "a;b[c]=\"1,2\"\n"_ba;
    QTest::newRow("text without equals sign") << "a,b;c\\\"\n"_ba << unchanged;
    QTest::newRow("empty lines") << "\n\nx=1,2\n\n"_ba
                                 << "\n\nx=\"1,2\"\n\n"_ba;
    QTest::newRow("no final line end") << "a=1\nx=1,2"_ba
                                       << "a=1\nx=\"1,2\"\n"_ba;
    QTest::newRow("no final line end, unchanged") << "a=1\nx=2"_ba << unchanged;
    QTest::newRow("CRLF") << "a=1\r\nx=1,2\r\n"_ba
                          << "a=1\nx=\"1,2\"\n"_ba;
    QTest::newRow("CRLF, unchanged") << "a=1\r\nx=2\r\n"_ba << unchanged;
    QTest::newRow("CRLF, empty value") << "a=\r\nx=1,2\r\n"_ba
                                       << "a=\nx=\"1,2\"\n"_ba;
    QTest::newRow("mixed line ends") << "a=1,2\r\nb=1,2\nc=1,2\r\r\n"_ba
                                     << "a=\"1,2\"\nb=\"1,2\"\nc=\"1,2\"\n"_ba;
    QTest::newRow("a bare carriage return is no line end") << "a=1\rb=2\n"_ba
                                                           << "a=\"1\rb=2\"\n"_ba;
    QTest::newRow("final carriage return") << "a=1,2\r"_ba
                                           << "a=\"1,2\"\n"_ba;
    QTest::newRow("not ASCII") << u"größe=1,5 €\n日本=😀\\\n"_s.toUtf8()
                               << u"größe=\"1,5 €\"\n日本=😀\\\\\n"_s.toUtf8();
    QTest::newRow("Unicode spaces around")
        << u"\u2003k\u00a0=\u3000a,b\u2028\n\u0085[s]\u1680\n"_s.toUtf8() << "k=\"a,b\"\n[s]\n"_ba;
    QTest::newRow("a blank without width is no space")
        << u"k=\u200ba,b\u200b\n"_s.toUtf8() << u"k=\"\u200ba,b\u200b\"\n"_s.toUtf8();
    QTest::newRow("UTF-8 with mark") << "\xEF\xBB\xBFx=1,2\n"_ba
                                     << "x=\"1,2\"\n"_ba;
    QTest::newRow("UTF-8 with mark, unchanged") << "\xEF\xBB\xBFx=1\n"_ba << unchanged;
    QTest::newRow("UTF-8 with mark before a section") << "\xEF\xBB\xBF[a=b,c]\nx=1,2\n"_ba
                                                      << "[a=b,c]\nx=\"1,2\"\n"_ba;
    QTest::newRow("two marks") << "\xEF\xBB\xBF\xEF\xBB\xBF;x=1,2\n"_ba
                               << "\xEF\xBB\xBF;x=\"1,2\"\n"_ba;
    QTest::newRow("mark alone") << "\xEF\xBB\xBF"_ba << unchanged;
    const QString utf16Text = u"größe=1,5\r\nb=😀\r\n"_s;
    const QByteArray utf16Expected = u"größe=\"1,5\"\nb=😀\n"_s.toUtf8();
    QTest::newRow("UTF-16LE") << encoded(utf16Text, QStringConverter::Utf16LE) << utf16Expected;
    QTest::newRow("UTF-16BE") << encoded(utf16Text, QStringConverter::Utf16BE) << utf16Expected;
    QTest::newRow("UTF-32LE") << encoded(utf16Text, QStringConverter::Utf32LE) << utf16Expected;
    QTest::newRow("UTF-32BE") << encoded(utf16Text, QStringConverter::Utf32BE) << utf16Expected;
    QTest::newRow("UTF-16, unchanged") << encoded(u"a=1\n"_s, QStringConverter::Utf16LE) << unchanged;
    // Half of a surrogate pair: no regular expression matches such a line, and UTF-8 has no place for it.
    QTest::newRow("UTF-16, half a pair") << "\xFF\xFE"
                                            "a\0=\0,\0\x00\xD8\n\0b\0=\0,\0\n\0"_ba
                                         << "a=,\xEF\xBF\xBD\nb=\",\"\n"_ba;
    QTest::newRow("NUL") << "a=x\0y\nb\0b=1,\0\n\0=\\\n"_ba
                         << "a=x\0y\nb\0b=\"1,\0\"\n\0=\\\\\n"_ba;
    QTest::newRow("invalid UTF-8") << "a=\xFF,\n"_ba
                                   << "a=\"\xEF\xBF\xBD,\"\n"_ba;
    QTest::newRow("Latin-1") << "gr\xF6\xDF"
                                "e=1,5\n"_ba
                             << "gr\xEF\xBF\xBD\xEF\xBF\xBD"
                                "e=\"1,5\"\n"_ba;
    QTest::newRow("control characters") << "a=\x01\x7F,\x1B\n"_ba
                                        << "a=\"\x01\x7F,\x1B\"\n"_ba;
    QTest::newRow("every kind of line")
        << "k=C:\\a\n[version]\nformat=1\n; k=1,2\n\ntext\n=x\n[s]\nl=a, b\nq=\"x\"\n"_ba
        << "k=C:\\\\a\n[version]\nformat=1\n; k=1,2\n\ntext\n=x\n[s]\nl=\"a, b\"\nq=\"x\"\n"_ba;
}

void TestSettingsFormat::conversions()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"größe.ini"_s);
    QVERIFY(writeFile(path, before));
    const Outcome outcome = update(path, false);
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.formatOk, true);
    QCOMPARE(outcome.rewritten, !after.isNull());
    QCOMPARE(readFile(path), after.isNull() ? before : platformText(after));
}

void TestSettingsFormat::checkOnlyWritesNothing_data()
{
    conversions_data();
}

void TestSettingsFormat::checkOnlyWritesNothing()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, before));
    const Outcome outcome = update(path, true);
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.formatOk, after.isNull());
    QCOMPARE(outcome.rewritten, false);
    QCOMPARE(readFile(path), before);
}

void TestSettingsFormat::alreadyConverted_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("ok");
    QTest::newRow("empty") << QByteArray("") << true;
    QTest::newRow("plain") << "x y"_ba << true;
    QTest::newRow("quoted path") << "\"C:\\\\temp\""_ba << true;
    QTest::newRow("path") << "C:\\\\temp"_ba << true;
    QTest::newRow("path of old") << "C:\\temp"_ba << false;
    QTest::newRow("quoted path of old") << "\"C:\\temp\""_ba << false;
    QTest::newRow("three backslashes") << "C:\\\\\\temp"_ba << false;
    QTest::newRow("four backslashes") << "\\\\\\\\server"_ba << true;
    QTest::newRow("quoted list") << "\"1,2\""_ba << true;
    QTest::newRow("list") << "1,2"_ba << false;
    QTest::newRow("quoted semicolon") << "\"1;2\""_ba << true;
    QTest::newRow("semicolon") << "1;2"_ba << false;
    QTest::newRow("quoted equals sign") << "\"1=2\""_ba << true;
    QTest::newRow("equals sign") << "1=2"_ba << false;
    QTest::newRow("marked quotes") << "\"say \\\"hi\\\"\""_ba << true;
    QTest::newRow("bare quotes") << "\"say \"hi\"\""_ba << false;
    QTest::newRow("lone quote") << "\""_ba << false;
    QTest::newRow("marked lone quote") << "\\\""_ba << true;
    QTest::newRow("two quotes") << "\"\""_ba << true;
    QTest::newRow("three quotes") << "\"\"\""_ba << false;
    QTest::newRow("open quote") << "\"a"_ba << false;
    QTest::newRow("backslash and quote") << "\\\\\\\""_ba << true;
    QTest::newRow("one lone backslash") << "\\"_ba << false;
    QTest::newRow("marked comma") << "a\\,b"_ba << false;
    QTest::newRow("not ASCII") << u"\"größe, €\""_s.toUtf8() << true;
}

void TestSettingsFormat::alreadyConverted()
{
    QFETCH(const QByteArray, value);
    QFETCH(const bool, ok);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    const QByteArray content = "[version]\nformat=2\n[s]\nkey=" + value + "\n";
    QVERIFY(writeFile(path, content));
    for (const bool checkOnly : {true, false}) {
        const Outcome outcome = update(path, checkOnly, true);
        QCOMPARE(outcome.formatOk, ok);
        QCOMPARE(outcome.rewritten, false);
        QCOMPARE(outcome.error, QString());
        QCOMPARE(readFile(path), content);
    }
}

void TestSettingsFormat::convertsOnce_data()
{
    conversions_data();
}

// What was rewritten is in the form of the new generation.
void TestSettingsFormat::convertsOnce()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, before));
    QCOMPARE(update(path, false).rewritten, !after.isNull());
    // The line with half a pair matched no expression; with the character that replaces it, it does.
    const bool isReplaced = after.contains("\xEF\xBF\xBD\nb");
    if (!after.isNull())
        QCOMPARE(update(path, true, true).formatOk, !isReplaced);
}

void TestSettingsFormat::largeFiles_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const QByteArray many = QByteArray("k=€\\\n").repeated(100000);
    QTest::newRow("many lines") << many << QByteArray("k=€\\\\\n").repeated(100000);
    const QByteArray million(1000000, 'x');
    QTest::newRow("long value") << "a=" + million + ",\nb=1,2"
                                << "a=\"" + million + ",\"\nb=\"1,2\"\n";
    QTest::newRow("long value, not changed") << "a=" + million + "\nb=1,2"
                                             << "a=" + million + "\nb=\"1,2\"\n";
    QTest::newRow("long key") << million + " = 1,2\n" << million + "=\"1,2\"\n";
    QTest::newRow("long comment") << ";" + million + "=,\na=,\n"
                                  << ";" + million + "=,\na=\",\"\n";
    QTest::newRow("long section") << "[" + million + "=,\na=,\n"
                                  << "[" + million + "=,\na=\",\"\n";
    QTest::newRow("long text") << million + "\na=,\n" << million + "\na=\",\"\n";
    QTest::newRow("long value of backslashes")
        << "a=" + QByteArray(1000000, '\\') << "a=" + QByteArray(2000000, '\\') + "\n";
    QTest::newRow("long value of quotes")
        << "a=" + QByteArray(1000001, '"') << "a=\"" + QByteArray("\\\"").repeated(999999) + "\"\n";
    QTest::newRow("many empty lines")
        << QByteArray(100000, '\n') + "a=," << QByteArray(100000, '\n') + "a=\",\"\n";
    // Characters of several bytes and line ends at every distance from the size in which files are read.
    for (int shift = 0; shift < 5; ++shift) {
        const QByteArray lead(16384 - 3 - shift, 'x');
        QTest::addRow("block border %d", shift) << ";" + lead + "😀\r\na=€,\r\n"
                                                << ";" + lead + "😀\na=\"€,\"\n";
        QTest::addRow("line end at the border %d", shift) << "a=" + lead + "\r\n\r\nb=,\r\n"
                                                          << "a=" + lead + "\n\nb=\",\"\n";
    }
}

void TestSettingsFormat::largeFiles()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, before));
    QVERIFY(!update(path, true).formatOk);
    const Outcome outcome = update(path, false);
    QVERIFY(outcome.rewritten);
    QVERIFY(outcome.formatOk);
    QVERIFY(readFile(path) == platformText(after));
    QVERIFY(convertSettingsPlainly(before).bytes == after);
}

void TestSettingsFormat::makesAReadOnlyFileWritable()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "a=1,2\n"));
    QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadUser));
    QVERIFY(update(path, false).rewritten);
    QCOMPARE(readFile(path), platformText("a=\"1,2\"\n"));
    QVERIFY((QFile::permissions(path) & QFileDevice::WriteUser) != 0);
}

void TestSettingsFormat::normalisesTheName()
{
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"sub"_s));
    QVERIFY(writeFile(dir.filePath(u"sub/a.ini"_s), "a=1,2\n"));
    QVERIFY(s3SettingsPrivate::updateFormat(dir.path() + u"\\sub\\a.ini"_s, false, false, nullptr, nullptr));
    QCOMPARE(readFile(dir.filePath(u"sub/a.ini"_s)), platformText("a=\"1,2\"\n"));
}

void TestSettingsFormat::pointersMayBeNull()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(!s3SettingsPrivate::updateFormat(path, false, false, nullptr, nullptr));
    QVERIFY(writeFile(path, "a=1,2\n"));
    QVERIFY(!s3SettingsPrivate::updateFormat(path, true, false, nullptr, nullptr));
    QVERIFY(s3SettingsPrivate::updateFormat(path, false, false, nullptr, nullptr));
}

void TestSettingsFormat::missingFile()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"no.ini"_s);
    s3File missing(path);
    QVERIFY(!missing.open(QIODevice::ReadOnly));
    const QString reason = missing.nativeErrorText(); // the system's words on Windows
    for (const bool checkOnly : {false, true}) {
        const Outcome outcome = update(path, checkOnly);
        QCOMPARE(outcome.rewritten, false);
        QCOMPARE(outcome.formatOk, false);
        QCOMPARE(outcome.error, u"Datei %1 kann nicht geöffnet werden.\n"_s.arg(path) + reason);
    }
    QVERIFY(!QFile::exists(path));
}

void TestSettingsFormat::directory()
{
    const QTemporaryDir dir;
    const Outcome outcome = update(dir.path(), false);
    QCOMPARE(outcome.rewritten, false);
    QCOMPARE(outcome.formatOk, false);
    s3File file(dir.path());
    QVERIFY(!file.open(QIODevice::ReadOnly));
    QCOMPARE(outcome.error, file.errorText(QFileDevice::OpenError));
    QVERIFY(!outcome.error.isEmpty());
}

void TestSettingsFormat::cannotBeOpenedForWriting()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "a=1,2\n"));
    UnwritableFile file(path);
    bool formatOk = true;
    QString error;
    QVERIFY(!s3UpdateSettingsFormat(file, false, false, formatOk, error));
    QCOMPARE(formatOk, false);
    s3File same(path);
    QVERIFY(!same.open(QIODevice::WriteOnly));
    QCOMPARE(error, same.errorText(QFileDevice::OpenError));
    QVERIFY2(error.startsWith(u"Datei %1 kann nicht geöffnet werden.\n"_s.arg(path)), qPrintable(error));
}

void TestSettingsFormat::cannotBeWritten()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "a=1,2\n"));
    FullFile file(path);
    bool formatOk = true;
    QString error;
    QVERIFY(!s3UpdateSettingsFormat(file, false, false, formatOk, error));
    QCOMPARE(formatOk, false);
    QVERIFY2(error.startsWith(u"Ein-/Ausgabefehler beim Schreiben der Datei %1.\n"_s.arg(path)),
             qPrintable(error));
    QCOMPARE(readFile(path), QByteArray(""));
}

void TestSettingsFormat::tracesEachChangedLine()
{
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, " a b = 1,%2 \nsame=1\nc=\\\n"));
    QVERIFY(update(path, false).rewritten);
    QCOMPARE(recorder.lines(),
             QStringList({u"s3SettingsPrivate::updateFormat(key='a b' value='\"1,%2\"' valueOrig='1,%2')"_s,
                          u"s3SettingsPrivate::updateFormat(key='c' value='\\\\' valueOrig='\\')"_s,
                          u"s3SettingsPrivate::updateFormat(fileName='%1', checkOnly=false): true "
                          "[formatOk=true errorStringFileAccess=]"_s.arg(path)}));
}

void TestSettingsFormat::tracesTheFirstChangedLineOfACheck()
{
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "a=1,2\nc=\\\n"));
    QVERIFY(!update(path, true).formatOk);
    const QStringList expected
        = {u"s3SettingsPrivate::updateFormat(key='a' value='\"1,2\"' valueOrig='1,2')"_s,
           u"s3SettingsPrivate::updateFormat(fileName='%1', checkOnly=true): false "
           "[formatOk=false errorStringFileAccess=]"_s.arg(path)};
    QCOMPARE(recorder.lines(), expected);
    // A file that is taken for converted is only looked at, whatever was asked for.
    QVERIFY(!update(path, false, true).formatOk);
    QCOMPARE(recorder.lines(), expected + expected);
}

void TestSettingsFormat::tracesAFailure()
{
    const ScopedTestFlag flag(120);
    const TraceRecorder recorder;
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"no.ini"_s);
    const Outcome outcome = update(path, false);
    QCOMPARE(recorder.lines(),
             QStringList(u"s3SettingsPrivate::updateFormat(fileName='"_s + path
                         + u"', checkOnly=false): false [formatOk=false errorStringFileAccess="_s
                         + outcome.error + u']'));
}

void TestSettingsFormat::isSilentWithoutItsFlag()
{
    const ScopedTestFlag flag(121);
    const TraceRecorder recorder;
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "a=1,2\n"));
    QVERIFY(update(path, false).rewritten);
    QCOMPARE(recorder.lines(), QStringList());
}

void TestSettingsFormat::doesWhatThePlainOneDoes_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 300; ++seed)
        QTest::addRow("%u", seed) << seed;
}

// Anything goes into these files: keys, values and lines of any kind.
void TestSettingsFormat::doesWhatThePlainOneDoes()
{
    QFETCH(const quint32, seed);
    QRandomGenerator random(seed);
    QString text;
    const int lines = random.bounded(60);
    for (int i = 0; i < lines; ++i) {
        text += randomText(random, 6);
        if (random.bounded(4) != 0)
            text += u'=' + randomText(random, 6);
        if (i + 1 < lines || random.bounded(2) != 0)
            text += random.bounded(3) == 0 ? u"\r\n"_s : u"\n"_s;
    }
    QByteArray before = text.toUtf8();
    if (random.bounded(4) == 0)
        before = encoded(text, QStringConverter::Utf16LE);
    else if (!before.isEmpty() && random.bounded(4) == 0)
        before[random.bounded(int(before.size()))] = '\xC3';

    const PlainSettingsConversion plain = convertSettingsPlainly(before);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, before));
    QCOMPARE(update(path, true).formatOk, plain.formatOk);
    QCOMPARE(update(path, true, true).formatOk, convertSettingsPlainly(before, true).formatOk);
    const Outcome outcome = update(path, false);
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.formatOk, true);
    QCOMPARE(outcome.rewritten, !plain.formatOk);
    QCOMPARE(readFile(path), plain.formatOk ? before : platformText(plain.bytes));
}

void TestSettingsFormat::isReadBackByQt_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 300; ++seed)
        QTest::addRow("%u", seed) << seed;
}

// The judge of the conversion is who reads the file afterwards: each value stands for itself, whatever is in
// it. The keys are simple ones, as Qt has its own notation for others.
void TestSettingsFormat::isReadBackByQt()
{
    QFETCH(const quint32, seed);
    QRandomGenerator random(seed);
    QString text;
    for (int section = 0; section < 5; ++section) {
        if (section > 0)
            text += u"[section %1]\n"_s.arg(section);
        const int lines = random.bounded(1, 30);
        for (int i = 0; i < lines; ++i) {
            QString value = randomText(random, 10);
            if (value.contains(u'\r'))
                value += u','; // so that it is quoted; bare ones are not read back
            if (random.bounded(4) == 0)
                value = u'"' + value + u'"';
            text += u"key %1 = %2%3"_s.arg(QString::number(i), value,
                                           random.bounded(3) == 0 ? u"\r\n"_s : u"\n"_s);
            if (random.bounded(8) == 0)
                text += u"\n;"_s + randomText(random, 10).remove(u'\r') + u'\n';
        }
    }
    const QByteArray before = text.toUtf8();
    const PlainSettingsConversion plain = convertSettingsPlainly(before);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, before));
    QCOMPARE(update(path, false).rewritten, !plain.formatOk);
    const QSettings settings(path, QSettings::IniFormat);
    int compared = 0;
    for (const PlainSettingsConversion::KeyLine &line : plain.keyLines) {
        if (isReadOtherwiseByQt(line))
            continue;
        const QString section = line.section.isEmpty() ? QString() : line.section.mid(1).chopped(1) + u'/';
        const QVariant value = settings.value(section + line.key);
        QVERIFY2(value.typeId() == QMetaType::QString, qPrintable(line.rawValue));
        QCOMPARE(value.toString(), line.literal);
        ++compared;
    }
    QVERIFY(compared > 0);
}

void TestSettingsFormat::literalValuesAreReadBackByQt_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("literal");
    QTest::newRow("path") << u"C:\\temp\\new"_s << u"C:\\temp\\new"_s;
    QTest::newRow("escapes mean nothing") << u"\\n\\x41\\101\\a"_s << u"\\n\\x41\\101\\a"_s;
    QTest::newRow("list") << u"1, 2,3"_s << u"1, 2,3"_s;
    QTest::newRow("comment sign") << u"a ; b"_s << u"a ; b"_s;
    QTest::newRow("quoted blanks") << u"\"  a  \""_s << u"  a  "_s;
    QTest::newRow("quoted list") << u"\"a,b\""_s << u"a,b"_s;
    QTest::newRow("quotes") << u"say \"hi\""_s << u"say \"hi\""_s;
    QTest::newRow("lone quote") << u"\""_s << u"\""_s;
    QTest::newRow("two quotes") << u"\"\""_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("backslash at the end") << u"a\\"_s << u"a\\"_s;
    QTest::newRow("quoted backslash at the end") << u"\"a, b\\\""_s << u"a, b\\"_s;
    QTest::newRow("percent") << u"50%20"_s << u"50%20"_s;
    QTest::newRow("not ASCII") << u"größe, € 😀"_s << u"größe, € 😀"_s;
    QTest::newRow("NUL") << QString(u"a\0b"_s) << QString(u"a\0b"_s);
    QTest::newRow("carriage return in a list") << u"a\r,b"_s << u"a\r,b"_s;
}

void TestSettingsFormat::literalValuesAreReadBackByQt()
{
    QFETCH(const QString, raw);
    QFETCH(const QString, literal);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, "[s]\nbefore=1\nkey="_ba + raw.toUtf8() + "\nafter=2\nchange=1,2\n"));
    QVERIFY(update(path, false).rewritten);
    const QSettings settings(path, QSettings::IniFormat);
    QCOMPARE(settings.status(), QSettings::NoError);
    QCOMPARE(settings.allKeys().size(), 4);
    QCOMPARE(settings.value(u"s/key"_s).toString(), literal);
    QCOMPARE(settings.value(u"s/after"_s).toString(), u"2"_s);
}

void TestSettingsFormat::readOtherwiseByQt_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("read");
    QTest::newRow("at sign") << u"@@a"_s << u"@a"_s;
    QTest::newRow("a text as a type") << u"@String(a)"_s << u"a"_s;
    QTest::newRow("no value") << u"@Invalid()"_s << QString();
    QTest::newRow("bare carriage return") << u"a\rb"_s << u"a"_s;
    QTest::newRow("no-break spaces around") << u" \u00a0a\u00a0 "_s << u"\u00a0a\u00a0"_s;
    QTest::newRow("vertical tab") << u"\va"_s << u"\va"_s;
    QTest::newRow("byte order mark") << u"\ufeffa"_s << u"a"_s;
}

// Not a promise but what users meet: notations of QSettings that the conversion leaves alone.
void TestSettingsFormat::readOtherwiseByQt()
{
    QFETCH(const QString, raw);
    QFETCH(const QString, read);
    const QByteArray content = "key="_ba + raw.toUtf8() + '\n';
    QVERIFY(isReadOtherwiseByQt(convertSettingsPlainly(content).keyLines.first()));
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"a.ini"_s);
    QVERIFY(writeFile(path, content));
    QVERIFY(!update(path, false).rewritten);
    const QSettings settings(path, QSettings::IniFormat);
    QCOMPARE(settings.value(u"key"_s).toString(), read);
}

void TestSettingsFormat::fuzzInputs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QDir directory(QStringLiteral(OSTRELLE_FUZZ_INPUTS));
    for (const QString &name : directory.entryList(QDir::Files)) {
        const QByteArray bytes = readFile(directory.filePath(name));
        QTest::newRow(qUtf8Printable(name)) << bytes;
    }
}

// Replays what the fuzz target starts from and what it has found, whole and cut off at each byte.
void TestSettingsFormat::fuzzInputs()
{
    QFETCH(const QByteArray, bytes);
    QVERIFY(!bytes.isEmpty());
    for (qsizetype size = 0; size <= bytes.size(); ++size)
        QVERIFY2(askSettingsFormat(bytes.first(size)), qPrintable(QString::number(size)));
}

QTEST_GUILESS_MAIN(TestSettingsFormat)
#include "tst_s3settingsformat.moc"
