#pragma once

#include "error/crashturn.h"

#include <QThread>

// For a program that is to fail on a thread: waits for the thread and, where it has failed, for the end of
// the process. With newer Qt QThread::wait() comes back when the exit destroys what the failed thread has of
// its own.
inline void waitForFailingThread(QThread &thread)
{
    thread.wait();
    while (s3CrashTurn::wasTaken())
        QThread::sleep(1);
}
