#pragma once

#include <string>

namespace mapi
{

// Whether this process itself runs in a sandbox, where it can start no program of the desktop.
enum class Sandbox {
    None,
    Flatpak, // /.flatpak-info
    Snap, // SNAP names a directory with the description of the package
};

[[nodiscard]] Sandbox ownSandbox();

// Where files for mail clients are put when the settings name no directory: "ostrelle-mail" in the home
// directory, because a client in a sandbox can read no hidden directory; from inside of a sandbox a
// directory that is also there outside. Throws what homeDirectory throws.
[[nodiscard]] std::string defaultStagingDirectory();

}
