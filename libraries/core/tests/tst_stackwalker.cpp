#include "error/stacktrace.h"
#include "platform/faultcontext.h"
#include "platform/runguarded.h"
#include "platform/stackwalker.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;
using platform::StackFrame;
using platform::StackLine;
using platform::StackModule;
using platform::StackSymbol;
using platform::StackWalker;

#define KEEP_FRAME __attribute__((noinline, noclone))

// A chain of calls that a walk over the stack has to find. Each function stays alive while the next one runs
// and has work left behind the call, so that the compiler keeps its frame.
namespace known
{

using Step = std::function<void()>;

constexpr int innermostLine = __LINE__ + 4;
KEEP_FRAME void innermost(const Step &step)
{
    // Both calls in one line: the saved place is the one behind the first.
    (s3ForceFault(), step());
    asm volatile("" ::: "memory");
}

constexpr int middleLine = __LINE__ + 3;
KEEP_FRAME void middle(const Step &step)
{
    innermost(step);
    asm volatile("" ::: "memory");
}

constexpr int outermostLine = __LINE__ + 3;
KEEP_FRAME void outermost(const Step &step)
{
    middle(step);
    asm volatile("" ::: "memory");
}

KEEP_FRAME void recurse(int depth, const Step &step)
{
    if (depth == 0)
        innermost(step);
    else
        recurse(depth - 1, step);
    asm volatile("" ::: "memory");
}

const Step *stepOfComparison = nullptr;

// Called by the C library.
KEEP_FRAME int compare(const void *left, const void *right)
{
    if (stepOfComparison != nullptr)
        (s3ForceFault(), (*stepOfComparison)());
    asm volatile("" ::: "memory");
    return *static_cast<const int *>(left) - *static_cast<const int *>(right);
}

}

namespace
{

constexpr int allFrames = 1000;

// How many functions of the known chain have names: Wine's dbghelp finds some and not others.
constexpr int namedFrames = WALKER_OF_WINE ? 2 : 3;
// Where a call returns to: dbghelp is asked for that very place, at which the next statement begins.
constexpr int linesBehindCall = WALKER_OF_WINE ? 1 : 0;

bool isOwnModule(const QString &path)
{
    return QFileInfo(path) == QFileInfo(QCoreApplication::applicationFilePath());
}

// The frames of the saved context; at most `most` of them.
QList<StackFrame> framesOf(StackWalker &walker, int most = allFrames)
{
    QList<StackFrame> frames;
    walker.start(*s3SavedContext());
    StackFrame frame;
    while (frames.size() < most && walker.next(frame) && frame.programCounter != 0 && frame.frameAddress != 0)
        frames += frame;
    return frames;
}

// Whether `address` lies in `function`, which is a short one.
bool isInside(quint64 address, void (*function)(const known::Step &))
{
    return address - reinterpret_cast<quint64>(function) < 2048;
}

QString stackTrace()
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    writeStackTrace(file);
    return QString::fromLatin1(file.data());
}

const QString tail = QString(90, u'-') + u"\nfinished.\n\n"_s;

}

class TestStackWalker final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        platform::stackWalker().cleanUp();
        s3SaveContext(nullptr);
    }

    void versionAndSearchPath();
    void framesOfAKnownChain();
    void modulesOfAKnownChain();
    void symbolsOfAKnownChain();
    void linesOfAKnownChain();
    void symbolOfAnExportedFunction_data();
    void symbolOfAnExportedFunction();
    void recordOfAKnownChain();
    void summaryOfAKnownChain();
    void throughAnotherModule();
    void deepStack();
    void endOfAThreadsStack();
    void eachWalkAnew();
    void setUpAgainWithoutCleanUp();
    void walkWithoutSetUp();
    void words();
    void modulePath();
    void brokenContexts_data();
    void brokenContexts();
    void placesOutsideOfModules_data();
    void placesOutsideOfModules();
};

void TestStackWalker::versionAndSearchPath()
{
    StackWalker &walker = platform::stackWalker();
    const StackWalker::Version version = walker.version();
    QVERIFY(version.major > 0 || version.minor > 0);
    QVERIFY(walker.initialize());
    QString path;
    QVERIFY(walker.searchPath(path));
    QVERIFY(!path.isEmpty());
}

void TestStackWalker::framesOfAKnownChain()
{
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    QList<StackFrame> frames;
    known::outermost([&] { frames = framesOf(walker); });
    QVERIFY(frames.size() > 3);
    QCOMPARE(frames[0].programCounter, s3SavedContext()->rip);
    QVERIFY(isInside(frames[0].programCounter, known::innermost));
    QVERIFY(isInside(frames[1].programCounter, known::middle));
    QVERIFY(isInside(frames[2].programCounter, known::outermost));
    for (const StackFrame &frame : frames.mid(0, 3))
        QVERIFY(frame.frameAddress + 16 > s3SavedContext()->rsp);
    // Wine takes a register for the frame address that need not hold the function's own frame.
    for (int i = 1; !WALKER_OF_WINE && i < 4; ++i)
        QVERIFY(frames[i - 1].frameAddress < frames[i].frameAddress);
    // The return address lies above the frame address, as on every x64 stack.
    for (int i = 0; i < 2; ++i) {
        quint64 word = 0;
        QVERIFY(walker.word(frames[i].frameAddress + 8, word));
    }
}

void TestStackWalker::modulesOfAKnownChain()
{
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    QList<StackModule> modules;
    known::outermost([&] {
        for (const StackFrame &frame : framesOf(walker, 3)) {
            StackModule module;
            if (walker.module(frame, module))
                modules += module;
        }
    });
    QCOMPARE(modules.size(), 3);
    for (const StackModule &module : modules) {
        QVERIFY2(isOwnModule(module.imageName), qPrintable(module.imageName));
        QCOMPARE(module.moduleName, u"tst_stackwalker"_s);
        QVERIFY2(isOwnModule(module.loadedImageName), qPrintable(module.loadedImageName));
    }
}

void TestStackWalker::symbolsOfAKnownChain()
{
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    QList<StackFrame> frames;
    QList<StackSymbol> symbols;
    known::outermost([&] {
        frames = framesOf(walker, namedFrames);
        for (const StackFrame &frame : frames) {
            StackSymbol symbol;
            (void)walker.symbol(frame, symbol);
            symbols += symbol;
        }
    });
    QCOMPARE(symbols.size(), namedFrames);
    QCOMPARE(symbols[0].name, u"known::innermost"_s);
    QCOMPARE(symbols[1].name, u"known::middle"_s);
    QCOMPARE(frames[0].programCounter - symbols[0].displacement,
             reinterpret_cast<quint64>(&known::innermost));
    QCOMPARE(frames[1].programCounter - symbols[1].displacement, reinterpret_cast<quint64>(&known::middle));
    if (namedFrames > 2) {
        QCOMPARE(symbols[2].name, u"known::outermost"_s);
        QCOMPARE(frames[2].programCounter - symbols[2].displacement,
                 reinterpret_cast<quint64>(&known::outermost));
    }
}

void TestStackWalker::linesOfAKnownChain()
{
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    QList<StackLine> lines;
    known::outermost([&] {
        for (const StackFrame &frame : framesOf(walker, namedFrames)) {
            StackLine line;
            (void)walker.line(frame, line);
            lines += line;
        }
    });
    QCOMPARE(lines.size(), namedFrames);
    for (const StackLine &line : lines)
        QVERIFY2(QDir::fromNativeSeparators(line.file).endsWith(u"tests/tst_stackwalker.cpp"_s),
                 qPrintable(line.file));
    QCOMPARE(lines[0].line, known::innermostLine);
    QCOMPARE(lines[1].line, known::middleLine + linesBehindCall);
    if (namedFrames > 2)
        QCOMPARE(lines[2].line, known::outermostLine);
}

void TestStackWalker::symbolOfAnExportedFunction_data()
{
    QTest::addColumn<quint64>("displacement");

    QTest::newRow("its first byte") << quint64(0);
    // Wine knows an exported function without further symbols by its first byte alone.
    if (!WALKER_OF_WINE)
        QTest::newRow("inside") << quint64(3);
}

// Of another module, which needs no more than its exported names for that.
void TestStackWalker::symbolOfAnExportedFunction()
{
    QFETCH(quint64, displacement);
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    StackFrame frame;
    frame.programCounter = reinterpret_cast<quint64>(&QCoreApplication::applicationPid) + displacement;
    frame.lookupAddress = frame.programCounter;
    StackModule module;
    QVERIFY(walker.module(frame, module));
    QVERIFY2(module.imageName.contains(u"Qt6Core"_s), qPrintable(module.imageName));
    StackSymbol symbol;
    QVERIFY(walker.symbol(frame, symbol));
    QCOMPARE(symbol.name, u"QCoreApplication::applicationPid"_s);
    QCOMPARE(symbol.displacement, displacement);
}

void TestStackWalker::recordOfAKnownChain()
{
    QString record;
    known::outermost([&] { record = stackTrace(); });
    static const QRegularExpression head(
        u"^ImageHlpApiVersion: [0-9]+ [0-9]+ [0-9]+\nsearchPath=[^\n]+\n\nCall Stack \\(TraceStack_ME\\):\n"_s);
    QVERIFY2(head.match(record).hasMatch(), qPrintable(record));
    QVERIFY2(record.endsWith(tail), qPrintable(record));

    static const QRegularExpression frame(
        u"^\\(([^)\n]*)\\) ([^\n]*)\n {19}RIP=([0-9a-f]+), StackFrame=([0-9a-f]+)\n"_s,
        QRegularExpression::MultilineOption);
    QStringList modules;
    QStringList texts;
    QList<quint64> addresses;
    for (auto match = frame.globalMatch(record); match.hasNext();) {
        const QRegularExpressionMatch one = match.next();
        modules += one.captured(1);
        texts += one.captured(2);
        addresses += one.captured(3).toULongLong(nullptr, 16);
    }
    QVERIFY(texts.size() > 3);
    QCOMPARE(modules.mid(0, 3), QStringList(3, u"tst_stackwalker"_s));
    QVERIFY(isInside(addresses[0], known::innermost));
    QVERIFY(isInside(addresses[1], known::middle));
    QVERIFY(isInside(addresses[2], known::outermost));

    const auto isAt = [&](qsizetype index, const QString &function, int line) {
        const QRegularExpression text(
            u"^%1\\+[0-9]+ at tests[/\\\\]tst_stackwalker\\.cpp:%2$"_s.arg(function, QString::number(line)));
        return text.match(texts[index]).hasMatch();
    };
    QVERIFY2(isAt(0, u"known::innermost"_s, known::innermostLine), qPrintable(texts[0]));
    QVERIFY2(isAt(1, u"known::middle"_s, known::middleLine + linesBehindCall), qPrintable(texts[1]));
    if (namedFrames > 2)
        QVERIFY2(isAt(2, u"known::outermost"_s, known::outermostLine), qPrintable(texts[2]));
}

void TestStackWalker::summaryOfAKnownChain()
{
    s3StackSummary summary;
    bool isThere = false;
    known::outermost([&] { isThere = captureStackSummary(summary); });
    QVERIFY(isThere);
    QVERIFY2(isOwnModule(summary.modules[0]), qPrintable(summary.modules[0]));
    QCOMPARE(summary.frameNumbers[0], 1);
    QVERIFY(s3FirstFrameAddress() + 16 > s3SavedContext()->rsp);
    QCOMPARE(summary.functions[0], u"known::innermost"_s);
}

void TestStackWalker::throughAnotherModule()
{
    s3StackSummary summary;
    bool isThere = false;
    QString record;
    const known::Step step = [&] {
        known::stepOfComparison = nullptr;
        isThere = captureStackSummary(summary);
        record = stackTrace();
    };
    known::stepOfComparison = &step;
    std::array numbers = {2, 1};
    std::qsort(numbers.data(), numbers.size(), sizeof(int), known::compare);
    QVERIFY(isThere);
    QVERIFY2(isOwnModule(summary.modules[0]), qPrintable(summary.modules[0]));
    QCOMPARE(summary.frameNumbers[0], 1);
    QVERIFY2(!summary.modules[1].isEmpty() && !isOwnModule(summary.modules[1]),
             qPrintable(summary.modules[1]));
    QCOMPARE(summary.frameNumbers[1], 2);
    // A sanitizer may stand between the C library and this program.
    QVERIFY2(isOwnModule(summary.modules[2]) || summary.modules[2].contains(u"san"_s),
             qPrintable(summary.modules[2]));
    QVERIFY(summary.frameNumbers[2] > 2);
    QVERIFY2(record.endsWith(tail), qPrintable(record));
}

void TestStackWalker::deepStack()
{
    QString record;
    known::recurse(150, [&] { record = stackTrace(); });
    QCOMPARE(record.count(u"RIP="_s), 100);
    QVERIFY(record.endsWith(u"too many stack frames\n"_s + tail));
}

void TestStackWalker::endOfAThreadsStack()
{
    QString record;
    std::thread([&] { known::outermost([&] { record = stackTrace(); }); }).join();
    QVERIFY2(record.contains(u"\nComplete("_s), qPrintable(record));
    QVERIFY(record.endsWith(tail));
    QVERIFY(record.count(u"RIP="_s) > 3);
}

void TestStackWalker::eachWalkAnew()
{
    QList<QStringList> frames;
    known::outermost([&] {
        s3StackSummary summary;
        for (int i = 0; i < 3; ++i) {
            // The words on the stack change, it is being used.
            frames += stackTrace().split(u'\n').filter(u"RIP="_s);
            (void)captureStackSummary(summary);
        }
    });
    QVERIFY(frames[0].size() > 3);
    QCOMPARE(frames[1], frames[0]);
    QCOMPARE(frames[2], frames[0]);
}

void TestStackWalker::setUpAgainWithoutCleanUp()
{
    StackWalker &walker = platform::stackWalker();
    for (int i = 0; i < 3; ++i) {
        QVERIFY(walker.initialize());
        qsizetype count = 0;
        known::outermost([&] { count = framesOf(walker).size(); });
        QVERIFY(count > 3);
    }
    walker.cleanUp();
    walker.cleanUp();
}

void TestStackWalker::walkWithoutSetUp()
{
    StackWalker &walker = platform::stackWalker();
    walker.cleanUp();
    known::outermost([&] { (void)framesOf(walker); });
    StackModule module;
    StackSymbol symbol;
    StackLine line;
    StackFrame frame;
    frame.programCounter = reinterpret_cast<quint64>(&known::outermost);
    frame.lookupAddress = frame.programCounter;
    QVERIFY(!walker.module(frame, module));
    QVERIFY(!walker.symbol(frame, symbol));
    QVERIFY(!walker.line(frame, line));
}

void TestStackWalker::words()
{
    StackWalker &walker = platform::stackWalker();
    const std::array<quint64, 2> stored = {0x123456789abcdef0, 7};
    quint64 word = 0;
    QVERIFY(walker.word(reinterpret_cast<quint64>(stored.data()), word));
    QCOMPARE(word, stored[0]);
    QVERIFY(walker.word(reinterpret_cast<quint64>(stored.data()) + 8, word));
    QCOMPARE(word, stored[1]);
    QVERIFY(!walker.word(0, word));
    QVERIFY(!walker.word(8, word));
    QVERIFY(!walker.word(std::numeric_limits<quint64>::max() - 7, word));
    QVERIFY(!walker.word(0x8000000000000000, word));
}

void TestStackWalker::modulePath()
{
    StackWalker &walker = platform::stackWalker();
    QVERIFY(isOwnModule(walker.modulePath(reinterpret_cast<quint64>(&known::outermost))));
    const QString library = walker.modulePath(reinterpret_cast<quint64>(&QCoreApplication::applicationPid));
    QVERIFY2(library.contains(u"Qt6Core"_s), qPrintable(library));
    QVERIFY(QFileInfo(library).isFile());
    QCOMPARE(walker.modulePath(0), QString());
    QCOMPARE(walker.modulePath(std::numeric_limits<quint64>::max()), QString());
    const std::unique_ptr<int> onTheHeap = std::make_unique<int>();
    QCOMPARE(walker.modulePath(reinterpret_cast<quint64>(onTheHeap.get())), QString());
}

void TestStackWalker::brokenContexts_data()
{
    QTest::addColumn<quint64>("rip");
    QTest::addColumn<quint64>("rsp");

    const auto own = reinterpret_cast<quint64>(&known::outermost);
    const auto nowhere = quint64(0x8000000000000000);
    for (const quint64 rip : {quint64(0), quint64(1), own, nowhere, std::numeric_limits<quint64>::max()}) {
        for (const quint64 rsp : {quint64(0), quint64(7), nowhere})
            QTest::addRow("rip %llx rsp %llx", rip, rsp) << rip << rsp;
    }
}

// What a broken stack gives is of no matter, but it comes to an end. dbghelp may fault on it, which the
// caller's guard takes.
void TestStackWalker::brokenContexts()
{
    QFETCH(quint64, rip);
    QFETCH(quint64, rsp);
    s3FaultContext context;
    context.rip = rip;
    context.rsp = rsp;
    context.rbp = rsp;
    s3SaveContext(&context);
    QString record;
    s3StackSummary summary;
    const bool isTraced = s3RunGuarded([&] { record = stackTrace(); });
    const bool isSummarized = s3RunGuarded([&] { (void)captureStackSummary(summary); });
    QVERIFY(isTraced || WALKER_OF_WINE);
    QVERIFY(isSummarized || WALKER_OF_WINE);
    if (isTraced)
        QVERIFY2(record.endsWith(tail), qPrintable(record));
}

void TestStackWalker::placesOutsideOfModules_data()
{
    QTest::addColumn<quint64>("address");

    static const std::unique_ptr<int> onTheHeap = std::make_unique<int>();
    QTest::newRow("null") << quint64(0);
    QTest::newRow("heap") << reinterpret_cast<quint64>(onTheHeap.get());
    QTest::newRow("the end of memory") << std::numeric_limits<quint64>::max();
}

void TestStackWalker::placesOutsideOfModules()
{
    QFETCH(quint64, address);
    StackWalker &walker = platform::stackWalker();
    QVERIFY(walker.initialize());
    StackFrame frame;
    frame.programCounter = address;
    frame.lookupAddress = address;
    StackModule module;
    StackSymbol symbol;
    StackLine line;
    QVERIFY(!walker.module(frame, module));
    QVERIFY(!walker.symbol(frame, symbol));
    QVERIFY(!walker.line(frame, line));
}

QTEST_GUILESS_MAIN(TestStackWalker)

#include "tst_stackwalker.moc"
