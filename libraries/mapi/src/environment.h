#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mapi
{

// The value of an environment variable as the system has it; nothing when it is not set.
[[nodiscard]] std::optional<std::string> environmentVariable(const char *name);

// The directories of PATH in order, without relative ones: a command must not depend on where the program
// happens to stand.
[[nodiscard]] std::vector<std::string> commandDirectories();

// Whether `path` is a regular file that this process may execute.
[[nodiscard]] bool isExecutableFile(const std::string &path);

// The absolute path of a command: `name` itself when it is one, otherwise the first in commandDirectories.
// Nothing when it does not exist, cannot be executed, or is a relative path.
[[nodiscard]] std::optional<std::string> findCommand(const std::string &name);

// HOME when it is an absolute path, otherwise the home directory of the user database. Throws
// Failure(MAPI_E_FAILURE) when the user has no home directory at all.
[[nodiscard]] std::string homeDirectory();

// "~/x" as a path below the home directory, everything else as it stands. Throws what homeDirectory throws.
[[nodiscard]] std::string withHomeExpanded(const std::string &path);

// The directories of settings by the XDG Base Directory rules, the user's first; without a home directory
// only those of the system.
[[nodiscard]] std::vector<std::string> configDirectories();

// The user's directory for files that can be made again. Throws what homeDirectory throws.
[[nodiscard]] std::string userCacheDirectory();

// The user's data directory by the XDG Base Directory rules: XDG_DATA_HOME when it is an absolute path,
// otherwise ".local/share" in the home directory. Throws what homeDirectory throws.
[[nodiscard]] std::string userDataDirectory();

// For files that nobody else needs to see: TMPDIR when it is an absolute path, otherwise "/tmp".
[[nodiscard]] std::string temporaryDirectory();

}
