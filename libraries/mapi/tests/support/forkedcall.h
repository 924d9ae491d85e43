#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>
#include <thread>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

// The user "nobody" of Linux.
inline constexpr uid_t nobodyId = 65534;

// Becomes an ordinary user, so that permissions mean something. For use in a child only.
inline bool becomeNobody()
{
    return geteuid() != 0
        || (setgroups(0, nullptr) == 0 && setresgid(nobodyId, nobodyId, nobodyId) == 0
            && setresuid(nobodyId, nobodyId, nobodyId) == 0);
}

// Runs a call in a child process of its own, so that it may change its user, its limits or its signals, or
// be killed.
class ForkedCall
{
public:
    // The call's value, 0 to 255, becomes the exit status.
    explicit ForkedCall(const std::function<unsigned()> &call) : m_pid(fork())
    {
        if (m_pid == 0)
            _exit(static_cast<int>(call() & 0xFF));
    }
    ~ForkedCall()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }
    Q_DISABLE_COPY_MOVE(ForkedCall)

    [[nodiscard]] pid_t pid() const { return m_pid; }

    // The exit status, -1 after 60 seconds, 1000 plus the number of a signal that ended the child.
    int wait()
    {
        using namespace std::chrono;
        const auto deadline = steady_clock::now() + seconds(60);
        int status = 0;
        while (steady_clock::now() < deadline) {
            const pid_t answer = waitpid(m_pid, &status, WNOHANG);
            if (answer != 0) {
                m_pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(milliseconds(2));
        }
        return -1;
    }

private:
    pid_t m_pid;
};
