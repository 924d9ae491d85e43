#include "ostrelletest/childrun.h"
#include "platform/process.h"
#include "protocol/s3crashhandler.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include <array>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int hasBroken = 5;
constexpr int hasNotBroken = 6;

// A run of this program that this process has debugged.
struct DebuggedRun {
    bool ended = false;
    DWORD exitCode = 0;
    int breakpoints = 0; // the loader's own among them
};

void closeFileOf(const DEBUG_EVENT &event)
{
    if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT)
        CloseHandle(event.u.CreateProcessInfo.hFile);
    else if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT)
        CloseHandle(event.u.LoadDll.hFile);
}

DebuggedRun debugChild(const QString &part)
{
    constexpr DWORD patience = 240000;
    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    QString commandLine = u"\"%1\" --child %2"_s.arg(program, part);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    DebuggedRun run;
    if (CreateProcessW(reinterpret_cast<const wchar_t *>(program.utf16()),
                       reinterpret_cast<wchar_t *>(commandLine.data()), nullptr, nullptr, FALSE,
                       DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &startup, &process)
        == FALSE)
        return run;
    DEBUG_EVENT event = {};
    while (!run.ended && WaitForDebugEvent(&event, patience) != FALSE) {
        closeFileOf(event);
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            run.ended = true;
            run.exitCode = event.u.ExitProcess.dwExitCode;
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT) {
            if (event.u.Exception.ExceptionRecord.ExceptionCode == EXCEPTION_BREAKPOINT)
                ++run.breakpoints;
            else
                answer = DBG_EXCEPTION_NOT_HANDLED;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
    if (!run.ended)
        TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return run;
}

}

class TestDebugger final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stopsThere();
};

void TestDebugger::stopsThere()
{
    const DebuggedRun without = debugChild(u"nothing"_s);
    QVERIFY(without.ended);
    QCOMPARE(without.exitCode, DWORD(hasBroken));
    const DebuggedRun with = debugChild(u"break"_s);
    QVERIFY(with.ended);
    QCOMPARE(with.exitCode, DWORD(hasBroken));
    QCOMPARE(with.breakpoints, without.breakpoints + 1);
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString part = childPart(argc, argv);
    if (part == u"nothing"_s)
        return platform::isDebuggerAttached() ? hasBroken : hasNotBroken;
    if (part == u"break"_s)
        return s3CrashHandler::instance()->debugBreak() ? hasBroken : hasNotBroken;
    TestDebugger test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_debugger.moc"
