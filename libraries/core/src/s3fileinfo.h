#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

// A QFileInfo that takes paths in either spelling and compares and renames them as the library means it.
//
// A path or name that comes in as text is turned to forward slashes before it reaches Qt; one that comes
// in a Qt object stays as it is there. Everything else is QFileInfo's, its caching included.
class s3FileInfo : public QFileInfo
{
public:
    explicit s3FileInfo(const QString &path);
    explicit s3FileInfo(const QFile &file);
    explicit s3FileInfo(const QFileInfo &info);
    // `name` below `directory`; an absolute name stands alone.
    s3FileInfo(const QDir &directory, const QString &name);

    void setFile(const QString &path);
    void setFile(const QFile &file);
    void setFile(const QDir &directory, const QString &name);

    // Whether there is an entry of that path; a directory counts.
    using QFileInfo::exists;
    [[nodiscard]] static bool exists(const QString &path);

    // Whether both paths mean the same file. They are compared as directories (QDir), which takes care of
    // letter case and separators as the platform does. The file itself is not looked at: two links to one
    // file are two files.
    [[nodiscard]] bool operator==(const s3FileInfo &other) const;
    [[nodiscard]] bool operator!=(const s3FileInfo &other) const { return !(*this == other); }

    // The path with its last suffix replaced by `suffix` (without point); an empty one takes the suffix
    // and its point away. "dir/a.tar.gz" with "zip" is "dir/a.tar.zip". A name that is nothing but suffix
    // leaves the directory's name to take the new one: "dir/.profile" with "bak" is "dir.bak".
    [[nodiscard]] QString withSuffix(const QString &suffix) const;
};
