#include "s3threadbase.h"

#include "platform/fault.h"
#include "protocol/s3assert.h"
#include "test/s3trace.h"

#include <QApplication>
#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *sourceFile = "libraries/core/src/s3threadbase";

constexpr qint32 lifecycleFlag = 110;

constexpr unsigned long waitMilliseconds = 5000;

}

bool s3ThreadBase::currentIsMainThread()
{
    constexpr const char *function = "s3ThreadBase::currentIsMainThread";
    const QCoreApplication *application = QCoreApplication::instance();
    s3Assert(application != nullptr, "(static_cast<QApplication *>(QCoreApplication::instance())) != nullptr",
             sourceFile, function);
    const QThread *mainThread = application->thread();
    const QThread *currentThread = QThread::currentThread();
    s3Assert(mainThread != nullptr && currentThread != nullptr,
             "mainThread != nullptr && currentThread != nullptr", sourceFile, function);
    return mainThread == currentThread;
}

void s3ThreadBase::assertInMainThread()
{
    s3Assert(currentIsMainThread(), "currentIsMainThread()", sourceFile, "s3ThreadBase::assertInMainThread");
}

void s3ThreadBase::assertNotInMainThread()
{
    s3Assert(!currentIsMainThread(), "! currentIsMainThread()", sourceFile,
             "s3ThreadBase::assertNotInMainThread");
}

s3ThreadBase::s3ThreadBase(bool autoDelete) : autoDelete(autoDelete)
{
    s3Trace(lifecycleFlag,
            [&] { return s3TraceText(u"s3ThreadBase::s3ThreadBase"_s).pointer(u"this"_s, this); });
    connect(this, &QThread::finished, this, &s3ThreadBase::slotFinished, Qt::DirectConnection);
    // On the worker, for as long as it runs: a full stack is a failure that can still be told.
    connect(
        this, &QThread::started, this, [] { thread_local const platform::SecondStack stack; },
        Qt::DirectConnection);
}

s3ThreadBase::~s3ThreadBase()
{
    s3Trace(lifecycleFlag,
            [&] { return s3TraceText(u"s3ThreadBase::~s3ThreadBase"_s).pointer(u"this"_s, this); });
}

bool s3ThreadBase::start()
{
    isStarted = isRunning();
    if (!isStarted) {
        m_runFinished = false;
        QThread::start(QThread::InheritPriority);
        isStarted = isRunning() || m_runFinished;
    }
    return isStarted;
}

void s3ThreadBase::setEventReceiver(QObject *object)
{
    assertNotInMainThread();
    eventReceiver = object;
}

void s3ThreadBase::postToReceiver(QEvent *event)
{
    if (event != nullptr && eventReceiver != nullptr)
        QCoreApplication::postEvent(eventReceiver, event);
}

void s3ThreadBase::runFinish()
{
    assertNotInMainThread();
    m_runFinished = true;
}

void s3ThreadBase::slotFinished()
{
    assertNotInMainThread();
    s3Assert(m_runFinished, "m_runFinished == true", sourceFile, "s3ThreadBase::slotFinished",
             u"Kein runFinish() Aufruf in der abgeleiteten run() Funktion"_s);
    autoDeleteIfWanted();
}

void s3ThreadBase::autoDeleteIfWanted()
{
    if (autoDelete)
        deleteLater();
}

void s3ThreadBase::quit(bool waitEnd)
{
    const QString function = u"s3ThreadBase::quit"_s;
    s3Trace(lifecycleFlag,
            [&] { return s3TraceText(function).pointer(u"this"_s, this).argument(u"waitEnd"_s, waitEnd); });
    if (!isRunning())
        return;
    QThread::quit();
    if (!waitEnd)
        return;
    QElapsedTimer stopwatch;
    stopwatch.start();
    wait(waitMilliseconds);
    const QString elapsed = QString::number(stopwatch.elapsed());
    s3Trace(lifecycleFlag,
            [&] { return s3TraceText(function).append(u"  "_s).argument(u"elapsed"_s, elapsed); });
}
