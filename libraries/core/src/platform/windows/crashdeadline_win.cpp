#include "platform/crashdeadline.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

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

constexpr DWORD boxInterval = 100;

BOOL CALLBACK isBoxOfThisProcess(HWND window, LPARAM result)
{
    constexpr int classNameLength = 16;
    wchar_t className[classNameLength] = {};
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const bool isBox = process == GetCurrentProcessId() && IsWindowVisible(window) != FALSE
        && GetClassNameW(window, className, classNameLength) > 0 && lstrcmpW(className, L"#32770") == 0;
    if (isBox)
        *reinterpret_cast<bool *>(result) = true;
    return isBox ? FALSE : TRUE;
}

// A box that hangs before it stands on the screen is nobody's to answer.
bool isBoxOnScreen()
{
    bool result = false;
    EnumWindows(isBoxOfThisProcess, reinterpret_cast<LPARAM>(&result));
    return result;
}

// Sleeps until there is a failure.
DWORD WINAPI watch(void *)
{
    WaitForSingleObject(changed, INFINITE);
    ULONGLONG left = static_cast<ULONGLONG>(limitMilliseconds);
    while (left > 0) {
        const ULONGLONG start = GetTickCount64();
        WaitForSingleObject(changed, standingBoxes > 0 ? boxInterval : static_cast<DWORD>(left));
        if (standingBoxes == 0 || !isBoxOnScreen())
            left -= std::min(left, GetTickCount64() - start);
    }
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCodeAtLimit));
    return 0;
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

void finishFailedProcess()
{
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCodeAtLimit));
}

void setCrashDeadlineLimit(int milliseconds)
{
    limitMilliseconds = milliseconds;
}

}
