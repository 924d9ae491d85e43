#pragma once

#include <QString>

namespace platform
{

// The file name that a module of the installation has on this platform, by its name on Windows: that name
// itself on Windows; "libQt6Core.so.6" for "Qt6Core.dll" on Linux, where the C++ libraries of GNU stand in
// for those of Microsoft and the C library for the system's own. A name without a counterpart stays.
[[nodiscard]] QString installedModuleName(const QString &windowsName);

// Whether `fileName` is that of the module `installedName`, whatever its case. On Linux a file may bear the
// numbers of its version behind the name that programs load it by ("libQt6Core.so.6.4.2").
[[nodiscard]] bool isModuleFile(const QString &fileName, const QString &installedName);

}
