#include "test/s3testausproxy_p.h"

#include "platform/debugoutput.h"
#include "protocol/s3assert.h"
#include "protocol/s3logfilestream.h"
#include "s3testflags.h"
#include "s3threadbase.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QTextStream>
#include <QThread>
#include <QTime>

#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *sourceFile = "libraries/core/src/test/s3testausproxy";

constexpr qint32 fileFlag = 55;
constexpr qint32 timeFlag = 96;
constexpr qint32 debuggerFlag = 202;

// How often a worker looks whether a flush has ended before it sleeps until then.
constexpr int spinAttempts = 20;

// Whether this thread is inside a flush. A text that comes in then would be lost at the queue's mutex anyway;
// it has to go before it waits for a line that a worker may hold while it waits for the flush.
thread_local bool insideFlush = false;

// The proxy whose line this thread holds. A line closed inside another one gives back the outer one's holds
// too: the outer one's end then finds null here and leaves alone what may be another thread's line by then.
thread_local const s3TestausProxyPrivate *lineHolder = nullptr;

QString streamKey()
{
    return u"testaus"_s;
}

}

s3TestausProxy::s3TestausProxy() : d(std::make_unique<s3TestausProxyPrivate>()) { }

s3TestausProxy::~s3TestausProxy() = default;

s3TestausProxy *s3TestausProxy::instance()
{
    s3TestausProxy *proxy = singletonInstance();
    if (!s3ThreadBase::currentIsMainThread())
        proxy->moveToMainThread();
    return proxy;
}

void s3TestausProxy::moveToMainThread()
{
    const QCoreApplication *application = QCoreApplication::instance();
    if (application == nullptr || s3ThreadBase::currentIsMainThread())
        return;
    QThread *mainThread = application->thread();
    s3Assert(mainThread != nullptr, "mainThread != nullptr", sourceFile, "s3TestausProxy::moveToMainThread");
    moveToThread(mainThread);
    if (d)
        d->moveToThread(mainThread);
}

void s3TestausProxy::print(const QString &text, bool endLine)
{
    d->print(text, endLine);
}

void s3TestausProxy::setFileName(const QString &name)
{
    if (name.isEmpty())
        return;
    d->setFileName(name);
    s3TestFlagsInstance()->insert(fileFlag);
}

void s3TestausProxy::setCallback(Callback callback)
{
    d->setCallback(std::move(callback));
}

s3TestausProxyPrivate::s3TestausProxyPrivate() : fileName(u"testaus.txt"_s)
{
    s3TestausProxyPrivatFlushEvent::setIgnored(true);
}

bool s3TestausProxyPrivate::isOutputWanted() const
{
    if (callback)
        return true;
    const s3TestFlagsGUI *flags = s3TestFlagsInstance();
    return !flags->isEmpty() && (flags->contains(fileFlag) || flags->contains(debuggerFlag));
}

void s3TestausProxyPrivate::print(const QString &text, bool endLine)
{
    if (isOutputWanted() && !insideFlush) {
        const bool firstPart = lockLine();
        QString line = text;
        if (firstPart && s3TestFlagsInstance()->contains(timeFlag))
            line.prepend(QTime::currentTime().toString(u"[HH:mm:ss.zzz] "_s));
        write(line, endLine);
    }
    // Also where the output has gone away since the line's first part: others wait for its end.
    if (endLine && !insideFlush && lineHolder == this)
        unlockLine();
}

// Takes the line for this thread; true for the first part of a line.
bool s3TestausProxyPrivate::lockLine()
{
    lineMutex.lock();
    lineHolder = this;
    const QMutexLocker lock(&depthMutex);
    return ++lineDepth == 1;
}

// Gives back every hold of this thread at once.
void s3TestausProxyPrivate::unlockLine()
{
    lineHolder = nullptr;
    const QMutexLocker lock(&depthMutex);
    for (; lineDepth != 0; --lineDepth)
        lineMutex.unlock();
}

void s3TestausProxyPrivate::write(const QString &text, bool endLine)
{
    if (QCoreApplication::instance() == nullptr)
        return;
    if (s3ThreadBase::currentIsMainThread()) {
        enqueue(text, endLine, true);
        flush();
        return;
    }
    auto event = std::make_unique<s3TestausProxyPrivatFlushEvent>();
    enqueue(text, endLine, false);
    QCoreApplication::postEvent(this, event.release());
}

void s3TestausProxyPrivate::enqueue(const QString &text, bool endLine, bool onMainThread)
{
    std::unique_lock lock(queueMutex, std::try_to_lock);
    if (!lock.owns_lock()) {
        if (onMainThread)
            return; // a worker is putting something in just now: the main thread does not wait, the text is
                    // lost
        // The flush of a line takes about as long as it takes to fall asleep: look again before that.
        for (int attempt = 0; attempt != spinAttempts && !lock.try_lock(); ++attempt)
            QThread::yieldCurrentThread();
        if (!lock.owns_lock())
            lock.lock();
    }
    queue.append({text, endLine});
}

void s3TestausProxyPrivate::customEvent(QEvent *event)
{
    if (event->type() == s3TestausProxyPrivatFlushEvent::type())
        flush();
}

void s3TestausProxyPrivate::flush()
{
    const std::unique_lock lock(queueMutex, std::try_to_lock);
    if (!lock.owns_lock() || queue.isEmpty())
        return;
    const QScopedValueRollback inside(insideFlush, true);
    s3ThreadBase::assertInMainThread();
    const s3TestFlagsGUI *flags = s3TestFlagsInstance();
    const bool toDebugger = flags->contains(debuggerFlag);
    const bool toFile = flags->contains(fileFlag)
        && s3LogFileStream::open(streamKey(), fileName, QStringConverter::Utf16LE);
    while (!queue.isEmpty())
        writeEntry(queue.takeFirst(), toDebugger, toFile);
}

void s3TestausProxyPrivate::writeEntry(const Entry &entry, bool toDebugger, bool toFile)
{
    if (const s3TestausProxy::Callback function = callback) // a copy: it may replace itself
        function(entry.text, entry.endLine);
    if (toDebugger)
        platform::debugOutput(entry.endLine ? entry.text + u'\n' : entry.text);
    if (!toFile)
        return;
    QTextStream *stream = s3LogFileStream::stream(streamKey());
    *stream << entry.text;
    if (entry.endLine)
        *stream << Qt::endl;
    if (!s3TestFlagsInstance()->contains(timeFlag))
        stream->flush();
}
