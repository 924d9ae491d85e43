#pragma once

#include <QString>
#include <QStringList>

// The file names of modules that the crash path knows, as they are called on this platform.

// The modules that are part of the installation, 35 names beginning with the program's own; the name of
// one stands twice. Made at each call: what is made once may be found half made by a failing process.
[[nodiscard]] QStringList ownModules();

// The six modules of the system that any program has loaded.
[[nodiscard]] QStringList systemModules();

// Whether the file name of `path` is, whatever its case, that of an own module or, unless `ownOnly`, that of
// a system module.
[[nodiscard]] bool isKnownModule(const QString &path, bool ownOnly);

// The part of `path` behind its last separator, "/" or "\\" on every platform.
[[nodiscard]] QString moduleFileName(const QString &path);
