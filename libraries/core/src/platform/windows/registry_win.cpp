#include "platform/registry.h"

#include <QSettings>

namespace platform
{

QVariant registryValue(const QString &path, const QString &valueName)
{
    return QSettings(path, QSettings::NativeFormat).value(valueName);
}

}
