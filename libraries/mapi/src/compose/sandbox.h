#pragma once

#include <string>

namespace mapi
{

// Whether this process itself runs in a sandbox, where it can start no program of the desktop.
enum class Sandbox {
    None,
    Flatpak, // ".flatpak-info" in the root directory
    Snap, // SNAP names a directory with the description of a package that is confined
};

[[nodiscard]] Sandbox ownSandbox(const std::string &root = "/");

// Where files for mail clients are put when the settings name no directory: "ostrelle-mail" in the home
// directory, because a client in a sandbox can read no hidden directory; from inside of a sandbox a
// directory that is also there outside. Throws what homeDirectory throws.
[[nodiscard]] std::string defaultStagingDirectory();

}
