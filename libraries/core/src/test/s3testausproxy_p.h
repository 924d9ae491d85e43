#pragma once

#include "protocol/s3customeventbase.h"
#include "test/s3testausproxy.h"

#include <QList>
#include <QMutex>
#include <QRecursiveMutex>

// Asks the main thread to flush the queue of trace texts.
class s3TestausProxyPrivatFlushEvent final : public s3CustomEventBase<s3TestausProxyPrivatFlushEvent>
{
};

// The queue behind s3TestausProxy: any thread puts texts in, the main thread writes them.
//
// Locks in the order taken: lineMutex, depthMutex (given back at once), queueMutex. The main thread never
// waits for queueMutex: a flush holds it while it calls out, and what is traced from there must neither
// dead-lock nor disturb the loop.
class s3TestausProxyPrivate final : public QObject
{
    Q_OBJECT

public:
    s3TestausProxyPrivate();

    void print(const QString &text, bool endLine);

    void setFileName(const QString &name) { fileName = name; }
    void setCallback(s3TestausProxy::Callback function) { callback = std::move(function); }

protected:
    void customEvent(QEvent *event) override;

private:
    struct Entry {
        QString text;
        bool endLine = false;
    };

    [[nodiscard]] bool isOutputWanted() const;
    [[nodiscard]] bool lockLine();
    void unlockLine();
    void write(const QString &text, bool endLine);
    void enqueue(const QString &text, bool endLine, bool onMainThread);
    void flush();
    void writeEntry(const Entry &entry, bool toDebugger, bool toFile);

    QList<Entry> queue;
    QString fileName;
    s3TestausProxy::Callback callback;
    QRecursiveMutex lineMutex; // held by the thread that is in the middle of a line
    int lineDepth = 0; // how often lineMutex is held at this moment
    QMutex depthMutex; // guards lineDepth
    QMutex queueMutex; // guards the queue and marks a running flush
};
