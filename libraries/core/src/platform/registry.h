#pragma once

#include <QString>
#include <QVariant>

namespace platform
{

// The value `valueName` of the registry key `path` ("HKEY_LOCAL_MACHINE\Software\..."), as QSettings gives
// it; "Default" names the key's default value. Invalid when there is none, and always where the platform has
// no registry. Any thread.
[[nodiscard]] QVariant registryValue(const QString &path, const QString &valueName);

}
