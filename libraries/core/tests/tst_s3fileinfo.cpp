#include "ostrelletest/filecontent.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/symboliclink.h"
#include "s3fileinfo.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFileInfo final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalisesPaths_data();
    void normalisesPaths();
    void takesQtObjectsAsTheyAre();
    void joinsDirectoryAndName_data();
    void joinsDirectoryAndName();
    void setFileReplacesThePath();
    void staticExists_data();
    void staticExists();
    void comparesPaths_data();
    void comparesPaths();
    void comparesLetterCaseLikeThePlatform();
    void doesNotLookBehindFileLinks();
    void replacesTheSuffix_data();
    void replacesTheSuffix();
};

void TestFileInfo::normalisesPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("filePath");
    QTest::addColumn<QString>("fileName");
    QTest::newRow("drive") << u"C:\\temp\\a.txt"_s << u"C:/temp/a.txt"_s << u"a.txt"_s;
    QTest::newRow("share") << u"\\\\server\\x\\ä ö.txt"_s << u"//server/x/ä ö.txt"_s << u"ä ö.txt"_s;
    QTest::newRow("slashes") << u"a/b"_s << u"a/b"_s << u"b"_s;
    QTest::newRow("name alone") << u"b.txt"_s << u"b.txt"_s << u"b.txt"_s;
    QTest::newRow("closing backslash") << u"dir\\"_s << u"dir/"_s << QString();
    QTest::newRow("empty") << QString() << QString() << QString();
}

void TestFileInfo::normalisesPaths()
{
    QFETCH(const QString, path);
    QFETCH(const QString, filePath);
    QFETCH(const QString, fileName);
    const s3FileInfo info(path);
    QCOMPARE(info.filePath(), filePath);
    QCOMPARE(info.fileName(), fileName);
}

void TestFileInfo::takesQtObjectsAsTheyAre()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a.txt"_s), "12345"));
    const QFile file(dir.filePath(u"a.txt"_s));
    QCOMPARE(s3FileInfo(file).filePath(), file.fileName());
    QCOMPARE(s3FileInfo(file).size(), 5);
    const QFileInfo info(file);
    QCOMPARE(s3FileInfo(info).filePath(), file.fileName());
    QCOMPARE(s3FileInfo(info).size(), 5);
}

void TestFileInfo::joinsDirectoryAndName_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"/a/b"_s << u"c.txt"_s << u"/a/b/c.txt"_s;
    QTest::newRow("backslash in the name") << u"/a/b"_s << u"sub\\c.txt"_s << u"/a/b/sub/c.txt"_s;
    QTest::newRow("absolute name") << u"/a/b"_s << u"\\x\\c.txt"_s << u"/x/c.txt"_s;
    QTest::newRow("non-ASCII") << u"/ä ö"_s << u"ü\\ß.txt"_s << u"/ä ö/ü/ß.txt"_s;
}

void TestFileInfo::joinsDirectoryAndName()
{
    QFETCH(const QString, directory);
    QFETCH(const QString, name);
    QFETCH(const QString, expected);
    QCOMPARE(s3FileInfo(QDir(directory), name).filePath(), QFileInfo(QDir(directory), expected).filePath());
    QVERIFY(s3FileInfo(QDir(directory), name).filePath().endsWith(expected));
}

void TestFileInfo::setFileReplacesThePath()
{
    s3FileInfo info(u"old"_s);
    info.setFile(u"x\\y"_s);
    QCOMPARE(info.filePath(), u"x/y"_s);
    info.setFile(QDir(u"rel"_s), u"s\\t"_s);
    QCOMPARE(info.filePath(), u"rel/s/t"_s);
    info.setFile(QFile(u"z/a"_s));
    QCOMPARE(info.filePath(), u"z/a"_s);
}

void TestFileInfo::staticExists_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("expected");
    QTest::newRow("file") << u"sub\\ä.txt"_s << true;
    QTest::newRow("directory") << u"sub"_s << true;
    QTest::newRow("missing") << u"sub\\none"_s << false;
    QTest::newRow("empty") << QString() << false;
}

void TestFileInfo::staticExists()
{
    QFETCH(const QString, path);
    QFETCH(const bool, expected);
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(QDir().mkdir(u"sub"_s));
    QVERIFY(writeFile(u"sub/ä.txt"_s, "x"));
    QCOMPARE(s3FileInfo::exists(path), expected);
    QCOMPARE(s3FileInfo(path).exists(), expected);
}

void TestFileInfo::comparesPaths_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<bool>("equal");
    QTest::newRow("same text") << u"a.txt"_s << u"a.txt"_s << true;
    QTest::newRow("same, missing") << u"none"_s << u"none"_s << true;
    QTest::newRow("separators") << u"sub\\b.txt"_s << u"sub/b.txt"_s << true;
    QTest::newRow("dot") << u"./a.txt"_s << u"a.txt"_s << true;
    QTest::newRow("around a directory") << u"sub/../a.txt"_s << u"a.txt"_s << true;
    QTest::newRow("doubled separator") << u"sub//b.txt"_s << u"sub/b.txt"_s << true;
    QTest::newRow("closing separator") << u"sub/"_s << u"sub"_s << true;
    QTest::newRow("absolute and relative") << u"%cwd%/a.txt"_s << u"a.txt"_s << true;
    QTest::newRow("absolute and relative, missing") << u"%cwd%/none"_s << u"none"_s << true;
    QTest::newRow("empty is the working directory") << QString() << u"."_s << true;
    QTest::newRow("other name") << u"a.txt"_s << u"b.txt"_s << false;
    QTest::newRow("other directory") << u"b.txt"_s << u"sub/b.txt"_s << false;
    QTest::newRow("one missing") << u"a.txt"_s << u"none"_s << false;
    QTest::newRow("file and directory") << u"a.txt"_s << u"sub"_s << false;
}

void TestFileInfo::comparesPaths()
{
    QFETCH(QString, left);
    QFETCH(const QString, right);
    QFETCH(const bool, equal);
    const QTemporaryDir dir;
    const ScopedCurrentDir inside(dir.path());
    QVERIFY(QDir().mkdir(u"sub"_s));
    for (const QString &name : {u"a.txt"_s, u"b.txt"_s, u"sub/b.txt"_s})
        QVERIFY(writeFile(name, "x"));
    left.replace(u"%cwd%"_s, QDir::currentPath());
    QCOMPARE(s3FileInfo(left) == s3FileInfo(right), equal);
    QCOMPARE(s3FileInfo(right) == s3FileInfo(left), equal);
    QCOMPARE(s3FileInfo(left) != s3FileInfo(right), !equal);
}

void TestFileInfo::comparesLetterCaseLikeThePlatform()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a.txt"_s), "x"));
    const bool equal = s3FileInfo(dir.filePath(u"a.txt"_s)) == s3FileInfo(dir.filePath(u"A.TXT"_s));
    QCOMPARE(equal, QDir(dir.filePath(u"a.txt"_s)) == QDir(dir.filePath(u"A.TXT"_s)));
    QCOMPARE(equal, QFileInfo::exists(dir.filePath(u"A.TXT"_s)));
}

void TestFileInfo::doesNotLookBehindFileLinks()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"a"_s), "x"));
    if (!makeSymbolicLink(dir.filePath(u"a"_s), dir.filePath(u"link"_s)))
        QSKIP("symbolic links cannot be made here (Wine 8 has none)");
    QVERIFY(s3FileInfo(dir.filePath(u"a"_s)) != s3FileInfo(dir.filePath(u"link"_s)));
}

void TestFileInfo::replacesTheSuffix_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"/dir/a.txt"_s << u"bak"_s << u"/dir/a.bak"_s;
    QTest::newRow("backslashes") << u"C:\\dir\\a.txt"_s << u"bak"_s << u"C:/dir/a.bak"_s;
    QTest::newRow("last suffix only") << u"/dir/a.tar.gz"_s << u"zip"_s << u"/dir/a.tar.zip"_s;
    QTest::newRow("none before") << u"/dir/a"_s << u"bak"_s << u"/dir/a.bak"_s;
    QTest::newRow("none behind") << u"/dir/a.txt"_s << QString() << u"/dir/a"_s;
    QTest::newRow("none at all") << u"/dir/a"_s << QString() << u"/dir/a"_s;
    QTest::newRow("point in the directory") << u"/d.ir/a"_s << u"bak"_s << u"/d.ir/a.bak"_s;
    QTest::newRow("suffix with a point") << u"/dir/a.txt"_s << u"tar.gz"_s << u"/dir/a.tar.gz"_s;
    QTest::newRow("name alone lies in .") << u"a.txt"_s << u"bak"_s << u"./a.bak"_s;
    QTest::newRow("hidden file is all suffix") << u"/dir/.profile"_s << u"bak"_s << u"/dir.bak"_s;
    QTest::newRow("non-ASCII") << u"/ä ö/ß.é"_s << u"ü"_s << u"/ä ö/ß.ü"_s;
}

void TestFileInfo::replacesTheSuffix()
{
    QFETCH(const QString, path);
    QFETCH(const QString, suffix);
    QFETCH(const QString, expected);
    QCOMPARE(s3FileInfo(path).withSuffix(suffix), expected);
}

QTEST_GUILESS_MAIN(TestFileInfo)
#include "tst_s3fileinfo.moc"
