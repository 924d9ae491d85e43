#include "platform/versioninfo.h"

namespace platform
{

std::unique_ptr<VersionInfo> readVersionInfo(const QString &)
{
    return nullptr;
}

}
