#include "platform/terminalsession.h"

#include <QFile>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstring>
#include <limits>

namespace platform
{

std::optional<quint32> sessionId()
{
    // What the kernel's audit code reports for a process outside of any login.
    static constexpr quint32 none = std::numeric_limits<quint32>::max();
    QFile file(QStringLiteral("/proc/self/sessionid"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    bool ok = false;
    const quint32 id = file.readAll().trimmed().toUInt(&ok);
    if (!ok || id == none)
        return std::nullopt;
    return id;
}

QString sessionClientName()
{
    return QString();
}

QByteArray sessionClientAddress()
{
    static constexpr qsizetype familySize = sizeof(quint32);
    static constexpr qsizetype addressSize = 20;
    static constexpr qsizetype addressIndex = familySize + 2;
    // "client address, client port, server address, server port"
    const QByteArray connection = qgetenv("SSH_CONNECTION");
    const QByteArray client = connection.first(qMax<qsizetype>(connection.indexOf(' '), 0));
    in_addr address{};
    if (inet_pton(AF_INET, client.constData(), &address) != 1)
        return QByteArray();
    static constexpr quint32 family = AF_INET;
    QByteArray answer(familySize + addressSize, '\0');
    std::memcpy(answer.data(), &family, sizeof family);
    std::memcpy(answer.data() + addressIndex, &address, sizeof address);
    return answer;
}

}
