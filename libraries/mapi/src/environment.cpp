#include "environment.h"

#include "failure.h"

#include <array>
#include <cstdlib>
#include <string_view>

#include <pwd.h>
#include <unistd.h>

namespace mapi
{

namespace
{

bool isAbsolute(std::string_view path)
{
    return !path.empty() && path.front() == '/';
}

std::string homeOfUserDatabase()
{
    struct passwd entry {
    };
    struct passwd *found = nullptr;
    std::array<char, 16384> buffer{};
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr
        || found->pw_dir == nullptr)
        return {};
    return found->pw_dir;
}

}

std::optional<std::string> environmentVariable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::vector<std::string> commandDirectories()
{
    std::vector<std::string> directories;
    const std::string path = environmentVariable("PATH").value_or(std::string());
    std::string_view rest = path;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (isAbsolute(rest.substr(0, end)))
            directories.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return directories;
}

std::string userDataDirectory()
{
    const std::string data = environmentVariable("XDG_DATA_HOME").value_or(std::string());
    if (isAbsolute(data))
        return data;
    std::string home = environmentVariable("HOME").value_or(std::string());
    if (!isAbsolute(home))
        home = homeOfUserDatabase();
    if (!isAbsolute(home))
        throw Failure(MAPI_E_FAILURE, "the user has no home directory");
    return home + "/.local/share";
}

std::string temporaryDirectory()
{
    const std::string directory = environmentVariable("TMPDIR").value_or(std::string());
    return isAbsolute(directory) ? directory : "/tmp";
}

}
