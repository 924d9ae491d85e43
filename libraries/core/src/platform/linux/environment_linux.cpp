#include "platform/environment.h"

#include <QByteArray>
#include <QtGlobal>

namespace platform
{

// Names and texts are in the encoding of the locale, as QProcessEnvironment has them.

std::optional<QString> environmentVariable(const QString &name)
{
    const QByteArray localName = name.toLocal8Bit();
    if (!qEnvironmentVariableIsSet(localName.constData()))
        return std::nullopt;
    return qEnvironmentVariable(localName.constData());
}

void setEnvironmentVariable(const QString &name, const QString &value)
{
    const QByteArray localName = name.toLocal8Bit();
    if (value.isEmpty())
        qunsetenv(localName.constData());
    else
        qputenv(localName.constData(), value.toLocal8Bit());
}

}
