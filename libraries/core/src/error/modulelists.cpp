#include "error/modulelists.h"

#include "platform/modulename.h"
#include "platform/process.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

// Behind the program's own name. "Qt6Widgets.dll" stands twice.
constexpr std::array installedModules{
    "Qt6Core.dll"_L1,
    "Qt6Gui.dll"_L1,
    "Qt6Widgets.dll"_L1,
    "Qt6Network.dll"_L1,
    "Qt6NetworkAuth.dll"_L1,
    "Qt6OpenGL.dll"_L1,
    "Qt6Positioning.dll"_L1,
    "Qt6PrintSupport.dll"_L1,
    "Qt6Svg.dll"_L1,
    "Qt6Qml.dll"_L1,
    "Qt6QmlModels.dll"_L1,
    "Qt6Quick.dll"_L1,
    "Qt6QuickWidgets.dll"_L1,
    "Qt6WebChannel.dll"_L1,
    "Qt6WebEngineCore.dll"_L1,
    "Qt6WebEngineWidgets.dll"_L1,
    "Qt6Widgets.dll"_L1,
    "opengl32sw.dll"_L1,
    "d3dcompiler_47.dll"_L1,
    "qgif.dll"_L1,
    "qico.dll"_L1,
    "qjpeg.dll"_L1,
    "qtiff.dll"_L1,
    "qschannelbackend.dll"_L1,
    "qwindows.dll"_L1,
    "qwindowsvistastyle.dll"_L1,
    "windowsprintersupport.dll"_L1,
    "concrt140.dll"_L1,
    "msvcp140_1.dll"_L1,
    "msvcp140_2.dll"_L1,
    "msvcp140.dll"_L1,
    "ucrtbase.dll"_L1,
    "vcruntime140_1.dll"_L1,
    "vcruntime140.dll"_L1,
};

constexpr std::array systemModuleNames{
    "ntdll.dll"_L1, "kernel32.dll"_L1, "GDI32.dll"_L1, "USER32.dll"_L1, "ole32.dll"_L1, "comctl32.dll"_L1,
};

template <class Names> void appendTo(QStringList &list, const Names &names)
{
    for (const QLatin1StringView name : names)
        list += platform::installedModuleName(name);
}

}

QStringList ownModules()
{
    QStringList names(platform::processes().programFileName(qAppName()));
    appendTo(names, installedModules);
    return names;
}

QStringList systemModules()
{
    QStringList names;
    appendTo(names, systemModuleNames);
    return names;
}

bool isKnownModule(const QString &path, bool ownOnly)
{
    const QString fileName = moduleFileName(path);
    const auto isIn = [&fileName](const QStringList &names) {
        return std::ranges::any_of(
            names, [&fileName](const QString &name) { return platform::isModuleFile(fileName, name); });
    };
    return isIn(ownModules()) || (!ownOnly && isIn(systemModules()));
}

QString moduleFileName(const QString &path)
{
    return path.mid(std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\')) + 1);
}
