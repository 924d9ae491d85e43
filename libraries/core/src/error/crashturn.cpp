#include "error/crashturn.h"

#include <QThread>

#include <atomic>

namespace
{

constinit std::atomic<Qt::HANDLE> owner = nullptr;
constinit std::atomic<bool> hasBegun = false;

}

void s3CrashTurn::take()
{
    constexpr unsigned long pauseMilliseconds = 5;
    hasBegun = true;
    const Qt::HANDLE own = QThread::currentThreadId();
    while (!isMine()) {
        Qt::HANDLE none = nullptr;
        if (owner.compare_exchange_strong(none, own))
            return;
        QThread::msleep(pauseMilliseconds);
    }
}

void s3CrashTurn::give()
{
    if (isMine())
        owner = nullptr;
}

bool s3CrashTurn::isMine()
{
    return owner == QThread::currentThreadId();
}

bool s3CrashTurn::wasTaken()
{
    return hasBegun;
}
