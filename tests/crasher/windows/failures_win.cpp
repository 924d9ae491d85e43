#include "failures.h"

#include "platform/fault.h"

#include <cstdlib>

#include <windows.h>

namespace
{

void raiseUnknown()
{
    RaiseException(0xC0000409, 0, 0, nullptr);
}

// Nobody has a name for this code.
void raiseNameless()
{
    RaiseException(0xE1234567, 0, 0, nullptr);
}

// A page that may be touched once, and the first time is told.
[[gnu::noinline]] void guardPage()
{
    writeTo(VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE | PAGE_GUARD));
}

// Fails while another thread has a lock that it never gives back.
void failBehind(void (*lock)())
{
    static const HANDLE isLocked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const auto keep = [](void *take) -> DWORD {
        reinterpret_cast<void (*)()>(take)();
        SetEvent(isLocked);
        Sleep(INFINITE);
        return 0;
    };
    if (CreateThread(nullptr, 0, keep, reinterpret_cast<void *>(lock), 0, nullptr) == nullptr)
        ExitProcess(97);
    WaitForSingleObject(isLocked, INFINITE);
    writeTo(nullptr);
}

void loaderIsBusy()
{
    failBehind([] {
        using LockLoader = LONG(NTAPI *)(ULONG flags, ULONG * result, ULONG_PTR * magic);
        const auto lock = reinterpret_cast<LockLoader>(
            reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrLockLoaderLock")));
        ULONG_PTR magic = 0;
        if (lock == nullptr || lock(0, nullptr, &magic) != 0)
            ExitProcess(97);
    });
}

void heapIsBusy()
{
    failBehind([] {
        if (HeapLock(GetProcessHeap()) == FALSE)
            ExitProcess(97);
    });
}

// As the run-time library does where it asks the handler; the one that this compiler links does not.
void refusedParameter()
{
    const _invalid_parameter_handler handler = _get_invalid_parameter_handler();
    if (handler == nullptr)
        ExitProcess(97);
    handler(nullptr, nullptr, nullptr, 0, 0);
}

constinit bool wasTold = false;

LONG WINAPI formerFilter(EXCEPTION_POINTERS *)
{
    ExitProcess(wasTold ? 7 : 8);
}

// What was there before takes a fault that our filter lets go.
void formerHandler()
{
    platform::removeFaultHandlers();
    SetUnhandledExceptionFilter(formerFilter);
    platform::installFaultHandlers({[](const platform::Fault &) { wasTold = true; }, nullptr, nullptr});
    writeTo(nullptr);
}

void removedHandler()
{
    platform::removeFaultHandlers();
    writeTo(nullptr);
}

}

const QList<Failure> &platformFailures()
{
    static const QList<Failure> failures{
        {"raiseUnknown", raiseUnknown},   {"raiseNameless", raiseNameless},
        {"guardPage", guardPage},         {"loaderIsBusy", loaderIsBusy},
        {"heapIsBusy", heapIsBusy},       {"refusedParameter", refusedParameter},
        {"formerHandler", formerHandler}, {"removedHandler", removedHandler},
    };
    return failures;
}

void prepareProcess()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

void waitForBox()
{
    const auto isBox = [](HWND window, LPARAM found) -> BOOL {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        wchar_t name[16] = {};
        GetClassNameW(window, name, 16);
        if (process != GetCurrentProcessId() || lstrcmpW(name, L"#32770") != 0 || !IsWindowVisible(window))
            return TRUE;
        *reinterpret_cast<bool *>(found) = true;
        return FALSE;
    };
    bool found = false;
    while (!found) {
        EnumWindows(isBox, reinterpret_cast<LPARAM>(&found));
        Sleep(10);
    }
}
