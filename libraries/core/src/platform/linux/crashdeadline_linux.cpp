#include "platform/crashdeadline.h"

#include <atomic>
#include <csignal>

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

namespace platform
{

namespace
{

constinit std::atomic<int> limitMilliseconds = 9000;
constinit std::atomic<int> exitCodeAtLimit = -1;
constinit std::atomic<bool> isStarted = false;
constinit std::atomic<int> standingBoxes = 0;
constinit std::atomic<int> millisecondsLeft = 0;

void endProcess(int)
{
    _exit(exitCodeAtLimit);
}

itimerval timerOf(int milliseconds)
{
    itimerval timer = {};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = suseconds_t{milliseconds % 1000} * 1000;
    return timer;
}

}

void prepareCrashDeadline() { }

void startCrashDeadline(int exitCode)
{
    if (isStarted.exchange(true))
        return;
    exitCodeAtLimit = exitCode;
    // The interval timer of the process is one system call and belongs to nobody in a dying process; a timer
    // of timer_create would take memory from a heap that may be broken.
    struct sigaction action = {};
    action.sa_handler = endProcess;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    const itimerval timer = timerOf(limitMilliseconds);
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void setCrashDeadlineExitCode(int exitCode)
{
    exitCodeAtLimit = exitCode;
}

void pauseCrashDeadline()
{
    if (!isStarted || standingBoxes++ > 0)
        return;
    itimerval left = {};
    const itimerval none = {};
    setitimer(ITIMER_REAL, &none, &left);
    millisecondsLeft = static_cast<int>(left.it_value.tv_sec * 1000 + left.it_value.tv_usec / 1000) + 1;
}

void resumeCrashDeadline()
{
    if (!isStarted || --standingBoxes > 0)
        return;
    const itimerval timer = timerOf(millisecondsLeft);
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void finishFailedProcess() { }

void setCrashDeadlineLimit(int milliseconds)
{
    limitMilliseconds = milliseconds;
}

}
