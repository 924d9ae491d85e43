#include "ostrelletest/lockedfile.h"

#include <QDir>

#include <windows.h>

namespace
{

// A second opener of `path` that shares with others only what `sharing` allows.
class OpenHandle
{
public:
    OpenHandle(const QString &path, DWORD sharing)
        : m_handle(CreateFileW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()),
                               GENERIC_READ, sharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~OpenHandle()
    {
        if (isOpen())
            CloseHandle(m_handle);
    }
    Q_DISABLE_COPY_MOVE(OpenHandle)

    [[nodiscard]] bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE m_handle;
};

}

struct ScopedUnremovableFile::Lock {
    OpenHandle handle;
};

ScopedUnremovableFile::ScopedUnremovableFile(const QString &path)
    : m_lock(new Lock{OpenHandle(path, FILE_SHARE_READ | FILE_SHARE_WRITE)})
{
}

ScopedUnremovableFile::~ScopedUnremovableFile() = default;

bool ScopedUnremovableFile::isLocked() const
{
    return m_lock->handle.isOpen();
}

struct ScopedUnreadableFile::Lock {
    OpenHandle handle;
};

ScopedUnreadableFile::ScopedUnreadableFile(const QString &path) : m_lock(new Lock{OpenHandle(path, 0)}) { }

ScopedUnreadableFile::~ScopedUnreadableFile() = default;

bool ScopedUnreadableFile::isLocked() const
{
    return m_lock->handle.isOpen();
}
