#pragma once

#include "compose/sessionbus.h"

#include <string>
#include <vector>

namespace mapi
{

// Gives an application in a Flatpak sandbox the right to read files, through the document portal. The paths
// under which it finds them, in the same order; a path that it can read anyway stays as it is. Throws
// busFailure, and systemFailure for a file that cannot be opened.
[[nodiscard]] std::vector<std::string> exportDocuments(const SessionBus &bus, const std::string &package,
                                                       const std::vector<std::string> &paths);

// Has an application that the bus starts open a link or a file, and waits until it says that it has: a
// message that is only sent may be lost with this process. `entry` is the name of its desktop entry.
// Throws busFailure.
void openByBus(const SessionBus &bus, const std::string &entry, const std::string &uri);

}
