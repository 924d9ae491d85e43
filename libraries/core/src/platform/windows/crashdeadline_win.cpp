#include "platform/crashdeadline.h"

#include <algorithm>
#include <atomic>

#include <windows.h>

namespace platform
{

namespace
{

constinit std::atomic<int> limitMilliseconds = 9000;
constinit std::atomic<int> exitCodeAtLimit = -1;
constinit std::atomic<bool> isStarted = false;
constinit std::atomic<int> standingBoxes = 0;
constinit HANDLE changed = nullptr;

// Sleeps until there is a failure.
DWORD WINAPI watch(void *)
{
    WaitForSingleObject(changed, INFINITE);
    ULONGLONG left = static_cast<ULONGLONG>(limitMilliseconds);
    while (true) {
        if (standingBoxes > 0) {
            WaitForSingleObject(changed, INFINITE);
            continue;
        }
        const ULONGLONG start = GetTickCount64();
        if (WaitForSingleObject(changed, static_cast<DWORD>(left)) == WAIT_TIMEOUT)
            TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCodeAtLimit));
        left -= std::min(left, GetTickCount64() - start);
    }
}

void tellWatch()
{
    if (changed != nullptr)
        SetEvent(changed);
}

}

void prepareCrashDeadline()
{
    // A thread that is made in a failing process may never start: the loader's lock may be held.
    changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (changed == nullptr)
        return;
    if (const HANDLE thread
        = CreateThread(nullptr, 65536, watch, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr))
        CloseHandle(thread);
}

void startCrashDeadline(int exitCode)
{
    if (isStarted.exchange(true))
        return;
    exitCodeAtLimit = exitCode;
    tellWatch();
}

void setCrashDeadlineExitCode(int exitCode)
{
    exitCodeAtLimit = exitCode;
}

void pauseCrashDeadline()
{
    if (isStarted && standingBoxes++ == 0)
        tellWatch();
}

void resumeCrashDeadline()
{
    if (isStarted && --standingBoxes == 0)
        tellWatch();
}

void setCrashDeadlineLimit(int milliseconds)
{
    limitMilliseconds = milliseconds;
}

}
