#include "environment.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include <pwd.h>
#include <sys/stat.h>
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

// The absolute ones of a list between colons.
std::vector<std::string> absoluteDirectories(std::string_view list)
{
    std::vector<std::string> directories;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(':'), list.size());
        if (isAbsolute(list.substr(0, end)))
            directories.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return directories;
}

std::string userDirectory(const char *variable, const char *belowHome)
{
    std::string directory = environmentVariable(variable).value_or(std::string());
    return isAbsolute(directory) ? directory : homeDirectory() + belowHome;
}

}

std::optional<std::string> environmentVariable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::vector<std::string> commandDirectories()
{
    return absoluteDirectories(environmentVariable("PATH").value_or(std::string()));
}

bool isExecutableFile(const std::string &path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

std::optional<std::string> findCommand(const std::string &name)
{
    if (name.find('/') != std::string::npos)
        return isAbsolute(name) && isExecutableFile(name) ? std::optional(name) : std::nullopt;
    for (const std::string &directory : commandDirectories()) {
        if (std::string path = std::string(directory).append("/").append(name); isExecutableFile(path))
            return path;
    }
    return {};
}

std::string homeDirectory()
{
    std::string home = environmentVariable("HOME").value_or(std::string());
    if (!isAbsolute(home))
        home = homeOfUserDatabase();
    if (!isAbsolute(home))
        throw Failure(MAPI_E_FAILURE, "the user has no home directory");
    return home;
}

std::string withHomeExpanded(const std::string &path)
{
    return path.substr(0, 2) == "~/" ? homeDirectory() + path.substr(1) : path;
}

std::vector<std::string> configDirectories()
{
    std::vector<std::string> directories;
    try {
        directories.push_back(userDirectory("XDG_CONFIG_HOME", "/.config"));
    } catch (const Failure &) {
        // A service without a home directory still has the system's settings.
    }
    std::string system = environmentVariable("XDG_CONFIG_DIRS").value_or(std::string());
    if (system.empty())
        system = "/etc/xdg";
    for (std::string &directory : absoluteDirectories(system))
        directories.push_back(std::move(directory));
    return directories;
}

std::string userCacheDirectory()
{
    return userDirectory("XDG_CACHE_HOME", "/.cache");
}

std::string userDataDirectory()
{
    return userDirectory("XDG_DATA_HOME", "/.local/share");
}

std::string temporaryDirectory()
{
    const std::string directory = environmentVariable("TMPDIR").value_or(std::string());
    return isAbsolute(directory) ? directory : "/tmp";
}

}
