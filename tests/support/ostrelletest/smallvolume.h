#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>

// A file system of its own with little room, for tests of a full disk, below an existing directory and for
// the scope.
//
// Linux: a tmpfs that this process alone sees. It needs the right to mount; without it isMounted() is false
// and the test says so with QSKIP. Made and used on one thread. Windows: never there.
class SmallVolume
{
public:
    SmallVolume(const QString &directory, qint64 size);
    ~SmallVolume();
    Q_DISABLE_COPY_MOVE(SmallVolume)

    [[nodiscard]] bool isMounted() const;

private:
    struct Mount;
    std::unique_ptr<Mount> m_mount;
};
