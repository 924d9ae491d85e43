#include "ostrelletest/symboliclink.h"

#include <QFile>

#include <unistd.h>

bool makeSymbolicLink(const QString &target, const QString &link)
{
    return symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) == 0;
}
