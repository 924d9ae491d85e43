#include "ostrelletest/lockedfile.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

// Takes permission bits of `path` away and gives them back at the end.
class ModeChange
{
public:
    ModeChange(const QString &path, mode_t removed) : m_path(QFile::encodeName(path))
    {
        struct stat status = {};
        m_changed = geteuid() != 0 && stat(m_path.constData(), &status) == 0;
        m_former = status.st_mode & 07777U;
        m_changed = m_changed && chmod(m_path.constData(), m_former & ~removed) == 0;
    }
    ~ModeChange()
    {
        if (m_changed)
            chmod(m_path.constData(), m_former);
    }
    Q_DISABLE_COPY_MOVE(ModeChange)

    [[nodiscard]] bool changed() const { return m_changed; }

private:
    QByteArray m_path;
    mode_t m_former = 0;
    bool m_changed = false;
};

}

struct ScopedUnremovableFile::Lock {
    ModeChange directory;
};

ScopedUnremovableFile::ScopedUnremovableFile(const QString &path)
    : m_lock(new Lock{ModeChange(QFileInfo(path).absolutePath(), 0222)})
{
}

ScopedUnremovableFile::~ScopedUnremovableFile() = default;

bool ScopedUnremovableFile::isLocked() const
{
    return m_lock->directory.changed();
}

struct ScopedUnreadableFile::Lock {
    ModeChange file;
};

ScopedUnreadableFile::ScopedUnreadableFile(const QString &path) : m_lock(new Lock{ModeChange(path, 0777)}) { }

ScopedUnreadableFile::~ScopedUnreadableFile() = default;

bool ScopedUnreadableFile::isLocked() const
{
    return m_lock->file.changed();
}
