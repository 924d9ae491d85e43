#include "debugoutputcapture.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/semaphore.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "protocol/s3logfilestream.h"
#include "s3threadbase.h"
#include "test/s3testausproxy.h"
#include "test/s3trace.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

struct Printed {
    QString text;
    bool endLine;
    friend bool operator==(const Printed &, const Printed &) = default;
};

// Collects what the callback receives, parts and whole lines.
class PartRecorder
{
public:
    PartRecorder()
    {
        s3TestausProxy::instance()->setCallback([this](const QString &text, bool endLine) {
            parts.push_back({text, endLine});
        });
    }
    ~PartRecorder() { s3TestausProxy::instance()->setCallback(nullptr); }
    Q_DISABLE_COPY_MOVE(PartRecorder)

    std::vector<Printed> parts;
};

// A temporary working directory in which no trace file is open yet.
class TraceDirectory
{
public:
    TraceDirectory() : m_current(m_directory.path())
    {
        s3LogFileStream::closeAll();
        s3TestausProxy::instance()->setFileName(u"testaus.txt"_s);
        s3TestFlagsInstance()->remove(55);
    }
    ~TraceDirectory()
    {
        s3TestFlagsInstance()->remove(55);
        s3LogFileStream::closeAll();
    }
    Q_DISABLE_COPY_MOVE(TraceDirectory)

    [[nodiscard]] bool isReady() const { return m_directory.isValid() && m_current.entered(); }
    [[nodiscard]] QStringList files() const
    {
        return QDir(m_directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] QByteArray bytes(const QString &name) const
    {
        QFile file(m_directory.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "(none)"_ba;
    }

private:
    QTemporaryDir m_directory;
    ScopedCurrentDir m_current;
};

// The bytes of a trace file with these characters.
QByteArray traceFile(const QString &text)
{
    QByteArray bytes = "\xFF\xFE"_ba;
    for (const QChar unit : text) {
        bytes += static_cast<char>(unit.unicode() & 0xFF);
        bytes += static_cast<char>(unit.unicode() >> 8);
    }
    return bytes;
}

// The characters behind the byte order mark.
QString textOfTraceFile(const QByteArray &bytes)
{
    return QStringDecoder(QStringDecoder::Utf16LE)(bytes.mid(2));
}

// A thread that runs a function; waits for its end when it goes. It is that of the standard library,
// whose synchronisation the thread sanitizer sees; Qt's happens out of its sight, inside Qt's
// library.
class Thread
{
public:
    template <class Function> explicit Thread(Function function) : m_thread(std::move(function)) { }
    ~Thread() { wait(); }
    Q_DISABLE_COPY_MOVE(Thread)

    void wait()
    {
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    std::thread m_thread;
};

void print(const QString &text, bool endLine = true)
{
    s3TestausProxy::instance()->print(text, endLine);
}

// Noted by main() before there is an application object.
bool wroteWithoutApplication = false;
bool siteSpokeWithoutApplication = false;
QString instanceWithoutApplication;

}

class TestTestausProxy final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void withoutOutputNothingHappens();
    void withoutOutputNoLockIsTaken();
    void outputThatGoesAwayInsideALine();
    void withoutApplicationTheTextIsDropped();
    void callbackAlone();
    void timeNeedsItsFlag();
    void timeStandsOncePerLine();
    void emptyFileNameIsIgnored();
    void flag55WritesTheDefaultFile();
    void fileNameSwitchesTheFileOn();
    void secondFileNameChangesNothing();
    void fileIsByteExact();
    void lineInTheFileWithTimeAndLifecycle();
    void partsReachTheDiskAtOnce();
    void withTimeOnlyWholeLinesReachTheDisk();
    void fileThatCannotBeOpenedIsTriedAgain();
    void debuggerGetsTheText();
    void everyOutputGetsTheText();
    void callbackThatTracesIsNotQueued();
    void callbackThatTracesLeavesTheLineAlone();
    void callbackMayReplaceItself();
    void callbackWithAnEventLoop();
    void workerTextWaitsForTheEventLoop();
    void workerWaitsForARunningFlush();
    void callbackThatTracesDoesNotWaitForAWorkersLine();
    void oneLineEndUndoesAllHolds();
    void workersKeepTheirLinesTogether_data();
    void workersKeepTheirLinesTogether();
    void mainThreadBetweenWorkers();
    void firstUseOnAWorker();
    void firstWorkerTextWithRegistrationTrace();
    void moveOnMainThreadDoesNothing();
    void silentSiteBuildsNoText();
    void siteSpeaksUnderItsFlag();
    void siteWithoutFlagNeedsAnOutput();
};

void TestTestausProxy::init()
{
    QVERIFY(s3TestFlagsInstance()->isEmpty());
}

void TestTestausProxy::cleanup()
{
    s3TestausProxy::instance()->setCallback(nullptr);
    s3TestFlagsInstance()->clear();
}

void TestTestausProxy::withoutOutputNothingHappens()
{
    const TraceDirectory directory;
    QVERIFY(directory.isReady());
    print(u"nobody hears this"_s);
    const PartRecorder recorder;
    print(u"heard"_s);
    QVERIFY(recorder.parts == std::vector<Printed>({{u"heard"_s, true}})); // the first text was not queued
    QCOMPARE(directory.files(), QStringList());
}

void TestTestausProxy::withoutOutputNoLockIsTaken()
{
    // A worker holds the line: whoever wants to print has to wait for it.
    Semaphore holds{0};
    Semaphore goOn{0};
    QStringList received;
    const auto receive = [&](const QString &text, bool) {
        received += text;
    };
    s3TestausProxy::instance()->setCallback(receive);
    Thread worker([&] {
        print(u"first part"_s, false);
        holds.release();
        goOn.acquire();
        print(u", last part"_s);
    });
    holds.acquire();
    s3TestausProxy::instance()->setCallback(nullptr);
    print(u"no output, no wait"_s);
    s3TestausProxy::instance()->setCallback(receive);
    goOn.release();
    worker.wait();
    QCoreApplication::processEvents();
    QCOMPARE(received, QStringList({u"first part"_s, u", last part"_s}));
}

void TestTestausProxy::outputThatGoesAwayInsideALine()
{
    {
        const PartRecorder recorder;
        print(u"a"_s, false);
    }
    print(u"b"_s); // not heard, but the line's end all the same
    const PartRecorder recorder;
    Thread worker([] { print(u"c"_s); });
    worker.wait();
    QCoreApplication::processEvents();
    QVERIFY(recorder.parts == std::vector<Printed>({{u"c"_s, true}}));
}

void TestTestausProxy::withoutApplicationTheTextIsDropped()
{
    QVERIFY(!wroteWithoutApplication);
    QVERIFY(!siteSpokeWithoutApplication);
    QVERIFY(isAssertion(instanceWithoutApplication,
                        u"(static_cast<QApplication *>(QCoreApplication::instance())) != nullptr"_s,
                        u"libraries/core/src/s3threadbase"_s, u"s3ThreadBase::currentIsMainThread"_s));
}

void TestTestausProxy::callbackAlone()
{
    const TraceDirectory directory;
    const PartRecorder recorder;
    print(u"größer\n"_s);
    print(QString());
    print(u"a"_s, false);
    print(u"b"_s);
    QVERIFY(
        recorder.parts
        == std::vector<Printed>({{u"größer\n"_s, true}, {QString(), true}, {u"a"_s, false}, {u"b"_s, true}}));
    QCOMPARE(directory.files(), QStringList());
}

void TestTestausProxy::timeNeedsItsFlag()
{
    const PartRecorder recorder;
    print(u"plain"_s);
    const ScopedTestFlag time(96);
    print(u"timed"_s);
    QCOMPARE(recorder.parts.at(0).text, u"plain"_s);
    static const QRegularExpression timed(u"^\\[[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\.[0-9]{3}\\] timed$"_s);
    QVERIFY2(timed.match(recorder.parts.at(1).text).hasMatch(), qPrintable(recorder.parts.at(1).text));
}

void TestTestausProxy::timeStandsOncePerLine()
{
    const ScopedTestFlag time(96);
    const PartRecorder recorder;
    print(u"a"_s, false);
    print(u"b"_s, false);
    print(u"c"_s, true);
    print(u"d"_s, true);
    QVERIFY(recorder.parts.at(0).text.startsWith(u'['));
    QCOMPARE(recorder.parts.at(1).text, u"b"_s);
    QCOMPARE(recorder.parts.at(2).text, u"c"_s);
    QVERIFY(recorder.parts.at(3).text.startsWith(u'[')); // the line's end gave back all holds
}

void TestTestausProxy::emptyFileNameIsIgnored()
{
    const TraceDirectory directory;
    s3TestausProxy::instance()->setFileName(QString());
    QVERIFY(s3TestFlagsInstance()->isEmpty());
    const ScopedTestFlag file(55);
    print(u"x"_s);
    QCOMPARE(directory.files(), QStringList(u"testaus.txt"_s));
}

void TestTestausProxy::flag55WritesTheDefaultFile()
{
    const TraceDirectory directory;
    const ScopedTestFlag file(55);
    print(u"x"_s);
    QCOMPARE(directory.bytes(u"testaus.txt"_s), traceFile(u"x\n"_s));
}

void TestTestausProxy::fileNameSwitchesTheFileOn()
{
    const TraceDirectory directory;
    s3TestausProxy::instance()->setFileName(u"größe.txt"_s);
    QVERIFY(s3TestFlagsInstance()->contains(55));
    QCOMPARE(directory.files(), QStringList()); // opened by the first text
    print(u"x"_s);
    QCOMPARE(directory.files(), QStringList(u"größe.txt"_s));
}

void TestTestausProxy::secondFileNameChangesNothing()
{
    const TraceDirectory directory;
    s3TestausProxy::instance()->setFileName(u"x.txt"_s);
    print(u"first"_s);
    s3TestausProxy::instance()->setFileName(u"y.txt"_s);
    print(u"second"_s);
    QCOMPARE(directory.files(), QStringList(u"x.txt"_s));
    QCOMPARE(directory.bytes(u"x.txt"_s), traceFile(u"first\nsecond\n"_s));
}

void TestTestausProxy::fileIsByteExact()
{
    const TraceDirectory directory;
    {
        QFile old(u"testaus.txt"_s);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("what an earlier run left");
    }
    const ScopedTestFlag file(55);
    print(u"a"_s);
    QCOMPARE(directory.bytes(u"testaus.txt"_s), "\xFF\xFE\x61\x00\x0A\x00"_ba);
    print(u"€ "_s, false);
    print(u"\U0001F4E7"_s, false);
    print(u"\r\n\t"_s);
    print(QString());
    QCOMPARE(
        directory.bytes(u"testaus.txt"_s),
        "\xFF\xFE\x61\x00\x0A\x00\xAC\x20\x20\x00\x3D\xD8\xE7\xDC\x0D\x00\x0A\x00\x09\x00\x0A\x00\x0A\x00"_ba);
}

void TestTestausProxy::lineInTheFileWithTimeAndLifecycle()
{
    class Worker final : public s3ThreadBase
    {
    public:
        Worker() : s3ThreadBase(false) { }

    protected:
        void run() override { }
    };

    const TraceDirectory directory;
    s3TestFlagsInstance()->insert(55);
    s3TestFlagsInstance()->insert(96);
    s3TestFlagsInstance()->insert(110);
    QString pointer;
    Thread thread([&] {
        const Worker worker;
        pointer = s3TraceText(QString()).pointer(u"this"_s, &worker).text().mid(2);
    });
    thread.wait();
    QCoreApplication::processEvents();
    const QRegularExpression lines(
        u"^\\[..:..:..\\....\\] s3ThreadBase::s3ThreadBase\\(\\)%1\n\\[..:..:..\\....\\] s3ThreadBase::~s3ThreadBase\\(\\)%1\n$"_s
            .arg(pointer));
    const QByteArray bytes = directory.bytes(u"testaus.txt"_s);
    const QString text = textOfTraceFile(bytes);
    QVERIFY2(lines.match(text).hasMatch(), qPrintable(text));
    QCOMPARE(bytes, traceFile(text));
}

void TestTestausProxy::partsReachTheDiskAtOnce()
{
    const TraceDirectory directory;
    const ScopedTestFlag file(55);
    print(u"part"_s, false);
    QCOMPARE(directory.bytes(u"testaus.txt"_s), traceFile(u"part"_s));
    print(QString());
    QCOMPARE(directory.bytes(u"testaus.txt"_s), traceFile(u"part\n"_s));
}

void TestTestausProxy::withTimeOnlyWholeLinesReachTheDisk()
{
    const TraceDirectory directory;
    const ScopedTestFlag file(55);
    const ScopedTestFlag time(96);
    print(u"part"_s, false);
    QCOMPARE(directory.bytes(u"testaus.txt"_s).size(), 0);
    print(u", end"_s);
    QVERIFY(textOfTraceFile(directory.bytes(u"testaus.txt"_s)).endsWith(u" part, end\n"_s));
}

void TestTestausProxy::fileThatCannotBeOpenedIsTriedAgain()
{
    const TraceDirectory directory;
    QVERIFY(QDir().mkdir(u"testaus.txt"_s));
    const ScopedTestFlag file(55);
    const PartRecorder recorder;
    print(u"lost"_s);
    QCOMPARE(recorder.parts.size(), size_t(1)); // the other outputs go on
    QVERIFY(QDir().rmdir(u"testaus.txt"_s));
    print(u"written"_s);
    QCOMPARE(directory.bytes(u"testaus.txt"_s), traceFile(u"written\n"_s));
}

void TestTestausProxy::debuggerGetsTheText()
{
    const TraceDirectory directory;
    const ScopedTestFlag debugger(202);
    DebugOutputCapture capture;
    print(u"part, "_s, false);
    print(u"end"_s);
    print(u"größer €"_s);
    QCOMPARE(capture.take(), u"part, end\ngrößer €\n"_s);
    QCOMPARE(directory.files(), QStringList());
}

void TestTestausProxy::everyOutputGetsTheText()
{
    const TraceDirectory directory;
    const ScopedTestFlag file(55);
    const ScopedTestFlag debugger(202);
    const PartRecorder recorder;
    DebugOutputCapture capture;
    print(u"x"_s);
    QCOMPARE(capture.take(), u"x\n"_s);
    QCOMPARE(recorder.parts.size(), size_t(1));
    QCOMPARE(directory.bytes(u"testaus.txt"_s), traceFile(u"x\n"_s));
}

void TestTestausProxy::callbackThatTracesIsNotQueued()
{
    QStringList received;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        received += text;
        print(u"from the callback of "_s + text);
    });
    print(u"1"_s);
    print(u"2"_s);
    Thread worker([] { print(u"3"_s); });
    worker.wait();
    QCoreApplication::processEvents();
    QCOMPARE(received, QStringList({u"1"_s, u"2"_s, u"3"_s}));
}

void TestTestausProxy::callbackThatTracesLeavesTheLineAlone()
{
    const ScopedTestFlag time(96);
    QStringList received;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        received += text;
        print(u"a whole line"_s);
    });
    print(u"a"_s, false);
    print(u"b"_s);
    QCOMPARE(received.size(), 2);
    QCOMPARE(received.at(1), u"b"_s); // still the same line: no time before it
}

void TestTestausProxy::callbackMayReplaceItself()
{
    QStringList first;
    QStringList second;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        s3TestausProxy::instance()->setCallback([&](const QString &next, bool) { second += next; });
        first += text; // what it captured is still there
    });
    print(u"1"_s);
    print(u"2"_s);
    s3TestausProxy::instance()->setCallback(
        [&](const QString &, bool) { s3TestausProxy::instance()->setCallback(nullptr); });
    print(u"3"_s);
    print(u"4"_s);
    QCOMPARE(first, QStringList(u"1"_s));
    QCOMPARE(second, QStringList(u"2"_s));
}

void TestTestausProxy::callbackWithAnEventLoop()
{
    QStringList received;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        received += text;
        QCoreApplication::processEvents(); // may deliver a flush event: one flush runs already
    });
    Thread worker([] {
        print(u"1"_s);
        print(u"2"_s);
    });
    worker.wait();
    print(u"3"_s);
    QCoreApplication::processEvents();
    QCOMPARE(received, QStringList({u"1"_s, u"2"_s, u"3"_s}));
}

void TestTestausProxy::workerTextWaitsForTheEventLoop()
{
    const PartRecorder recorder;
    Thread worker([] { print(u"x"_s); });
    worker.wait();
    QVERIFY(recorder.parts.empty());
    QCoreApplication::processEvents();
    QVERIFY(recorder.parts == std::vector<Printed>({{u"x"_s, true}}));
}

void TestTestausProxy::workerWaitsForARunningFlush()
{
    Semaphore flushRuns{0};
    QStringList received;
    std::atomic<bool> isPrinted = false;
    bool waited = false;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        received += text;
        if (text != u"main"_s)
            return;
        flushRuns.release();
        QThread::msleep(100);
        waited = !isPrinted;
    });
    // The worker's line must not be the one that the main thread has begun: its flush holds the queue only.
    Thread worker([&] {
        flushRuns.acquire();
        print(u"worker"_s);
        isPrinted = true;
    });
    print(u"main"_s);
    QVERIFY(waited);
    QCOMPARE(received, QStringList(u"main"_s));
    worker.wait();
    QCoreApplication::processEvents();
    QCOMPARE(received, QStringList({u"main"_s, u"worker"_s}));
}

void TestTestausProxy::callbackThatTracesDoesNotWaitForAWorkersLine()
{
    // The worker is in the middle of a line and waits for the flush to end; a callback that waited for the
    // line would wait for ever.
    Semaphore flushRuns{0};
    QStringList received;
    s3TestausProxy::instance()->setCallback([&](const QString &text, bool) {
        received += text;
        if (text != u"part, "_s)
            return;
        flushRuns.release();
        QThread::msleep(100);
        print(u"from the callback"_s);
    });
    Thread worker([&] {
        print(u"part, "_s, false);
        flushRuns.acquire();
        print(u"end"_s);
    });
    QVERIFY(QTest::qWaitFor([&] { return received.size() == 2; }));
    QCOMPARE(received, QStringList({u"part, "_s, u"end"_s}));
}

void TestTestausProxy::oneLineEndUndoesAllHolds()
{
    const PartRecorder recorder;
    print(u"a"_s, false);
    print(u"b"_s, false);
    print(u"c"_s, true);
    Thread worker([] { print(u"d"_s); }); // would wait for ever for a line still held
    QVERIFY(QTest::qWaitFor([&] { return recorder.parts.size() == size_t(4); }));
}

void TestTestausProxy::workersKeepTheirLinesTogether_data()
{
    QTest::addColumn<bool>("mainPrints");

    QTest::newRow("main thread only flushes") << false;
    QTest::newRow("main thread prints too") << true;
}

void TestTestausProxy::workersKeepTheirLinesTogether()
{
    QFETCH(bool, mainPrints);
    constexpr int workerCount = 8;
    constexpr int lineCount = 300;

    const TraceDirectory directory;
    s3TestausProxy::instance()->setFileName(u"many.txt"_s);
    std::atomic<int> running = workerCount;
    std::vector<std::unique_ptr<Thread>> workers;
    for (int w = 0; w < workerCount; ++w) {
        workers.push_back(std::make_unique<Thread>([w, &running] {
            for (int i = 0; i < lineCount; ++i) {
                const QString number = QString::number(i);
                if (i % 3 == 0) {
                    print(u"w%1 whole %2"_s.arg(QString::number(w), number));
                } else {
                    print(u"w%1 "_s.arg(w), false);
                    print(u"part "_s, false);
                    print(number, true);
                }
            }
            --running;
        }));
    }
    int mainLines = 0;
    while (running > 0) {
        if (mainPrints && mainLines < lineCount)
            print(u"main whole %1"_s.arg(mainLines++));
        QCoreApplication::processEvents();
    }
    workers.clear();
    QCoreApplication::processEvents();

    const QByteArray bytes = directory.bytes(u"many.txt"_s);
    const QString text = textOfTraceFile(bytes);
    QCOMPARE(bytes, traceFile(text));
    QStringList lines = text.split(u'\n');
    QCOMPARE(lines.takeLast(), QString());
    int next[workerCount] = {};
    int lastOfMain = -1;
    for (const QString &line : std::as_const(lines)) {
        const QStringList words = line.split(u' ');
        QVERIFY2(words.size() == 3, qPrintable(line));
        const int number = words.at(2).toInt();
        if (words.at(0) == u"main"_s) {
            // A text of the main thread is lost when a worker is at the queue; the order stays.
            QVERIFY2(number > lastOfMain, qPrintable(line));
            lastOfMain = number;
            continue;
        }
        const int w = words.at(0).mid(1).toInt();
        QVERIFY2(w >= 0 && w < workerCount && next[w] == number, qPrintable(line));
        QCOMPARE(words.at(1), number % 3 == 0 ? u"whole"_s : u"part"_s);
        ++next[w];
    }
    for (const int count : next)
        QCOMPARE(count, lineCount);
}

void TestTestausProxy::mainThreadBetweenWorkers()
{
    // Whole lines of the main thread wait for a worker's line to end, then stand behind it.
    const PartRecorder recorder;
    Semaphore holds{0};
    Thread worker([&] {
        print(u"a"_s, false);
        holds.release();
        QThread::msleep(50);
        print(u"b"_s);
    });
    holds.acquire();
    print(u"c"_s);
    QVERIFY(QTest::qWaitFor([&] { return recorder.parts.size() == size_t(3); }));
    QVERIFY(recorder.parts == std::vector<Printed>({{u"a"_s, false}, {u"b"_s, true}, {u"c"_s, true}}));
}

void TestTestausProxy::firstUseOnAWorker()
{
    const ChildRun run = runChild(u"firstUseOnAWorker"_s);
    QVERIFY(run.ended);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.standardOutput.trimmed(), "main main: from the worker"_ba);
}

void TestTestausProxy::firstWorkerTextWithRegistrationTrace()
{
    const ChildRun run = runChild(u"registrationTrace"_s);
    QVERIFY(run.ended);
    QCOMPARE(run.exitCode, 0);
    static const QRegularExpression lines(
        u"^s3CustomEventBase<class s3TestausProxyPrivatFlushEvent>::type\\(\\) = [0-9]{4,5}\r?\nfirst\r?\nsecond\r?\n$"_s);
    QVERIFY2(lines.match(QString::fromUtf8(run.standardOutput)).hasMatch(), run.standardOutput.constData());
}

void TestTestausProxy::moveOnMainThreadDoesNothing()
{
    s3TestausProxy *proxy = s3TestausProxy::instance();
    proxy->moveToMainThread();
    QCOMPARE(proxy->thread(), QCoreApplication::instance()->thread());
}

void TestTestausProxy::silentSiteBuildsNoText()
{
    const PartRecorder recorder;
    int built = 0;
    const auto build = [&] {
        ++built;
        return u"text"_s;
    };
    s3Trace(226, build);
    const ScopedTestFlag other(110);
    s3Trace(226, build);
    QCOMPARE(built, 0);
    QVERIFY(recorder.parts.empty());
}

void TestTestausProxy::siteSpeaksUnderItsFlag()
{
    const ScopedTestFlag flag(226);
    const TraceRecorder trace;
    s3Trace(226, [] { return u"a text"_s; });
    s3Trace(226, [] { return s3TraceText(u"s3Dir::setCurrent"_s).argument(u"path"_s, u"c:/x"_s); });
    QCOMPARE(trace.lines(), QStringList({u"a text"_s, u"s3Dir::setCurrent() path=\"c:/x\""_s}));
}

void TestTestausProxy::siteWithoutFlagNeedsAnOutput()
{
    s3TraceAlways([] { return u"to nobody"_s; });
    const TraceRecorder trace;
    s3TraceAlways([] { return u"a text"_s; });
    QCOMPARE(trace.lines(), QStringList(u"a text"_s));
}

namespace
{

// The trace's first use of all is on a worker: proxy and private object move to the main thread.
int firstUseOnAWorker()
{
    QByteArray line;
    Thread worker([&] {
        s3TestausProxy *proxy = s3TestausProxy::instance();
        const bool moved = proxy->thread() == QCoreApplication::instance()->thread();
        proxy->setCallback([&line, moved](const QString &text, bool) {
            line = (moved ? "main " : "worker ");
            line += s3ThreadBase::currentIsMainThread() ? "main: " : "worker: ";
            line += text.toUtf8();
        });
        print(u"from the worker"_s);
    });
    worker.wait();
    QCoreApplication::processEvents();
    std::puts(line.constData());
    return 0;
}

// The first text of a worker registers the flush event, which traces in the middle of that text's line.
int registrationTrace()
{
    s3TestFlagsInstance()->insert(400);
    const TraceRecorder trace;
    Thread([] { print(u"first"_s); }).wait();
    Thread([] { print(u"second"_s); }).wait();
    QCoreApplication::processEvents();
    for (const QString &line : trace.lines())
        std::puts(line.toUtf8().constData());
    return 0;
}

}

int main(int argc, char **argv)
{
    {
        s3TestausProxy proxy;
        proxy.moveToMainThread();
        proxy.setCallback([](const QString &, bool) { wroteWithoutApplication = true; });
        proxy.print(u"dropped"_s, true);
        const ScopedTestFlag flag(226);
        s3Trace(226, [] {
            siteSpokeWithoutApplication = true;
            return QString();
        });
        instanceWithoutApplication = thrownMessage([] { (void)s3TestausProxy::instance(); });
    }
    const QCoreApplication application(argc, argv);
    const QString part = childPart(argc, argv);
    if (part == u"firstUseOnAWorker"_s)
        return firstUseOnAWorker();
    if (part == u"registrationTrace"_s)
        return registrationTrace();
    TestTestausProxy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3testausproxy.moc"
