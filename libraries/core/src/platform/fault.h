#pragma once

#include <QString>
#include <QtGlobal>

#include <cstdint>
#include <typeinfo>

struct s3FaultContext;

// Faults of this process that nothing in the running code takes.
namespace platform
{

// The code of an uncaught C++ exception, and that of a process that gave itself up (abort).
constexpr quint32 thrownObjectCode = 0xE06D7363;
constexpr quint32 abortCode = 0x40000015;

// One fault, valid for the length of the call that hands it over.
struct Fault {
    // An exception code of Windows, on every platform.
    quint32 code = 0;
    // The registers of the place, null when they are not to be had.
    const s3FaultContext *context = nullptr;
    // The run-time type of the thrown object if the code is thrownObjectCode, null when it is not known.
    const std::type_info *thrownType = nullptr;
};

// What takes the faults. All run on the failing thread.
struct FaultHandlers {
    // A machine fault, an uncaught exception or an abort; null leaves them to the system. When it returns,
    // what was there before the installation takes the fault, and in the end the system.
    void (*fault)(const Fault &fault);
    // The C run-time library was given a parameter that it refuses. Windows only.
    void (*invalidParameter)(const wchar_t *expression, const wchar_t *function, const wchar_t *file,
                             unsigned int line, uintptr_t reserved);
    // A pure virtual function was called. It should not return; the process ends if it does.
    void (*pureCall)();
};

// Installs `handlers`, once, before there are other threads. No memory is taken from the heap.
//
// Windows: the unhandled exception filter, the handlers of std::terminate (an uncaught C++ exception does
// not come to the filter there), of SIGABRT and of invalid parameters.
//
// Linux: handlers of the signals SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP and SIGABRT on a second stack of
// the calling thread, and of std::terminate. A signal that somebody sent, such as another process, is a
// fault like any other.
void installFaultHandlers(const FaultHandlers &handlers);

// Puts back what installFaultHandlers found, where it is still the last one installed.
void removeFaultHandlers();

// The system's own words for an exception code that has no name: the message table of "NTDLL.DLL" on
// Windows, the description of the signal on Linux; empty when there are none.
[[nodiscard]] QString faultMessage(quint32 code);

// The name of a type as a developer writes it, "std::bad_alloc".
[[nodiscard]] QString typeName(const std::type_info &type);

// The title of the window in the foreground, at most 79 characters; empty on Linux.
[[nodiscard]] QString foregroundWindowTitle();

// Whether somebody may see a box of this process, and so take his time for an answer.
[[nodiscard]] bool boxIsSeen();

// A second stack of the calling thread, on which it can still handle the overflow of its first one; made by
// the constructor and given back by the destructor, on the same thread. The main thread has one since
// installFaultHandlers. Windows keeps room for that on the thread's own stack.
class SecondStack
{
public:
    SecondStack();
    ~SecondStack();
    Q_DISABLE_COPY_MOVE(SecondStack)

private:
    void *m_memory = nullptr;
};

}
