#include "compose/sandbox.h"

#include "environment.h"
#include "text.h"

#include <fstream>
#include <string_view>

#include <unistd.h>

namespace mapi
{

namespace
{

// Whether the package in that directory is confined, which it is unless it says otherwise. The variable
// SNAP is inherited by what a packaged terminal or editor starts, and those are "classic": no sandbox.
bool isConfinedSnap(const std::string &directory)
{
    std::ifstream description(directory + "/meta/snap.yaml");
    if (!description.is_open())
        return false;
    constexpr std::string_view key = "confinement:";
    std::string line;
    while (std::getline(description, line)) {
        if (line.compare(0, key.size(), key) == 0)
            return trimmed(std::string_view(line).substr(key.size())) != "classic";
    }
    return true;
}

}

Sandbox ownSandbox(const std::string &root)
{
    if (::access((root + "/.flatpak-info").c_str(), F_OK) == 0)
        return Sandbox::Flatpak;
    const std::string snap = environmentVariable("SNAP").value_or(std::string());
    return !snap.empty() && isConfinedSnap(snap) ? Sandbox::Snap : Sandbox::None;
}

std::string defaultStagingDirectory()
{
    constexpr const char *name = "/ostrelle-mail";
    const Sandbox sandbox = ownSandbox();
    if (sandbox == Sandbox::Flatpak)
        return userCacheDirectory() + name;
    if (sandbox == Sandbox::Snap) {
        const std::string common = environmentVariable("SNAP_USER_COMMON").value_or(std::string());
        if (!common.empty() && common.front() == '/')
            return common + name;
    }
    return homeDirectory() + name;
}

}
