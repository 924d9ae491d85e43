#include "ostrelletest/smallvolume.h"

#include <QFile>

#include <sched.h>
#include <sys/mount.h>

struct SmallVolume::Mount {
    QByteArray directory;
};

SmallVolume::SmallVolume(const QString &directory, qint64 size)
{
    // In a mount namespace of this process, so that nothing stays behind if it crashes.
    const QByteArray path = QFile::encodeName(directory);
    const QByteArray options = "mode=0777,size=" + QByteArray::number(size);
    if (unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("tmpfs", path.constData(), "tmpfs", 0, options.constData()) == 0)
        m_mount.reset(new Mount{path});
}

SmallVolume::~SmallVolume()
{
    if (m_mount)
        umount2(m_mount->directory.constData(), MNT_DETACH);
}

bool SmallVolume::isMounted() const
{
    return m_mount != nullptr;
}
