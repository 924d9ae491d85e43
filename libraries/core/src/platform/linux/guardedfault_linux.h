#pragma once

#include "platform/faultcontext.h"

#include <csignal>

namespace platform
{

using SignalAction = void (*)(int signal, siginfo_t *info, void *context);

// For who installs a handler for SIGSEGV, SIGBUS, SIGILL, SIGFPE or SIGTRAP of their own: it calls this
// first, with its own arguments, and returns at once when this gives true. The fault was then a forced one
// (s3ForceFault), and the interrupted code goes on when the handler returns. Does not return at all when a
// guard of this thread (s3RunGuarded) takes the fault. False: nobody has waited for it.
// Safe in a signal handler.
[[nodiscard]] bool takeGuardedFault(int signal, const siginfo_t *info, void *context);

// Tells that `handler` does so. Guards put a handler of their own above every other that they find.
void setFaultHandlerThatAsks(SignalAction handler);

// Makes sure that faults of this thread come to a handler that asks: puts one in place where there is none,
// and lets the signals through, since a guard may run inside the handler of an earlier fault. `before` gets
// the thread's signal mask of before. Needs no heap and takes no lock of the system's.
void armGuards(sigset_t *before);

// Whether the fault is that of s3ForceFault(); then its caller's context is saved and the fault stepped over.
[[nodiscard]] bool takeForcedFault(void *context);

// The registers in the third argument of a signal handler.
[[nodiscard]] s3FaultContext contextOfSignal(const void *context);

}
