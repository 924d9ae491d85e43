#include "ostrelletest/filecontent.h"
#include "platform/folders.h"
#include "platform/process.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QDir>
#include <QScopeGuard>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFolders final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesTheSystemsFolders_data();
    void givesTheSystemsFolders();
    void knowsNoFolderWithoutAnId();
    void findsProgramsInTheRegistry();
    void tellsItsOwnDirectories();
    void noticesNoDebugger();
};

void TestFolders::givesTheSystemsFolders_data()
{
    QTest::addColumn<QUuid>("folder");
    QTest::addColumn<QByteArray>("variable");
    QTest::newRow("local") << platform::localAppDataFolder << "LOCALAPPDATA"_ba;
    QTest::newRow("roaming") << platform::roamingAppDataFolder << "APPDATA"_ba;
    QTest::newRow("common") << platform::programDataFolder << "ProgramData"_ba;
}

void TestFolders::givesTheSystemsFolders()
{
    QFETCH(const QUuid, folder);
    QFETCH(const QByteArray, variable);
    QString path;
    QVERIFY(s3GetKnownFolderPath(path, folder, true));
    QCOMPARE(path, qEnvironmentVariable(variable.constData()));
    QVERIFY(path.contains(u'\\') && QFileInfo(path).isDir());
}

void TestFolders::knowsNoFolderWithoutAnId()
{
    QString path = u"old"_s;
    QVERIFY(!s3GetKnownFolderPath(path, QUuid(), true));
    QCOMPARE(path, QString());
}

void TestFolders::findsProgramsInTheRegistry()
{
    const QString key = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\"_s;
    const QString plain = u"ostrelle-test-plain"_s;
    const QString program = u"ostrelle-test-program"_s;
    QSettings(key + plain, QSettings::NativeFormat).setValue(u"Default"_s, u"C:\\plain\\it.exe"_s);
    QSettings(key + program + u".exe"_s, QSettings::NativeFormat)
        .setValue(u"Default"_s, u"%SystemRoot%\\program.exe"_s);
    const auto remove = qScopeGuard([&] {
        QSettings(key + plain, QSettings::NativeFormat).clear();
        QSettings(key + program + u".exe"_s, QSettings::NativeFormat).clear();
    });
    QString path;
    QVERIFY(s3FindAppPath(plain, path));
    QCOMPARE(path, u"C:\\plain\\it.exe"_s);
    QVERIFY(s3FindAppPath(program, path));
    QCOMPARE(path, qEnvironmentVariable("SystemRoot") + u"\\program.exe"_s);
    QCOMPARE(s3AppPathOrName(program + u".exe"_s), path);
    QVERIFY(!s3FindAppPath(plain + u".exe"_s, path)); // a point, so only the name itself counts
    QCOMPARE(path, QString());
}

void TestFolders::tellsItsOwnDirectories()
{
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"file"_s), QByteArray()));
    QVERIFY(platform::isOwnDirectory(dir.path()));
    QVERIFY(!platform::isOwnDirectory(dir.filePath(u"file"_s)));
    QVERIFY(!platform::isOwnDirectory(dir.filePath(u"none"_s)));
    QVERIFY(platform::makePrivateDirectory(dir.filePath(u"new"_s)));
    QVERIFY(!platform::makePrivateDirectory(dir.filePath(u"new"_s)));
    QVERIFY(platform::isOwnDirectory(dir.filePath(u"new"_s)));
}

void TestFolders::noticesNoDebugger()
{
    QVERIFY(!platform::isDebuggerAttached());
}

QTEST_GUILESS_MAIN(TestFolders)

#include "tst_folders.moc"
