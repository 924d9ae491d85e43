#pragma once

#include <QString>

// The platform's dynamic libraries: open by name, look up an entry, close.
// The calls mirror LoadLibraryW, GetProcAddress, FreeLibrary of Windows and dlopen, dlsym, dlclose
// of POSIX; they keep no state and may be used from any thread.
namespace platform
{

// A loaded library, owned by whoever opened it. Null stands for "none".
using LibraryHandle = void *;

// Opens `name` by the platform's own search rules and adds one reference to it. A Windows system
// library that has a counterpart elsewhere ("mapi32.dll", in any case) is mapped to that
// counterpart's name first, see libraryFileName. Null when it cannot be loaded.
[[nodiscard]] LibraryHandle openLibrary(const QString &name);

// The address of the exported `symbol` (plain C name), or null when the library has none.
[[nodiscard]] void *librarySymbol(LibraryHandle library, const char *symbol);

// Gives back one reference. Null is allowed and does nothing.
void closeLibrary(LibraryHandle library);

// The name under which this platform looks for a Windows library: the name itself on Windows;
// "libmapi32.so" for "mapi32.dll" on Linux, every other name unchanged.
[[nodiscard]] QString libraryFileName(const QString &name);

}
