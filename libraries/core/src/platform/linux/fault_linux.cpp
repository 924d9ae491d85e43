#include "platform/fault.h"

#include "platform/fault_p.h"
#include "platform/linux/guardedfault_linux.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// Enough for a box, the report and the walk over the stack. Pages that nobody touches cost nothing.
constexpr std::size_t secondStackSize = 1048576;
alignas(16) constinit std::array<char, secondStackSize> mainThreadStack = {};

constexpr quint32 stackOverflow = 0xC00000FD;

// One row for each way in which a signal tells what happened; anyCode stands for all the others.
constexpr int anyCode = 0;
struct SignalCode {
    int signal;
    int code;
    quint32 exceptionCode;
};

constexpr std::array signalCodes{
    SignalCode{SIGSEGV, anyCode, 0xC0000005},    SignalCode{SIGBUS, BUS_ADRALN, 0x80000002},
    SignalCode{SIGBUS, anyCode, 0xC0000006},     SignalCode{SIGILL, ILL_PRVOPC, 0xC0000096},
    SignalCode{SIGILL, ILL_PRVREG, 0xC0000096},  SignalCode{SIGILL, anyCode, 0xC000001D},
    SignalCode{SIGFPE, FPE_INTDIV, 0xC0000094},  SignalCode{SIGFPE, FPE_INTOVF, 0xC0000095},
    SignalCode{SIGFPE, FPE_FLTDIV, 0xC000008E},  SignalCode{SIGFPE, FPE_FLTOVF, 0xC0000091},
    SignalCode{SIGFPE, FPE_FLTUND, 0xC0000093},  SignalCode{SIGFPE, FPE_FLTRES, 0xC000008F},
    SignalCode{SIGFPE, FPE_FLTSUB, 0xC000008C},  SignalCode{SIGFPE, anyCode, 0xC0000090},
    SignalCode{SIGTRAP, TRAP_TRACE, 0x80000004}, SignalCode{SIGTRAP, anyCode, 0x80000003},
    SignalCode{SIGABRT, anyCode, abortCode},
};

constexpr std::array handledSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT};
constinit std::array<struct sigaction, handledSignals.size()> previousActions = {};
constinit bool isInstalled = false;

// A write just below the stack pointer, or at it, that found no page.
bool isStackOverflow(const siginfo_t &info, const s3FaultContext &context)
{
    constexpr quint64 largestFrame = 65536;
    constexpr quint64 page = 4096;
    const auto address = reinterpret_cast<quint64>(info.si_addr);
    return info.si_code > 0 && info.si_code != SI_KERNEL && address + largestFrame > context.rsp
        && address < context.rsp + page;
}

quint32 exceptionCode(int signal, const siginfo_t &info, const s3FaultContext &context)
{
    if (signal == SIGSEGV && isStackOverflow(info, context))
        return stackOverflow;
    for (const SignalCode &row : signalCodes) {
        if (row.signal == signal && (row.code == anyCode || row.code == info.si_code))
            return row.exceptionCode;
    }
    return abortCode;
}

struct sigaction &previousAction(int signal)
{
    std::size_t index = 0;
    while (index + 1 < handledSignals.size() && handledSignals[index] != signal)
        ++index;
    return previousActions[index];
}

void passOn(int signal, siginfo_t *info, void *context)
{
    const struct sigaction &previous = previousAction(signal);
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(signal, info, context);
        return;
    }
    if (previous.sa_handler == SIG_IGN && info->si_code <= 0)
        return;
    if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        previous.sa_handler(signal);
        return;
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

// The alignment check of the processor stays on in the handler of the fault that it brought about, and
// ordinary code of a library does not pass it. The first step keeps off what the compiler may have stored
// below the stack pointer.
void switchAlignmentCheckOff()
{
    asm volatile("leaq -128(%%rsp), %%rsp\n\t"
                 "pushfq\n\t"
                 "andl $0xFFFBFFFF, (%%rsp)\n\t"
                 "popfq\n\t"
                 "leaq 128(%%rsp), %%rsp"
                 :
                 :
                 : "memory", "cc");
}

void handleSignal(int signal, siginfo_t *info, void *context)
{
    switchAlignmentCheckOff();
    const int error = errno;
    if (takeGuardedFault(signal, info, context))
        return;
    if (faultHandlers().fault != nullptr) {
        const s3FaultContext registers = contextOfSignal(context);
        faultHandlers().fault(Fault{exceptionCode(signal, *info, registers), &registers, nullptr});
    }
    errno = error;
    passOn(signal, info, context);
}

void useSecondStack(void *memory, std::size_t size, stack_t *former)
{
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = size;
    sigaltstack(&stack, former);
}

// A thread's second stack: a page that nobody may touch, the stack itself, and what was there before.
constexpr std::size_t guardSize = 4096;
constexpr std::size_t formerOffset = secondStackSize - 64;
static_assert(sizeof(stack_t) <= secondStackSize - formerOffset);

}

void handOverFromHere(Fault fault)
{
    ucontext_t here = {};
    s3FaultContext registers;
    if (getcontext(&here) == 0) {
        registers = contextOfSignal(&here);
        fault.context = &registers;
    }
    faultHandlers().fault(fault);
}

void installFaultHandlers(const FaultHandlers &handlers)
{
    faultHandlers() = handlers;
    if (handlers.fault == nullptr)
        return;
    useSecondStack(mainThreadStack.data(), mainThreadStack.size(), nullptr);
    setFaultHandlerThatAsks(handleSignal);
    for (const int signal : handledSignals) {
        struct sigaction action = {};
        action.sa_sigaction = handleSignal;
        // A fault in the handler comes to it again: the crash path has catch-alls of its own.
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, &previousAction(signal));
    }
    installTerminateHandler();
    isInstalled = true;
}

void removeFaultHandlers()
{
    faultHandlers() = {};
    if (!isInstalled)
        return;
    isInstalled = false;
    for (const int signal : handledSignals) {
        struct sigaction current = {};
        sigaction(signal, nullptr, &current);
        if ((current.sa_flags & SA_SIGINFO) != 0 && current.sa_sigaction == handleSignal)
            sigaction(signal, &previousAction(signal), nullptr);
    }
    removeTerminateHandler();
}

QString faultMessage(quint32 code)
{
    for (const SignalCode &row : signalCodes) {
        if (row.exceptionCode == code) {
            const char *description = sigdescr_np(row.signal);
            return description != nullptr ? QString::fromLatin1(description) : QString();
        }
    }
    return QString();
}

QString foregroundWindowTitle()
{
    return QString();
}

bool boxIsSeen()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

SecondStack::SecondStack()
{
    void *memory = mmap(nullptr, secondStackSize, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED)
        return; // an overflow of this thread's stack ends the process without a word then
    mprotect(memory, guardSize, PROT_NONE);
    m_memory = memory;
    char *start = static_cast<char *>(memory);
    useSecondStack(start + guardSize, formerOffset - guardSize,
                   reinterpret_cast<stack_t *>(start + formerOffset));
}

SecondStack::~SecondStack()
{
    stack_t current = {};
    // A thread that ends the process after its overflow still stands on it.
    if (m_memory == nullptr || sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_ONSTACK) != 0)
        return;
    sigaltstack(reinterpret_cast<const stack_t *>(static_cast<const char *>(m_memory) + formerOffset),
                nullptr);
    munmap(m_memory, secondStackSize);
}

}
