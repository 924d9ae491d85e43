#include "ostrelletest/filecontent.h"
#include "ostrelletest/lockedfile.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/symboliclink.h"
#include "ostrelletest/tracerecorder.h"
#include "s3dir.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr QFileDevice::Permissions readOnly
    = QFileDevice::ReadOwner | QFileDevice::ReadUser | QFileDevice::ReadGroup | QFileDevice::ReadOther;

const auto noSymbolicLinks = "symbolic links cannot be made here (Wine 8 has none)";

// Makes each path below `root`: a directory when it ends in a slash, else a file with its directories.
bool makeTree(const QString &root, const QStringList &paths)
{
    for (const QString &path : paths) {
        const QString full = root + u'/' + path;
        if (!QDir().mkpath(path.endsWith(u'/') ? full : full.section(u'/', 0, -2)))
            return false;
        if (!path.endsWith(u'/') && !writeFile(full, path.toUtf8()))
            return false;
    }
    return true;
}

// What is below `root`, sorted, relative to it.
QStringList treeContent(const QString &root)
{
    QStringList result;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        result += QDir(root).relativeFilePath(it.next());
    result.sort();
    return result;
}

}

class TestDir final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalisesPaths_data();
    void normalisesPaths();
    void takesOnlyThePathOfADir();
    void takesAFileInfoAsItStands();
    void comparesLikeADir();
    void existsByName_data();
    void existsByName();
    void joinsNames_data();
    void joinsNames();
    void makesAndRemovesDirectories();
    void isCurrentComparesText();
    void currentPathIsTraced();
    void setsTheCurrentDirectory();
    void setCurrentRefuses_data();
    void setCurrentRefuses();
    void setCurrentIsTraced();
    void pathJoin_data();
    void pathJoin();
    void removeTree_data();
    void removeTree();
    void removeTreeWithoutForceTakesEmptyDirectoriesOnly();
    void removeTreeOfAMissingDirectory();
    void removeTreeLeavesAFile();
    void removeTreeOfARelativePath();
    void removeTreeSparesTheWorkingDirectory();
    void removeTreeSparesAWorkingDirectoryInside_data();
    void removeTreeSparesAWorkingDirectoryInside();
    void removeTreeOfTenThousandEntries();
    void removeTreeOfALongPath();
    void removeTreeRemovesLinksAsLinks_data();
    void removeTreeRemovesLinksAsLinks();
    void removeTreeOfALinkRemovesTheLink();
    void removeTreeRemovesShortcutsAsFiles();
    void removeTreeTakesBackslashesInNamesLiterally();
    void removeTreeLeavesWhatItMayNotRemove();
    void removeTreeSeesEntriesThatCameLater();
};

void TestDir::normalisesPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("drive") << u"C:\\temp\\x"_s << u"C:/temp/x"_s;
    QTest::newRow("relative") << u"a\\ä b/c"_s << u"a/ä b/c"_s;
    QTest::newRow("parent") << u"..\\x"_s << u"../x"_s;
}

void TestDir::normalisesPaths()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);
    QCOMPARE(s3Dir(path).path(), expected);
    s3Dir dir(u"other"_s);
    dir.setPath(path);
    QCOMPARE(dir.path(), expected);
}

void TestDir::takesOnlyThePathOfADir()
{
    const QDir filtered(u"a/b"_s, u"*.txt"_s, QDir::Size, QDir::Files);
    const s3Dir dir(filtered);
    QCOMPARE(dir.path(), u"a/b"_s);
    QCOMPARE(dir.filter(), QDir().filter());
    QCOMPARE(dir.sorting(), QDir().sorting());
    QCOMPARE(dir.nameFilters(), QDir(QString()).nameFilters());
}

void TestDir::takesAFileInfoAsItStands()
{
    const QFileInfo info(u"a/b"_s);
    QCOMPARE(s3Dir(info).path(), u"a/b"_s);
    // What Qt itself makes of a backslash stays: nothing on Linux, a slash on Windows.
    const QFileInfo backslash(u"a\\b"_s);
    QCOMPARE(s3Dir(backslash).path(), QDir(backslash.filePath()).path());
}

void TestDir::comparesLikeADir()
{
    QVERIFY(s3Dir(u"a\\b"_s) == s3Dir(u"a/b"_s));
    QVERIFY(s3Dir(u"a\\b"_s) == QDir(u"a/./b"_s));
    QVERIFY(QDir(u"a/b"_s) == s3Dir(u"a\\b"_s));
    QVERIFY(s3Dir(u"a"_s) != s3Dir(u"b"_s));
    QVERIFY(s3Dir(u"a"_s) != QDir(u"b"_s));
}

void TestDir::existsByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("expected");
    QTest::newRow("file") << u"sub\\ä.txt"_s << true;
    QTest::newRow("directory") << u"sub"_s << true;
    QTest::newRow("parent") << u"sub\\..\\sub"_s << true;
    QTest::newRow("missing") << u"sub\\none"_s << false;
}

void TestDir::existsByName()
{
    QFETCH(const QString, name);
    QFETCH(const bool, expected);
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"sub/ä.txt"_s}));
    QCOMPARE(s3Dir(dir.path()).exists(name), expected);
    QVERIFY(s3Dir(dir.path()).exists());
    QVERIFY(!s3Dir(dir.filePath(u"none"_s)).exists());
    QVERIFY(!s3Dir(dir.filePath(u"sub/ä.txt"_s)).exists());
}

void TestDir::joinsNames_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"a"_s << u"b"_s << u"a/b"_s;
    QTest::newRow("backslashes") << u"a\\b"_s << u"c\\d"_s << u"a/b/c/d"_s;
    QTest::newRow("closing backslash") << u"a\\"_s << u"b"_s << u"a/b"_s;
    QTest::newRow("empty name") << u"a"_s << QString() << u"a"_s;
    QTest::newRow("nothing is cleaned") << u"a/.."_s << u"..\\b"_s << u"a/../../b"_s;
    QTest::newRow("blanks and non-ASCII") << u"ä ö"_s << u"ü ß"_s << u"ä ö/ü ß"_s;
}

void TestDir::joinsNames()
{
    QFETCH(const QString, directory);
    QFETCH(const QString, name);
    QFETCH(const QString, expected);
    QCOMPARE(s3Dir(directory).filePath(name), expected);
    if (!name.isEmpty())
        QCOMPARE(s3Dir(directory).absoluteFilePath(name),
                 QDir(QString(directory).replace(u'\\', u'/'))
                     .absoluteFilePath(QString(name).replace(u'\\', u'/')));
}

void TestDir::makesAndRemovesDirectories()
{
    const QTemporaryDir temporary;
    const s3Dir dir(temporary.path());
    QVERIFY(dir.mkpath(u"a\\ä b\\c"_s));
    QVERIFY(QFileInfo(temporary.filePath(u"a/ä b/c"_s)).isDir());
    QVERIFY(dir.mkpath(u"a\\ä b\\c"_s));
    QVERIFY(dir.mkdir(u"a\\d"_s));
    QVERIFY(!dir.mkdir(u"a\\d"_s));
    QVERIFY(!dir.mkdir(u"none\\d"_s));
    QVERIFY(dir.rmdir(u"a\\ä b\\c"_s));
    QVERIFY(!dir.rmdir(u"a\\ä b\\c"_s));
    QVERIFY(!dir.rmdir(u"a"_s));
    QCOMPARE(treeContent(temporary.path()), QStringList({u"a"_s, u"a/d"_s, u"a/ä b"_s}));
}

void TestDir::isCurrentComparesText()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"sub/"_s}));
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(s3Dir(QDir::currentPath()).isCurrent());
    QVERIFY(s3Dir(u"."_s).isCurrent());
    QVERIFY(s3Dir(QString()).isCurrent());
    QVERIFY(s3Dir(u"sub\\.."_s).isCurrent());
    QVERIFY(!s3Dir(u"sub"_s).isCurrent());
    QVERIFY(!s3Dir(u".."_s).isCurrent());
    QVERIFY(!s3Dir(QDir::currentPath().toUpper()).isCurrent());
}

void TestDir::currentPathIsTraced()
{
    const QString expected = QDir::currentPath();
    QCOMPARE(s3Dir::current().path(), expected);
    const ScopedTestFlag flag(226);
    const TraceRecorder recorder;
    QCOMPARE(s3Dir::currentPath(), expected);
    QCOMPARE(s3Dir::current().path(), expected);
    const QString line = u"s3Dir::currentPath() result=\"%1\""_s.arg(expected);
    QCOMPARE(recorder.lines(), QStringList({line, line}));
}

void TestDir::setsTheCurrentDirectory()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"ä b/c/"_s}));
    const ScopedCurrentDir inside(dir.path());
    const QString before = QDir::currentPath();
    QVERIFY(s3Dir::setCurrent(u"ä b\\c"_s));
    QCOMPARE(s3Dir::currentPath(), before + u"/ä b/c"_s);
}

void TestDir::setCurrentRefuses_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("missing") << u"none"_s;
    QTest::newRow("file") << u"file"_s;
}

void TestDir::setCurrentRefuses()
{
    QFETCH(const QString, path);
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"file"_s}));
    const ScopedCurrentDir inside(dir.path());
    const QString before = QDir::currentPath();
    QVERIFY(!s3Dir::setCurrent(path));
    QCOMPARE(QDir::currentPath(), before);
}

void TestDir::setCurrentIsTraced()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"a/b/"_s}));
    const ScopedCurrentDir inside(dir.path());
    const ScopedTestFlag flag(226);
    const TraceRecorder recorder;
    QVERIFY(s3Dir::setCurrent(u"a\\b"_s));
    QVERIFY(!s3Dir::setCurrent(u"none"_s));
    QVERIFY(!s3Dir::setCurrent(QString()));
    QCOMPARE(recorder.lines(),
             QStringList({u"s3Dir::setCurrent() path=\"a\\b\" result=true"_s,
                          u"s3Dir::setCurrent() path=\"none\" result=false"_s,
                          u"s3Dir::setCurrent() path=\"\" result=false"_s}));
}

void TestDir::pathJoin_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty directory") << QString() << u"a\\b"_s << u"a/b"_s;
    QTest::newRow("empty directory, absolute name") << QString() << u"\\a"_s << u"/a"_s;
    QTest::newRow("plain") << u"C:\\dir"_s << u"a\\b"_s << u"C:/dir/a/b"_s;
    QTest::newRow("closing separator") << u"dir/"_s << u"a"_s << u"dir/a"_s;
    QTest::newRow("both empty") << QString() << QString() << QString();
    QTest::newRow("empty name") << u"dir\\sub"_s << QString() << u"dir/sub"_s;
    QTest::newRow("dot") << u"."_s << u"a"_s << u"./a"_s;
    QTest::newRow("absolute name") << u"dir"_s << QDir::rootPath() + u"x"_s << QDir::rootPath() + u"x"_s;
}

void TestDir::pathJoin()
{
    QFETCH(const QString, directory);
    QFETCH(const QString, fileName);
    QFETCH(const QString, expected);
    QCOMPARE(s3PathJoin(directory, fileName), expected);
}

void TestDir::removeTree_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QStringList>("readOnlyFiles");
    const QStringList none;
    QTest::newRow("empty directory") << QStringList{u"./"_s} << none;
    QTest::newRow("files") << QStringList{u"a"_s, u"b"_s} << none;
    QTest::newRow("nested") << QStringList{u"a/b/c/d"_s, u"a/b/e"_s, u"f"_s} << none;
    QTest::newRow("empty directories") << QStringList{u"a/b/c/"_s, u"d/"_s} << none;
    QTest::newRow("hidden entries") << QStringList{u".a"_s, u".d/.e"_s, u"f/.g/h"_s} << none;
    QTest::newRow("read-only files") << QStringList{u"a"_s, u"d/b"_s, u"d/c"_s}
                                     << QStringList{u"a"_s, u"d/b"_s};
    QTest::newRow("read-only and hidden") << QStringList{u".d/.a"_s} << QStringList{u".d/.a"_s};
    QTest::newRow("blanks and non-ASCII")
        << QStringList{u"ä ö/ü ß.txt"_s, u"Прайс/价格 – 🖂"_s, u" x"_s} << none;
    QTest::newRow("odd names") << QStringList{u"%1"_s, u"a;b"_s, u"-rf"_s, u"[a]"_s, u"$HOME"_s, u"~"_s}
                               << none;
}

void TestDir::removeTree()
{
    QFETCH(const QStringList, paths);
    QFETCH(const QStringList, readOnlyFiles);
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.filePath(u"tree"_s), paths));
    QVERIFY(makeTree(dir.path(), {u"beside"_s}));
    for (const QString &name : readOnlyFiles)
        QVERIFY(QFile::setPermissions(dir.filePath(u"tree/"_s + name), readOnly));
    QVERIFY(s3Dir(dir.path() + u"\\tree"_s).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList{u"beside"_s});
}

void TestDir::removeTreeWithoutForceTakesEmptyDirectoriesOnly()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"full/a"_s, u"empty/"_s, u"nested/b/"_s}));
    QVERIFY(!s3Dir(dir.filePath(u"full"_s)).removeTree(false));
    QVERIFY(s3Dir(dir.filePath(u"empty"_s)).removeTree(false));
    QVERIFY(!s3Dir(dir.filePath(u"nested"_s)).removeTree(false));
    QCOMPARE(treeContent(dir.path()), QStringList({u"full"_s, u"full/a"_s, u"nested"_s, u"nested/b"_s}));
}

void TestDir::removeTreeOfAMissingDirectory()
{
    const QTemporaryDir dir;
    QVERIFY(s3Dir(dir.filePath(u"none"_s)).removeTree(true));
    QVERIFY(s3Dir(dir.filePath(u"none"_s)).removeTree(false));
    QVERIFY(s3Dir(dir.filePath(u"none/none"_s)).removeTree(true));
}

void TestDir::removeTreeLeavesAFile()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"file"_s}));
    QVERIFY(s3Dir(dir.filePath(u"file"_s)).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList{u"file"_s});
}

void TestDir::removeTreeOfARelativePath()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"a/tree/b/c"_s, u"a/beside"_s}));
    const ScopedCurrentDir inside(dir.filePath(u"a"_s));
    QVERIFY(s3Dir(u"..\\a\\tree"_s).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList({u"a"_s, u"a/beside"_s}));
}

void TestDir::removeTreeSparesTheWorkingDirectory()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"tree/a"_s, u"empty/"_s}));
    {
        const ScopedCurrentDir inside(dir.filePath(u"tree"_s));
        QVERIFY(!s3Dir(QDir::currentPath()).removeTree(true));
        QVERIFY(!s3Dir(u"."_s).removeTree(true));
        QVERIFY(!s3Dir(QString()).removeTree(true));
    }
    {
        const ScopedCurrentDir inside(dir.filePath(u"empty"_s));
        QVERIFY(!s3Dir(QDir::currentPath()).removeTree(false));
    }
    QCOMPARE(treeContent(dir.path()), QStringList({u"empty"_s, u"tree"_s, u"tree/a"_s}));
}

void TestDir::removeTreeSparesAWorkingDirectoryInside_data()
{
    QTest::addColumn<QString>("current");
    QTest::newRow("child") << u"tree/a"_s;
    QTest::newRow("grandchild") << u"tree/a/b"_s;
}

void TestDir::removeTreeSparesAWorkingDirectoryInside()
{
    QFETCH(const QString, current);
    const QTemporaryDir temporary;
    // The temporary path may lead over a link, and the working directory never does.
    const QDir dir(QDir(temporary.path()).canonicalPath());
    QVERIFY(makeTree(dir.path(), {u"tree/x"_s, u"tree/y/z"_s, current + u"/kept"_s}));
    {
        const ScopedCurrentDir inside(dir.filePath(current));
        QVERIFY(!s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
        QVERIFY(QFileInfo(u"kept"_s).isFile());
    }
    QVERIFY(!QFileInfo::exists(dir.filePath(u"tree/x"_s)));
    QVERIFY(!QFileInfo::exists(dir.filePath(u"tree/y"_s)));
    QVERIFY(QFileInfo::exists(dir.filePath(current + u"/kept"_s)));
}

void TestDir::removeTreeOfTenThousandEntries()
{
    const QTemporaryDir dir;
    const QString tree = dir.filePath(u"tree"_s);
    for (int i = 0; i < 100; ++i) {
        const QString sub = tree + u"/%1/ä %2"_s.arg(i % 10).arg(i);
        QVERIFY(QDir().mkpath(sub));
        for (int k = 0; k < 49; ++k)
            QVERIFY(writeFile(sub + u"/%1.txt"_s.arg(k), {}));
    }
    for (int i = 0; i < 5000; ++i)
        QVERIFY(writeFile(tree + u"/ß %1"_s.arg(i), {}));
    QCOMPARE(treeContent(tree).size(), 10 + 100 + 4900 + 5000);
    QVERIFY(s3Dir(tree).removeTree(true));
    QVERIFY(!QFileInfo::exists(tree));
}

void TestDir::removeTreeOfALongPath()
{
    const QTemporaryDir dir;
    // Longer than the 260 code units of old Windows calls, with a component of every kind.
    QString deep = u"tree"_s;
    for (int i = 0; i < 12; ++i)
        deep += u"/ä "_s + QString(50, QChar(u'a' + i));
    QVERIFY(makeTree(dir.path(), {deep + u"/file"_s, deep + u"/.hidden/x"_s}));
    QVERIFY(deep.size() > 600);
    QVERIFY(s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList());
}

void TestDir::removeTreeRemovesLinksAsLinks_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("directory outside") << u"outside"_s;
    QTest::newRow("empty directory outside") << u"outside/empty"_s;
    QTest::newRow("file outside") << u"outside/file"_s;
    QTest::newRow("read-only file outside") << u"outside/read-only"_s;
    QTest::newRow("nothing") << u"none"_s;
    QTest::newRow("parent") << u"tree"_s;
    QTest::newRow("everything") << u"."_s;
}

void TestDir::removeTreeRemovesLinksAsLinks()
{
    QFETCH(const QString, target);
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(),
                     {u"outside/file"_s, u"outside/sub/x"_s, u"outside/read-only"_s, u"outside/empty/"_s,
                      u"tree/sub/y"_s}));
    QVERIFY(QFile::setPermissions(dir.filePath(u"outside/read-only"_s), readOnly));
    const QFileDevice::Permissions before = QFile::permissions(dir.filePath(u"outside/read-only"_s));
    const QStringList outside = treeContent(dir.filePath(u"outside"_s));
    if (!makeSymbolicLink(dir.filePath(target), dir.filePath(u"tree/sub/link"_s))
        || !makeSymbolicLink(dir.filePath(target), dir.filePath(u"tree/.link"_s)))
        QSKIP(noSymbolicLinks);
    QVERIFY(s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
    QVERIFY(!QFileInfo::exists(dir.filePath(u"tree"_s)));
    QCOMPARE(treeContent(dir.filePath(u"outside"_s)), outside);
    QCOMPARE(QFile::permissions(dir.filePath(u"outside/read-only"_s)), before);
}

void TestDir::removeTreeOfALinkRemovesTheLink()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"outside/file"_s}));
    if (!makeSymbolicLink(dir.filePath(u"outside"_s), dir.filePath(u"link"_s)))
        QSKIP(noSymbolicLinks);
    QVERIFY(s3Dir(dir.filePath(u"link/"_s)).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList({u"outside"_s, u"outside/file"_s}));
}

// QFile::link makes a shell shortcut on Windows, which Qt reads as the directory that it leads to.
void TestDir::removeTreeRemovesShortcutsAsFiles()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"outside/file"_s, u"tree/a"_s}));
    QVERIFY(QFile::link(dir.filePath(u"outside"_s), dir.filePath(u"tree/x.lnk"_s)));
    QVERIFY(QFileInfo(dir.filePath(u"tree/x.lnk"_s)).isSymLink());
    QVERIFY(s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList({u"outside"_s, u"outside/file"_s}));
}

// On Linux these are names; on Windows the same calls make or remove the files that they lead to, all of
// which lie in the tree but one.
void TestDir::removeTreeTakesBackslashesInNamesLiterally()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"victim"_s, u"empty/"_s, u"tree/a"_s}));
    QVERIFY(writeFile(dir.filePath(u"tree/..\\victim"_s), "x"));
    QDir().mkdir(dir.filePath(u"tree/..\\empty"_s));
    QDir().mkdir(dir.filePath(u"tree/back\\slash"_s));
    QVERIFY(s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList({u"empty"_s, u"victim"_s}));
}

void TestDir::removeTreeLeavesWhatItMayNotRemove()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"tree/locked/file"_s, u"tree/a"_s, u"tree/b/c"_s}));
    QVERIFY(QFile::setPermissions(dir.filePath(u"tree/locked/file"_s), readOnly));
    const QFileDevice::Permissions before = QFile::permissions(dir.filePath(u"tree/locked/file"_s));
    {
        const ScopedUnremovableFile locked(dir.filePath(u"tree/locked/file"_s));
        QVERIFY(locked.isLocked());
        QVERIFY(!s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
        QCOMPARE(treeContent(dir.path()), QStringList({u"tree"_s, u"tree/locked"_s, u"tree/locked/file"_s}));
    }
    QCOMPARE(readFile(dir.filePath(u"tree/locked/file"_s)), "tree/locked/file");
    QCOMPARE(QFile::permissions(dir.filePath(u"tree/locked/file"_s)), before);
    QVERIFY(s3Dir(dir.filePath(u"tree"_s)).removeTree(true));
}

// A QDir keeps a listing when it is asked again with its own filter.
void TestDir::removeTreeSeesEntriesThatCameLater()
{
    const QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {u"tree/a"_s}));
    s3Dir tree(dir.filePath(u"tree"_s));
    tree.setFilter(QDir::Files | QDir::AllDirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    tree.setSorting(QDir::Unsorted);
    QCOMPARE(tree.entryList(), QStringList{u"a"_s});
    QVERIFY(makeTree(dir.path(), {u"tree/b"_s}));
    QVERIFY(tree.removeTree(true));
    QCOMPARE(treeContent(dir.path()), QStringList());
}

QTEST_GUILESS_MAIN(TestDir)
#include "tst_s3dir.moc"
