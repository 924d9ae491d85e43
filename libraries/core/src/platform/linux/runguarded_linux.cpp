#include "platform/runguarded.h"

#include "platform/linux/guardedfault_linux.h"

#include <array>
#include <atomic>
#include <csetjmp>

namespace platform
{

namespace
{

constexpr std::array faultSignals = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP};

struct Guard {
    sigjmp_buf place;
    Guard *outer;
};

constinit thread_local Guard *innermostGuard = nullptr;
// A previous handler that hands on to us would go round for ever.
constexpr int mostHandedOn = 16;
constinit thread_local int timesHandedOn = 0;

constinit std::atomic<SignalAction> askingHandler = nullptr;

// What was in place of our handler, by the index in faultSignals.
constinit std::array<struct sigaction, faultSignals.size()> previousActions = {};

std::size_t indexOf(int signal)
{
    std::size_t index = 0;
    while (index + 1 < faultSignals.size() && faultSignals[index] != signal)
        ++index;
    return index;
}

// Lets the signal do what it does without handlers, as soon as the running one has returned.
void letTheSystemTakeIt(int signal)
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, signal);
    pthread_sigmask(SIG_BLOCK, &own, nullptr);
    raise(signal);
}

void handleGuardedFault(int signal, siginfo_t *info, void *context)
{
    if (takeGuardedFault(signal, info, context))
        return;
    const struct sigaction &previous = previousActions[indexOf(signal)];
    if (timesHandedOn >= mostHandedOn) {
        letTheSystemTakeIt(signal);
        return;
    }
    ++timesHandedOn;
    if ((previous.sa_flags & SA_SIGINFO) != 0)
        previous.sa_sigaction(signal, info, context);
    else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN)
        previous.sa_handler(signal);
    else if (previous.sa_handler == SIG_DFL || info->si_code > 0) // a fault cannot be ignored
        letTheSystemTakeIt(signal);
    --timesHandedOn;
}

// Whether the handler in place knows of guards; `current` is what is in place.
bool asksForGuards(int signal, struct sigaction &current)
{
    sigaction(signal, nullptr, &current);
    return (current.sa_flags & SA_SIGINFO) != 0
        && (current.sa_sigaction == handleGuardedFault
            || current.sa_sigaction == askingHandler.load(std::memory_order_relaxed));
}

// Nothing in here can fault, so a crash path never finds it taken by its own thread.
constinit std::atomic_flag isInstalling;

void installHandler(int signal)
{
    struct sigaction current = {};
    if (asksForGuards(signal, current))
        return;
    while (isInstalling.test_and_set(std::memory_order_acquire)) { }
    if (!asksForGuards(signal, current)) {
        previousActions[indexOf(signal)] = current;
        struct sigaction action = {};
        action.sa_sigaction = handleGuardedFault;
        // A fault on the handler's own way is to come here as well, and a full stack cannot hold a handler.
        action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
    isInstalling.clear(std::memory_order_release);
}

bool isFaultSignal(int signal)
{
    for (const int one : faultSignals) {
        if (one == signal)
            return true;
    }
    return false;
}

}

void setFaultHandlerThatAsks(SignalAction handler)
{
    askingHandler.store(handler, std::memory_order_relaxed);
}

void armGuards(sigset_t *before)
{
    sigset_t faults;
    sigemptyset(&faults);
    for (const int signal : faultSignals) {
        sigaddset(&faults, signal);
        installHandler(signal);
    }
    pthread_sigmask(SIG_UNBLOCK, &faults, before);
}

bool takeGuardedFault(int signal, const siginfo_t *info, void *context)
{
    // A signal that somebody sent is no fault of the code that is being run.
    if (!isFaultSignal(signal) || info->si_code <= 0)
        return false;
    if (takeForcedFault(context))
        return true;
    Guard *guard = innermostGuard;
    if (guard == nullptr)
        return false;
    innermostGuard = guard->outer;
    siglongjmp(guard->place, 1);
}

bool runFaultGuarded(void (*step)(void *), void *data)
{
    Guard guard = {};
    guard.outer = innermostGuard;
    sigset_t before;
    sigemptyset(&before);
    armGuards(&before);
    // The mask that the jump brings back is the one with the signals let through.
    if (sigsetjmp(guard.place, 1) != 0) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return false;
    }
    innermostGuard = &guard;
    step(data);
    innermostGuard = guard.outer;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return true;
}

}
