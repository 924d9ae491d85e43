#include "platform/filelock.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace platform
{

namespace
{

// What QFile gives a new file.
constexpr mode_t newFileMode = 0666;

}

FileLock::FileLock(const QString &fileName)
    : m_file(open(QFile::encodeName(fileName).constData(), O_RDWR | O_CREAT | O_CLOEXEC, newFileMode))
{
}

FileLock::~FileLock()
{
    if (m_file != -1)
        close(static_cast<int>(m_file));
}

FileLock::Result FileLock::tryLock()
{
    if (m_file == -1)
        return Result::Failed;
    if (flock(static_cast<int>(m_file), LOCK_EX | LOCK_NB) == 0)
        return Result::Taken;
    return errno == EWOULDBLOCK || errno == EINTR ? Result::Busy : Result::Failed;
}

}
