#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedenvironment.h"
#include "ostrelletest/symboliclink.h"
#include "platform/folders.h"
#include "platform/process.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <memory>

#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777U : 0;
}

bool addDirectory(const QString &path)
{
    return QDir().mkpath(path) && writeFile(path + u"/can_be_deleted"_s, QByteArray())
        && writeFile(path + u"/precious"_s, "precious"_ba);
}

}

class TestFolders final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void followsTheXdgVariables_data();
    void followsTheXdgVariables();
    void makesAMissingFolderOnlyWhenAsked();
    void reportsAFolderThatCannotBeMade();
    void asksTheUserDatabaseWithoutHome();
    void takesTheFirstSharedDirectory_data();
    void takesTheFirstSharedDirectory();
    void knowsNoOtherFolder();
    void findsProgramsInThePath();
    void makesPrivateDirectoriesWhateverTheUmask_data();
    void makesPrivateDirectoriesWhateverTheUmask();
    void tellsItsOwnDirectories();
    void makesThePrivateTempDirectory();
    void reportsATempPathThatIsNotWritable();
    void leavesDirectoriesOfOtherUsersAlone();
    void leavesNamesWithBackslashesAlone();
    void noticesADebugger();
};

void TestFolders::followsTheXdgVariables_data()
{
    QTest::addColumn<QUuid>("folder");
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("belowHome");
    QTest::newRow("local") << platform::localAppDataFolder << "XDG_DATA_HOME"_ba << u".local/share"_s;
    QTest::newRow("roaming") << platform::roamingAppDataFolder << "XDG_CONFIG_HOME"_ba << u".config"_s;
}

void TestFolders::followsTheXdgVariables()
{
    QFETCH(const QUuid, folder);
    QFETCH(const QByteArray, variable);
    QFETCH(const QString, belowHome);
    const QTemporaryDir dir;
    const ScopedEnvironment home("HOME", QFile::encodeName(dir.filePath(u"Jürgen"_s)));
    {
        const ScopedEnvironment set(variable.constData(), QFile::encodeName(dir.filePath(u"xdg/ä/"_s)));
        QCOMPARE(platform::folders().knownFolder(folder, true), dir.filePath(u"xdg/ä"_s));
        QVERIFY(QFileInfo(dir.filePath(u"xdg/ä"_s)).isDir());
        QCOMPARE(modeOf(dir.filePath(u"xdg/ä"_s)), mode_t(0700));
    }
    for (const QByteArray &unusable : {QByteArray(), ""_ba, "relative"_ba}) {
        const ScopedEnvironment set(variable.constData(), unusable);
        QCOMPARE(platform::folders().knownFolder(folder, true), dir.filePath(u"Jürgen/"_s + belowHome));
    }
}

void TestFolders::makesAMissingFolderOnlyWhenAsked()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"missing"_s);
    const ScopedEnvironment set("XDG_DATA_HOME", QFile::encodeName(path));
    QCOMPARE(platform::folders().knownFolder(platform::localAppDataFolder, false), QString());
    QVERIFY(!QFileInfo::exists(path));
    QCOMPARE(platform::folders().knownFolder(platform::localAppDataFolder, true), path);
    QCOMPARE(platform::folders().knownFolder(platform::localAppDataFolder, false), path);
}

void TestFolders::reportsAFolderThatCannotBeMade()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"file"_s), QByteArray()));
    for (const QString &name : {u"file"_s, u"file/below"_s}) {
        const ScopedEnvironment set("XDG_DATA_HOME", QFile::encodeName(dir.filePath(name)));
        QCOMPARE(platform::folders().knownFolder(platform::localAppDataFolder, true), QString());
    }
}

void TestFolders::asksTheUserDatabaseWithoutHome()
{
    const ScopedEnvironment home("HOME", QByteArray());
    const ScopedEnvironment data("XDG_DATA_HOME", QByteArray());
    const QString path = platform::folders().knownFolder(platform::localAppDataFolder, false);
    QVERIFY2(path.isEmpty() || (QDir::isAbsolutePath(path) && path.endsWith(u"/.local/share"_s)),
             qPrintable(path));
}

void TestFolders::takesTheFirstSharedDirectory_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("expected");
    QTest::newRow("not set") << QByteArray() << u"/usr/local/share"_s;
    QTest::newRow("empty") << ""_ba << u"/usr/local/share"_s;
    QTest::newRow("the first") << "/usr/share:/usr"_ba << u"/usr/share"_s;
    QTest::newRow("relative and empty ones are left out") << ":share:/usr/share/:/usr"_ba << u"/usr/share"_s;
}

void TestFolders::takesTheFirstSharedDirectory()
{
    QFETCH(const QByteArray, variable);
    QFETCH(const QString, expected);
    const ScopedEnvironment set("XDG_DATA_DIRS", variable);
    QCOMPARE(platform::folders().knownFolder(platform::programDataFolder, true), expected);
}

void TestFolders::knowsNoOtherFolder()
{
    QCOMPARE(platform::folders().knownFolder(QUuid(), true), QString());
    QCOMPARE(platform::folders().knownFolder(QUuid::createUuid(), true), QString());
}

void TestFolders::findsProgramsInThePath()
{
    const QTemporaryDir dir;
    QVERIFY(QDir().mkpath(dir.filePath(u"a/b"_s)) && QDir().mkpath(dir.filePath(u"c/a"_s)));
    QVERIFY(writeFile(dir.filePath(u"a/tool"_s), QByteArray())); // not executable
    for (const QString &name : {u"c/tool"_s, u"c/only"_s, u"a/b/deep"_s}) {
        QVERIFY(writeFile(dir.filePath(name), QByteArray()));
        QVERIFY(QFile::setPermissions(dir.filePath(name), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }
    const QString path = dir.filePath(u"a"_s) + u':' + dir.filePath(u"c"_s);
    const ScopedEnvironment set("PATH", QFile::encodeName(path));
    QString found;
    QVERIFY(s3FindAppPath(u"tool"_s, found));
    QCOMPARE(found, dir.filePath(u"c/tool"_s));
    QCOMPARE(s3AppPathOrName(u"only"_s), dir.filePath(u"c/only"_s));
    QVERIFY(!s3FindAppPath(u"deep"_s, found));
    QCOMPARE(found, QString());
    QVERIFY(!s3FindAppPath(u"a"_s, found)); // a directory
    QVERIFY(!s3FindAppPath(u"."_s, found));
    QVERIFY(!s3FindAppPath(dir.filePath(u"c/tool"_s), found));
    const ScopedEnvironment none("PATH", QByteArray());
    QVERIFY(!s3FindAppPath(u"tool"_s, found));
}

void TestFolders::makesPrivateDirectoriesWhateverTheUmask_data()
{
    QTest::addColumn<int>("mask");
    QTest::newRow("nothing is masked") << 0;
    QTest::newRow("the usual one") << 022;
    QTest::newRow("everything of others is masked") << 077;
}

void TestFolders::makesPrivateDirectoriesWhateverTheUmask()
{
    QFETCH(const int, mask);
    const QTemporaryDir dir;
    const mode_t former = umask(mode_t(mask));
    const auto restore = qScopeGuard([former] { umask(former); });
    const QString path = dir.filePath(u"private"_s);
    QVERIFY(platform::makePrivateDirectory(path));
    QCOMPARE(modeOf(path), mode_t(0700));
    QVERIFY(!platform::makePrivateDirectory(path));
    QCOMPARE(errno, EEXIST);
    QVERIFY(!platform::makePrivateDirectory(dir.filePath(u"no/such"_s)));
    QVERIFY(!platform::makePrivateDirectory(QString()));
}

void TestFolders::tellsItsOwnDirectories()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"file"_s), QByteArray()));
    QVERIFY(makeSymbolicLink(dir.path(), dir.filePath(u"link"_s)));
    QVERIFY(platform::isOwnDirectory(dir.path()));
    QVERIFY(!platform::isOwnDirectory(dir.filePath(u"file"_s)));
    QVERIFY(!platform::isOwnDirectory(dir.filePath(u"link"_s)));
    QVERIFY(!platform::isOwnDirectory(dir.filePath(u"none"_s)));
    QVERIFY(!platform::isOwnDirectory(QString()));
}

void TestFolders::makesThePrivateTempDirectory()
{
    const QTemporaryDir dir;
    const ScopedEnvironment set("TMPDIR", QFile::encodeName(dir.path()));
    const mode_t former = umask(0);
    const auto restore = qScopeGuard([former] { umask(former); });
    glob_file_tempDir.clear();
    QVERIFY(s3TestTempDir(nullptr));
    for (const QString &suffix : {QString(), u"/cache"_s, u"/var"_s})
        QCOMPARE(modeOf(glob_file_tempDir + suffix), mode_t(0700));
    s3TempDirCleanup();
    glob_file_tempDir.clear();
}

void TestFolders::reportsATempPathThatIsNotWritable()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const ScopedEnvironment set("TMPDIR", QFile::encodeName(dir.path()));
    QVERIFY(QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    glob_file_tempDir.clear();
    QString error;
    const bool isMade = s3TestTempDir(&error);
    const QString path = glob_file_tempDir;
    glob_file_tempDir.clear();
    QVERIFY(QFile::setPermissions(dir.path(),
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    QVERIFY(!isMade);
    QVERIFY2(path.startsWith(dir.path() + u"/zerkgui."_s), qPrintable(path));
    QCOMPARE(error,
             u"Das Temporärverzeichnis wurde gelöscht und konnte nicht erneut angelegt werden.\n\n"
             "Verzeichnis kann nicht erzeugt werden\n\n"_s
                 + path);
}

// Also the superuser leaves them alone: their owner could put links in while the removal goes on.
void TestFolders::leavesDirectoriesOfOtherUsersAlone()
{
    if (geteuid() != 0)
        QSKIP("only the superuser can give a directory to another user");
    const QTemporaryDir dir;
    const ScopedEnvironment set("TMPDIR", QFile::encodeName(dir.path()));
    const QString other = dir.filePath(u"zerkgui.1.2"_s);
    QVERIFY(addDirectory(other));
    QCOMPARE(chown(QFile::encodeName(other).constData(), 65534, 65534), 0);
    QVERIFY(addDirectory(dir.filePath(u"zerkgui.3.4"_s)));
    glob_file_tempDir.clear();
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    glob_file_tempDir.clear();
    QCOMPARE(QDir(dir.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList(u"zerkgui.1.2"_s));
    QCOMPARE(readFile(other + u"/precious"_s), "precious"_ba);
}

// The library's file classes take a backslash for a separator, so such a name would lead elsewhere.
void TestFolders::leavesNamesWithBackslashesAlone()
{
    const QTemporaryDir dir;
    QVERIFY(QDir().mkdir(dir.filePath(u"tmp"_s)));
    const QString outside = dir.filePath(u"outside"_s);
    QVERIFY(addDirectory(outside));
    const ScopedEnvironment set("TMPDIR", QFile::encodeName(dir.filePath(u"tmp"_s)));
    QVERIFY(QDir().mkdir(dir.filePath(u"tmp/zerkgui.x"_s)));
    const QByteArray planted = QFile::encodeName(dir.filePath(u"tmp"_s)) + "/zerkgui.x\\..\\..\\outside";
    QCOMPARE(mkdir(planted.constData(), 0700), 0);
    glob_file_tempDir.clear();
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    glob_file_tempDir.clear();
    QCOMPARE(readFile(outside + u"/precious"_s), "precious"_ba);
    QVERIFY(QFile::exists(outside + u"/can_be_deleted"_s));
}

void TestFolders::noticesADebugger()
{
    QVERIFY(!platform::isDebuggerAttached());
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(2);
        _exit(platform::isDebuggerAttached() ? 0 : 1);
    }
    QVERIFY(child > 0);
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2)
        QSKIP("this system does not let a process be traced");
    QCOMPARE(WEXITSTATUS(status), 0);
}

QTEST_GUILESS_MAIN(TestFolders)

#include "tst_folders.moc"
