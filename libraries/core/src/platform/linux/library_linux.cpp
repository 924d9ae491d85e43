#include "platform/library.h"

#include <QFile>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace platform
{

QString libraryFileName(const QString &name)
{
    return name.compare("mapi32.dll"_L1, Qt::CaseInsensitive) == 0 ? u"libmapi32.so"_s : name;
}

LibraryHandle openLibrary(const QString &name)
{
    return dlopen(QFile::encodeName(libraryFileName(name)).constData(), RTLD_NOW | RTLD_LOCAL);
}

void *librarySymbol(LibraryHandle library, const char *symbol)
{
    return library != nullptr ? dlsym(library, symbol) : nullptr;
}

void closeLibrary(LibraryHandle library)
{
    if (library != nullptr)
        dlclose(library);
}

}
