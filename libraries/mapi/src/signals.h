#pragma once

#include <csignal>

namespace mapi
{

// Keeps SIGXFSZ from this thread: a write beyond the file size limit of the process then fails with EFBIG,
// like a full disk, and does not kill the program that called us.
class ScopedNoFileSizeSignal
{
public:
    ScopedNoFileSizeSignal() noexcept;
    ~ScopedNoFileSizeSignal();
    ScopedNoFileSizeSignal(const ScopedNoFileSizeSignal &) = delete;
    ScopedNoFileSizeSignal &operator=(const ScopedNoFileSizeSignal &) = delete;

private:
    sigset_t m_saved{};
};

// A process that ignores SIGCHLD, a state that programs inherit, cannot ask for the exit status of a child.
// Gives SIGCHLD its default meaning for the scope if it was ignored. A handler of the program stays.
class ScopedWaitableChildren
{
public:
    ScopedWaitableChildren() noexcept;
    ~ScopedWaitableChildren();
    ScopedWaitableChildren(const ScopedWaitableChildren &) = delete;
    ScopedWaitableChildren &operator=(const ScopedWaitableChildren &) = delete;

private:
    struct sigaction m_saved {
    };
    bool m_changed = false;
};

}
