#include "protocol/s3crashhandler.h"

#include <QTest>

#include <csignal>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int noTracing = 2;
constexpr int hasBroken = 5;
constexpr int hasNotBroken = 6;

}

class TestDebugger final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stopsThere();
};

void TestDebugger::stopsThere()
{
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(noTracing);
        _exit(s3CrashHandler::instance()->debugBreak() ? hasBroken : hasNotBroken);
    }
    QVERIFY(child > 0);
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == noTracing)
        QSKIP("this system does not let a process be traced");
    QVERIFY2(WIFSTOPPED(status), QByteArray::number(status).constData());
    const int signal = WSTOPSIG(status);
    // The debugger keeps the signal for itself, and the program goes on.
    QCOMPARE(ptrace(PTRACE_CONT, child, nullptr, nullptr), 0);
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(signal, SIGTRAP);
    QVERIFY2(WIFEXITED(status), QByteArray::number(status).constData());
    QCOMPARE(WEXITSTATUS(status), hasBroken);
}

QTEST_GUILESS_MAIN(TestDebugger)

#include "tst_debugger.moc"
