#include "platform/faultcontext.h"
#include "platform/linux/guardedfault_linux.h"
#include "platform/runguarded.h"
#include "platform/stackwalker.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

__attribute__((noinline, noclone)) void writeNull()
{
    asm volatile("movl $1, 0" ::: "memory");
}

void breakpoint()
{
    asm volatile("int3");
}

void install(int signal, platform::SignalAction handler)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigaction(signal, &action, nullptr);
}

platform::SignalAction installed(int signal)
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action.sa_sigaction;
}

void arm()
{
    if (!s3RunGuarded([] {}))
        _exit(99);
}

void endWithSeven(int, siginfo_t *, void *)
{
    _exit(7);
}

void endWithEight(int)
{
    _exit(8);
}

void askThenEndWithNine(int signal, siginfo_t *info, void *context)
{
    if (!platform::takeGuardedFault(signal, info, context))
        _exit(9);
}

// With the signal blocked, as handlers ordinarily run.
void guardInsideTheHandler(int, siginfo_t *, void *)
{
    const bool hasRun = s3RunGuarded(writeNull);
    s3SaveContext(nullptr);
    s3ForceFault();
    _exit(!hasRun && s3SavedContext() != nullptr ? 10 : 98);
}

platform::SignalAction handedOnTo = nullptr;

void handOn(int signal, siginfo_t *info, void *context)
{
    handedOnTo(signal, info, context);
}

__attribute__((noinline, no_sanitize("address", "undefined"))) int overflow(int depth)
{
    volatile char room[4096];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : overflow(depth + 1) + room[0];
}

int runPart(const QString &part)
{
    const rlimit noCore = {};
    setrlimit(RLIMIT_CORE, &noCore);
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP})
        std::signal(signal, SIG_DFL); // a sanitizer has its own

    if (part == u"unguarded"_s) {
        arm();
        writeNull();
    } else if (part == u"unguarded behind a guarded one"_s) {
        if (s3RunGuarded(writeNull))
            return 97;
        writeNull();
    } else if (part == u"unguarded breakpoint"_s) {
        arm();
        breakpoint();
    } else if (part == u"sent"_s) {
        (void)s3RunGuarded([] { raise(SIGSEGV); });
    } else if (part == u"sent and ignored"_s) {
        std::signal(SIGFPE, SIG_IGN);
        if (!s3RunGuarded([] { raise(SIGFPE); }))
            return 97;
        return 6;
    } else if (part == u"ignored fault"_s) {
        std::signal(SIGSEGV, SIG_IGN);
        arm();
        writeNull();
    } else if (part == u"handler of before"_s) {
        install(SIGSEGV, endWithSeven);
        arm();
        writeNull();
    } else if (part == u"plain handler of before"_s) {
        std::signal(SIGSEGV, endWithEight);
        arm();
        writeNull();
    } else if (part == u"handler that asks"_s) {
        platform::setFaultHandlerThatAsks(askThenEndWithNine);
        install(SIGSEGV, askThenEndWithNine);
        if (s3RunGuarded(writeNull))
            return 97;
        s3ForceFault();
        if (s3SavedContext() == nullptr || installed(SIGSEGV) != askThenEndWithNine)
            return 96;
        writeNull();
    } else if (part == u"guard inside a handler"_s) {
        install(SIGSEGV, guardInsideTheHandler);
        writeNull();
    } else if (part == u"handler on top"_s) {
        // Somebody who does not know of guards comes later: they put themselves above.
        arm();
        install(SIGSEGV, endWithSeven);
        if (s3RunGuarded(writeNull))
            return 97;
        writeNull();
    } else if (part == u"handlers in a circle"_s) {
        arm();
        handedOnTo = installed(SIGSEGV);
        install(SIGSEGV, handOn);
        arm();
        writeNull();
    } else if (part == u"full stack"_s) {
        std::vector<char> second(65536);
        stack_t stack = {};
        stack.ss_sp = second.data();
        stack.ss_size = second.size();
        sigaltstack(&stack, nullptr);
        for (int i = 0; i < 3; ++i) {
            if (s3RunGuarded([] { (void)overflow(0); }))
                return 97;
        }
        return 11;
    }
    return 95;
}

struct SeenFault {
    quint64 programCounter = 0;
    QString function;
    quint64 displacement = 1;
};
SeenFault seenFault;

// Takes the fault's stack apart right in its handler, as a crash does, and lets the guard have it.
void walkThenAsk(int signal, siginfo_t *info, void *context)
{
    const s3FaultContext registers = platform::contextOfSignal(context);
    seenFault.programCounter = registers.rip;
    platform::StackWalker &walker = platform::stackWalker();
    if (walker.initialize()) {
        walker.start(registers);
        platform::StackFrame frame;
        platform::StackSymbol symbol;
        if (walker.next(frame) && walker.symbol(frame, symbol)) {
            seenFault.function = symbol.name;
            seenFault.displacement = symbol.displacement;
        }
        walker.cleanUp();
    }
    if (!platform::takeGuardedFault(signal, info, context))
        _exit(94);
}

}

class TestGuardedFault final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ends_data();
    void ends();
    void signalMaskStays();
    void walkInsideAHandler();
};

void TestGuardedFault::ends_data()
{
    QTest::addColumn<int>("signal"); // 0: the process ends by itself
    QTest::addColumn<int>("exitCode");

    QTest::newRow("unguarded") << SIGSEGV << 0;
    QTest::newRow("unguarded behind a guarded one") << SIGSEGV << 0;
    QTest::newRow("unguarded breakpoint") << SIGTRAP << 0;
    QTest::newRow("sent") << SIGSEGV << 0;
    QTest::newRow("sent and ignored") << 0 << 6;
    QTest::newRow("ignored fault") << SIGSEGV << 0;
    QTest::newRow("handler of before") << 0 << 7;
    QTest::newRow("plain handler of before") << 0 << 8;
    QTest::newRow("handler that asks") << 0 << 9;
    QTest::newRow("guard inside a handler") << 0 << 10;
    QTest::newRow("handler on top") << 0 << 7;
    QTest::newRow("handlers in a circle") << SIGSEGV << 0;
    QTest::newRow("full stack") << 0 << 11;
}

void TestGuardedFault::ends()
{
    QFETCH(int, signal);
    QFETCH(int, exitCode);
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {u"--child"_s, QString::fromUtf8(QTest::currentDataTag())});
    QVERIFY(process.waitForFinished(240000));
    QVERIFY2(process.exitStatus() == (signal != 0 ? QProcess::CrashExit : QProcess::NormalExit),
             QByteArray::number(process.exitCode()).constData());
    QCOMPARE(process.exitCode(), signal != 0 ? signal : exitCode);
}

void TestGuardedFault::signalMaskStays()
{
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGSEGV);
    sigaddset(&faults, SIGUSR1);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &faults, &before);
    const bool hasFailed = !s3RunGuarded(writeNull);
    sigset_t behindAFault;
    pthread_sigmask(SIG_SETMASK, nullptr, &behindAFault);
    const bool hasRun = s3RunGuarded([] {});
    sigset_t behindARun;
    pthread_sigmask(SIG_SETMASK, &before, &behindARun);
    QVERIFY(hasFailed);
    QVERIFY(hasRun);
    for (const sigset_t &mask : {behindAFault, behindARun}) {
        QCOMPARE(sigismember(&mask, SIGSEGV), 1);
        QCOMPARE(sigismember(&mask, SIGUSR1), 1);
        QCOMPARE(sigismember(&mask, SIGBUS), 0);
    }
}

void TestGuardedFault::walkInsideAHandler()
{
    struct sigaction before = {};
    sigaction(SIGSEGV, nullptr, &before);
    platform::setFaultHandlerThatAsks(walkThenAsk);
    install(SIGSEGV, walkThenAsk);
    const bool hasRun = s3RunGuarded(writeNull);
    sigaction(SIGSEGV, &before, nullptr);
    platform::setFaultHandlerThatAsks(nullptr);
    QVERIFY(!hasRun);
    QCOMPARE(seenFault.function, u"(anonymous namespace)::writeNull"_s);
    QCOMPARE(seenFault.programCounter - seenFault.displacement, reinterpret_cast<quint64>(&writeNull));
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc > 2 && qstrcmp(argv[1], "--child") == 0)
        return runPart(QString::fromUtf8(argv[2]));
    TestGuardedFault test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_guardedfault.moc"
