#include "platform/library.h"

#include <windows.h>

namespace platform
{

QString libraryFileName(const QString &name)
{
    return name;
}

LibraryHandle openLibrary(const QString &name)
{
    return LoadLibraryW(reinterpret_cast<const wchar_t *>(name.utf16()));
}

void *librarySymbol(LibraryHandle library, const char *symbol)
{
    if (library == nullptr)
        return nullptr;
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(library), symbol));
}

void closeLibrary(LibraryHandle library)
{
    if (library != nullptr)
        FreeLibrary(static_cast<HMODULE>(library));
}

}
