#pragma once

#include <QDir>
#include <QFileInfo>
#include <QString>

// A QDir that takes paths in either spelling and can remove a whole tree.
//
// Each path or name that comes in as text is turned to forward slashes before it reaches Qt. Comparison,
// also with a QDir, is QDir's. Nothing here throws or shows anything; objects belong to one thread, the
// working directory to the process.
class s3Dir : public QDir
{
public:
    explicit s3Dir(const QString &path);
    // Takes over the path alone: filters and sorting are the default ones again.
    explicit s3Dir(const QDir &dir);
    // The directory that `info` itself names, its path used as it stands.
    explicit s3Dir(const QFileInfo &info);

    void setPath(const QString &path);

    [[nodiscard]] bool exists() const;
    [[nodiscard]] bool exists(const QString &name) const;
    [[nodiscard]] QString filePath(const QString &name) const;
    [[nodiscard]] QString absoluteFilePath(const QString &name) const;

    bool mkdir(const QString &name) const;
    bool mkpath(const QString &name) const;
    bool rmdir(const QString &name) const;

    // Whether this is the working directory: the absolute paths are compared as text with case.
    [[nodiscard]] bool isCurrent() const;

    // Removes the directory, with `force` together with everything in it, hidden and read-only entries
    // included. True when it is gone afterwards, also when it was never there. Without `force` only an
    // empty directory goes. The working directory (isCurrent()) keeps its content, also where it lies
    // inside the tree; the rest of such a tree goes, and the result is false.
    //
    // A link, inside the tree or given as the tree, is removed as a link: what it leads to stays.
    bool removeTree(bool force) const;

    // The working directory of the process. Both paths go to the trace under test flag 226.
    [[nodiscard]] static QString currentPath();
    [[nodiscard]] static s3Dir current();

    // Changes the working directory; false, and no change, for an empty path or one that is no directory.
    static bool setCurrent(const QString &path);
};

// `fileName` below `directory`, both normalised; an empty directory gives the name alone, an absolute
// name stands alone.
[[nodiscard]] QString s3PathJoin(const QString &directory, const QString &fileName);
