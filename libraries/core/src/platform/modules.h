#pragma once

#include <QStringList>

namespace platform
{

// The paths of the binaries that this process has loaded, as the system spells them; where it tells no path,
// the name. Windows: the modules of a Toolhelp snapshot. Linux: the files that are mapped for running, in the
// order of their addresses. Empty on failure. Any thread; takes no lock of the loader, for the crash path.
[[nodiscard]] QStringList loadedModules();

}
