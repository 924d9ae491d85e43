#pragma once

#include <QString>

#include <memory>

// Files that the system refuses to remove or to read, each by the means of its platform. On Linux both
// need an OrdinaryUser scope around them, with the file owned by that user; isLocked() is false otherwise.

// For the scope the file can be neither removed nor renamed, whatever its own permissions become.
// Linux: its directory is not writable. Windows: the file is open elsewhere and shared for reading and
// writing only.
class ScopedUnremovableFile
{
public:
    explicit ScopedUnremovableFile(const QString &path);
    ~ScopedUnremovableFile();
    Q_DISABLE_COPY_MOVE(ScopedUnremovableFile)

    [[nodiscard]] bool isLocked() const;

private:
    struct Lock;
    std::unique_ptr<Lock> m_lock;
};

// For the scope the file cannot be opened. Linux: it has no permissions at all, so that QFileInfo says
// that it is not readable. Windows: it is open elsewhere and shared for nothing; QFileInfo does not notice.
class ScopedUnreadableFile
{
public:
    explicit ScopedUnreadableFile(const QString &path);
    ~ScopedUnreadableFile();
    Q_DISABLE_COPY_MOVE(ScopedUnreadableFile)

    [[nodiscard]] bool isLocked() const;

private:
    struct Lock;
    std::unique_ptr<Lock> m_lock;
};
