#include "platform/debugger.h"

#include <QFile>

#include <csignal>

namespace platform
{

bool isDebuggerPresent()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = status.readAll();
    const QByteArray name = QByteArrayLiteral("\nTracerPid:");
    const qsizetype position = text.indexOf(name);
    if (position < 0)
        return false;
    return text.mid(position + name.size()).trimmed().split('\n').first().toInt() != 0;
}

void breakIntoDebugger()
{
    std::raise(SIGTRAP);
}

}
