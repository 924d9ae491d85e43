#include "platform/registry.h"

namespace platform
{

// Not QSettings: its native format here is a file, and the path of a key would name one in the working
// directory.
QVariant registryValue(const QString &, const QString &)
{
    return QVariant();
}

}
