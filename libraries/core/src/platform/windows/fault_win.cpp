#include "platform/fault_p.h"

#include "platform/windows/faultcontext_win.h"

#include <array>
#include <csignal>
#include <cstdlib>

#include <windows.h>
#include <xmmintrin.h>

namespace platform
{

namespace
{

constinit LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;
constinit bool isInstalled = false;

constexpr ULONG secondStackSize = 262144;

// The compiler raises this for a thrown object ("GCC" with a flag for the caller's own codes). When nothing
// takes it, the filter of the run-time library lets the throw go on to std::terminate.
bool isThrowOfCompiler(DWORD code)
{
    return (code & 0x20FFFFFFU) == 0x20474343U;
}

// What the processor was told to report of floating point numbers stays on in the filter, and ordinary code
// of a library does not pass it. Who goes on behind the fault gets his own setting back with his registers.
void switchFloatExceptionsOff()
{
    _MM_SET_EXCEPTION_MASK(_MM_MASK_MASK);
    asm volatile("fninit");
}

LONG WINAPI filterException(EXCEPTION_POINTERS *pointers)
{
    switchFloatExceptionsOff();
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    if (isThrowOfCompiler(code))
        return previousFilter != nullptr ? previousFilter(pointers) : EXCEPTION_CONTINUE_EXECUTION;
    if (faultHandlers().fault != nullptr) {
        const s3FaultContext registers = contextOfRecord(*pointers->ContextRecord);
        faultHandlers().fault(Fault{code, &registers, nullptr});
    }
    return previousFilter != nullptr ? previousFilter(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

void handleAbort(int)
{
    // The run-time library has taken the handler away before the call.
    std::signal(SIGABRT, handleAbort);
    if (faultHandlers().fault != nullptr)
        handOverFromHere(Fault{abortCode, nullptr, nullptr});
    std::signal(SIGABRT, SIG_DFL);
}

}

void handOverFromHere(Fault fault)
{
    CONTEXT here = {};
    RtlCaptureContext(&here);
    const s3FaultContext registers = contextOfRecord(here);
    fault.context = &registers;
    faultHandlers().fault(fault);
}

void installFaultHandlers(const FaultHandlers &handlers)
{
    faultHandlers() = handlers;
    _set_invalid_parameter_handler(handlers.invalidParameter);
    if (handlers.fault == nullptr)
        return;
    ULONG size = secondStackSize;
    SetThreadStackGuarantee(&size);
    previousFilter = SetUnhandledExceptionFilter(filterException);
    std::signal(SIGABRT, handleAbort);
    installTerminateHandler();
    isInstalled = true;
}

void removeFaultHandlers()
{
    faultHandlers() = {};
    if (!isInstalled)
        return;
    isInstalled = false;
    if (previousFilter != nullptr)
        SetUnhandledExceptionFilter(previousFilter);
    removeTerminateHandler();
}

QString faultMessage(quint32 code)
{
    static std::array<wchar_t, 512> words = {};
    const DWORD length
        = FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS,
                         GetModuleHandleW(L"NTDLL.DLL"), code, 0, words.data(), words.size(), nullptr);
    return QString::fromWCharArray(words.data(), static_cast<qsizetype>(length));
}

QString foregroundWindowTitle()
{
    const HWND window = GetForegroundWindow();
    if (window == nullptr)
        return QString();
    std::array<wchar_t, 80> title = {};
    const int length = GetWindowTextW(window, title.data(), static_cast<int>(title.size()));
    return QString::fromWCharArray(title.data(), length);
}

bool boxIsSeen()
{
    USEROBJECTFLAGS flags = {};
    return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr)
        != FALSE
        && (flags.dwFlags & WSF_VISIBLE) != 0;
}

SecondStack::SecondStack()
{
    ULONG size = secondStackSize;
    SetThreadStackGuarantee(&size);
}

SecondStack::~SecondStack() = default;

}
