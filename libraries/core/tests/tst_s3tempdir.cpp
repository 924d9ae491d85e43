#include "coreutil.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/lockedfile.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedenvironment.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/symboliclink.h"
#include "ostrelletest/tracerecorder.h"
#include "platform/environment.h"
#include "platform/systemerror.h"
#include "processobjects.h"
#include "s3dir.h"
#include "s3string.h"
#include "s3tempdir.h"
#include "s3tempdir_p.h"
#include "s3whitelabel.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

const QString marker = u"can_be_deleted"_s;

// A system temporary path of the test's own, with no directory made yet, and nothing left behind.
class TempPath
{
public:
    TempPath()
        : m_tmpDir("TMPDIR", native())
        , m_tmp("TMP", native())
        , m_temp("TEMP", native())
        , m_isUsed(QDir(QDir::tempPath()) == QDir(m_dir.path()))
    {
        glob_file_tempDir.clear();
    }
    ~TempPath() { glob_file_tempDir.clear(); }
    Q_DISABLE_COPY_MOVE(TempPath)

    [[nodiscard]] bool isUsed() const { return m_dir.isValid() && m_isUsed; }
    [[nodiscard]] QString path() const { return m_dir.path(); }
    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }

    // The names in the temporary path, sorted.
    [[nodiscard]] QStringList names() const
    {
        return QDir(m_dir.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    // Makes a directory with a file two levels below, and with the marker or not.
    [[nodiscard]] bool addLeftover(const QString &name, bool isMarked) const
    {
        return QDir(m_dir.path()).mkpath(name + u"/cache"_s)
            && writeFile(path(name + u"/cache/file"_s), "content"_ba)
            && (!isMarked || writeFile(path(name + u'/' + marker), QByteArray()));
    }

private:
    [[nodiscard]] QByteArray native() const { return QDir::toNativeSeparators(m_dir.path()).toLocal8Bit(); }

    QTemporaryDir m_dir;
    ScopedEnvironment m_tmpDir;
    ScopedEnvironment m_tmp;
    ScopedEnvironment m_temp;
    bool m_isUsed;
};

// A system temporary path below a file, where nothing can be made.
class UnusableTempPath
{
public:
    explicit UnusableTempPath(const TempPath &temp)
        : m_path(QDir::toNativeSeparators(temp.path(u"file/below"_s)).toLocal8Bit())
        , m_tmpDir("TMPDIR", m_path)
        , m_tmp("TMP", m_path)
        , m_temp("TEMP", m_path)
        , m_isMade(writeFile(temp.path(u"file"_s), QByteArray()))
    {
    }
    Q_DISABLE_COPY_MOVE(UnusableTempPath)

    [[nodiscard]] bool isMade() const { return m_isMade; }

private:
    QByteArray m_path;
    ScopedEnvironment m_tmpDir;
    ScopedEnvironment m_tmp;
    ScopedEnvironment m_temp;
    bool m_isMade;
};

// Known folders and programs as a test tells them.
class ScriptedFolders final : public platform::Folders
{
public:
    QHash<QUuid, QString> folders;
    QHash<QString, QString> programs;
    QList<QUuid> askedFolders;
    QStringList askedPrograms;
    bool isCreateAsked = false;

    QString knownFolder(const QUuid &id, bool create) override
    {
        askedFolders += id;
        isCreateAsked = create;
        return folders.value(id);
    }
    QString findProgram(const QString &name) override
    {
        askedPrograms += name;
        return programs.value(name);
    }
};

// Processes as a test tells them; only their list is asked for.
class ScriptedProcesses final : public platform::Processes
{
public:
    std::vector<quint32> ids;
    bool hasSnapshot = true;

    platform::SystemMemory systemMemory() override { return {}; }
    quint32 ownId() override { return 0; }
    platform::ProcessHandle ownHandle() override { return nullptr; }
    QString programFileName(const QString &name) override { return name; }
    std::unique_ptr<platform::ProcessSnapshot> snapshot() override
    {
        return hasSnapshot ? std::make_unique<Snapshot>(ids) : nullptr;
    }
    platform::ProcessHandle open(quint32) override { return nullptr; }
    void close(platform::ProcessHandle) override { }
    bool memory(platform::ProcessHandle, platform::ProcessMemory &) override { return false; }

private:
    class Snapshot final : public platform::ProcessSnapshot
    {
    public:
        explicit Snapshot(std::vector<quint32> ids) : m_ids(std::move(ids)) { }
        bool first(platform::ProcessEntry &entry) override
        {
            m_position = 0;
            return next(entry);
        }
        bool next(platform::ProcessEntry &entry) override
        {
            if (m_position == m_ids.size())
                return false;
            entry.id = m_ids[m_position++];
            return true;
        }

    private:
        std::vector<quint32> m_ids;
        size_t m_position = 0;
    };
};

QString ownId()
{
    return QString::number(QCoreApplication::applicationPid());
}

bool isDirectory(const QString &path)
{
    return QFileInfo(path).isDir();
}

QString environmentText(const QString &name)
{
    return platform::environmentVariable(name).value_or(u"(not set)"_s);
}

}

class TestTempDir final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void namesADirectory();
    void namesADirectoryInADebuggerRun();
    void namesAnAbsoluteDirectoryInARelativeTempPath();
    void reportsAnUnknownTempPath();
    void createsTheDirectory();
    void createsMissingParents();
    void makesThemPrivate();
    void triesAgainAfterCollisions_data();
    void triesAgainAfterCollisions();
    void doesNotCreateWithoutAName();
    void reportsADirectoryThatCannotBeMade();
    void reportsASubdirectoryThatCannotBeMade();
    void tellsWhetherTheDirectoryExists();
    void testsTwice();
    void makesANewOneAfterItVanished();
    void reportsThatItCannotBeMadeAgain();
    void givesARelativePathWithoutADirectory();
    void clearsTheErrorOnSuccess();
    void makesPaths_data();
    void makesPaths();
    void reportsAPathThatCannotBeMade();
    void takesNoErrorString();

    void cleansUpNothingWithoutADirectory();
    void removesItsOwnDirectory();
    void keepsTheNameAfterCleanUp();
    void marksWhatCannotBeRemoved();
    void removesMarkedLeftovers_data();
    void removesMarkedLeftovers();
    void marksALeftoverAgain();
    void takesThePrefixUpToTheFirstPoint();
    void leavesLinksAlone_data();
    void leavesLinksAlone();
    void leavesAReplacedOwnDirectoryAlone();
    void removesLinksInsideALeftoverOnly();
    void removesDebuggerLeftovers_data();
    void removesDebuggerLeftovers();
    void leavesDebuggerLeftoversWithoutTheFlag();
    void removesDebuggerLeftoversWhenProcessesCannotBeListed();
    void tellsWhetherAProcessExists();
    void cleansUpInManyProcesses();
    void bearsTheNameOfTheBrand();

    void setsTheEnvironment();
    void setsTheEnvironmentAgainAndAgain();
    void resetsTheEnvironmentAfterRepeatedSets();
    void tracesTheEnvironment();
    void tracesTheDirectory();

    void givesKnownFolders();
    void tracesKnownFolders();
    void listsTheLocations();
    void findsTheLocalSettingsDirectory_data();
    void findsTheLocalSettingsDirectory();
    void takesAPathAsItIs();
    void reportsALocalDirectoryThatCannotBeMade();
    void reportsAFileThatCannotBeWritten();
    void keepsTheLocalSettingsFile();
    void takesLocalSettingsFromTheTempDirectory();
    void findsPrograms_data();
    void findsPrograms();
    void readsTheRegistryForPlainNamesOnly_data();
    void readsTheRegistryForPlainNamesOnly();
    void givesThePathOrTheName();
};

void TestTempDir::init()
{
    environmentRecords().clear();
    glob_file_localSettingsDir.clear();
}

void TestTempDir::namesADirectory()
{
    const TempPath temp;
    QVERIFY(temp.isUsed());
    QString error = u"old"_s;
    const QString name = s3MakeTempDirName(&error);
    QCOMPARE(error, QString());
    QVERIFY2(QRegularExpression(
                 QRegularExpression::anchoredPattern(QRegularExpression::escape(QDir::tempPath())
                                                     + u"/zerkgui\\."_s + ownId() + u"\\.\\d{1,10}"_s))
                 .match(name)
                 .hasMatch(),
             qPrintable(name));
    QVERIFY(name.section(u'.', -1).toLongLong() <= 0xFFFFFFFFLL);
    QVERIFY(s3MakeTempDirName(nullptr) != name);
    QVERIFY(temp.names().isEmpty());
}

void TestTempDir::namesADirectoryInADebuggerRun()
{
    const QString name = s3MakeTempDirNameIn(u"/t"_s, true, nullptr);
    const QStringList parts = name.section(u'/', -1).split(u'.');
    QCOMPARE(parts.size(), 4);
    QCOMPARE(parts.mid(0, 3), QStringList({u"zerkgui"_s, u"debug"_s, ownId()}));
}

void TestTempDir::namesAnAbsoluteDirectoryInARelativeTempPath()
{
    const QTemporaryDir dir;
    const ScopedCurrentDir current(dir.path());
    QVERIFY(current.entered());
    const QString name = s3MakeTempDirNameIn(u"%1 tmp"_s, false, nullptr);
    QVERIFY2(name.startsWith(QDir::currentPath() + u"/%1 tmp/zerkgui."_s), qPrintable(name));
}

void TestTempDir::reportsAnUnknownTempPath()
{
    QString error;
    QCOMPARE(s3MakeTempDirNameIn(QString(), false, &error), QString());
    const QString start = u"Der Name des Temporärverzeichnisses kann nicht bestimmt werden.\n\n"_s;
    QVERIFY2(error.startsWith(start), qPrintable(error));
    QCOMPARE(error, start + s3LastErrorText());
    QCOMPARE(s3MakeTempDirNameIn(QString(), false, nullptr), QString());
}

void TestTempDir::createsTheDirectory()
{
    const TempPath temp;
    QVERIFY(temp.isUsed());
    QString error = u"old"_s;
    QVERIFY(s3TempDirCreate(&error));
    QCOMPARE(error, QString());
    QVERIFY(QDir::isAbsolutePath(glob_file_tempDir));
    QVERIFY(!glob_file_tempDir.contains(u'\\'));
    QVERIFY(isDirectory(glob_file_tempDir + u"/cache"_s));
    QVERIFY(isDirectory(glob_file_tempDir + u"/var"_s));
    QCOMPARE(temp.names(), QStringList(QFileInfo(glob_file_tempDir).fileName()));
}

void TestTempDir::createsMissingParents()
{
    const TempPath temp;
    const QString name = temp.path(u"no/such/zerkgui.1.2"_s);
    QVERIFY(s3TempDirCreateNamed([&](QString *) { return name; }, nullptr));
    QVERIFY(isDirectory(name + u"/cache"_s));
}

void TestTempDir::makesThemPrivate()
{
    const TempPath temp;
    QVERIFY(s3TempDirCreate(nullptr));
    for (const QString &path :
         {glob_file_tempDir, glob_file_tempDir + u"/cache"_s, glob_file_tempDir + u"/var"_s}) {
        QVERIFY(platform::isOwnDirectory(path));
        const QFileDevice::Permissions ofOthers = QFileDevice::ReadGroup | QFileDevice::WriteGroup
            | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::WriteOther
            | QFileDevice::ExeOther;
        // Where the file system has no modes they are made up, and the same for everybody.
        if (QFile::permissions(temp.path()).testAnyFlags(ofOthers))
            QSKIP("permission bits are made up here");
        QVERIFY2(!QFile::permissions(path).testAnyFlags(ofOthers), qPrintable(path));
    }
    QVERIFY(!platform::makePrivateDirectory(glob_file_tempDir));
}

void TestTempDir::triesAgainAfterCollisions_data()
{
    QTest::addColumn<int>("collisions");
    QTest::addColumn<int>("expectedNames");
    QTest::newRow("none") << 0 << 1;
    QTest::newRow("one") << 1 << 2;
    QTest::newRow("nine") << 9 << 10;
    QTest::newRow("the last name is used though it is taken") << 10 << 10;
}

void TestTempDir::triesAgainAfterCollisions()
{
    QFETCH(const int, collisions);
    QFETCH(const int, expectedNames);
    const TempPath temp;
    int names = 0;
    const auto makeName = [&](QString *) {
        ++names;
        const QString path = temp.path(u"zerkgui.%1"_s.arg(names));
        return names <= collisions && !QDir().mkdir(path) ? QString() : path;
    };
    QElapsedTimer timer;
    timer.start();
    QVERIFY(s3TempDirCreateNamed(makeName, nullptr));
    QVERIFY(timer.elapsed() >= collisions * 10);
    QCOMPARE(names, expectedNames);
    QCOMPARE(glob_file_tempDir, temp.path(u"zerkgui.%1"_s.arg(expectedNames)));
    QVERIFY(isDirectory(glob_file_tempDir + u"/cache"_s));
}

void TestTempDir::doesNotCreateWithoutAName()
{
    glob_file_tempDir = u"old"_s;
    QString error;
    int names = 0;
    const auto fail = [&](QString *reason) {
        ++names;
        *reason = u"no name"_s;
        return QString();
    };
    QVERIFY(!s3TempDirCreateNamed(fail, &error));
    QCOMPARE(names, 1);
    QCOMPARE(error, u"no name"_s);
    QCOMPARE(glob_file_tempDir, QString());
}

void TestTempDir::reportsADirectoryThatCannotBeMade()
{
    const TempPath temp;
    const QString file = temp.path(u"file"_s);
    QVERIFY(writeFile(file, QByteArray()));
    const QString name = file + u"/zerkgui.1.2"_s;
    QString error;
    QVERIFY(!s3TempDirCreateNamed([&](QString *) { return name; }, &error));
    QCOMPARE(error, u"Verzeichnis kann nicht erzeugt werden\n\n"_s + name);
    QCOMPARE(glob_file_tempDir, name);
}

void TestTempDir::reportsASubdirectoryThatCannotBeMade()
{
    const TempPath temp;
    for (const QString &suffix : {u"/cache"_s, u"/var"_s}) {
        const QString name = temp.path(u"zerkgui.1."_s + suffix.mid(1));
        // A file has the name; the directory is there, so that all 10 attempts collide.
        QVERIFY(QDir().mkdir(name) && writeFile(name + suffix, QByteArray()));
        QString error;
        QVERIFY(!s3TempDirCreateNamed([&](QString *) { return name; }, &error));
        QCOMPARE(error, u"Verzeichnis kann nicht erzeugt werden\n\n"_s + name + suffix);
    }
}

void TestTempDir::tellsWhetherTheDirectoryExists()
{
    const TempPath temp;
    QString error;
    QVERIFY(!s3TempDirExists(&error));
    QCOMPARE(error, u"Temporärverzeichnis wurde gelöscht:\n\n"_s);
    glob_file_tempDir = temp.path(u"file"_s);
    QVERIFY(writeFile(glob_file_tempDir, QByteArray()));
    QVERIFY(!s3TempDirExists(&error));
    QCOMPARE(error, u"Temporärverzeichnis wurde gelöscht:\n\n"_s + glob_file_tempDir);
    glob_file_tempDir = temp.path();
    QVERIFY(s3TempDirExists(&error));
    QCOMPARE(error, QString());
}

void TestTempDir::testsTwice()
{
    const TempPath temp;
    QVERIFY(s3TestTempDir(nullptr));
    const QString first = glob_file_tempDir;
    QVERIFY(writeFile(first + u"/cache/file"_s, "kept"_ba));
    QVERIFY(s3TestTempDir(nullptr));
    QCOMPARE(glob_file_tempDir, first);
    QCOMPARE(readFile(first + u"/cache/file"_s), "kept"_ba);
    QCOMPARE(temp.names().size(), 1);
}

void TestTempDir::makesANewOneAfterItVanished()
{
    const TempPath temp;
    const QString first = s3TempDirFilePath(u"a\\b.txt"_s);
    QVERIFY(isDirectory(glob_file_tempDir));
    QCOMPARE(first, glob_file_tempDir + u"/a/b.txt"_s);
    QVERIFY(QDir(glob_file_tempDir).removeRecursively());
    const QString second = s3TempDirFilePath(u"a/b.txt"_s);
    QVERIFY(isDirectory(glob_file_tempDir));
    QCOMPARE(second, glob_file_tempDir + u"/a/b.txt"_s);
    QVERIFY(first != second);
    QCOMPARE(temp.names().size(), 1);
}

void TestTempDir::reportsThatItCannotBeMadeAgain()
{
    const TempPath temp;
    const UnusableTempPath unusable(temp);
    QVERIFY(unusable.isMade());
    QString error;
    QVERIFY(!s3TestTempDir(&error));
    const QString words
        = u"Das Temporärverzeichnis wurde gelöscht und konnte nicht erneut angelegt werden.\n\n"_s;
    // Where Qt looks whether the temporary path exists, there is not even a name.
    const QString reason = QDir::tempPath().isEmpty()
        ? u"Der Name des Temporärverzeichnisses kann nicht bestimmt werden.\n\n"_s
        : u"Verzeichnis kann nicht erzeugt werden\n\n"_s + glob_file_tempDir;
    QVERIFY2(error.startsWith(words + reason), qPrintable(error));
    QVERIFY(!isDirectory(glob_file_tempDir));
}

void TestTempDir::givesARelativePathWithoutADirectory()
{
    const TempPath temp;
    const UnusableTempPath unusable(temp);
    QVERIFY(unusable.isMade());
    const QString path = s3TempDirFilePath(u"a\\b"_s);
    QCOMPARE(glob_file_tempDir.isEmpty(), QDir::tempPath().isEmpty());
    // The name that could not be made is kept; without any name the file's stands alone.
    QCOMPARE(path, glob_file_tempDir.isEmpty() ? u"a/b"_s : glob_file_tempDir + u"/a/b"_s);
    QVERIFY(!isDirectory(glob_file_tempDir));
}

void TestTempDir::clearsTheErrorOnSuccess()
{
    const TempPath temp;
    QString error = u"old"_s;
    QVERIFY(s3TestTempDir(&error));
    QCOMPARE(error, QString());
    error = u"old"_s;
    QVERIFY(s3TestTempDir(&error));
    QCOMPARE(error, QString());
    error = u"old"_s;
    QVERIFY(s3MakePath(temp.path(u"x"_s), &error));
    QCOMPARE(error, QString());
}

void TestTempDir::makesPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("nothing") << QString();
    QTest::newRow("there already") << u"."_s;
    QTest::newRow("one") << u"one"_s;
    QTest::newRow("with parents") << u"one/two/three"_s;
    QTest::newRow("backslashes") << u"one\\two"_s;
    QTest::newRow("not ASCII") << u"Größe/日本"_s;
}

void TestTempDir::makesPaths()
{
    QFETCH(const QString, path);
    const QTemporaryDir dir;
    const ScopedCurrentDir current(dir.path());
    QVERIFY(current.entered());
    QString error = u"old"_s;
    QVERIFY(s3MakePath(path, &error));
    QCOMPARE(error, QString());
    QVERIFY(isDirectory(s3PathJoin(dir.path(), path)));
}

void TestTempDir::reportsAPathThatCannotBeMade()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"file"_s);
    QVERIFY(writeFile(path, "kept"_ba));
    QString error;
    QVERIFY(!s3MakePath(path, &error));
    QCOMPARE(error, u"Verzeichnis kann nicht erzeugt werden\n\n"_s + path);
    QVERIFY(!s3MakePath(path + u"/%1"_s, &error));
    QCOMPARE(error, u"Verzeichnis kann nicht erzeugt werden\n\n"_s + path + u"/%1"_s);
    QCOMPARE(readFile(path), "kept"_ba);
}

void TestTempDir::takesNoErrorString()
{
    const TempPath temp;
    QVERIFY(!s3TempDirExists(nullptr));
    QVERIFY(s3TempDirCreate(nullptr));
    QVERIFY(s3TestTempDir(nullptr));
    const QString file = temp.path(u"file"_s);
    QVERIFY(writeFile(file, QByteArray()));
    QVERIFY(!s3MakePath(file, nullptr));
    QVERIFY(!s3TempDirCreateNamed([&](QString *) { return file; }, nullptr));
    QVERIFY(!s3SettingsFindLocalDir(file, nullptr, nullptr));
}

void TestTempDir::cleansUpNothingWithoutADirectory()
{
    const TempPath temp;
    QVERIFY(temp.addLeftover(u"zerkgui.1.2"_s, true));
    const ScopedCurrentDir current(temp.path());
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList(u"zerkgui.1.2"_s));
}

void TestTempDir::removesItsOwnDirectory()
{
    const TempPath temp;
    QVERIFY(writeFile(s3TempDirFilePath(u"cache/file"_s), "content"_ba));
    QVERIFY(writeFile(s3TempDirFilePath(u".hidden"_s), "content"_ba));
    QVERIFY(QFile::setPermissions(s3TempDirFilePath(u".hidden"_s), QFileDevice::ReadOwner));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList());
}

void TestTempDir::keepsTheNameAfterCleanUp()
{
    const TempPath temp;
    QVERIFY(s3TestTempDir(nullptr));
    const QString name = glob_file_tempDir;
    s3TempDirCleanup();
    QCOMPARE(glob_file_tempDir, name);
    QVERIFY(!s3TempDirExists(nullptr));
    s3TempDirCleanup(); // nothing left to remove, and no marker beside it
    QCOMPARE(temp.names(), QStringList());
}

void TestTempDir::marksWhatCannotBeRemoved()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const TempPath temp;
    QVERIFY(temp.isUsed());
    const QString kept = s3TempDirFilePath(u"cache/kept"_s);
    QVERIFY(writeFile(kept, "content"_ba) && writeFile(s3TempDirFilePath(u"var/gone"_s), "content"_ba));
    const QString first = glob_file_tempDir;
    {
        const ScopedUnremovableFile lock(kept);
        QVERIFY(lock.isLocked());
        s3TempDirCleanup();
        QCOMPARE(QDir(first).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name),
                 QStringList({u"cache"_s, marker}));
        QCOMPARE(readFile(first + u'/' + marker), QByteArray(""));
        QCOMPARE(readFile(kept), "content"_ba);

        // A later process cannot remove it either, and its own directory has no marker and goes.
        glob_file_tempDir.clear();
        QVERIFY(s3TestTempDir(nullptr));
        s3TempDirCleanup();
        QCOMPARE(temp.names(), QStringList(QFileInfo(first).fileName()));
        QVERIFY(QFile::exists(first + u'/' + marker));
    }
    glob_file_tempDir.clear();
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList());
}

void TestTempDir::removesMarkedLeftovers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isMarked");
    QTest::addColumn<bool>("isRemoved");
    QTest::newRow("marked") << u"zerkgui.1.2"_s << true << true;
    QTest::newRow("not marked") << u"zerkgui.1.2"_s << false << false;
    QTest::newRow("another word") << u"zerkgui2.1.2"_s << true << false;
    QTest::newRow("a longer word") << u"myzerkgui.1.2"_s << true << false;
    QTest::newRow("word alone") << u"zerkgui"_s << true << false;
    QTest::newRow("empty parts") << u"zerkgui.."_s << true << true;
    QTest::newRow("debugger run") << u"zerkgui.debug.1.2"_s << true << true;
    QTest::newRow("not ASCII") << u"zerkgui.ä.日本"_s << true << true;
}

void TestTempDir::removesMarkedLeftovers()
{
    QFETCH(const QString, name);
    QFETCH(const bool, isMarked);
    QFETCH(const bool, isRemoved);
    const TempPath temp;
    if (name.endsWith(u'.')) {
        QVERIFY(temp.addLeftover(u"probe."_s, true));
        const bool keepsPoints = temp.names() == QStringList(u"probe."_s);
        QVERIFY(QDir(temp.path(temp.names().constFirst())).removeRecursively());
        if (!keepsPoints)
            QSKIP("the file system drops points at the end of a name");
    }
    QVERIFY(temp.addLeftover(name, isMarked));
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), isRemoved ? QStringList() : QStringList(name));
    if (!isRemoved)
        QCOMPARE(readFile(temp.path(name + u"/cache/file"_s)), "content"_ba);
}

void TestTempDir::marksALeftoverAgain()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const TempPath temp;
    QVERIFY(temp.addLeftover(u"zerkgui.1.2"_s, true));
    const ScopedUnremovableFile lock(temp.path(u"zerkgui.1.2/cache/file"_s));
    QVERIFY(lock.isLocked());
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList(u"zerkgui.1.2"_s));
    QVERIFY(QFile::exists(temp.path(u"zerkgui.1.2/"_s + marker)));
}

void TestTempDir::takesThePrefixUpToTheFirstPoint()
{
    const TempPath temp;
    QVERIFY(temp.addLeftover(u"Foo.1.2"_s, true) && temp.addLeftover(u"Foo.Bar.1.2"_s, true)
            && temp.addLeftover(u"Foo.Baz.1.2"_s, true) && temp.addLeftover(u"Foo.Bar.3.4"_s, false)
            && temp.addLeftover(u"zerkgui.1.2"_s, true));
    QVERIFY(s3TempDirCreateNamed([&](QString *) { return temp.path(u"Foo.Bar.5.6"_s); }, nullptr));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList({u"Foo.Bar.3.4"_s, u"zerkgui.1.2"_s}));
}

void TestTempDir::leavesLinksAlone_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("withFlag");
    QTest::newRow("leftover") << u"zerkgui.1.2"_s << false;
    QTest::newRow("debugger leftover") << u"zerkgui.debug.4294967295.2"_s << true;
}

void TestTempDir::leavesLinksAlone()
{
    QFETCH(const QString, name);
    QFETCH(const bool, withFlag);
    const QTemporaryDir outside;
    const TempPath temp;
    QVERIFY(writeFile(outside.filePath(u"precious"_s), "precious"_ba)
            && writeFile(outside.filePath(marker), QByteArray()));
    if (!makeSymbolicLink(outside.path(), temp.path(name)))
        QSKIP("symbolic links cannot be made here (Wine 8 has none)");
    QVERIFY(s3TestTempDir(nullptr));
    std::unique_ptr<ScopedTestFlag> flag;
    if (withFlag)
        flag = std::make_unique<ScopedTestFlag>(201);
    s3TempDirCleanup();
    QCOMPARE(readFile(outside.filePath(u"precious"_s)), "precious"_ba);
    QVERIFY(QFile::exists(outside.filePath(marker)));
    QCOMPARE(temp.names(), QStringList(name));
}

void TestTempDir::leavesAReplacedOwnDirectoryAlone()
{
    const QTemporaryDir outside;
    const TempPath temp;
    QVERIFY(writeFile(outside.filePath(u"precious"_s), "precious"_ba));
    QVERIFY(s3TestTempDir(nullptr));
    QVERIFY(QDir(glob_file_tempDir).removeRecursively());
    if (!makeSymbolicLink(outside.path(), glob_file_tempDir))
        QSKIP("symbolic links cannot be made here (Wine 8 has none)");
    s3TempDirCleanup();
    QCOMPARE(QDir(outside.path()).entryList(QDir::Files), QStringList(u"precious"_s));
}

void TestTempDir::removesLinksInsideALeftoverOnly()
{
    const QTemporaryDir outside;
    const TempPath temp;
    QVERIFY(writeFile(outside.filePath(u"precious"_s), "precious"_ba));
    QVERIFY(temp.addLeftover(u"zerkgui.1.2"_s, true));
    if (!makeSymbolicLink(outside.path(), temp.path(u"zerkgui.1.2/link"_s))
        || !makeSymbolicLink(outside.filePath(u"precious"_s), temp.path(u"zerkgui.1.2/cache/link"_s)))
        QSKIP("symbolic links cannot be made here (Wine 8 has none)");
    QVERIFY(s3TestTempDir(nullptr));
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList());
    QCOMPARE(readFile(outside.filePath(u"precious"_s)), "precious"_ba);
}

void TestTempDir::removesDebuggerLeftovers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isRemoved");
    QTest::newRow("dead process") << u"zerkgui.debug.77.1"_s << true;
    QTest::newRow("living process") << u"zerkgui.debug.42.1"_s << false;
    QTest::newRow("own process") << u"zerkgui.debug.%1.1"_s.arg(ownId()) << false;
    QTest::newRow("three parts") << u"zerkgui.debug.77"_s << false;
    QTest::newRow("more parts") << u"zerkgui.debug.x.77.1"_s << true;
    QTest::newRow("more parts, the one before the last counts") << u"zerkgui.debug.77.42.1"_s << false;
    QTest::newRow("longer word") << u"zerkgui2.debug.77.1"_s << true;
    QTest::newRow("no debugger run") << u"zerkgui.77.1.1"_s << false;
    QTest::newRow("no number, so process 0") << u"zerkgui.debug.x.1"_s << true;
    QTest::newRow("no id of a process") << u"zerkgui.debug.4294967338.1"_s << true; // 42 + 2^32
}

void TestTempDir::removesDebuggerLeftovers()
{
    QFETCH(const QString, name);
    QFETCH(const bool, isRemoved);
    const TempPath temp;
    QVERIFY(temp.addLeftover(name, false));
    QVERIFY(s3TestTempDir(nullptr));
    const ScopedTestFlag flag(201);
    ScriptedProcesses processes;
    processes.ids = {1, 42, 100};
    s3TempDirCleanupAmong(processes);
    QCOMPARE(temp.names(), isRemoved ? QStringList() : QStringList(name));
}

void TestTempDir::leavesDebuggerLeftoversWithoutTheFlag()
{
    const TempPath temp;
    QVERIFY(temp.addLeftover(u"zerkgui.debug.77.1"_s, false));
    QVERIFY(s3TestTempDir(nullptr));
    ScriptedProcesses processes;
    s3TempDirCleanupAmong(processes);
    QCOMPARE(temp.names(), QStringList(u"zerkgui.debug.77.1"_s));
}

void TestTempDir::removesDebuggerLeftoversWhenProcessesCannotBeListed()
{
    const TempPath temp;
    QVERIFY(temp.addLeftover(u"zerkgui.debug.42.1"_s, false));
    QVERIFY(s3TestTempDir(nullptr));
    const ScopedTestFlag flag(201);
    ScriptedProcesses processes;
    processes.ids = {42};
    processes.hasSnapshot = false;
    s3TempDirCleanupAmong(processes);
    QCOMPARE(temp.names(), QStringList());
}

void TestTempDir::tellsWhetherAProcessExists()
{
    QVERIFY(s3ProcessExistsAmong(platform::processes(), QCoreApplication::applicationPid()));
    QVERIFY(!s3ProcessExistsAmong(platform::processes(), -1));
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {u"--child"_s, u"wait"_s});
    QVERIFY(process.waitForStarted());
    const qint64 id = process.processId();
    QVERIFY(s3ProcessExistsAmong(platform::processes(), id));
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished());
    QVERIFY(!s3ProcessExistsAmong(platform::processes(), id));
}

// Processes that make, use and remove directories at the same time, and clean up after each other.
void TestTempDir::cleansUpInManyProcesses()
{
    constexpr int count = 16;
    const TempPath temp;
    QVERIFY(temp.isUsed());
    QVERIFY(writeFile(s3TempDirFilePath(u"cache/alive"_s), "alive"_ba));
    QVERIFY(temp.addLeftover(u"zerkgui.1.2"_s, false));
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < count; ++i) {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QCoreApplication::applicationFilePath(), {u"--child"_s, u"rounds"_s});
        processes.push_back(std::move(process));
    }
    for (const auto &process : processes) {
        QVERIFY(process->waitForStarted(120000));
        process->write("go\n"); // all of them at once, not one after the other
    }
    for (const auto &process : processes) {
        QVERIFY(process->waitForFinished(600000));
        QCOMPARE(process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(process->exitCode(), 0);
    }
    QCOMPARE(readFile(s3TempDirFilePath(u"cache/alive"_s)), "alive"_ba);
    s3TempDirCleanup();
    QCOMPARE(temp.names(), QStringList(u"zerkgui.1.2"_s));
}

void TestTempDir::bearsTheNameOfTheBrand()
{
    const TempPath temp;
    const ChildRun run = runChild(u"brand"_s);
    QVERIFY(run.ended);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.standardError, QByteArray());
    QCOMPARE(temp.names(), QStringList());
}

void TestTempDir::setsTheEnvironment()
{
    const ScopedEnvironment tmp("TMP", "first");
    const ScopedEnvironment temp("TEMP", "second");
    const ScopedEnvironment tmpDir("TMPDIR", QByteArray());
    glob_file_tempDir = u"C:/tmp/zerkgui.1.2"_s;
    s3TempDirSetEnvironmentVariables();
    for (const QString &name : {u"TMP"_s, u"TEMP"_s, u"TMPDIR"_s})
        QCOMPARE(environmentText(name), u"C:\\tmp\\zerkgui.1.2"_s);
    QCOMPARE(environmentRecords().size(), 3);
    s3TempDirResetEnvironmentVariables();
    QCOMPARE(environmentText(u"TMP"_s), u"first"_s);
    QCOMPARE(environmentText(u"TEMP"_s), u"second"_s);
    QCOMPARE(environmentText(u"TMPDIR"_s), u"(not set)"_s);
    QCOMPARE(environmentRecords().size(), 3);
    glob_file_tempDir.clear();
}

void TestTempDir::setsTheEnvironmentAgainAndAgain()
{
    const ScopedEnvironment tmp("TMP", "first");
    const ScopedEnvironment temp("TEMP", "second");
    const ScopedEnvironment tmpDir("TMPDIR", "third");
    const auto clear = qScopeGuard([] { glob_file_tempDir.clear(); });
    for (int round = 1; round <= 5; ++round) {
        glob_file_tempDir = u"/tmp/%1"_s.arg(round);
        s3TempDirSetEnvironmentVariables();
        QCOMPARE(environmentRecords().size(), 3 * round);
        QCOMPARE(environmentText(u"TMPDIR"_s), u"\\tmp\\%1"_s.arg(round));
        s3TempDirResetEnvironmentVariables();
        QCOMPARE(environmentText(u"TMP"_s), u"first"_s);
        QCOMPARE(environmentText(u"TEMP"_s), u"second"_s);
        QCOMPARE(environmentText(u"TMPDIR"_s), u"third"_s);
    }
    s3TempDirResetEnvironmentVariables();
    QCOMPARE(environmentText(u"TMP"_s), u"first"_s);
}

// The second call remembers what the first one set, and is restored last.
void TestTempDir::resetsTheEnvironmentAfterRepeatedSets()
{
    const ScopedEnvironment tmp("TMP", "first");
    const ScopedEnvironment temp("TEMP", "second");
    const ScopedEnvironment tmpDir("TMPDIR", "third");
    const auto clear = qScopeGuard([] { glob_file_tempDir.clear(); });
    glob_file_tempDir = u"/one"_s;
    s3TempDirSetEnvironmentVariables();
    glob_file_tempDir = u"/two"_s;
    s3TempDirSetEnvironmentVariables();
    QStringList saved;
    for (const s3EnvironmentVariable &record : environmentRecords()) {
        saved += record.name() + u'=' + record.savedValue();
        QCOMPARE(record.value(), u"\\two"_s);
    }
    QCOMPARE(saved,
             QStringList({u"TMP=first"_s, u"TEMP=second"_s, u"TMPDIR=third"_s, u"TMP=\\one"_s,
                          u"TEMP=\\one"_s, u"TMPDIR=\\one"_s}));
    s3TempDirResetEnvironmentVariables();
    QCOMPARE(environmentText(u"TMP"_s), u"\\one"_s);
}

void TestTempDir::tracesTheEnvironment()
{
    const ScopedEnvironment tmp("TMP", "first");
    const ScopedEnvironment temp("TEMP", "second");
    const ScopedEnvironment tmpDir("TMPDIR", QByteArray());
    const auto clear = qScopeGuard([] { glob_file_tempDir.clear(); });
    glob_file_tempDir = u"/t"_s;
    const ScopedTestFlag flag(226);
    const TraceRecorder trace;
    s3TempDirSetEnvironmentVariables();
    s3TempDirResetEnvironmentVariables();
    QCOMPARE(trace.lines(),
             QStringList({u"s3TempDirSetEnvironmentVariables() TMP = \"first\"  -->  \"\\t\""_s,
                          u"s3TempDirSetEnvironmentVariables() TEMP = \"second\"  -->  \"\\t\""_s,
                          u"s3TempDirSetEnvironmentVariables() TMPDIR = \"\"  -->  \"\\t\""_s,
                          u"s3TempDirResetEnvironmentVariables() TMP = \"\\t\"  -->  \"first\""_s,
                          u"s3TempDirResetEnvironmentVariables() TEMP = \"\\t\"  -->  \"second\""_s,
                          u"s3TempDirResetEnvironmentVariables() TMPDIR = \"\\t\"  -->  \"\""_s}));
}

void TestTempDir::tracesTheDirectory()
{
    const TempPath temp;
    const ScopedTestFlag flag(226);
    const TraceRecorder trace;
    QVERIFY(s3TestTempDir(nullptr));
    QCOMPARE(trace.lines(),
             QStringList({u"s3TestTempDir() glob_file_tempDir="_s,
                          u"s3MakeTempDirName() tempPath="_s + glob_file_tempDir,
                          u"s3TempDirCreate() glob_file_tempDir=\"%1\""_s.arg(glob_file_tempDir)}));
}

void TestTempDir::givesKnownFolders()
{
    ScriptedFolders folders;
    folders.folders.insert(platform::roamingAppDataFolder, u"C:\\Users\\me\\AppData\\Roaming"_s);
    QString path = u"old"_s;
    QVERIFY(!s3GetKnownFolderPathIn(folders, path, platform::localAppDataFolder, true));
    QCOMPARE(path, QString());
    QVERIFY(folders.isCreateAsked);
    QVERIFY(s3GetKnownFolderPathIn(folders, path, platform::roamingAppDataFolder, false));
    QCOMPARE(path, u"C:\\Users\\me\\AppData\\Roaming"_s);
    QVERIFY(!folders.isCreateAsked);
    QVERIFY(!s3GetKnownFolderPath(path, QUuid(), true));
    QCOMPARE(path, QString());
}

void TestTempDir::tracesKnownFolders()
{
    ScriptedFolders folders;
    folders.folders.insert(platform::programDataFolder, u"/p"_s);
    QString path;
    const ScopedTestFlag flag(120);
    const TraceRecorder trace;
    QVERIFY(s3GetKnownFolderPathIn(folders, path, platform::programDataFolder, true));
    QVERIFY(!s3GetKnownFolderPathIn(folders, path, platform::localAppDataFolder, true));
    QCOMPARE(trace.lines(),
             QStringList({u"s3GetKnownFolderPath() path=\"/p\" "
                          "knownFolderID={62ab5d82-fdc1-4dc3-a9dd-070d1d495d97}"_s,
                          u"s3GetKnownFolderPath() path=\"\" "
                          "knownFolderID={f1b32785-6fba-4fcf-9d55-7b8e7f157091}"_s}));
}

void TestTempDir::listsTheLocations()
{
    QCOMPARE(s3SettingsLocalDirLocations(),
             QStringList({u"local_appdata"_s, u"appdata"_s, u"common_appdata"_s}));
    QCOMPARE(platform::localAppDataFolder, QUuid(u"{F1B32785-6FBA-4FCF-9D55-7B8E7F157091}"_s));
    QCOMPARE(platform::roamingAppDataFolder, QUuid(u"{3EB685DB-65F9-4CF6-A03A-E3EF65729F3D}"_s));
    QCOMPARE(platform::programDataFolder, QUuid(u"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D97}"_s));
}

void TestTempDir::findsTheLocalSettingsDirectory_data()
{
    QTest::addColumn<QString>("location");
    QTest::addColumn<QString>("present"); // of local, roaming, common
    QTest::addColumn<QString>("expectedAsked");
    QTest::addColumn<QString>("expected"); // the folder, empty for a failure
    QTest::addColumn<QString>("expectedInError");
    QTest::newRow("default") << QString() << u"lrc"_s << u"l"_s << u"l"_s << QString();
    QTest::newRow("local") << u"local_appdata"_s << u"lrc"_s << u"l"_s << u"l"_s << QString();
    QTest::newRow("default without local") << QString() << u"rc"_s << u"lr"_s << u"r"_s << QString();
    QTest::newRow("local fails") << u"local_appdata"_s << u"rc"_s << u"lr"_s << u"r"_s << QString();
    QTest::newRow("local and roaming fail")
        << u"local_appdata"_s << u"c"_s << u"lrc"_s << u"c"_s << QString();
    QTest::newRow("all fail") << u"local_appdata"_s << QString() << u"lrc"_s << QString()
                              << u"local_appdata"_s;
    QTest::newRow("default, all fail")
        << QString() << QString() << u"lrc"_s << QString() << u"local_appdata"_s;
    QTest::newRow("roaming never tries local") << u"appdata"_s << u"lrc"_s << u"r"_s << u"r"_s << QString();
    QTest::newRow("roaming fails") << u"appdata"_s << u"lc"_s << u"rc"_s << u"c"_s << QString();
    QTest::newRow("roaming and common fail")
        << u"appdata"_s << u"l"_s << u"rc"_s << QString() << u"appdata"_s;
    QTest::newRow("common") << u"common_appdata"_s << u"lrc"_s << u"c"_s << u"c"_s << QString();
    QTest::newRow("common fails") << u"common_appdata"_s << u"lr"_s << u"c"_s << QString()
                                  << u"common_appdata"_s;
}

void TestTempDir::findsTheLocalSettingsDirectory()
{
    QFETCH(const QString, location);
    QFETCH(const QString, present);
    QFETCH(const QString, expectedAsked);
    QFETCH(const QString, expected);
    QFETCH(const QString, expectedInError);
    const QTemporaryDir dir;
    const QHash<QUuid, QString> letters = {{platform::localAppDataFolder, u"l"_s},
                                           {platform::roamingAppDataFolder, u"r"_s},
                                           {platform::programDataFolder, u"c"_s}};
    ScriptedFolders folders;
    for (auto it = letters.cbegin(); it != letters.cend(); ++it) {
        if (present.contains(it.value()))
            folders.folders.insert(it.key(), QDir::toNativeSeparators(dir.filePath(it.value())));
    }
    glob_file_localSettingsDir = u"old"_s;
    bool dirProblem = true;
    QString error = u"old"_s;
    const bool ok = s3SettingsFindLocalDirIn(folders, location, &dirProblem, &error);
    QString asked;
    for (const QUuid &id : std::as_const(folders.askedFolders))
        asked += letters.value(id);
    QCOMPARE(asked, expectedAsked);
    QVERIFY(folders.isCreateAsked);
    QCOMPARE(ok, !expected.isEmpty());
    QCOMPARE(dirProblem, !ok);
    if (ok) {
        QCOMPARE(error, QString());
        QCOMPARE(glob_file_localSettingsDir, dir.filePath(expected + u"/Die Organisation"_s));
        QCOMPARE(readFile(glob_file_localSettingsDir + u"/zerkguilocaln.ini"_s), QByteArray(""));
    } else {
        QCOMPARE(error, u"Verzeichnis nicht gefunden\n\n<%1>"_s.arg(expectedInError));
        QCOMPARE(glob_file_localSettingsDir, QString());
    }
}

void TestTempDir::takesAPathAsItIs()
{
    const QTemporaryDir dir;
    ScriptedFolders folders;
    folders.folders.insert(platform::localAppDataFolder, dir.filePath(u"local"_s));
    bool dirProblem = true;
    QString error = u"old"_s;
    const QString location = dir.filePath(u"conf\\Größe"_s);
    QVERIFY(s3SettingsFindLocalDirIn(folders, location, &dirProblem, &error));
    QVERIFY(!dirProblem);
    QCOMPARE(error, QString());
    QVERIFY(folders.askedFolders.isEmpty());
    QCOMPARE(glob_file_localSettingsDir, dir.filePath(u"conf/Größe"_s));
    QVERIFY(QFile::exists(dir.filePath(u"conf/Größe/zerkguilocaln.ini"_s)));
}

void TestTempDir::reportsALocalDirectoryThatCannotBeMade()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"file"_s), QByteArray()));
    const QString location = dir.filePath(u"file/below"_s);
    bool dirProblem = false;
    QString error;
    QVERIFY(!s3SettingsFindLocalDir(location, &dirProblem, &error));
    QVERIFY(dirProblem);
    QCOMPARE(error, u"Verzeichnis kann nicht erzeugt werden\n\n"_s + location);
    QCOMPARE(glob_file_localSettingsDir, location);
}

void TestTempDir::reportsAFileThatCannotBeWritten()
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"zerkguilocaln.ini"_s);
    QVERIFY(QDir().mkdir(file));
    bool dirProblem = true;
    QString error;
    QVERIFY(!s3SettingsFindLocalDir(dir.path(), &dirProblem, &error));
    QVERIFY(!dirProblem);
    QVERIFY2(error.contains(u"zerkguilocaln.ini"_s), qPrintable(error));
    QCOMPARE(glob_file_localSettingsDir, dir.path());
}

void TestTempDir::keepsTheLocalSettingsFile()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"zerkguilocaln.ini"_s), "[general]\n"_ba));
    QVERIFY(s3SettingsFindLocalDir(dir.path(), nullptr, nullptr));
    QCOMPARE(readFile(dir.filePath(u"zerkguilocaln.ini"_s)), "[general]\n"_ba);
}

void TestTempDir::takesLocalSettingsFromTheTempDirectory()
{
    const TempPath temp;
    const ScopedTestFlag flag(406);
    ScriptedFolders folders;
    bool dirProblem = true;
    QString error = u"old"_s;
    QVERIFY(s3SettingsFindLocalDirIn(folders, u"appdata"_s, &dirProblem, &error));
    QVERIFY(!dirProblem);
    QCOMPARE(error, QString());
    QVERIFY(folders.askedFolders.isEmpty());
    QVERIFY(isDirectory(glob_file_tempDir));
    QCOMPARE(glob_file_localSettingsDir, glob_file_tempDir + u"/local_settings"_s);
    QVERIFY(!isDirectory(glob_file_localSettingsDir));
}

void TestTempDir::findsPrograms_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("expectedAsked");
    QTest::addColumn<QString>("expected");
    const QStringList none;
    QTest::newRow("by its name") << u"tool"_s << QStringList({u"tool"_s}) << u"/bin/tool"_s;
    QTest::newRow("with .exe") << u"other"_s << QStringList({u"other"_s, u"other.exe"_s})
                               << u"/bin/other.exe"_s;
    QTest::newRow("unknown") << u"none"_s << QStringList({u"none"_s, u"none.exe"_s}) << QString();
    QTest::newRow("a name with a point") << u"other.x"_s << QStringList({u"other.x"_s}) << QString();
    QTest::newRow("path") << u"/bin/tool"_s << none << QString();
    QTest::newRow("Windows path") << u"C:/x/y.exe"_s << none << QString();
    QTest::newRow("Windows path with backslashes") << u"C:\\x\\tool"_s << none << QString();
    QTest::newRow("relative path") << u"x/tool"_s << none << QString();
    QTest::newRow("reference in the name")
        << u"%OSTRELLE_TEST_TOOL%"_s << QStringList({u"tool"_s}) << u"/bin/tool"_s;
    QTest::newRow("reference in the path") << u"home"_s << QStringList({u"home"_s}) << u"/x/tool"_s;
    QTest::newRow("a reference that brings in a path") << u"%OSTRELLE_TEST_PATH%"_s << none << QString();
    QTest::newRow("no name") << QString() << QStringList({QString(), u".exe"_s}) << QString();
}

void TestTempDir::findsPrograms()
{
    QFETCH(const QString, name);
    QFETCH(const QStringList, expectedAsked);
    QFETCH(const QString, expected);
    const ScopedEnvironment tool("OSTRELLE_TEST_TOOL", "tool");
    const ScopedEnvironment pathVariable("OSTRELLE_TEST_PATH", "/x");
    ScriptedFolders folders;
    folders.programs = {{u"tool"_s, u"/bin/tool"_s},
                        {u"other.exe"_s, u"/bin/other.exe"_s},
                        {u"home"_s, u"%OSTRELLE_TEST_PATH%/${OSTRELLE_TEST_TOOL}"_s}};
    QString path = u"old"_s;
    QCOMPARE(s3FindAppPathIn(folders, name, path), !expected.isEmpty());
    QCOMPARE(path, expected);
    QCOMPARE(folders.askedPrograms, expectedAsked);
}

void TestTempDir::readsTheRegistryForPlainNamesOnly_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("expectedKeys");
    QTest::newRow("plain") << u"ostrelle-none"_s << QStringList({u"ostrelle-none"_s, u"ostrelle-none.exe"_s});
    QTest::newRow("with a point") << u"ostrelle-none.exe"_s << QStringList({u"ostrelle-none.exe"_s});
    QTest::newRow("path") << u"C:/x/y.exe"_s << QStringList();
}

void TestTempDir::readsTheRegistryForPlainNamesOnly()
{
    QFETCH(const QString, name);
    QFETCH(const QStringList, expectedKeys);
    const ScopedTestFlag flag(321);
    const TraceRecorder trace;
    QString path;
    QVERIFY(!s3FindAppPath(name, path));
    QStringList expected;
    for (const QString &key : expectedKeys)
        expected += u"s3GetRegistryValue('HKEY_LOCAL_MACHINE', 'SOFTWARE\\Microsoft\\Windows\\"
                    "CurrentVersion\\App Paths\\%1', '') = "_s.arg(key);
    const QStringList lines = trace.lines();
    QCOMPARE(lines.size(), expected.size());
    for (qsizetype i = 0; i < lines.size(); ++i)
        QVERIFY2(lines.at(i).startsWith(expected.at(i)), qPrintable(lines.at(i)));
}

void TestTempDir::givesThePathOrTheName()
{
    const ScopedEnvironment variable("OSTRELLE_TEST_PATH", "x");
    QCOMPARE(s3AppPathOrName(u"%OSTRELLE_TEST_PATH%/ostrelle-none"_s), u"x/ostrelle-none"_s);
    QCOMPARE(s3AppPathOrName(u"ostrelle-none"_s), u"ostrelle-none"_s);
}

namespace
{

// Ends when standard input does.
int waitForInput()
{
    while (std::getchar() != EOF) { }
    return 0;
}

int failed(const char *what)
{
    std::fprintf(stderr, "%s: %s\n", what, qPrintable(glob_file_tempDir));
    return 1;
}

// Makes, uses and removes directories, and leaves marked ones for the others to remove.
int rounds()
{
    while (std::getchar() != '\n') { }
    for (int round = 0; round < 100; ++round) {
        glob_file_tempDir.clear();
        QString error;
        if (!s3TestTempDir(&error))
            return failed(qPrintable(error));
        const QString leftover = glob_file_tempDir;
        if (!writeFile(leftover + u"/var/rest"_s, "rest"_ba)
            || !writeFile(leftover + u'/' + marker, QByteArray()))
            return failed("cannot write"); // nobody cleans up before the marker is there
        glob_file_tempDir.clear();
        const QString file = s3TempDirFilePath(u"cache/file"_s);
        if (!writeFile(file, "alive"_ba))
            return failed("removed while alive");
        if (!s3TestTempDir(&error) || !file.startsWith(glob_file_tempDir) || readFile(file) != "alive"_ba)
            return failed("removed while alive");
        s3TempDirCleanup();
        if (QFile::exists(glob_file_tempDir))
            return failed("not removed");
    }
    return 0;
}

int expect(bool condition, const char *what)
{
    return condition ? 0 : failed(what);
}

// A brand is in force for the rest of a process, so it gets one of its own.
int brand()
{
    int failures = 0;
    s3WhiteLabelInstance()->load(u"C:\\brands\\zerkguifoo.cfg"_s);
    failures += expect(s3MakeTempDirName(nullptr).contains(u"/zerkgui."_s), "the product's own file");
    s3WhiteLabelInstance()->load(u"C:\\brands\\Foo.cfg"_s);
    const QString other = QDir::tempPath() + u"/Foo.1.2"_s;
    const QString product = QDir::tempPath() + u"/zerkgui.1.2"_s;
    for (const QString &path : {other, product})
        failures += expect(QDir().mkdir(path) && writeFile(path + u'/' + marker, QByteArray()), "leftovers");
    failures += expect(s3TestTempDir(nullptr), "making");
    failures
        += expect(QFileInfo(glob_file_tempDir).fileName().startsWith(u"Foo."_s + ownId() + u'.'), "name");
    failures += expect(s3SettingsLocalFileName() == u"Foolocaln.ini"_s, "local file");
    s3TempDirCleanup();
    failures += expect(!QFile::exists(glob_file_tempDir) && !QFile::exists(other), "cleaning up");
    failures += expect(QFile::exists(product), "another product's leftover");
    failures += expect(QDir(product).removeRecursively(), "removing");
    return failures;
}

}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(u"Die Organisation"_s);
    const QString part = childPart(argc, argv);
    if (part == u"wait"_s)
        return waitForInput();
    if (part == u"rounds"_s)
        return rounds();
    if (part == u"brand"_s)
        return brand();
    TestTempDir test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3tempdir.moc"
