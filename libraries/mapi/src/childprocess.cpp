#include "childprocess.h"

#include "filedescriptor.h"
#include "resultcodes.h"
#include "signals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
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

    void connectToNothing()
    {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            check(posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0));
        check(posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));
    }

    // In a process group of its own, or even in a session.
    void isolate(bool session = false)
    {
        sigset_t all{};
        sigset_t none{};
        sigfillset(&all);
        sigemptyset(&none);
        check(posix_spawnattr_setsigdefault(&m_attributes, &all));
        check(posix_spawnattr_setsigmask(&m_attributes, &none));
        check(posix_spawnattr_setpgroup(&m_attributes, 0));
        const int group = session ? POSIX_SPAWN_SETSID : POSIX_SPAWN_SETPGROUP;
        check(posix_spawnattr_setflags(
            &m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | group)));
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
    // From now on it belongs to nobody.
    void release() { m_reaped = true; }

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

// The children that were left running. They end when their user closes them, and somebody has to ask for
// their status then. A handle names a process for good, which its number does not.
class LeftChildren
{
public:
    void add(pid_t pid)
    {
        FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
        if (!handle.isOpen())
            return; // an old kernel: it stays until this process ends
        const std::lock_guard lock(m_mutex);
        m_handles.push_back(std::move(handle));
    }
    void clear()
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_handles, [](const FileDescriptor &handle) {
            siginfo_t info{};
            const int answer = ::waitid(P_PIDFD, static_cast<id_t>(handle.get()), &info, WEXITED | WNOHANG);
            return answer != 0 || info.si_pid != 0; // NOLINT: the union's active member
        });
    }

private:
    std::mutex m_mutex;
    std::vector<FileDescriptor> m_handles;
};

LeftChildren &leftChildren()
{
    static LeftChildren children;
    return children;
}

}

std::optional<ChildResult> startDetached(const std::vector<std::string> &arguments,
                                         std::chrono::milliseconds watchTime)
{
    const ScopedWaitableChildren waitable;
    leftChildren().clear();
    SpawnSetup setup;
    setup.connectToNothing();
    setup.isolate(true);
    const pid_t pid = setup.spawn(arguments);
    Child child(pid, FileDescriptor());
    if (child.waitUntil(Clock::now() + watchTime))
        return std::move(child).result();
    child.release();
    leftChildren().add(pid);
    return {};
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
