#pragma once

#include <QEvent>
#include <QMutex>
#include <QObject>
#include <QString>

// Turns events and window messages into readable text for the trace: which event goes to which object on
// which thread, with its arguments when it has any. A tool for an application that hooks its event loop.
class s3QEventProtocol
{
public:
    // Enters `name` for the custom event `type`, in place of an earlier one. `type` lies between
    // QEvent::User and QEvent::MaxUser, that is asserted. Takes no lock: it is called when an event type
    // is first used.
    static void addCustomQEventName(int type, const QString &name);

    // Leaves events of `type` out. Takes no lock, as above.
    static void ignoreQEventType(int type);

    // The text for the delivery of `event` (not null) to `object` (may be null), several lines; empty for an
    // ignored type. One thread at a time per protocol object gets through.
    [[nodiscard]] QString describeEvent(const QObject *object, const QEvent *event);

    // The name of a Windows message by the headers of Windows, the same on every platform. A number above
    // WM_USER and below WM_APP reads "WM_USER + " and the difference; any other is shown as a number.
    [[nodiscard]] static QString windowMessageName(unsigned message);

private:
    QMutex m_mutex;
};
