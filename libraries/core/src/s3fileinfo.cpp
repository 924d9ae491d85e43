#include "s3fileinfo.h"

#include "s3dir.h"
#include "s3string.h"

s3FileInfo::s3FileInfo(const QString &path) : QFileInfo(s3String(path).toForwardSlashes()) { }

s3FileInfo::s3FileInfo(const QFile &file) : QFileInfo(file) { }

s3FileInfo::s3FileInfo(const QFileInfo &info) : QFileInfo(info) { }

s3FileInfo::s3FileInfo(const QDir &directory, const QString &name)
    : QFileInfo(directory, s3String(name).toForwardSlashes())
{
}

void s3FileInfo::setFile(const QString &path)
{
    QFileInfo::setFile(s3String(path).toForwardSlashes());
}

void s3FileInfo::setFile(const QFile &file)
{
    QFileInfo::setFile(file);
}

void s3FileInfo::setFile(const QDir &directory, const QString &name)
{
    QFileInfo::setFile(directory, s3String(name).toForwardSlashes());
}

bool s3FileInfo::exists(const QString &path)
{
    return QFileInfo::exists(s3String(path).toForwardSlashes());
}

bool s3FileInfo::operator==(const s3FileInfo &other) const
{
    return s3Dir(filePath()) == s3Dir(other.filePath());
}

QString s3FileInfo::withSuffix(const QString &suffix) const
{
    QString result = s3PathJoin(path(), completeBaseName());
    if (!suffix.isEmpty())
        result += u'.' + suffix;
    return result;
}
