#pragma once

#include "s3singleton.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class s3TestausProxyPrivate;

// The developers' trace: texts from any thread go to a file, the debugger's output and a callback, all of
// it on the main thread. Trace sites reach it through s3Trace (test/s3trace.h), which stays silent unless
// the site's flag is on.
//
// Outputs: the callback when one is set; with test flag 55 the file, UTF-16LE with byte order mark and bare
// line feeds, emptied when it is opened and kept open; with flag 202 the debugger's output. Flag 96 puts
// the time before each line. A trace never reports a failure. What is queued when the process ends is lost.
class s3TestausProxy final : public QObject, public s3Singleton<s3TestausProxy>
{
    Q_OBJECT

public:
    // Receives a text and whether it closes a line. Runs on the main thread, inside a flush: what it
    // traces itself is dropped.
    using Callback = std::function<void(const QString &text, bool endLine)>;

    s3TestausProxy();
    ~s3TestausProxy() override;
    Q_DISABLE_COPY_MOVE(s3TestausProxy)

    // The process-wide proxy, never null, made at the first call without a lock. A QCoreApplication must
    // exist, that is asserted. A call from another thread than the main one moves the proxy to the main
    // thread.
    [[nodiscard]] static s3TestausProxy *instance();

    // Moves the proxy and its private object to the application's thread, so that what workers post is
    // handled there. Nothing happens without an application or on the main thread.
    void moveToMainThread();

    // Hands `text` to every output that is switched on; `endLine` says that it closes a line. A thread that
    // prints a line in parts holds the line for itself until the part with `endLine`. Any thread: on the
    // main thread the text is written at once, from another one when the main thread's event loop gets to
    // it. Without an application the text is dropped.
    void print(const QString &text, bool endLine);

    // Names the trace file (a relative name lies in the working directory) and switches flag 55 on. An
    // empty name is ignored; once the file is open, a new name has no effect on it. Called before there
    // are workers.
    void setFileName(const QString &name);

    // Installs a receiver of all texts; null removes it. Called before there are workers that print.
    void setCallback(Callback callback);

private:
    std::unique_ptr<s3TestausProxyPrivate> d;
};
