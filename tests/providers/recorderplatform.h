#pragma once

#include "mapitypes.h"

#include <cstdint>
#include <string>

// What the recording provider needs of the platform. All texts are UTF-8 unless said otherwise.
namespace recorder
{

// A file as the provider sees it while it is being called.
struct FileState {
    bool exists = false;
    std::uint64_t size = 0; // bytes; 0 when the file does not exist
};

// The value of an environment variable as it is now; `isSet` tells an empty one from a missing one.
std::string environmentVariable(const char *name, bool &isSet);

// Adds `data` at the end of `fileName`, which is created if needed, in one write.
// False if anything of that failed.
[[nodiscard]] bool appendToFile(const std::string &fileName, const std::string &data);

// The file name of the library this code was loaded from.
std::string libraryFileName();

// The state of the attachment at `path`. The tool hands over backslashes; where those are no
// separators the path is looked up with slashes, as a provider for that platform does.
FileState fileState(const WCHAR *path);
FileState fileState(const char *path);

}
