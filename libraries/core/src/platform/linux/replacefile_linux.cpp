#include "platform/replacefile.h"

#include <QFile>

#include <cerrno>
#include <cstdio>

namespace platform
{

quint32 replaceFile(const QString &from, const QString &to)
{
    const bool done
        = std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
    return done ? 0 : quint32(errno);
}

}
