#include "ostrelletest/smallvolume.h"

struct SmallVolume::Mount {
};

SmallVolume::SmallVolume(const QString &, qint64) { }

SmallVolume::~SmallVolume() = default;

bool SmallVolume::isMounted() const
{
    return m_mount != nullptr;
}
