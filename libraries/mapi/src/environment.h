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

// The user's data directory by the XDG Base Directory rules: XDG_DATA_HOME when it is an absolute path,
// otherwise ".local/share" in HOME or, without an absolute HOME, in the home directory of the user
// database. Throws Failure(MAPI_E_FAILURE) when the user has no home directory at all.
[[nodiscard]] std::string userDataDirectory();

// For files that nobody else needs to see: TMPDIR when it is an absolute path, otherwise "/tmp".
[[nodiscard]] std::string temporaryDirectory();

}
