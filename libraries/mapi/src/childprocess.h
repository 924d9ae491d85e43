#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace mapi
{

struct ChildResult {
    enum class End {
        Exited, // `status` is the exit status
        Signalled, // `status` is the signal's number
        TimedOut, // it was ended by us
        Unknown, // somebody else in this process waited for it
    };

    End end = End::Unknown;
    int status = 0;
    std::string standardError; // its first bytes, at most 2000
};

// Runs a command without a shell and waits for its end, at most `timeLimit`; then the command and all that
// it started in its process group are ended, first asked to and 2 seconds later for good. `arguments`
// starts with the absolute path of the program. The child gets `standardInput` and none of our other
// descriptors, the default signal handling and an empty signal mask; its output goes nowhere.
// Standard error is read all the time, so a talkative command does not block; it is not waited for when
// the command has ended. Throws Failure as resultFromErrno says when the command cannot be started.
[[nodiscard]] ChildResult runChild(const std::vector<std::string> &arguments, int standardInput,
                                   std::chrono::milliseconds timeLimit);

// Starts a command that may go on for as long as it likes, in a session of its own, with "/dev/null" as
// its standard streams, and otherwise as runChild starts one. Watches it for `watchTime`: how it ended
// within that time, without standardError; nothing when it still runs. Then it is left alone; what has
// ended meanwhile is cleared away at the next call. Throws Failure as resultFromErrno says when the command
// cannot be started.
[[nodiscard]] std::optional<ChildResult> startDetached(const std::vector<std::string> &arguments,
                                                       std::chrono::milliseconds watchTime);

}
