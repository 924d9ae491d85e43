#include "failure.h"
#include "forkedcall.h"
#include "outbox.h"

#include <ostrelletest/scopedenvironment.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <random>
#include <string>

#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::string_literals;

namespace
{

// Exit statuses of a child that could not set the stage; beyond all result codes.
constexpr unsigned noPrivileges = 200;
constexpr unsigned unexpected = 201;

std::string native(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

ULONG storeResult(const std::string &directory, const std::string &content)
{
    try {
        mapi::Outbox outbox(directory);
        outbox.store([&](mapi::FileSink &sink) { sink.write(content.data(), content.size()); });
    } catch (const mapi::Failure &failure) {
        return failure.code();
    }
    return SUCCESS_SUCCESS;
}

QStringList namesIn(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

mode_t modeOf(const std::string &path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void setAge(const std::string &path, long seconds)
{
    const std::array<timespec, 2> times{timespec{::time(nullptr) - seconds, 0},
                                        timespec{::time(nullptr) - seconds, 0}};
    ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

}

class TestMapiOutbox final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void directoryFromTheEnvironment_data();
    void directoryFromTheEnvironment();
    void relativeOutboxIsRefused();
    void homeFromTheUserDatabase();
    void storesWhole();
    void namesSortByTime();
    void privateModes();
    void umaskDoesNotHurt();
    void existingDirectoryKeepsItsMode();
    void symbolicLinkIsFollowed();
    void danglingLink();
    void outboxIsAFile();
    void parentIsAFile();
    void nameIsTooLong();
    void failureOfTheWriterLeavesNothing();
    void fileSizeLimit();
    void fullDisk();
    void noPermission();
    void noPermissionToCreate();
    void directoryThatMayNotBeListed();
    void leftoversGo();
    void killedWriterLeavesNoMail();
    void manyWriters();
    void outboxRemovedMeanwhile();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestMapiOutbox::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    // An ordinary user must be able to reach what is in it.
    ::chmod(native(m_dir->path()).c_str(), 0755);
}

void TestMapiOutbox::directoryFromTheEnvironment_data()
{
    QTest::addColumn<QByteArray>("outbox");
    QTest::addColumn<QByteArray>("dataHome");
    QTest::addColumn<QByteArray>("home");
    QTest::addColumn<std::string>("expected");

    const QByteArray home = "/home/max";
    QTest::newRow("default") << QByteArray() << QByteArray() << home
                             << "/home/max/.local/share/ostrelle/outbox"s;
    QTest::newRow("data home") << QByteArray() << QByteArray("/data") << home << "/data/ostrelle/outbox"s;
    QTest::newRow("empty data home") << QByteArray() << QByteArray("") << home
                                     << "/home/max/.local/share/ostrelle/outbox"s;
    QTest::newRow("relative data home is ignored")
        << QByteArray() << QByteArray("data") << home << "/home/max/.local/share/ostrelle/outbox"s;
    QTest::newRow("own directory") << QByteArray("/var/mail out") << QByteArray("/data") << home
                                   << "/var/mail out"s;
    QTest::newRow("empty own directory")
        << QByteArray("") << QByteArray("/data") << home << "/data/ostrelle/outbox"s;
}

void TestMapiOutbox::directoryFromTheEnvironment()
{
    QFETCH(QByteArray, outbox);
    QFETCH(QByteArray, dataHome);
    QFETCH(QByteArray, home);
    QFETCH(std::string, expected);
    const ScopedEnvironment a("OSTRELLE_OUTBOX", outbox);
    const ScopedEnvironment b("XDG_DATA_HOME", dataHome);
    const ScopedEnvironment c("HOME", home);
    QCOMPARE(mapi::Outbox::defaultDirectory(), expected);
}

void TestMapiOutbox::relativeOutboxIsRefused()
{
    const ScopedEnvironment a("OSTRELLE_OUTBOX", "outbox");
    try {
        const std::string directory = mapi::Outbox::defaultDirectory();
        QFAIL(directory.c_str());
    } catch (const mapi::Failure &failure) {
        QCOMPARE(failure.code(), MAPI_E_FAILURE);
    }
}

void TestMapiOutbox::homeFromTheUserDatabase()
{
    const ScopedEnvironment a("OSTRELLE_OUTBOX", QByteArray());
    const ScopedEnvironment b("XDG_DATA_HOME", QByteArray());
    const ScopedEnvironment c("HOME", QByteArray());
    std::string expected;
    if (const struct passwd *entry = getpwuid(geteuid()))
        expected = std::string(entry->pw_dir) + "/.local/share/ostrelle/outbox";
    QVERIFY(!expected.empty());
    QCOMPARE(mapi::Outbox::defaultDirectory(), expected);

    // A user that no database knows, as containers have them, has no place of its own.
    ForkedCall unknownUser([] {
        if (geteuid() == 0 && setresuid(54321, 54321, 54321) != 0)
            return noPrivileges;
        if (getpwuid(geteuid()) != nullptr)
            return noPrivileges;
        try {
            static_cast<void>(mapi::Outbox::defaultDirectory());
        } catch (const mapi::Failure &failure) {
            return failure.code();
        }
        return SUCCESS_SUCCESS;
    });
    const int result = unknownUser.wait();
    if (result == int(noPrivileges))
        QSKIP("Only root can become a user whom the user database does not know.");
    QCOMPARE(result, int(MAPI_E_FAILURE));
}

void TestMapiOutbox::storesWhole()
{
    const QString directory = path(u"a/b ü/outbox"_s);
    mapi::Outbox outbox(native(directory));
    const std::string large(300000, 'x');
    const std::string stored = outbox.store([&](mapi::FileSink &sink) {
        sink.write("", 0);
        sink.write("Subject: x\r\n", 12);
        sink.write(large.data(), large.size());
    });
    const QStringList names = namesIn(directory);
    QCOMPARE(names.size(), 1);
    static const QRegularExpression form(u"^[0-9]{8}T[0-9]{6}\\.[0-9]{6}Z-[0-9a-f]{16}\\.eml$"_s);
    QVERIFY2(form.match(names.first()).hasMatch(), qPrintable(names.first()));
    QCOMPARE(QString::fromStdString(stored), directory + u'/' + names.first());
    QCOMPARE(contentOf(QString::fromStdString(stored)),
             QByteArray("Subject: x\r\n") + QByteArray(300000, 'x'));
}

void TestMapiOutbox::namesSortByTime()
{
    const QString directory = path(u"outbox"_s);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(storeResult(native(directory), std::to_string(i)), SUCCESS_SUCCESS);
    const QStringList names = namesIn(directory);
    QCOMPARE(names.size(), 20);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(contentOf(directory + u'/' + names.at(i)), QByteArray::number(i));
}

void TestMapiOutbox::privateModes()
{
    const QString directory = path(u"new/outbox"_s);
    mapi::Outbox outbox(native(directory));
    const std::string stored = outbox.store([](mapi::FileSink &sink) { sink.write("x", 1); });
    QCOMPARE(modeOf(stored), mode_t(0600));
    QCOMPARE(modeOf(native(directory)), mode_t(0700));
    QCOMPARE(modeOf(native(path(u"new"_s))), mode_t(0700));
}

void TestMapiOutbox::umaskDoesNotHurt()
{
    const std::string directory = native(path(u"outbox"_s));
    QCOMPARE(storeResult(directory, "x"), SUCCESS_SUCCESS);
    for (const mode_t mask : {mode_t(0), mode_t(0777)}) {
        const mode_t saved = ::umask(mask);
        std::string stored;
        {
            mapi::Outbox outbox(directory);
            stored = outbox.store([](mapi::FileSink &sink) { sink.write("x", 1); });
        }
        ::umask(saved);
        QCOMPARE(modeOf(stored), mode_t(0600));
    }
}

void TestMapiOutbox::existingDirectoryKeepsItsMode()
{
    const std::string directory = native(path(u"outbox"_s));
    QCOMPARE(::mkdir(directory.c_str(), 0755), 0);
    ::chmod(directory.c_str(), 0755);
    QCOMPARE(storeResult(directory, "x"), SUCCESS_SUCCESS);
    QCOMPARE(modeOf(directory), mode_t(0755));
}

void TestMapiOutbox::symbolicLinkIsFollowed()
{
    QVERIFY(QDir(m_dir->path()).mkdir(u"real"_s));
    QVERIFY(QFile::link(path(u"real"_s), path(u"outbox"_s)));
    QCOMPARE(storeResult(native(path(u"outbox"_s)), "x"), SUCCESS_SUCCESS);
    QCOMPARE(namesIn(path(u"real"_s)).size(), 1);
}

void TestMapiOutbox::danglingLink()
{
    QVERIFY(QFile::link(path(u"gone"_s), path(u"outbox"_s)));
    QCOMPARE(storeResult(native(path(u"outbox"_s)), "x"), MAPI_E_FAILURE);
}

void TestMapiOutbox::outboxIsAFile()
{
    QFile file(path(u"outbox"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(storeResult(native(file.fileName()), "x"), MAPI_E_FAILURE);
    QCOMPARE(storeResult(native(file.fileName()) + "/", "x"), MAPI_E_FAILURE);
}

void TestMapiOutbox::parentIsAFile()
{
    QFile file(path(u"file"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(storeResult(native(path(u"file/outbox"_s)), "x"), MAPI_E_FAILURE);
}

void TestMapiOutbox::nameIsTooLong()
{
    QCOMPARE(storeResult(native(m_dir->path()) + "/" + std::string(300, 'x'), "x"), MAPI_E_FAILURE);
    QCOMPARE(storeResult("/" + std::string(100000, 'x'), "x"), MAPI_E_FAILURE);
}

void TestMapiOutbox::failureOfTheWriterLeavesNothing()
{
    const QString directory = path(u"outbox"_s);
    mapi::Outbox outbox(native(directory));
    try {
        outbox.store([](mapi::FileSink &sink) {
            const std::string large(200000, 'x');
            sink.write(large.data(), large.size());
            throw mapi::Failure(MAPI_E_ATTACHMENT_OPEN_FAILURE, "test");
        });
        QFAIL("the writer's failure was swallowed");
    } catch (const mapi::Failure &failure) {
        QCOMPARE(failure.code(), MAPI_E_ATTACHMENT_OPEN_FAILURE);
    }
    QCOMPARE(namesIn(directory), QStringList());
}

void TestMapiOutbox::fileSizeLimit()
{
    const QString directory = path(u"outbox"_s);
    ForkedCall limited([&] {
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        return storeResult(native(directory), std::string(1000000, 'x'));
    });
    QCOMPARE(limited.wait(), int(MAPI_E_DISK_FULL));
    QCOMPARE(namesIn(directory), QStringList());
}

void TestMapiOutbox::fullDisk()
{
    const std::string directory = native(path(u"disk"_s));
    QCOMPARE(::mkdir(directory.c_str(), 0755), 0);
    ForkedCall full([&] {
        // A mount of the child's own, gone with it.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || ::mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=256k") != 0)
            return noPrivileges;
        if (storeResult(directory + "/outbox", std::string(100000, 'x')) != SUCCESS_SUCCESS)
            return unexpected;
        const ULONG result = storeResult(directory + "/outbox", std::string(1000000, 'x'));
        const QStringList names = namesIn(QString::fromStdString(directory + "/outbox"));
        return names.size() == 1 && names.first().endsWith(u".eml"_s) ? result : unexpected;
    });
    const int result = full.wait();
    if (result == int(noPrivileges))
        QSKIP("A small file system of its own needs the right to mount.");
    QCOMPARE(result, int(MAPI_E_DISK_FULL));
}

void TestMapiOutbox::noPermission()
{
    const std::string directory = native(path(u"outbox"_s));
    QCOMPARE(::mkdir(directory.c_str(), 0555), 0);
    ForkedCall ordinary([&] { return becomeNobody() ? storeResult(directory, "x") : noPrivileges; });
    QCOMPARE(ordinary.wait(), int(MAPI_E_ACCESS_DENIED));
    QCOMPARE(namesIn(path(u"outbox"_s)), QStringList());
}

void TestMapiOutbox::noPermissionToCreate()
{
    const std::string directory = native(path(u"locked"_s));
    QCOMPARE(::mkdir(directory.c_str(), 0555), 0);
    ForkedCall ordinary(
        [&] { return becomeNobody() ? storeResult(directory + "/outbox", "x") : noPrivileges; });
    QCOMPARE(ordinary.wait(), int(MAPI_E_ACCESS_DENIED));
    QVERIFY(!QFile::exists(path(u"locked/outbox"_s)));
}

void TestMapiOutbox::directoryThatMayNotBeListed()
{
    // A drop box: one may put in but not look.
    const std::string directory = native(path(u"outbox"_s));
    QCOMPARE(::mkdir(directory.c_str(), 0733), 0);
    ::chmod(directory.c_str(), 0333);
    ForkedCall ordinary([&] { return becomeNobody() ? storeResult(directory, "x") : noPrivileges; });
    QCOMPARE(ordinary.wait(), int(SUCCESS_SUCCESS));
    ::chmod(directory.c_str(), 0755);
    QCOMPARE(namesIn(path(u"outbox"_s)).size(), 1);
}

void TestMapiOutbox::leftoversGo()
{
    const QString directory = path(u"outbox"_s);
    QVERIFY(QDir(m_dir->path()).mkdir(u"outbox"_s));
    const QStringList files{u".ostrelle-old.part"_s, u".ostrelle-new.part"_s, u".ostrelle-.part"_s,
                            u"other.part"_s, u"old.eml"_s};
    for (const QString &name : files) {
        QFile file(directory + u'/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        if (name != u".ostrelle-new.part"_s)
            setAge(native(file.fileName()), 90000);
    }
    QVERIFY(QDir(directory).mkdir(u".ostrelle-dir.part"_s));
    setAge(native(directory + u"/.ostrelle-dir.part"_s), 90000);
    QVERIFY(QFile::link(directory + u"/old.eml"_s, directory + u"/.ostrelle-link.part"_s));
    QFile foreign(directory + u"/.ostrelle-foreign.part"_s);
    QVERIFY(foreign.open(QIODevice::WriteOnly));
    foreign.close();
    const bool hasForeign
        = ::chown(native(foreign.fileName()).c_str(), nobodyId, nobodyId) == 0 && geteuid() == 0;
    setAge(native(foreign.fileName()), 90000);

    QCOMPARE(storeResult(native(directory), "x"), SUCCESS_SUCCESS);

    QVERIFY(!QFile::exists(directory + u"/.ostrelle-old.part"_s));
    QVERIFY(QFile::exists(directory + u"/.ostrelle-new.part"_s));
    QVERIFY(QFile::exists(directory + u"/.ostrelle-.part"_s));
    QVERIFY(QFile::exists(directory + u"/other.part"_s));
    QVERIFY(QFile::exists(directory + u"/old.eml"_s));
    QVERIFY(QFileInfo(directory + u"/.ostrelle-dir.part"_s).isDir());
    QVERIFY(QFileInfo(directory + u"/.ostrelle-link.part"_s).isSymLink());
    QCOMPARE(QFile::exists(foreign.fileName()), hasForeign);
}

void TestMapiOutbox::killedWriterLeavesNoMail()
{
    const QString directory = path(u"outbox"_s);
    const std::string content(std::size_t(24) * 1024 * 1024, 'x');
    std::minstd_rand random(17);
    int finished = 0;
    for (int i = 0; i < 40; ++i) {
        const ForkedCall writer([&] { return storeResult(native(directory), content); });
        QTest::qSleep(int(random() % 40));
        // The end of the scope kills it.
    }
    for (const QString &name : namesIn(directory)) {
        if (name.endsWith(u".eml"_s)) {
            QCOMPARE(QFileInfo(directory + u'/' + name).size(), qint64(content.size()));
            ++finished;
        } else {
            QVERIFY2(name.startsWith(u".ostrelle-"_s) && name.endsWith(u".part"_s), qPrintable(name));
        }
    }
    const qsizetype leftovers = namesIn(directory).size() - finished;
    QVERIFY2(leftovers > 0, "no writer was killed in the middle: the test shows nothing");
    mapi::Outbox(native(directory)).removeLeftovers(std::chrono::seconds(0));
    QCOMPARE(namesIn(directory).size(), finished);
}

void TestMapiOutbox::manyWriters()
{
    constexpr int processes = 8;
    constexpr int mails = 25;
    const QString directory = path(u"outbox"_s);
    std::vector<std::unique_ptr<ForkedCall>> writers;
    writers.reserve(processes);
    for (int i = 0; i < processes; ++i) {
        writers.push_back(std::make_unique<ForkedCall>([&, i] {
            for (int j = 0; j < mails; ++j) {
                const std::string content
                    = std::to_string(i) + " " + std::to_string(j) + std::string(50000, '.');
                if (const ULONG result = storeResult(native(directory), content); result != SUCCESS_SUCCESS)
                    return result;
            }
            return SUCCESS_SUCCESS;
        }));
    }
    for (const auto &writer : writers)
        QCOMPARE(writer->wait(), int(SUCCESS_SUCCESS));
    QSet<QByteArray> contents;
    const QStringList names = namesIn(directory);
    QCOMPARE(names.size(), processes * mails);
    for (const QString &name : names) {
        const QByteArray content = contentOf(directory + u'/' + name);
        QVERIFY(content.endsWith(QByteArray(50000, '.')));
        contents.insert(content.left(content.indexOf('.')));
    }
    QCOMPARE(contents.size(), processes * mails);
}

void TestMapiOutbox::outboxRemovedMeanwhile()
{
    const QString directory = path(u"outbox"_s);
    mapi::Outbox outbox(native(directory));
    QVERIFY(QDir().rmdir(directory));
    try {
        const std::string stored = outbox.store([](mapi::FileSink &sink) { sink.write("x", 1); });
        QFAIL(stored.c_str());
    } catch (const mapi::Failure &failure) {
        QCOMPARE(failure.code(), MAPI_E_FAILURE);
    }
}

QTEST_GUILESS_MAIN(TestMapiOutbox)
#include "tst_mapioutbox.moc"
