#include "platform/debugoutput.h"

#include <cstdio>

namespace platform
{

void debugOutput(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

}
