#include "compose/sandbox.h"

#include "environment.h"

#include <unistd.h>

namespace mapi
{

Sandbox ownSandbox()
{
    if (::access("/.flatpak-info", F_OK) == 0)
        return Sandbox::Flatpak;
    // The variable alone is inherited by what a packaged terminal or editor starts.
    const std::string snap = environmentVariable("SNAP").value_or(std::string());
    if (!snap.empty() && ::access((snap + "/meta/snap.yaml").c_str(), F_OK) == 0)
        return Sandbox::Snap;
    return Sandbox::None;
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
