#include "protocol/s3customeventbase.h"

#include "protocol/s3qeventprotocol.h"
#include "test/s3trace.h"

#include <QMutex>

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{

// The class's name as it is written in the source.
QString sourceName(const std::type_info &type)
{
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), std::free);
    return QString::fromUtf8(name ? name.get() : type.name());
}

}

int s3RegisterCustomEventType(const std::type_info &eventClass, bool ignored,
                              std::atomic<int> &registeredType)
{
    const QString className = sourceName(eventClass);
    int type = 0;
    {
        // Two workers may meet at the first event of a class; the protocol's tables have no lock.
        static QMutex registration;
        const QMutexLocker lock(&registration);
        type = registeredType.load(std::memory_order_acquire);
        if (type != 0)
            return type;
        type = QEvent::registerEventType();
        s3QEventProtocol::addCustomQEventName(type, className);
        if (ignored)
            s3QEventProtocol::ignoreQEventType(type);
        registeredType.store(type, std::memory_order_release);
    }
    // Known by now: the trace sends an event of its own.
    s3Trace(400, [&] {
        return QString(u"s3CustomEventBase<class %1>::type() = %2"_s.arg(className, QString::number(type)));
    });
    return type;
}
