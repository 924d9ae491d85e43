#include "childprocess.h"

#include "filedescriptor.h"
#include "resultcodes.h"
#include "signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mapi
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t keptStandardError = 2000;
constexpr std::chrono::seconds grace(2);
constexpr std::chrono::milliseconds shortestPause(1);
constexpr std::chrono::milliseconds longestPause(50);

class SpawnSetup
{
public:
    SpawnSetup()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
    }
    ~SpawnSetup()
    {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSetup(const SpawnSetup &) = delete;
    SpawnSetup &operator=(const SpawnSetup &) = delete;

    void connect(int standardInput, int standardError)
    {
        check(posix_spawn_file_actions_adddup2(&m_actions, standardInput, STDIN_FILENO));
        check(posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0));
        check(posix_spawn_file_actions_adddup2(&m_actions, standardError, STDERR_FILENO));
        check(posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));
    }

    void isolate()
    {
        sigset_t all{};
        sigset_t none{};
        sigfillset(&all);
        sigemptyset(&none);
        check(posix_spawnattr_setsigdefault(&m_attributes, &all));
        check(posix_spawnattr_setsigmask(&m_attributes, &none));
        check(posix_spawnattr_setpgroup(&m_attributes, 0));
        check(posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP));
    }

    pid_t spawn(const std::vector<std::string> &arguments) const
    {
        std::vector<char *> pointers;
        for (const std::string &argument : arguments)
            pointers.push_back(const_cast<char *>(argument.c_str())); // NOLINT: the call does not write
        pointers.push_back(nullptr);
        pid_t child = -1;
        const int error
            = posix_spawn(&child, pointers.front(), &m_actions, &m_attributes, pointers.data(), environ);
        if (error != 0)
            throw systemFailure("start", arguments.front(), error);
        return child;
    }

private:
    static void check(int error)
    {
        if (error != 0)
            throw systemFailure("prepare", "a command", error);
    }

    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

// Descriptors below 3 would be overwritten while the child's own are put in place. A program may have
// closed its standard streams, so ours can land there.
FileDescriptor aboveStandardStreams(int descriptor)
{
    FileDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.isOpen())
        throw systemFailure("duplicate", "a descriptor", errno);
    return copy;
}

class Child
{
public:
    Child(pid_t pid, FileDescriptor standardError) : m_pid(pid), m_standardError(std::move(standardError)) { }
    ~Child()
    {
        if (!m_reaped) {
            kill(SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    void kill(int signal) const { ::kill(-m_pid, signal); }

    // Whether the child ended before `deadline`.
    bool waitUntil(Clock::time_point deadline)
    {
        std::chrono::milliseconds pause = shortestPause;
        while (!reap()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0)
                return false;
            drain(std::min(pause, left));
            pause = std::min(pause * 2, longestPause);
        }
        drain(std::chrono::milliseconds::zero());
        return true;
    }

    ChildResult result() &&
    {
        ChildResult result;
        if (m_waitStatus && WIFEXITED(*m_waitStatus))
            result = {ChildResult::End::Exited, WEXITSTATUS(*m_waitStatus), {}};
        else if (m_waitStatus && WIFSIGNALED(*m_waitStatus))
            result = {ChildResult::End::Signalled, WTERMSIG(*m_waitStatus), {}};
        result.standardError = std::move(m_text);
        return result;
    }

private:
    bool reap()
    {
        if (m_reaped)
            return true;
        int status = 0;
        const pid_t answer = ::waitpid(m_pid, &status, WNOHANG);
        if (answer == m_pid)
            m_waitStatus = status;
        m_reaped = answer == m_pid || (answer < 0 && errno != EINTR);
        return m_reaped;
    }

    // Reads what is there; waits up to `pause` for something to come.
    void drain(std::chrono::milliseconds pause)
    {
        if (!m_standardError.isOpen()) {
            std::this_thread::sleep_for(pause);
            return;
        }
        pollfd waiting{m_standardError.get(), POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(pause.count())) <= 0)
            return;
        std::array<char, 4096> buffer{};
        const ssize_t got = ::read(m_standardError.get(), buffer.data(), buffer.size());
        if (got > 0)
            m_text.append(buffer.data(),
                          std::min(static_cast<std::size_t>(got), keptStandardError - m_text.size()));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            m_standardError.reset();
    }

    pid_t m_pid;
    FileDescriptor m_standardError;
    std::string m_text;
    std::optional<int> m_waitStatus;
    bool m_reaped = false;
};

}

ChildResult runChild(const std::vector<std::string> &arguments, int standardInput,
                     std::chrono::milliseconds timeLimit)
{
    const ScopedWaitableChildren waitable;
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw systemFailure("open", "a pipe", errno);
    FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    // The child's end blocks as a standard stream does.
    static_cast<void>(::fcntl(writeEnd.get(), F_SETFL, 0));

    const FileDescriptor input = aboveStandardStreams(standardInput);
    writeEnd = aboveStandardStreams(writeEnd.get());
    SpawnSetup setup;
    setup.connect(input.get(), writeEnd.get());
    setup.isolate();
    Child child(setup.spawn(arguments), std::move(readEnd));
    writeEnd.reset();

    if (!child.waitUntil(Clock::now() + timeLimit)) {
        child.kill(SIGTERM);
        child.waitUntil(Clock::now() + grace);
        child.kill(SIGKILL);
        child.waitUntil(Clock::now() + grace);
        ChildResult result = std::move(child).result();
        result.end = ChildResult::End::TimedOut;
        return result;
    }
    return std::move(child).result();
}

}
