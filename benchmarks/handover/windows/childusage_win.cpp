#include "childusage.h"

#include <windows.h>

#include <psapi.h>

#include <QDir>

#include <chrono>

ChildUsage runChild(const QString &program, const QStringList &arguments)
{
    // None of the arguments holds a quote or ends in a backslash.
    QString commandLine = u'"' + QDir::toNativeSeparators(program) + u'"';
    for (const QString &argument : arguments)
        commandLine += QStringLiteral(" \"") + argument + u'"';

    ChildUsage usage;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    const auto start = std::chrono::steady_clock::now();
    if (!CreateProcessW(nullptr, reinterpret_cast<wchar_t *>(commandLine.data()), nullptr, nullptr, FALSE, 0,
                        nullptr, nullptr, &startup, &process))
        return usage;
    WaitForSingleObject(process.hProcess, INFINITE);
    usage.milliseconds
        = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    DWORD exitCode = 0;
    if (GetExitCodeProcess(process.hProcess, &exitCode))
        usage.exitCode = int(exitCode);
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof memory;
    if (K32GetProcessMemoryInfo(process.hProcess, &memory, sizeof memory))
        usage.peakBytes = qint64(memory.PeakWorkingSetSize);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return usage;
}
