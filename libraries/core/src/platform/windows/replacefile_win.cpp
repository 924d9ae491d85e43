#include "platform/replacefile.h"

#include <QDir>
#include <QFileInfo>

#include <windows.h>

#include <string>

using namespace Qt::StringLiterals;

namespace platform
{

namespace
{

// The form that may be longer than 260 units; it must be absolute and is taken literally.
std::wstring longPath(const QString &path)
{
    const QString native = QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    if (native.startsWith(u"\\\\?\\"_s))
        return native.toStdWString();
    if (native.startsWith(u"\\\\"_s))
        return (u"\\\\?\\UNC\\"_s + native.mid(2)).toStdWString();
    return (u"\\\\?\\"_s + native).toStdWString();
}

}

quint32 replaceFile(const QString &from, const QString &to)
{
    const std::wstring source = longPath(from);
    const std::wstring target = longPath(to);
    return MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != 0 ? 0 : GetLastError();
}

}
