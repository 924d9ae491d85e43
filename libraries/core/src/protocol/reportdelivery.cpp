#include "protocol/reportdelivery.h"

#include "platform/filelock.h"
#include "s3file.h"
#include "s3tempdir.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>

namespace
{

constexpr unsigned long retryMilliseconds = 10;

void waitForLock(platform::FileLock &lock, std::chrono::milliseconds wait)
{
    const QDeadlineTimer deadline(wait);
    while (lock.tryLock() == platform::FileLock::Result::Busy && !deadline.hasExpired())
        QThread::msleep(retryMilliseconds);
}

}

bool deliverReport(const QByteArray &record, const QString &fileName, std::chrono::milliseconds lockWait)
{
    if (fileName.isEmpty() || !s3MakePath(QFileInfo(fileName).path(), nullptr))
        return false;
    platform::FileLock lock(fileName);
    waitForLock(lock, lockWait);
    // Opened behind the lock, because that is when Windows looks for the end. Without a buffer the record
    // goes in one call, which Linux appends as a whole even where there is no lock.
    s3File file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return false;
    return file.write(record) == record.size();
}
