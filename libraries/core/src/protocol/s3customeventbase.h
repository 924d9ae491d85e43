#pragma once

#include "protocol/s3iformattable.h"

#include <QEvent>

#include <atomic>
#include <typeinfo>

// Gives a class of custom events its number: registers a type with Qt, enters the class's name in the event
// protocol and, when `ignored`, has the protocol leave its events out. `registeredType` receives the
// number; a class that has one already keeps it. Traced under test flag 400. Any thread.
int s3RegisterCustomEventType(const std::type_info &eventClass, bool ignored,
                              std::atomic<int> &registeredType);

// Base of a custom event of class T (which derives from s3CustomEventBase<T>): a QEvent with a type of its
// own, registered at first use, and an empty text for the event protocol unless T says more.
template <class T> class s3CustomEventBase : public QEvent, public s3IFormattable
{
public:
    s3CustomEventBase() : QEvent(static_cast<QEvent::Type>(type())) { }

    // The number of the events of T, between QEvent::User and QEvent::MaxUser. Any thread.
    [[nodiscard]] static int type()
    {
        const int known = s_type.load(std::memory_order_acquire);
        return known != NotRegistered ? known : s3RegisterCustomEventType(typeid(T), s_ignored, s_type);
    }

    // Leaves events of T out of the event protocol. It counts at the first use of the type, so it is said
    // before that.
    static void setIgnored(bool ignored) { s_ignored = ignored; }

    [[nodiscard]] QString argumentsText() const override { return QString(); }

private:
    static constexpr int NotRegistered = 0;

    static constinit inline std::atomic<int> s_type = NotRegistered;
    static constinit inline std::atomic<bool> s_ignored = false;
};
