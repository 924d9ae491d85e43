#pragma once

#include <QEvent>
#include <QThread>

#include <atomic>

// Base of a worker thread, and the home of the main thread tests.
//
// A subclass implements run() and ends it with runFinish() as its last statement; a run() that is left any
// other way is a broken assumption (s3CrashHandler::assertFailed).
class s3ThreadBase : public QThread
{
    Q_OBJECT

public:
    // Whether the caller runs on the application object's thread. An application object must exist, that
    // is asserted. Any thread.
    [[nodiscard]] static bool currentIsMainThread();

    // Assert that the caller is, or is not, on the main thread.
    static void assertInMainThread();
    static void assertNotInMainThread();

    // With `autoDelete` the object deletes itself (deleteLater) when the thread has ended; the event loop
    // of the thread it was made on does that.
    explicit s3ThreadBase(bool autoDelete);

    // Does not wait for the thread: it must have ended.
    ~s3ThreadBase() override;
    Q_DISABLE_COPY_MOVE(s3ThreadBase)

    // Starts the thread with the priority of the caller's. True when it is running, was running already, or
    // has already ended the proper way. Hides QThread::start on purpose.
    bool start();

    // The last answer of start().
    [[nodiscard]] bool started() const { return isStarted; }

    // The object of the main thread that takes the worker's events, null for none; not owned. Called from
    // inside run(), that is asserted.
    void setEventReceiver(QObject *object);

    // Posts `event` to the receiver, which then owns it. Without an event or a receiver nothing happens, and
    // the event stays the caller's.
    void postToReceiver(QEvent *event);

    // Says that run() ends the proper way. Called on the worker, that is asserted.
    void runFinish();

    // Asks the thread's event loop to end. With `waitEnd` it waits up to 5 seconds for the thread; one
    // that has not ended by then is left alone, and that is not reported.
    virtual void quit(bool waitEnd);

    // deleteLater() when the constructor was told so.
    virtual void autoDeleteIfWanted();

    // Runs on the worker when run() has returned: asserts that it ended by runFinish().
    void slotFinished();

protected:
    void run() override = 0;

private:
    bool autoDelete;
    QObject *eventReceiver = nullptr;
    bool isStarted = false;
    // Written by the worker, read by whoever starts it.
    std::atomic<bool> m_runFinished = false;
};
