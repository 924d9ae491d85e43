#include "s3dir.h"

#include "s3file.h"
#include "s3string.h"
#include "test/s3trace.h"

using namespace Qt::StringLiterals;

namespace
{

bool isLink(const QFileInfo &entry)
{
    return entry.isSymLink() || entry.isJunction();
}

// Removes a link and never what it leads to. A Windows link to a directory is itself a directory entry.
bool removeLink(const QString &path)
{
    return QFile::remove(path) || QDir().rmdir(path);
}

// Removes a listed entry that is no directory, as s3File::remove(true) does. Most go at the first attempt,
// without a look at them before.
void removeFile(const QFileInfo &entry)
{
    const QString path = entry.filePath();
    if (QFile::remove(path) || isLink(entry))
        return;
    // A listed name may hold a backslash on Linux; with forward slashes it would be another file, perhaps
    // one outside the tree.
    s3File file{QString()};
    file.QFile::setFileName(path);
    file.remove(true);
}

}

s3Dir::s3Dir(const QString &path) : QDir(s3String(path).toForwardSlashes()) { }

s3Dir::s3Dir(const QDir &dir) : QDir(QString())
{
    setPath(dir.path());
}

s3Dir::s3Dir(const QFileInfo &info) : QDir(info.filePath()) { }

void s3Dir::setPath(const QString &path)
{
    QDir::setPath(s3String(path).toForwardSlashes());
}

bool s3Dir::exists() const
{
    return QDir::exists();
}

bool s3Dir::exists(const QString &name) const
{
    return QDir::exists(s3String(name).toForwardSlashes());
}

QString s3Dir::filePath(const QString &name) const
{
    return QDir::filePath(s3String(name).toForwardSlashes());
}

QString s3Dir::absoluteFilePath(const QString &name) const
{
    return QDir::absoluteFilePath(s3String(name).toForwardSlashes());
}

bool s3Dir::mkdir(const QString &name) const
{
    return QDir::mkdir(s3String(name).toForwardSlashes());
}

bool s3Dir::mkpath(const QString &name) const
{
    return QDir::mkpath(s3String(name).toForwardSlashes());
}

bool s3Dir::rmdir(const QString &name) const
{
    return QDir::rmdir(s3String(name).toForwardSlashes());
}

bool s3Dir::isCurrent() const
{
    return absolutePath() == currentPath();
}

bool s3Dir::removeTree(bool force) const
{
    if (isCurrent())
        return false;
    if (!exists())
        return true;
    const QString path = absolutePath();
    if (QDir::rmdir(path))
        return true;
    if (!force)
        return false;
    if (isLink(QFileInfo(path)))
        return removeLink(path);
    refresh();
    const QFileInfoList entries = entryInfoList(
        QDir::Files | QDir::AllDirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
    // What an entry refuses shows in the last step, so the single results do not matter.
    for (const QFileInfo &entry : entries) {
        if (!entry.isDir())
            removeFile(entry);
        else if (isLink(entry))
            removeLink(entry.filePath());
        else
            s3Dir(entry).removeTree(true);
    }
    return QDir::rmdir(path);
}

QString s3Dir::currentPath()
{
    const QString result = QDir::currentPath();
    s3Trace(226, [&] { return s3TraceText(u"s3Dir::currentPath"_s).argument(u"result"_s, result); });
    return result;
}

s3Dir s3Dir::current()
{
    return s3Dir(currentPath());
}

bool s3Dir::setCurrent(const QString &path)
{
    const bool result = !path.isEmpty() && QDir::setCurrent(s3String(path).toForwardSlashes());
    s3Trace(226, [&] {
        return s3TraceText(u"s3Dir::setCurrent"_s).argument(u"path"_s, path).argument(u"result"_s, result);
    });
    return result;
}

QString s3PathJoin(const QString &directory, const QString &fileName)
{
    if (directory.isEmpty())
        return s3String(fileName).toForwardSlashes();
    return s3Dir(directory).filePath(fileName);
}
