#include "ostrelletest/failingchild.h"
#include "ostrelletest/failingthread.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/semaphore.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "s3threadbase.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace
{

const QString sourceFile = u"libraries/core/src/s3threadbase"_s;

// What currentIsMainThread() says before there is an application object; noted by main().
QString messageWithoutApplication;

// Runs a function and ends the proper way.
class Worker final : public s3ThreadBase
{
public:
    explicit Worker(std::function<void(Worker &)> work, bool autoDelete = false)
        : s3ThreadBase(autoDelete), m_work(std::move(work))
    {
    }

    void enterLoop() { exec(); }

    // Waits for the end of the thread. The semaphore says the same as QThread::wait once more in a way that
    // the thread sanitizer sees: Qt's own is out of its sight, inside Qt's library.
    [[nodiscard]] bool join()
    {
        if (!wait(30000))
            return false;
        m_ended.acquire();
        return true;
    }

    void autoDeleteIfWanted() override
    {
        s3ThreadBase::autoDeleteIfWanted();
        m_ended.release(); // the last that the worker does with this object
    }

protected:
    void run() override
    {
        m_work(*this);
        runFinish();
    }

private:
    std::function<void(Worker &)> m_work;
    Semaphore m_ended{0};
};

// Leaves run() without runFinish().
class ForgetfulWorker final : public s3ThreadBase
{
public:
    ForgetfulWorker() : s3ThreadBase(false) { }

protected:
    void run() override { }
};

class CountedEvent final : public QEvent
{
public:
    CountedEvent() : QEvent(QEvent::User) { ++alive; }
    ~CountedEvent() override { --alive; }
    Q_DISABLE_COPY_MOVE(CountedEvent)

    static inline std::atomic<int> alive = 0;
};

class Receiver final : public QObject
{
public:
    int received = 0;

protected:
    void customEvent(QEvent *event) override
    {
        if (event->type() == QEvent::User)
            ++received;
    }
};

QString pointerArgument(const void *pointer)
{
    QString digits = QString::number(reinterpret_cast<quintptr>(pointer), 16).rightJustified(16, u'0');
    if (digits.startsWith(u"00000000"_s))
        digits = digits.mid(8);
    return u" this=0x"_s + digits;
}

}

class TestThreadBase final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mainThreadTests();
    void workerThreadTests();
    void noApplicationIsAnAssertion();
    void runFinishBelongsToTheWorker();
    void slotFinishedBelongsToTheWorker();
    void aBrokenRuleEndsTheProcess_data();
    void aBrokenRuleEndsTheProcess();
    void properEndIsNoAssertion();
    void startReportsThreadsThatHaveAlreadyEnded();
    void startOnRunningThreadTouchesNothing();
    void startAgainAfterTheEnd();
    void eventReceiverIsSetByTheWorker();
    void eventsReachTheReceiver();
    void withoutReceiverTheEventStaysTheCallers();
    void autoDelete();
    void noAutoDelete();
    void quitWithoutRunningDoesNothing();
    void quitWithoutWaiting();
    void quitAndWait();
    void quitGivesUpOnAThreadThatDoesNotEnd();
    void lifecycleIsTraced();
};

void TestThreadBase::mainThreadTests()
{
    QVERIFY(s3ThreadBase::currentIsMainThread());
    QCOMPARE(thrownMessage([] { s3ThreadBase::assertInMainThread(); }), QString());
    QVERIFY(isAssertion(thrownMessage([] { s3ThreadBase::assertNotInMainThread(); }),
                        u"! currentIsMainThread()"_s, sourceFile, u"s3ThreadBase::assertNotInMainThread"_s));
}

void TestThreadBase::workerThreadTests()
{
    bool isMain = true;
    QString notIn = u"not run"_s;
    QString in;
    const ScopedTestFlag throwing(191); // flags are set before there are workers
    Worker worker([&](Worker &) {
        isMain = s3ThreadBase::currentIsMainThread();
        s3ThreadBase::assertNotInMainThread();
        notIn.clear();
        try {
            s3ThreadBase::assertInMainThread();
        } catch (const s3Exception &exception) {
            in = QString::fromUtf8(exception.what());
        }
    });
    QVERIFY(worker.start());
    QVERIFY(worker.join());
    QVERIFY(!isMain);
    QCOMPARE(notIn, QString());
    QVERIFY(isAssertion(in, u"currentIsMainThread()"_s, sourceFile, u"s3ThreadBase::assertInMainThread"_s));
}

void TestThreadBase::noApplicationIsAnAssertion()
{
    QVERIFY2(isAssertion(messageWithoutApplication,
                         u"(static_cast<QApplication *>(QCoreApplication::instance())) != nullptr"_s,
                         sourceFile, u"s3ThreadBase::currentIsMainThread"_s),
             qPrintable(messageWithoutApplication));
}

void TestThreadBase::runFinishBelongsToTheWorker()
{
    Worker worker([](Worker &) {});
    QVERIFY(isAssertion(thrownMessage([&] { worker.runFinish(); }), u"! currentIsMainThread()"_s, sourceFile,
                        u"s3ThreadBase::assertNotInMainThread"_s));
}

void TestThreadBase::slotFinishedBelongsToTheWorker()
{
    Worker worker([](Worker &) {});
    QVERIFY(isAssertion(thrownMessage([&] { worker.slotFinished(); }), u"! currentIsMainThread()"_s,
                        sourceFile, u"s3ThreadBase::assertNotInMainThread"_s));
    // On another thread the missing runFinish() shows with its words.
    QString message;
    const ScopedTestFlag throwing(191);
    Worker other([&](Worker &) {
        try {
            worker.slotFinished();
        } catch (const s3Exception &exception) {
            message = QString::fromUtf8(exception.what());
        }
    });
    other.start();
    QVERIFY(other.join());
    QVERIFY(isAssertion(message, u"m_runFinished == true"_s, sourceFile, u"s3ThreadBase::slotFinished"_s,
                        u"Kein runFinish() Aufruf in der abgeleiteten run() Funktion"_s));
}

void TestThreadBase::aBrokenRuleEndsTheProcess_data()
{
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("words");

    QTest::newRow("no application")
        << u"noApplication"_s
        << u"(static_cast<QApplication *>(QCoreApplication::instance())) != nullptr\n"_s;
    QTest::newRow("runFinish on the main thread")
        << u"runFinishOnMain"_s << u"! currentIsMainThread()\n\nFehlernummer -1111"_s;
    QTest::newRow("run without runFinish")
        << u"forgetful"_s << u"\nKein runFinish() Aufruf in der abgeleiteten run() Funktion\n"_s;
    QTest::newRow("receiver set by the main thread")
        << u"receiverFromMain"_s << u"! currentIsMainThread()\n\nFehlernummer -1111"_s;
}

void TestThreadBase::aBrokenRuleEndsTheProcess()
{
    QFETCH(QString, part);
    QFETCH(QString, words);
    const FailedRun failed = runFailingChild(part);
    QVERIFY(failed.run.ended);
    QVERIFY2(isMinusOne(failed.run.exitCode), QByteArray::number(failed.run.exitCode).constData());
    QVERIFY2(failed.boxes.contains(words), qPrintable(failed.boxes));
    QVERIFY2(failed.record.contains(u" in s3ThreadBase::"_s), qPrintable(failed.record));
    QVERIFY(failed.run.standardOutput.isEmpty());
}

void TestThreadBase::properEndIsNoAssertion()
{
    const ChildRun run = runChild(u"proper"_s);
    QVERIFY(run.ended);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.standardError, QByteArray());
}

void TestThreadBase::startReportsThreadsThatHaveAlreadyEnded()
{
    for (int i = 0; i < 200; ++i) {
        Worker worker([](Worker &) {});
        QVERIFY(!worker.started());
        QVERIFY(worker.start());
        QVERIFY(worker.started());
        QVERIFY(worker.join());
        QVERIFY(worker.started()); // the answer of start() stays
    }
}

void TestThreadBase::startOnRunningThreadTouchesNothing()
{
    Semaphore finished{0};
    Semaphore mayEnd{0};
    Worker worker([&](Worker &self) {
        self.runFinish();
        finished.release();
        mayEnd.acquire();
    });
    QVERIFY(worker.start());
    finished.acquire();
    QVERIFY(worker.start());
    QVERIFY(worker.started());
    mayEnd.release();
    QVERIFY(worker.join());
}

void TestThreadBase::startAgainAfterTheEnd()
{
    int runs = 0;
    Worker worker([&](Worker &) { ++runs; });
    QVERIFY(worker.start());
    QVERIFY(worker.join());
    QVERIFY(worker.start());
    QVERIFY(worker.join());
    QCOMPARE(runs, 2);
}

void TestThreadBase::eventReceiverIsSetByTheWorker()
{
    Worker worker([](Worker &) {});
    Receiver receiver;
    QVERIFY(isAssertion(thrownMessage([&] { worker.setEventReceiver(&receiver); }),
                        u"! currentIsMainThread()"_s, sourceFile, u"s3ThreadBase::assertNotInMainThread"_s));
    worker.postToReceiver(nullptr);
    QCoreApplication::processEvents();
    QCOMPARE(receiver.received, 0);
}

void TestThreadBase::eventsReachTheReceiver()
{
    Receiver receiver;
    Worker worker([&](Worker &self) {
        self.setEventReceiver(&receiver);
        self.postToReceiver(new CountedEvent);
        self.postToReceiver(nullptr);
        self.postToReceiver(new CountedEvent);
        self.setEventReceiver(nullptr);
    });
    QVERIFY(worker.start());
    QVERIFY(worker.join());
    QCOMPARE(receiver.received, 0); // posted, not sent
    QCoreApplication::processEvents();
    QCOMPARE(receiver.received, 2);
    QCOMPARE(CountedEvent::alive.load(), 0); // the receiving side deleted them
}

void TestThreadBase::withoutReceiverTheEventStaysTheCallers()
{
    Worker worker([](Worker &) {});
    {
        CountedEvent event;
        worker.postToReceiver(&event);
        QCoreApplication::processEvents();
        QCOMPARE(CountedEvent::alive.load(), 1);
    }
    QCOMPARE(CountedEvent::alive.load(), 0);
}

void TestThreadBase::autoDelete()
{
    QPointer<Worker> worker = new Worker([](Worker &) {}, true);
    QVERIFY(worker->start());
    QVERIFY(worker->join());
    QVERIFY(QTest::qWaitFor([&] { return worker.isNull(); }));
}

void TestThreadBase::noAutoDelete()
{
    QPointer<Worker> worker = new Worker([](Worker &) {});
    QVERIFY(worker->start());
    QVERIFY(worker->join());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QVERIFY(!worker.isNull());
    worker->autoDeleteIfWanted();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!worker.isNull());
    delete worker;
}

void TestThreadBase::quitWithoutRunningDoesNothing()
{
    Worker worker([](Worker &) {});
    const ScopedTestFlag lifecycle(110);
    const TraceRecorder trace;
    QElapsedTimer time;
    time.start();
    worker.quit(false);
    worker.quit(true);
    QVERIFY(time.elapsed() < 1000);
    QVERIFY(!worker.isRunning());
    QCOMPARE(trace.lines(),
             QStringList({u"s3ThreadBase::quit()"_s + pointerArgument(&worker) + u" waitEnd=false"_s,
                          u"s3ThreadBase::quit()"_s + pointerArgument(&worker) + u" waitEnd=true"_s}));
}

void TestThreadBase::quitWithoutWaiting()
{
    Semaphore mayEnd{0};
    Worker worker([&](Worker &self) {
        self.enterLoop();
        mayEnd.acquire();
    });
    QVERIFY(worker.start());
    QElapsedTimer time;
    time.start();
    worker.quit(false);
    QVERIFY(time.elapsed() < 2000);
    QVERIFY(worker.isRunning());
    mayEnd.release();
    QVERIFY(worker.join()); // the event loop did end
}

void TestThreadBase::quitAndWait()
{
    Worker worker([](Worker &self) { self.enterLoop(); });
    QVERIFY(worker.start());
    const ScopedTestFlag lifecycle(110);
    const TraceRecorder trace;
    worker.quit(true);
    QVERIFY(worker.isFinished());
    QVERIFY(worker.join());
    QCOMPARE(trace.lines().size(), 2);
    QCOMPARE(trace.lines().at(0), u"s3ThreadBase::quit()"_s + pointerArgument(&worker) + u" waitEnd=true"_s);
    static const QRegularExpression elapsed(u"^s3ThreadBase::quit\\(\\)   elapsed=\"[0-9]+\"$"_s);
    QVERIFY2(elapsed.match(trace.lines().at(1)).hasMatch(), qPrintable(trace.lines().at(1)));
}

void TestThreadBase::quitGivesUpOnAThreadThatDoesNotEnd()
{
    Semaphore mayEnd{0};
    Worker worker([&](Worker &) { mayEnd.acquire(); });
    QVERIFY(worker.start());
    QElapsedTimer time;
    time.start();
    worker.quit(true);
    const qint64 elapsed = time.elapsed();
    const bool stillRunning = worker.isRunning();
    mayEnd.release();
    QVERIFY(worker.join());
    QVERIFY(stillRunning);
    QVERIFY2(elapsed >= 4900 && elapsed < 20000, QByteArray::number(elapsed).constData());
}

void TestThreadBase::lifecycleIsTraced()
{
    const ScopedTestFlag lifecycle(110);
    const TraceRecorder trace;
    QString address;
    {
        Worker worker([](Worker &) {});
        address = pointerArgument(&worker);
        QCOMPARE(trace.lines(), QStringList(u"s3ThreadBase::s3ThreadBase()"_s + address));
    }
    QCOMPARE(trace.lines().size(), 2);
    QCOMPARE(trace.lines().at(1), u"s3ThreadBase::~s3ThreadBase()"_s + address);
}

namespace
{

int runPart(const QString &part)
{
    if (part != u"proper"_s)
        prepareToFail();
    Worker proper([](Worker &) {});
    ForgetfulWorker forgetful;
    QObject receiver;
    if (part == u"runFinishOnMain"_s) {
        proper.runFinish();
    } else if (part == u"receiverFromMain"_s) {
        proper.setEventReceiver(&receiver);
    } else if (part == u"forgetful"_s) {
        forgetful.start();
        waitForFailingThread(forgetful);
    } else if (part == u"proper"_s) {
        proper.start();
        (void)proper.join();
        return 0;
    }
    std::puts("still here");
    return 0;
}

}

int main(int argc, char **argv)
{
    const QString part = childPart(argc, argv);
    if (part == u"noApplication"_s) {
        prepareToFail();
        std::puts(s3ThreadBase::currentIsMainThread() ? "main" : "worker");
        return 0;
    }
    messageWithoutApplication = thrownMessage([] { (void)s3ThreadBase::currentIsMainThread(); });
    const QCoreApplication application(argc, argv);
    if (!part.isEmpty())
        return runPart(part);
    TestThreadBase test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3threadbase.moc"
