#include "coreutil.h"
#include "error/stacktrace.h"
#include "ostrelletest/filecontent.h"
#include "platform/faultcontext.h"
#include "platform/stackwalker.h"
#include "platform/systemerror.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>

using namespace Qt::StringLiterals;
using platform::StackFrame;
using platform::StackLine;
using platform::StackModule;
using platform::StackSymbol;

namespace
{

struct ScriptedFrame {
    StackFrame frame;
    std::optional<StackModule> module;
    std::optional<StackSymbol> symbol;
    std::optional<StackLine> line;
};

ScriptedFrame frameIn(quint64 address, const QString &imageName, const QString &symbol = QString())
{
    ScriptedFrame scripted;
    scripted.frame = {.programCounter = 0x400000 + address, .frameAddress = address, .lookupAddress = 0};
    scripted.module
        = StackModule{.moduleName = u"short"_s, .imageName = imageName, .loadedImageName = u"l"_s};
    if (!symbol.isEmpty())
        scripted.symbol = StackSymbol{.name = symbol, .displacement = 1};
    return scripted;
}

// A stack as written down by a test.
class ScriptedWalker final : public platform::StackWalker
{
public:
    QList<ScriptedFrame> frames;
    QString words = u"scripted"_s; // of every failure
    bool isInitializable = true;
    bool hasSearchPath = true;
    QString path = u".;C:\\symbols"_s;
    QString fallbackModule;
    quint32 systemError = 0; // left by the set-up
    qsizetype unreadableFrom = std::numeric_limits<qsizetype>::max(); // which words
    std::function<void(qsizetype)> beforeFrame;
    std::function<quint64(quint64)> wordAt = [](quint64 address) {
        return address;
    };

    int initialized = 0;
    int cleanedUp = 0;
    int started = 0;
    int symbolsAsked = 0;
    qsizetype walked = 0;
    quint64 fallbackAsked = 0;
    s3FaultContext startedAt;
    QList<quint64> wordsRead;

    Version version() override { return {.major = 4, .minor = 0, .revision = 5}; }
    bool initialize() override
    {
        ++initialized;
        platform::setLastSystemError(systemError);
        return isInitializable;
    }
    void cleanUp() override { ++cleanedUp; }
    bool searchPath(QString &result) override
    {
        result = path;
        return hasSearchPath;
    }
    void start(const s3FaultContext &context) override
    {
        ++started;
        startedAt = context;
        walked = 0;
    }
    bool next(StackFrame &frame) override
    {
        if (beforeFrame)
            beforeFrame(walked);
        if (walked >= frames.size())
            return false;
        frame = frames[walked++].frame;
        return true;
    }
    bool module(const StackFrame &, StackModule &module) override
    {
        if (!current().module) {
            module.moduleName = u"left over"_s;
            module.imageName = u"left over"_s;
            module.loadedImageName = u"left over"_s;
            return false;
        }
        module = *current().module;
        return true;
    }
    bool symbol(const StackFrame &, StackSymbol &symbol) override
    {
        ++symbolsAsked;
        symbol = current().symbol.value_or(StackSymbol());
        return current().symbol.has_value();
    }
    bool line(const StackFrame &, StackLine &line) override
    {
        line = current().line.value_or(StackLine());
        return current().line.has_value();
    }
    bool word(quint64 address, quint64 &word) override
    {
        if (wordsRead.size() >= unreadableFrom)
            return false;
        wordsRead += address;
        word = wordAt(address);
        return true;
    }
    QString modulePath(quint64 address) override
    {
        fallbackAsked = address;
        return fallbackModule;
    }
    QString errorText() override { return words; }

private:
    [[nodiscard]] const ScriptedFrame &current() const { return frames[walked - 1]; }
};

const QByteArray head
    = "ImageHlpApiVersion: 4 0 5\nsearchPath=.;C:\\symbols\n\nCall Stack (TraceStack_ME):\n"_ba;
const QByteArray tail = QByteArray(90, '-') + "\nfinished.\n\n"_ba;

QByteArray trace(ScriptedWalker &walker)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    writeStackTrace(file, walker);
    return file.data();
}

// The trace between its head and its tail; the whole of it when one of them is missing.
QByteArray frameLines(ScriptedWalker &walker)
{
    const QByteArray all = trace(walker);
    if (!all.startsWith(head) || !all.endsWith(tail))
        return all;
    return all.mid(head.size(), all.size() - head.size() - tail.size());
}

QString hexadecimal(quint64 value)
{
    return u"%1"_s.arg(value, 16, 16, QChar(u'0'));
}

}

class TestStackTrace final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { s3SaveContext(nullptr); }

    void reportLine_data();
    void reportLine();
    void everyLineIsFlushed();

    void setUp();
    void setUpWithoutSearchPath();
    void setUpFails_data();
    void setUpFails();

    void closedFile();
    void noContextForcesOne();
    void walkStartsAtTheContext();
    void noFrameAtAll();
    void ends_data();
    void ends();
    void endAtTheFirstFrame_data();
    void endAtTheFirstFrame();
    void wholeFrames();
    void symbolFails_data();
    void symbolFails();
    void sourceFile_data();
    void sourceFile();
    void moduleNameIsCut_data();
    void moduleNameIsCut();
    void depth_data();
    void depth();
    void stackWords_data();
    void stackWords();
    void stackWordsBreakLines_data();
    void stackWordsBreakLines();
    void stackWordsThatCannotBeRead_data();
    void stackWordsThatCannotBeRead();
    void exceptionStillCleansUp();

    void summaryReset();
    void summary_data();
    void summary();
    void summaryStopsAtTheThirdModule();
    void summaryKeepsTheFirstFrameAddress();
    void summaryForcesAContext();
    void summaryLooksAtAHundredFrames_data();
    void summaryLooksAtAHundredFrames();
    void summaryWithoutSymbols_data();
    void summaryWithoutSymbols();
    void summaryForgetsTheOneBefore();
};

void TestStackTrace::init()
{
    s3FaultContext context;
    context.rip = 0x401000;
    context.rsp = 0x1000;
    s3SaveContext(&context);
}

void TestStackTrace::reportLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("ASCII") << u"a\nb"_s << "a\nb"_ba;
    QTest::newRow("empty") << QString() << ""_ba;
    QTest::newRow("umlauts") << u"größe\n"_s
                             << "gr\x94\xe1"
                                "e\n"_ba;
    QTest::newRow("euro") << u"€"_s << "\xfe"_ba;
    QTest::newRow("escaped") << u"中"_s << "\xff\xe4\xb8\xad"_ba;
}

void TestStackTrace::reportLine()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    writeReportLine(file, text);
    QCOMPARE(file.data().toHex(), bytes.toHex());
}

// What a walk has written before it dies is in the file.
void TestStackTrace::everyLineIsFlushed()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"trace"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"a"_s, u"f"_s), frameIn(0x1010, u"a"_s, u"g"_s)};
    QList<QByteArray> seen;
    walker.beforeFrame = [&](qsizetype) {
        seen += readFile(file.fileName());
    };
    writeStackTrace(file, walker);
    QCOMPARE(seen.size(), 3);
    QCOMPARE(seen[0], head);
    QVERIFY(seen[1].endsWith("(short) f+1\n                   RIP=401000, StackFrame=1000\n"));
    QVERIFY(seen[2].endsWith("RIP=401010, StackFrame=1010\n"));
}

void TestStackTrace::setUp()
{
    ScriptedWalker walker;
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QVERIFY(initDbghelpStackTrace(file, walker));
    QCOMPARE(file.data(), "ImageHlpApiVersion: 4 0 5\nsearchPath=.;C:\\symbols\n"_ba);
    QCOMPARE(walker.initialized, 1);
}

void TestStackTrace::setUpWithoutSearchPath()
{
    ScriptedWalker walker;
    walker.hasSearchPath = false;
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QVERIFY(initDbghelpStackTrace(file, walker));
    QCOMPARE(file.data(), "ImageHlpApiVersion: 4 0 5\n"_ba);
}

void TestStackTrace::setUpFails_data()
{
    QTest::addColumn<QString>("words");

    QTest::newRow("the walker's own words") << u"no ELF für dich"_s;
    QTest::newRow("the system's words") << QString();
}

void TestStackTrace::setUpFails()
{
    QFETCH(QString, words);
    ScriptedWalker walker;
    walker.isInitializable = false;
    walker.words = words;
    walker.systemError = 5;
    platform::setLastSystemError(5);
    const QString reason = words.isEmpty() ? s3LastErrorText() : words;
    platform::setLastSystemError(0);
    QByteArray expected = "ImageHlpApiVersion: 4 0 5\ninitDbghelpStackTrace() failed: "_ba;
    expected += reason.toLatin1().replace("\xfc", "\x81");
    QCOMPARE(trace(walker), expected); // and nothing behind it
    QCOMPARE(walker.started, 0);
}

void TestStackTrace::closedFile()
{
    ScriptedWalker walker;
    s3SaveContext(nullptr);
    QBuffer file;
    writeStackTrace(file, walker);
    QCOMPARE(file.data(), QByteArray());
    QCOMPARE(walker.initialized, 0);
    QVERIFY(s3SavedContext() == nullptr); // nor was a fault forced
}

void TestStackTrace::noContextForcesOne()
{
    ScriptedWalker walker;
    s3SaveContext(nullptr);
    QCOMPARE(trace(walker), head + tail);
    QVERIFY(s3SavedContext() != nullptr);
    QVERIFY(s3SavedContext()->rip != 0);
    QCOMPARE(walker.startedAt.rip, s3SavedContext()->rip);
    QCOMPARE(walker.startedAt.rsp, s3SavedContext()->rsp);
}

void TestStackTrace::walkStartsAtTheContext()
{
    ScriptedWalker walker;
    QCOMPARE(trace(walker), head + tail);
    QCOMPARE(walker.startedAt.rip, 0x401000U);
    QCOMPARE(walker.startedAt.rsp, 0x1000U);
    QCOMPARE(s3SavedContext()->rip, 0x401000U); // as it was
}

void TestStackTrace::noFrameAtAll()
{
    ScriptedWalker walker;
    QCOMPARE(trace(walker), head + tail);
    QCOMPARE(walker.initialized, 1);
    QCOMPARE(walker.cleanedUp, 1);
}

void TestStackTrace::ends_data()
{
    QTest::addColumn<QList<quint64>>("last"); // frame address and program counter, none: the walk fails
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("the walk fails") << QList<quint64>() << u"why"_s << "\nComplete(1)        why\n"_ba;
    QTest::newRow("no frame") << QList<quint64>{0, 5} << u"why"_s << "\nComplete(2)        StackFrame=0\n"_ba;
    QTest::newRow("no program counter")
        << QList<quint64>{5, 0} << u"why"_s << "\nComplete(3)        RIP=0\n"_ba;
    QTest::newRow("neither") << QList<quint64>{0, 0} << u"why"_s << "\nComplete(2)        StackFrame=0\n"_ba;
}

void TestStackTrace::ends()
{
    QFETCH(QList<quint64>, last);
    QFETCH(QString, words);
    QFETCH(QByteArray, line);
    ScriptedWalker walker;
    walker.words = words;
    walker.frames = {frameIn(0x1000, u"a"_s, u"f"_s)};
    if (!last.isEmpty()) {
        walker.frames += frameIn(0x2000, u"a"_s, u"g"_s);
        walker.frames.last().frame.frameAddress = last[0];
        walker.frames.last().frame.programCounter = last[1];
    }
    walker.frames += frameIn(0x3000, u"a"_s, u"never"_s);
    if (last.isEmpty())
        walker.frames.removeLast();
    QCOMPARE(frameLines(walker), "(short) f+1\n                   RIP=401000, StackFrame=1000\n"_ba + line);
    QCOMPARE(walker.wordsRead, QList<quint64>());
    QCOMPARE(walker.cleanedUp, 1);
}

void TestStackTrace::endAtTheFirstFrame_data()
{
    QTest::addColumn<QList<quint64>>("first");
    QTest::addColumn<QByteArray>("lines");

    QTest::newRow("the walk fails") << QList<quint64>() << ""_ba;
    QTest::newRow("no frame") << QList<quint64>{0, 5} << "\nComplete(2)        StackFrame=0\n"_ba;
    QTest::newRow("no program counter") << QList<quint64>{5, 0} << "\nComplete(3)        RIP=0\n"_ba;
}

void TestStackTrace::endAtTheFirstFrame()
{
    QFETCH(QList<quint64>, first);
    QFETCH(QByteArray, lines);
    ScriptedWalker walker;
    if (!first.isEmpty()) {
        walker.frames = {frameIn(first[0], u"a"_s)};
        walker.frames[0].frame.programCounter = first[1];
    }
    QCOMPARE(trace(walker), head + lines + tail);
}

void TestStackTrace::wholeFrames()
{
    ScriptedWalker walker;
    ScriptedFrame first = frameIn(0x1000, u"C:\\größe\\a.dll"_s, u"outer::größe"_s);
    first.frame.programCounter = 0x7ff612345678;
    first.module->moduleName = u"größe %1"_s;
    first.symbol->displacement = 0xffff;
    first.line = StackLine{.file = u"/home/me/src/a%2.cpp"_s, .line = 77};
    ScriptedFrame second = frameIn(0x1010, u"b"_s, u"plain"_s); // no line
    ScriptedFrame third = frameIn(0x1028, u"c"_s); // no symbol
    ScriptedFrame fourth; // nothing at all
    fourth.frame = {.programCounter = 1, .frameAddress = 0x1030, .lookupAddress = 0};
    walker.frames = {first, second, third, fourth};
    walker.wordAt = [](quint64) {
        return 0xfedcba9876543210;
    };

    const QByteArray expected = "(gr\x94\xe1"
                                "e %1) outer::gr\x94\xe1"
                                "e+65535 at src/a%2.cpp:77\n"
                                "                   RIP=7ff612345678, StackFrame=1000\n"
                                "(short) plain+1\n"
                                "                   RIP=401010, StackFrame=1010\n"
                                "                   ( 18364758544493064720 )\n"
                                "                   fedcba9876543210\n"
                                "(short) SymGetSymFromAddr64() failed: scripted\n"
                                "                   RIP=401028, StackFrame=1028\n"
                                "() SymGetSymFromAddr64() failed: Image file not found.\n"
                                "                   RIP=1, StackFrame=1030\n"
                                "\nComplete(1)        scripted\n"_ba;
    QCOMPARE(frameLines(walker), expected);
    QCOMPARE(walker.wordsRead, QList<quint64>{0x1020});
}

void TestStackTrace::symbolFails_data()
{
    QTest::addColumn<QString>("loadedImage");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("text");

    QTest::newRow("image loaded") << u"C:\\a.dll"_s << u"why"_s << u"why"_s;
    QTest::newRow("image not loaded") << QString() << u"why"_s << u"Image file not found."_s;
    QTest::newRow("the system's words") << u"C:\\a.dll"_s << QString() << u"(system)"_s;
}

void TestStackTrace::symbolFails()
{
    QFETCH(QString, loadedImage);
    QFETCH(QString, words);
    QFETCH(QString, text);
    ScriptedWalker walker;
    walker.words = words;
    walker.frames = {frameIn(0x1000, u"a"_s), frameIn(0x1010, u"a"_s, u"next"_s)};
    walker.frames[0].module->loadedImageName = loadedImage;
    walker.frames[0].line = StackLine{.file = u"not asked for"_s, .line = 1};
    walker.frames += ScriptedFrame(); // a frame address of 0 ends it
    walker.beforeFrame = [](qsizetype) {
        platform::setLastSystemError(2);
    };
    platform::setLastSystemError(2);
    if (text == u"(system)"_s)
        text = s3LastErrorText();
    QCOMPARE(QString::fromLatin1(frameLines(walker)),
             u"(short) SymGetSymFromAddr64() failed: %1\n                   RIP=401000, StackFrame=1000\n"
             "(short) next+1\n                   RIP=401010, StackFrame=1010\n"
             "\nComplete(2)        StackFrame=0\n"_s.arg(text));
}

void TestStackTrace::sourceFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("shown");

    QTest::newRow("backslashes") << u"C:\\dir\\src\\a.cpp"_s << u"src\\a.cpp"_s;
    QTest::newRow("slashes") << u"/home/src/a.cpp"_s << u"src/a.cpp"_s;
    QTest::newRow("two separators") << u"\\src\\a.cpp"_s << u"src\\a.cpp"_s;
    QTest::newRow("one backslash") << u"src\\a.cpp"_s << u"src\\a.cpp"_s;
    QTest::newRow("one slash") << u"src/a.cpp"_s << u"src/a.cpp"_s;
    QTest::newRow("one leading slash") << u"/a.cpp"_s << u"/a.cpp"_s;
    QTest::newRow("one leading backslash") << u"\\a.cpp"_s << u"\\a.cpp"_s;
    QTest::newRow("two leading") << u"//a.cpp"_s << u"/a.cpp"_s;
    QTest::newRow("no separator") << u"a.cpp"_s << u"a.cpp"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("a backslash wins over slashes") << u"/x/y/z\\a.cpp"_s << u"/x/y/z\\a.cpp"_s;
    QTest::newRow("backslashes before slashes") << u"C:\\x\\y/z/a.cpp"_s << u"x\\y/z/a.cpp"_s;
    QTest::newRow("drive and one") << u"C:\\a.cpp"_s << u"C:\\a.cpp"_s;
    QTest::newRow("trailing separator") << u"x/y/"_s << u"y/"_s;
}

void TestStackTrace::sourceFile()
{
    QFETCH(QString, file);
    QFETCH(QString, shown);
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"a"_s, u"f"_s)};
    walker.frames[0].line = StackLine{.file = file, .line = 9};
    const QByteArray first = frameLines(walker).split('\n').first();
    QCOMPARE(QString::fromLatin1(first), u"(short) f+1 at %1:9"_s.arg(shown));
}

void TestStackTrace::moduleNameIsCut_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("shown");

    QTest::newRow("empty") << 0 << 0;
    QTest::newRow("19") << 19 << 19;
    QTest::newRow("20") << 20 << 20;
    QTest::newRow("21") << 21 << 20;
    QTest::newRow("260") << 260 << 20;
}

void TestStackTrace::moduleNameIsCut()
{
    QFETCH(int, length);
    QFETCH(int, shown);
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"image"_s, u"f"_s)};
    walker.frames[0].module->moduleName = QString(length, u'm');
    QVERIFY(frameLines(walker).startsWith('(' + QByteArray(shown, 'm') + ") f+1\n"));
}

void TestStackTrace::depth_data()
{
    QTest::addColumn<int>("frames");
    QTest::addColumn<QByteArray>("end");

    QTest::newRow("99") << 99 << "\nComplete(1)        scripted\n"_ba;
    QTest::newRow("100") << 100 << "too many stack frames\n"_ba;
    QTest::newRow("101") << 101 << "too many stack frames\n"_ba;
    QTest::newRow("5000") << 5000 << "too many stack frames\n"_ba;
}

void TestStackTrace::depth()
{
    QFETCH(int, frames);
    QFETCH(QByteArray, end);
    ScriptedWalker walker;
    for (int i = 0; i < frames; ++i)
        walker.frames += frameIn(0x1000 + static_cast<quint64>(i), u"a"_s, u"f"_s);
    const QByteArray all = trace(walker);
    QCOMPARE(all.count("(short) f+1\n"), std::min(frames, 100));
    QVERIFY(all.endsWith(end + tail));
    QCOMPARE(walker.walked, std::min(frames, 100));
    QCOMPARE(walker.cleanedUp, 1);
}

void TestStackTrace::stackWords_data()
{
    QTest::addColumn<quint64>("last");
    QTest::addColumn<quint64>("now");
    QTest::addColumn<int>("count");

    QTest::newRow("nothing between") << quint64(0x1000) << quint64(0x1010) << 0;
    QTest::newRow("the same frame") << quint64(0x1000) << quint64(0x1000) << 0;
    QTest::newRow("a frame below") << quint64(0x1000) << quint64(0x800) << 0;
    QTest::newRow("less than a word") << quint64(0x1000) << quint64(0x1011) << 1;
    QTest::newRow("one") << quint64(0x1000) << quint64(0x1018) << 1;
    QTest::newRow("six") << quint64(0x1000) << quint64(0x1040) << 6;
    QTest::newRow("seven") << quint64(0x1000) << quint64(0x1048) << 7;
    QTest::newRow("eleven") << quint64(0x1000) << quint64(0x1068) << 11;
    QTest::newRow("twelve") << quint64(0x1000) << quint64(0x1070) << 12;
    QTest::newRow("thirteen") << quint64(0x1000) << quint64(0x1078) << 12;
    QTest::newRow("many") << quint64(0x1000) << quint64(0x7fff00000000) << 12;
    QTest::newRow("the end of memory")
        << quint64(0xfffffffffffffff8) << std::numeric_limits<quint64>::max() << 0;
    QTest::newRow("not quite the end") << quint64(0xffffffffffffffe0) << quint64(0xfffffffffffffff8) << 1;
}

void TestStackTrace::stackWords()
{
    QFETCH(quint64, last);
    QFETCH(quint64, now);
    QFETCH(int, count);
    ScriptedWalker walker;
    walker.wordAt = [&](quint64 address) {
        return (address - last) / 8;
    };
    walker.frames = {frameIn(last, u"a"_s, u"f"_s), frameIn(now, u"a"_s, u"g"_s)};

    QStringList decimals;
    QString hexadecimals;
    QList<quint64> addresses;
    for (int i = 0; i < count; ++i) {
        decimals += QString::number(i + 2);
        if (i == 6)
            hexadecimals += u'\n' + QString(18, u' ');
        hexadecimals += u' ' + hexadecimal(static_cast<quint64>(i) + 2);
        addresses += last + 16 + static_cast<quint64>(i) * 8;
    }
    QString expected;
    if (count > 0) {
        expected = u"%1 ( %2 )\n%1%3\n"_s.arg(QString(18, u' '), decimals.join(u", "_s), hexadecimals);
    }
    const QByteArray lines = frameLines(walker);
    const qsizetype begin = lines.indexOf("StackFrame=");
    const qsizetype first = lines.indexOf('\n', begin) + 1;
    QCOMPARE(QString::fromLatin1(lines.mid(first, lines.indexOf("(short) g") - first)), expected);
    QCOMPARE(walker.wordsRead, addresses);
}

void TestStackTrace::stackWordsBreakLines_data()
{
    QTest::addColumn<int>("digits"); // of every word
    QTest::addColumn<QList<int>>("lines"); // how many words in each

    // Every word counts its digits and two more, and a further line starts at 1.
    QTest::newRow("1 digit") << 1 << QList<int>{12};
    QTest::newRow("6 digits, twelve fit") << 6 << QList<int>{12};
    QTest::newRow("7 digits") << 7 << QList<int>{11, 1};
    QTest::newRow("10 digits") << 10 << QList<int>{8, 4};
    QTest::newRow("15 digits, to the last place") << 15 << QList<int>{6, 5, 1};
    QTest::newRow("19 digits") << 19 << QList<int>{4, 4, 4};
}

void TestStackTrace::stackWordsBreakLines()
{
    QFETCH(int, digits);
    QFETCH(QList<int>, lines);
    quint64 word = 1;
    for (int i = 1; i < digits; ++i)
        word *= 10;
    ScriptedWalker walker;
    walker.wordAt = [word](quint64) {
        return word;
    };
    walker.frames = {frameIn(0x1000, u"a"_s, u"f"_s), frameIn(0x1070, u"a"_s, u"g"_s)};

    const QString prefix(18, u' ');
    QStringList shown;
    for (const int count : lines) {
        const QStringList words(count, QString::number(word));
        shown += words.join(u", "_s);
    }
    const QString expected
        = prefix + u" ( "_s + shown.join(u",\n"_s + prefix + u"   "_s) + u" )\n"_s + prefix + u' ';
    const QString all = QString::fromLatin1(frameLines(walker));
    QVERIFY2(all.contains(expected), qPrintable(all));
}

void TestStackTrace::stackWordsThatCannotBeRead_data()
{
    QTest::addColumn<int>("readable");

    QTest::newRow("none") << 0;
    QTest::newRow("one") << 1;
    QTest::newRow("seven") << 7;
}

// The frames behind them are shown all the same.
void TestStackTrace::stackWordsThatCannotBeRead()
{
    QFETCH(int, readable);
    ScriptedWalker walker;
    walker.unreadableFrom = readable;
    walker.wordAt = [](quint64) {
        return 7;
    };
    walker.frames = {frameIn(0x1000, u"a"_s, u"f"_s), frameIn(0x2000, u"a"_s, u"g"_s)};
    const QByteArray lines = frameLines(walker);
    QCOMPARE(lines.count(" 0000000000000007"), readable);
    QCOMPARE(lines.count('('), readable == 0 ? 3 : 4);
    QVERIFY(lines.contains("(short) g+1\n"));
}

void TestStackTrace::exceptionStillCleansUp()
{
    ScriptedWalker walker;
    walker.beforeFrame = [](qsizetype) {
        throw std::runtime_error("broken");
    };
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, writeStackTrace(file, walker));
    QCOMPARE(file.data(), head);
    QCOMPARE(walker.cleanedUp, 1);
    s3StackSummary summary;
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, (void)captureStackSummary(summary, walker));
    QCOMPARE(walker.cleanedUp, 2);
}

void TestStackTrace::summaryReset()
{
    s3StackSummary summary;
    summary.functions[1] = u"f"_s;
    summary.modules[2] = u"m"_s;
    summary.frameNumbers[0] = 3;
    summary.reset();
    QCOMPARE(summary.functions[1], QString());
    QCOMPARE(summary.modules[2], QString());
    QCOMPARE(summary.frameNumbers[0], 0);
}

void TestStackTrace::summary_data()
{
    QTest::addColumn<QStringList>("stack"); // "module:function", either may be empty, "-": no module known
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<QStringList>("modules");
    QTest::addColumn<QStringList>("functions");
    QTest::addColumn<QList<int>>("numbers");

    const auto none = QList<int>{0, 0, 0};
    QTest::newRow("no frame") << QStringList() << false << QStringList() << QStringList() << none;
    QTest::newRow("one") << QStringList{u"a:f"_s} << true << QStringList{u"a"_s} << QStringList{u"f"_s}
                         << QList<int>{1, 0, 0};
    QTest::newRow("three of one module, the first counts")
        << QStringList{u"a:f"_s, u"a:g"_s, u"a:h"_s} << true << QStringList{u"a"_s} << QStringList{u"f"_s}
        << QList<int>{1, 0, 0};
    QTest::newRow("runs") << QStringList{u"a:f"_s, u"a:g"_s, u"b:h"_s, u"b:i"_s, u"c:j"_s} << true
                          << QStringList{u"a"_s, u"b"_s, u"c"_s} << QStringList{u"f"_s, u"h"_s}
                          << QList<int>{1, 3, 5};
    QTest::newRow("back again") << QStringList{u"a:f"_s, u"b:g"_s, u"a:h"_s} << true
                                << QStringList{u"a"_s, u"b"_s, u"a"_s} << QStringList{u"f"_s, u"g"_s}
                                << QList<int>{1, 2, 3};
    QTest::newRow("more than three") << QStringList{u"a:f"_s, u"b:g"_s, u"c:h"_s, u"d:i"_s} << true
                                     << QStringList{u"a"_s, u"b"_s, u"c"_s} << QStringList{u"f"_s, u"g"_s}
                                     << QList<int>{1, 2, 3};
    QTest::newRow("no function") << QStringList{u"a:"_s, u"b:g"_s} << true << QStringList{u"a"_s, u"b"_s}
                                 << QStringList{QString(), u"g"_s} << QList<int>{1, 2, 0};
    QTest::newRow("unknown modules make no entry")
        << QStringList{u"-:f"_s, u"a:g"_s, u"-:h"_s, u"a:i"_s, u"b:j"_s} << true
        << QStringList{u"a"_s, u"b"_s} << QStringList{u"g"_s, u"j"_s} << QList<int>{2, 5, 0};
    QTest::newRow("only unknown modules")
        << QStringList{u"-:f"_s, u"-:g"_s} << false << QStringList() << QStringList() << none;
    QTest::newRow("the name in short") << QStringList{u":f"_s} << true << QStringList{u"short"_s}
                                       << QStringList{u"f"_s} << QList<int>{1, 0, 0};
    QTest::newRow("no frame address ends it")
        << QStringList{u"a:f"_s, u"0:g"_s, u"b:h"_s} << true << QStringList{u"a"_s} << QStringList{u"f"_s}
        << QList<int>{1, 0, 0};
    QTest::newRow("no program counter ends it")
        << QStringList{u"a:f"_s, u"p:g"_s, u"b:h"_s} << true << QStringList{u"a"_s} << QStringList{u"f"_s}
        << QList<int>{1, 0, 0};
    QTest::newRow("names as they are")
        << QStringList{u"/opt/größe.so:größe::f"_s} << true << QStringList{u"/opt/größe.so"_s}
        << QStringList{u"größe::f"_s} << QList<int>{1, 0, 0};
}

void TestStackTrace::summary()
{
    QFETCH(QStringList, stack);
    QFETCH(bool, isThere);
    QFETCH(QStringList, modules);
    QFETCH(QStringList, functions);
    QFETCH(QList<int>, numbers);
    ScriptedWalker walker;
    for (const QString &entry : stack) {
        const QString module = entry.section(u':', 0, 0);
        walker.frames += frameIn(0x1000, module, entry.section(u':', 1));
        if (module == u"-"_s)
            walker.frames.last().module.reset();
        if (module == u"0"_s)
            walker.frames.last().frame.frameAddress = 0;
        if (module == u"p"_s)
            walker.frames.last().frame.programCounter = 0;
    }
    s3StackSummary summary;
    QCOMPARE(captureStackSummary(summary, walker), isThere);
    modules.resize(3);
    functions.resize(2);
    QCOMPARE(QStringList(summary.modules.begin(), summary.modules.end()), modules);
    QCOMPARE(QStringList(summary.functions.begin(), summary.functions.end()), functions);
    QCOMPARE(QList<int>(summary.frameNumbers.begin(), summary.frameNumbers.end()), numbers);
    QCOMPARE(walker.cleanedUp, 1);
    QCOMPARE(walker.startedAt.rip, 0x401000U);
}

void TestStackTrace::summaryStopsAtTheThirdModule()
{
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"a"_s), frameIn(0x1000, u"b"_s), frameIn(0x1000, u"c"_s),
                     frameIn(0x1000, u"d"_s)};
    s3StackSummary summary;
    QVERIFY(captureStackSummary(summary, walker));
    QCOMPARE(walker.walked, 3);
    QCOMPARE(walker.symbolsAsked, 2);
}

void TestStackTrace::summaryKeepsTheFirstFrameAddress()
{
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"a"_s), frameIn(0x2000, u"b"_s)};
    s3SetFirstFrameAddress(5);
    s3StackSummary summary;
    QVERIFY(captureStackSummary(summary, walker));
    QCOMPARE(s3FirstFrameAddress(), 0x1000U);

    walker.frames.clear();
    QVERIFY(!captureStackSummary(summary, walker));
    QCOMPARE(s3FirstFrameAddress(), 0U);

    walker.frames = {frameIn(0, u"a"_s)};
    s3SetFirstFrameAddress(5);
    QVERIFY(!captureStackSummary(summary, walker));
    QCOMPARE(s3FirstFrameAddress(), 0U);
}

void TestStackTrace::summaryForcesAContext()
{
    ScriptedWalker walker;
    walker.frames = {frameIn(0x1000, u"a"_s)};
    s3SaveContext(nullptr);
    s3StackSummary summary;
    QVERIFY(captureStackSummary(summary, walker));
    QVERIFY(s3SavedContext() != nullptr);
    QCOMPARE(walker.startedAt.rip, s3SavedContext()->rip);
    QCOMPARE(s3FirstFrameAddress(), 0x1000U);
}

void TestStackTrace::summaryLooksAtAHundredFrames_data()
{
    QTest::addColumn<int>("unknownBefore");
    QTest::addColumn<bool>("isThere");

    QTest::newRow("the hundredth") << 99 << true;
    QTest::newRow("one behind") << 100 << false;
}

void TestStackTrace::summaryLooksAtAHundredFrames()
{
    QFETCH(int, unknownBefore);
    QFETCH(bool, isThere);
    ScriptedWalker walker;
    for (int i = 0; i < unknownBefore; ++i) {
        walker.frames += frameIn(0x1000, u"a"_s);
        walker.frames.last().module.reset();
    }
    walker.frames += frameIn(0x1000, u"a"_s);
    s3StackSummary summary;
    QCOMPARE(captureStackSummary(summary, walker), isThere);
    QCOMPARE(walker.walked, 100);
    QCOMPARE(summary.frameNumbers[0], isThere ? 100 : 0);
}

void TestStackTrace::summaryWithoutSymbols_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isThere");

    QTest::newRow("in a module") << u"C:\\größe.dll"_s << true;
    QTest::newRow("in none") << QString() << false;
}

void TestStackTrace::summaryWithoutSymbols()
{
    QFETCH(QString, path);
    QFETCH(bool, isThere);
    ScriptedWalker walker;
    walker.isInitializable = false;
    walker.fallbackModule = path;
    walker.frames = {frameIn(0x1000, u"not asked for"_s)};
    s3SetFirstFrameAddress(5);
    s3StackSummary summary;
    QCOMPARE(captureStackSummary(summary, walker), isThere);
    QCOMPARE(walker.fallbackAsked, 0x401000U);
    QCOMPARE(walker.started, 0);
    QCOMPARE(summary.modules[0], path);
    QCOMPARE(summary.frameNumbers[0], isThere ? 1 : 0);
    QCOMPARE(summary.modules[1], QString());
    QCOMPARE(summary.functions[0], QString());
    QCOMPARE(s3FirstFrameAddress(), 0U);
}

void TestStackTrace::summaryForgetsTheOneBefore()
{
    ScriptedWalker walker;
    walker.frames
        = {frameIn(0x1000, u"a"_s, u"f"_s), frameIn(0x1000, u"b"_s, u"g"_s), frameIn(0x1000, u"c"_s)};
    s3StackSummary summary;
    QVERIFY(captureStackSummary(summary, walker));
    walker.frames = {frameIn(0x1000, u"d"_s)};
    QVERIFY(captureStackSummary(summary, walker));
    QCOMPARE(summary.modules[0], u"d"_s);
    QCOMPARE(summary.modules[1], QString());
    QCOMPARE(summary.functions[0], QString());
    QCOMPARE(summary.functions[1], QString());
    QCOMPARE(summary.frameNumbers[2], 0);
}

QTEST_APPLESS_MAIN(TestStackTrace)

#include "tst_stacktrace.moc"
