#include "s3fileinfo.h"

#include "s3string.h"

s3FileInfo::s3FileInfo(const QString &path) : QFileInfo(s3String(path).toForwardSlashes()) { }

bool s3FileInfo::exists(const QString &path)
{
    return QFileInfo::exists(s3String(path).toForwardSlashes());
}
