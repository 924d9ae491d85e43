#pragma once

#include <QString>

namespace platform
{

// An exclusive lock on a file among processes, for the short time that somebody appends to it. The system
// gives it back when its owner goes, in whatever way. It keeps nobody from reading or writing the file who
// does not ask for it. One thread.
class FileLock
{
public:
    enum class Result {
        Taken,
        Busy, // somebody else has it
        Failed // there is no such file, or the file system has no locks
    };

    // Opens `fileName` for writing and makes it when it is missing, its directory not.
    explicit FileLock(const QString &fileName);
    ~FileLock(); // gives the lock back
    Q_DISABLE_COPY_MOVE(FileLock)

    // Tries once and does not wait. Not to be called again once it has been taken.
    [[nodiscard]] Result tryLock();

private:
    qintptr m_file = -1; // descriptor or handle, -1 for none on both platforms
};

}
