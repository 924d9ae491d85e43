#include "s3dir.h"

#include "s3string.h"

s3Dir::s3Dir(const QString &path) : QDir(s3String(path).toForwardSlashes()) { }

QString s3Dir::filePath(const QString &name) const
{
    return QDir::filePath(s3String(name).toForwardSlashes());
}

QString s3Dir::absoluteFilePath(const QString &name) const
{
    return QDir::absoluteFilePath(s3String(name).toForwardSlashes());
}

QString s3PathJoin(const QString &directory, const QString &fileName)
{
    if (directory.isEmpty())
        return s3String(fileName).toForwardSlashes();
    return s3Dir(directory).filePath(fileName);
}
