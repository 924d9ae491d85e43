#include "s3terminalsession.h"

#include "platform/terminalsession.h"
#include "s3environmentvariable.h"

#include <cstring>

using namespace Qt::StringLiterals;

QString s3SessionIdText()
{
    const std::optional<quint32> id = platform::sessionId();
    return id.has_value() ? QString::number(*id) : QString();
}

quint32 s3SessionId()
{
    return platform::sessionId().value_or(0);
}

QString s3SessionName()
{
    return s3EnvironmentVariable(u"SESSIONNAME"_s).value();
}

QString s3SessionClientName()
{
    return platform::sessionClientName();
}

QString s3SessionClientAddress()
{
    return s3ClientAddressText(platform::sessionClientAddress());
}

QString s3ClientAddressText(const QByteArray &answer)
{
    static constexpr quint32 ipv4Family = 2;
    static constexpr qsizetype wholeSize = 24;
    static constexpr qsizetype addressIndex = 6;
    quint32 family = 0;
    if (answer.size() < wholeSize)
        return QString();
    std::memcpy(&family, answer.constData(), sizeof family);
    if (family != ipv4Family)
        return QString();
    const auto number = [&](qsizetype index) {
        return QString::number(static_cast<unsigned char>(answer.at(addressIndex + index)));
    };
    return u"%1.%2.%3.%4"_s.arg(number(0), number(1), number(2), number(3));
}
