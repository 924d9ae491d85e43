#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <cstddef>
#include <mutex>

// A counting semaphore for tests. It stands on the standard library's mutex, whose synchronisation the thread
// sanitizer sees; Qt's happens out of its sight, inside Qt's library. std::counting_semaphore of GCC 12 may
// sleep for ever on platforms without a futex (libstdc++ bug 104928), and did so under Wine.
class Semaphore
{
public:
    explicit Semaphore(std::ptrdiff_t count) : m_count(count) { }
    Q_DISABLE_COPY_MOVE(Semaphore)

    void acquire()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_count > 0; });
        --m_count;
    }

    void release(std::ptrdiff_t count = 1)
    {
        // Notified with the lock held: the waiter may destroy the semaphore as soon as it has it.
        const std::lock_guard lock(m_mutex);
        m_count += count;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::ptrdiff_t m_count;
};
