#include "platform/modulename.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

struct Counterpart {
    QLatin1StringView windowsName;
    QLatin1StringView linuxName;
};

constexpr std::array counterparts{
    Counterpart{"qgif.dll"_L1, "libqgif.so"_L1},
    Counterpart{"qico.dll"_L1, "libqico.so"_L1},
    Counterpart{"qjpeg.dll"_L1, "libqjpeg.so"_L1},
    Counterpart{"qtiff.dll"_L1, "libqtiff.so"_L1},
    Counterpart{"qschannelbackend.dll"_L1, "libqopensslbackend.so"_L1},
    Counterpart{"qwindows.dll"_L1, "libqxcb.so"_L1},
    Counterpart{"windowsprintersupport.dll"_L1, "libcupsprintersupport.so"_L1},
    Counterpart{"msvcp140.dll"_L1, "libstdc++.so.6"_L1},
    Counterpart{"vcruntime140.dll"_L1, "libgcc_s.so.1"_L1},
    Counterpart{"ntdll.dll"_L1, "ld-linux-x86-64.so.2"_L1},
    // What lies below main on every stack, so it must not count as ours.
    Counterpart{"kernel32.dll"_L1, "libc.so.6"_L1},
};

}

QString installedModuleName(const QString &windowsName)
{
    const auto *const row = std::ranges::find(counterparts, windowsName, &Counterpart::windowsName);
    if (row != counterparts.end())
        return row->linuxName;
    if (windowsName.startsWith("Qt6"_L1))
        return u"lib%1.so.6"_s.arg(windowsName.chopped(4));
    return windowsName;
}

bool isModuleFile(const QString &fileName, const QString &installedName)
{
    if (!fileName.startsWith(installedName, Qt::CaseInsensitive))
        return false;
    return fileName.size() == installedName.size()
        || (installedName.contains(".so"_L1) && fileName[installedName.size()] == u'.');
}

}
