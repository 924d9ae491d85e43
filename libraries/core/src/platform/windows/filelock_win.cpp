#include "platform/filelock.h"

#include <QDir>

#include <windows.h>

namespace platform
{

namespace
{

// Locks of Windows keep others from reading and writing what is locked, so the one byte is far behind any
// end.
constexpr DWORD lockOffsetHigh = 0x40000000;

HANDLE handleOf(qintptr file)
{
    return reinterpret_cast<HANDLE>(file);
}

}

FileLock::FileLock(const QString &fileName)
{
    const QString name = QDir::toNativeSeparators(fileName);
    m_file = reinterpret_cast<qintptr>(CreateFileW(reinterpret_cast<const wchar_t *>(name.utf16()),
                                                   GENERIC_READ | GENERIC_WRITE,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                   nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

FileLock::~FileLock()
{
    if (handleOf(m_file) != INVALID_HANDLE_VALUE)
        CloseHandle(handleOf(m_file));
}

FileLock::Result FileLock::tryLock()
{
    if (handleOf(m_file) == INVALID_HANDLE_VALUE)
        return Result::Failed;
    OVERLAPPED place = {};
    place.OffsetHigh = lockOffsetHigh;
    if (LockFileEx(handleOf(m_file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)
        != FALSE)
        return Result::Taken;
    return GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING ? Result::Busy
                                                                                        : Result::Failed;
}

}
