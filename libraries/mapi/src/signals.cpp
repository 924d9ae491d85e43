#include "signals.h"

#include <ctime>

namespace mapi
{

namespace
{

sigset_t fileSizeSignal() noexcept
{
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, SIGXFSZ);
    return set;
}

}

ScopedNoFileSizeSignal::ScopedNoFileSizeSignal() noexcept
{
    const sigset_t set = fileSizeSignal();
    pthread_sigmask(SIG_BLOCK, &set, &m_saved);
}

ScopedNoFileSizeSignal::~ScopedNoFileSizeSignal()
{
    if (sigismember(&m_saved, SIGXFSZ) == 0) {
        const sigset_t set = fileSizeSignal();
        const timespec now{};
        while (sigtimedwait(&set, nullptr, &now) > 0) { }
    }
    pthread_sigmask(SIG_SETMASK, &m_saved, nullptr);
}

ScopedWaitableChildren::ScopedWaitableChildren() noexcept
{
    if (sigaction(SIGCHLD, nullptr, &m_saved) != 0)
        return;
    const bool ignored = (m_saved.sa_flags & SA_SIGINFO) == 0
        && m_saved.sa_handler == SIG_IGN; // NOLINT: the union's active member
    if (!ignored && (m_saved.sa_flags & SA_NOCLDWAIT) == 0)
        return;
    struct sigaction waitable = m_saved;
    waitable.sa_flags &= ~SA_NOCLDWAIT;
    if (ignored)
        waitable.sa_handler = SIG_DFL;
    m_changed = sigaction(SIGCHLD, &waitable, nullptr) == 0;
}

ScopedWaitableChildren::~ScopedWaitableChildren()
{
    if (m_changed)
        sigaction(SIGCHLD, &m_saved, nullptr);
}

}
