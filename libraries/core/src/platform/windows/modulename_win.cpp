#include "platform/modulename.h"

namespace platform
{

QString installedModuleName(const QString &windowsName)
{
    return windowsName;
}

bool isModuleFile(const QString &fileName, const QString &installedName)
{
    return fileName.compare(installedName, Qt::CaseInsensitive) == 0;
}

}
