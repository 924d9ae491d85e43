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
        {"raiseUnknown", raiseUnknown},
        {"formerHandler", formerHandler},
        {"removedHandler", removedHandler},
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
