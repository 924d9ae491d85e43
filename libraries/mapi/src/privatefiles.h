#pragma once

#include "filedescriptor.h"

#include <sys/stat.h>

#include <string>
#include <vector>

namespace mapi
{

// Directories and files that only their owner may use.

inline constexpr mode_t privateDirectoryMode = 0700;
inline constexpr mode_t privateFileMode = 0600;

// A name by the time in UTC and 64 random bits, "20240131T235959.123456Z-0123456789abcdef": names sort by
// time.
[[nodiscard]] std::string uniqueName();
// Whether `name` has the form of uniqueName.
[[nodiscard]] bool isUniqueName(const std::string &name) noexcept;

// Creates `directory`, an absolute path, and what is missing above it, for the owner only. What exists
// stays as it is. Throws Failure as resultFromErrno says.
void makeDirectories(const std::string &directory);

// Creates a directory in an open one. False, and errno set, when that fails.
[[nodiscard]] bool createPrivateDirectory(int directory, const std::string &name) noexcept;

// Creates and opens for writing a file that did not exist, never through a link. Not open, and errno set,
// when that fails.
[[nodiscard]] FileDescriptor createPrivateFile(int directory, const std::string &name) noexcept;

// The names in an open directory, without "." and ".."; none when it cannot be read.
[[nodiscard]] std::vector<std::string> entriesOf(int directory) noexcept;

}
