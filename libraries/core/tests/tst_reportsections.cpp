#include "coreutil.h"
#include "erp/s3session.h"
#include "erp/s3version.h"
#include "error/modulelists.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/scopedenvironment.h"
#include "ostrelletest/scopedtestflag.h"
#include "platform/modulename.h"
#include "platform/modules.h"
#include "protocol/reportsections.h"
#include "s3tempdir.h"
#include "s3terminalsession.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

const QStringList graphicsVariables = {
    u"QT_OPENGL"_s,
    u"QT_OPENGL_DLL"_s,
    u"QT_QUICK_BACKEND"_s,
    u"QMLSCENE_DEVICE"_s,
    u"QSG_RHI_BACKEND"_s,
    u"QSG_RHI_PREFER_SOFTWARE_RENDERER"_s,
    u"QTWEBENGINE_CHROMIUM_FLAGS"_s,
};

QVariant gpu(const QVariant &printable)
{
    return QVariantMap({{u"vendorId"_s, 4318}, {u"printable"_s, printable}});
}

// "name = " of a module's line, as wide as it is there.
QString moduleName(const QString &name)
{
    return name.leftJustified(25) + u" = "_s;
}

}

class TestReportSections : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { reset(); }
    void cleanup() { reset(); }
    void rule();
    void head();
    void headOfEarlyHours();
    void versions();
    void arguments_data();
    void arguments();
    void directory_data();
    void directory();
    void operatingSystem_data();
    void operatingSystem();
    void memoryUsage();
    void gpus_data();
    void gpus();
    void noEnvironment();
    void environmentVariables_data();
    void environmentVariables();
    void environmentInOrder();
    void server();
    void identityOfNobody();
    void identity();
    void identityWithLongNames();
    void history();
    void modulesInGroups();
    void modulesOfThisProcess();
    void noModules();
    void moduleLines_data();
    void moduleLines();
    void moduleThatCannotBeRead();

private:
    static void reset()
    {
        s3SessionInstance()->reset();
        glob_file_guiDir.clear();
        for (const QString &name : graphicsVariables)
            qunsetenv(name.toLatin1().constData());
    }
    // The two forms of the identity's workstation.
    static QString withSessionId(const QString &host)
    {
        return s3SessionIdText().isEmpty() ? host : QString(host + u':' + s3SessionIdText());
    }
};

void TestReportSections::rule()
{
    QCOMPARE(reportRule(), QString(90, u'-') + u'\n');
}

void TestReportSections::head()
{
    QCOMPARE(reportHead(QDateTime(QDate(2026, 11, 22), QTime(13, 4, 59, 999))),
             QString(90, u'-') + u"\n22.11.2026 # 13:04:59 # "_s + qAppName() + u".exe # "_s
                 + QString::number(QCoreApplication::applicationPid()) + u" # v2.6\n"_s);
}

void TestReportSections::headOfEarlyHours()
{
    QVERIFY(reportHead(QDateTime(QDate(1999, 1, 2), QTime(0, 0))).contains(u"\n02.01.1999 # 00:00:00 # "_s));
}

void TestReportSections::versions()
{
    QCOMPARE(reportVersions(), u"Server Version: \nClient Version: "_s + s3ClientVersion() + u'\n');
    s3SessionInstance()->setServerVersionAndBuildInfo(u"2101r8n16"_s, u"a build info"_s);
    QCOMPARE(reportVersions(), u"Server Version: 2101r8n16\nClient Version: 5.5.0\n"_s);
}

void TestReportSections::arguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    QTest::newRow("none") << QStringList() << u"\n"_s;
    QTest::newRow("program alone") << QStringList(u"C:/a/ostrelle.exe"_s) << u"C:/a/ostrelle.exe\n"_s;
    QTest::newRow("some") << QStringList({u"p"_s, u"a b"_s, u"ä.zml"_s}) << u"p a b ä.zml\n"_s;
    QTest::newRow("password behind") << QStringList({u"p"_s, u"-password"_s, u"secret"_s, u"x"_s})
                                     << u"p -password ***** x\n"_s;
    QTest::newRow("password inside") << QStringList({u"p"_s, u"--password=secret"_s})
                                     << u"p --password=*****\n"_s;
}

void TestReportSections::arguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    QCOMPARE(reportArguments(arguments), line);
}

void TestReportSections::directory_data()
{
    QTest::addColumn<QString>("fileBeside"); // the program is installed on a server where "mandant.ini" lies
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("local") << u"mandant.txt"_s << "guidir=C:/Zerk %1 (local install)\n"_ba;
    QTest::newRow("on a server") << u"mandant.ini"_s << "guidir=C:/Zerk %1 \n"_ba;
}

// Whether an installation is local is found out once in a process.
void TestReportSections::directory()
{
    QFETCH(QString, fileBeside);
    QFETCH(QByteArray, line);
    QCOMPARE(reportDirectory(), QString());
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(fileBeside), ""_ba));
    const ChildRun run = runChild(u"directory"_s, dir.path());
    QVERIFY(run.ended);
    QCOMPARE(QByteArray(run.standardOutput).replace("\r\n", "\n"), line);
}

void TestReportSections::operatingSystem_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("additional");
    QTest::addColumn<QString>("edition");
    QTest::addColumn<QString>("lines");
    QTest::newRow("name alone") << u"System 1"_s << QString() << QString() << u"System 1\n"_s;
    QTest::newRow("with additional text")
        << u"System 1"_s << u"AT/AT"_s << QString() << u"System 1, AT/AT\n"_s;
    QTest::newRow("with edition") << u"System 1"_s << QString() << u"Home"_s
                                  << u"System 1\n        Edition: Home\n"_s;
    QTest::newRow("with all") << u"System 1"_s << u"AT/AT"_s << u"Home, Terminal"_s
                              << u"System 1, AT/AT\n        Edition: Home, Terminal\n"_s;
    QTest::newRow("nothing known") << QString() << QString() << QString() << u"\n"_s;
}

void TestReportSections::operatingSystem()
{
    QFETCH(QString, name);
    QFETCH(QString, additional);
    QFETCH(QString, edition);
    QFETCH(QString, lines);
    QCOMPARE(reportOperatingSystem(name, additional, edition), lines);
}

void TestReportSections::memoryUsage()
{
    const QString text = reportMemoryUsage();
    QVERIFY(text.startsWith(u"Memory usage: "_s));
    QVERIFY(text.endsWith(u"MB\n"_s));
}

void TestReportSections::gpus_data()
{
    QTest::addColumn<QVariant>("gpus");
    QTest::addColumn<QString>("text");
    QTest::newRow("no information") << QVariant() << u"\n"_s;
    QTest::newRow("empty list") << QVariant(QVariantList()) << u"\n"_s;
    QTest::newRow("not a list") << QVariant(u"GPU"_s) << u"\n"_s;
    QTest::newRow("a list of texts") << QVariant(QStringList(u"GPU"_s)) << u"\n"_s;
    QTest::newRow("one") << QVariant(QVariantList({gpu(u"Card"_s)})) << u"\nGPU #1:\nCard\n\n"_s;
    QTest::newRow("two") << QVariant(QVariantList({gpu(u"Card\nDriver"_s), gpu(u"%2"_s)}))
                         << u"\nGPU #1:\nCard\nDriver\n\nGPU #2:\n%2\n\n"_s;
    QTest::newRow("the empty one counts")
        << QVariant(QVariantList({gpu(QString()), gpu(u"Card"_s)})) << u"\nGPU #2:\nCard\n\n"_s;
    QTest::newRow("without the key") << QVariant(QVariantList({QVariantMap({{u"vendorId"_s, 1}})}))
                                     << u"\n"_s;
    QTest::newRow("not maps") << QVariant(QVariantList({1, u"x"_s, QVariant()})) << u"\n"_s;
}

void TestReportSections::gpus()
{
    QFETCH(QVariant, gpus);
    QFETCH(QString, text);
    QCOMPARE(reportGpus(gpus), text);
}

void TestReportSections::noEnvironment()
{
    QCOMPARE(reportEnvironment(), QString());
    const ScopedEnvironment empty("QT_OPENGL", ""_ba);
    QCOMPARE(reportEnvironment(), QString());
}

void TestReportSections::environmentVariables_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : graphicsVariables)
        QTest::newRow(qPrintable(name)) << name;
}

void TestReportSections::environmentVariables()
{
    QFETCH(QString, name);
    const ScopedEnvironment variable(name.toLatin1().constData(), "a value=%1"_ba);
    QCOMPARE(reportEnvironment(), name + u"=a value=%1\n\n"_s);
}

void TestReportSections::environmentInOrder()
{
    QString expected;
    for (const QString &name : graphicsVariables)
        expected += name + u"=x\n"_s;
    for (qsizetype i = graphicsVariables.size(); i > 0; --i)
        qputenv(graphicsVariables.at(i - 1).toLatin1().constData(), "x");
    QCOMPARE(reportEnvironment(), expected + u'\n');
}

void TestReportSections::server()
{
    QCOMPARE(reportServer(), u"Server: \n\n\n\n"_s);
    s3SessionInstance()->setServerName(QString(41, u's'));
    s3SessionInstance()->setServerVersionAndBuildInfo(u"2101r8n16"_s, u"Build %1 of 2026"_s);
    s3SessionInstance()->setServerInfo3(QString(100, u'i'));
    QCOMPARE(reportServer(),
             u"Server: "_s + QString(40, u's') + u"\nBuild %1 of 2026\n"_s + QString(100, u'i') + u"\n\n"_s);
}

void TestReportSections::identityOfNobody()
{
    QCOMPARE(reportIdentity(), u"M= # Z= # GUI:"_s + withSessionId(u"???"_s) + u" # S=???\n"_s);
}

void TestReportSections::identity()
{
    s3SessionInstance()->setClientName(u"M1"_s);
    s3SessionInstance()->setZoneName(u"Zürich"_s);
    s3SessionInstance()->setHostName(u"PC-7"_s);
    QCOMPARE(reportIdentity(), u"M=M1 # Z=Zürich # GUI:"_s + withSessionId(u"PC-7"_s) + u" # S=PC-7\n"_s);
}

void TestReportSections::identityWithLongNames()
{
    s3SessionInstance()->setClientName(QString(41, u'm'));
    s3SessionInstance()->setZoneName(QString(41, u'z'));
    s3SessionInstance()->setHostName(QString(81, u'h'));
    const QString host(80, u'h');
    QCOMPARE(reportIdentity(),
             u"M="_s + QString(40, u'm') + u" # Z="_s + QString(40, u'z') + u" # GUI:"_s + withSessionId(host)
                 + u" # S="_s + host + u'\n');
    const ScopedTestFlag veryLongHostName(248);
    QCOMPARE(reportIdentity().section(u" # S="_s, 1), host + u'\n');
}

void TestReportSections::history()
{
    QCOMPARE(reportHistory(QStringList()), reportRule());
    QCOMPARE(reportHistory({u"one"_s, u"%1"_s}), u"one\n%1\n"_s + reportRule());
}

void TestReportSections::modulesInGroups()
{
    const QString other = u"C:\\foreign\\Other.dll"_s;
    const QStringList lines = reportModules({ownModules().at(1), systemModules().at(0), other}).split(u'\n');
    const qsizetype own = ownModules().size();
    const qsizetype system = systemModules().size();
    QCOMPARE(lines.size(), own + 1 + system + 1 + 1 + 1 + 1);
    for (qsizetype i = 0; i < own; ++i)
        QVERIFY2(lines.at(i).startsWith(moduleName(ownModules().at(i))), qPrintable(lines.at(i)));
    QCOMPARE(lines.at(own), QString());
    for (qsizetype i = 0; i < system; ++i)
        QVERIFY(lines.at(own + 1 + i).startsWith(moduleName(systemModules().at(i))));
    QCOMPARE(lines.at(own + system + 1), QString());
    QCOMPARE(lines.at(own + system + 2), moduleName(u"Other.dll"_s) + u' ');
    QCOMPARE(lines.at(own + system + 3), QString());
    QCOMPARE(lines.at(own + system + 4), QString());
}

void TestReportSections::modulesOfThisProcess()
{
    const QStringList loaded = platform::loadedModules();
    QStringList names;
    for (const QString &path : loaded)
        names.append(moduleFileName(path).toLower());
    const QString ownName = moduleFileName(QCoreApplication::applicationFilePath()).toLower();
    QVERIFY2(names.contains(ownName), qPrintable(names.join(u' ')));
    QVERIFY(!names.filter(u"qt6core"_s).isEmpty());
    QCOMPARE(QStringList(loaded).removeDuplicates(), 0);
    // A known one has its line under the name by which it is known, "libQt6Core.so.6" for instance.
    const QString text = reportModules(loaded);
    const QStringList known = ownModules() + systemModules();
    for (const QString &path : loaded) {
        const QString fileName = moduleFileName(path);
        const bool isListed = std::ranges::any_of(known, [&](const QString &name) {
            return platform::isModuleFile(fileName, name) && text.contains(moduleName(name));
        });
        QCOMPARE(isListed, isKnownModule(path, false));
        QVERIFY2(isListed || text.contains(moduleName(fileName)), qPrintable(path));
    }
}

void TestReportSections::noModules()
{
    const QStringList lines = reportModules(QStringList()).split(u'\n');
    QCOMPARE(lines.size(), ownModules().size() + systemModules().size() + 4);
    QVERIFY(reportModules(QStringList()).endsWith(u"\n\n\n"_s));
}

void TestReportSections::moduleLines_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("line");
    QTest::newRow("short name") << u"/no/such/a.dll"_s << u"a.dll                     =  \n"_s;
    QTest::newRow("no directory") << u"no such.dll"_s << u"no such.dll               =  \n"_s;
    QTest::newRow("name of 25") << u"C:\\no\\"_s + QString(25, u'm') << QString(25, u'm') + u" =  \n"_s;
    QTest::newRow("longer names are not cut")
        << u"/no/"_s + QString(99, u'm') << QString(99, u'm') + u" =  \n"_s;
    QTest::newRow("place markers") << u"/no/%2%3"_s << u"%2%3                      =  \n"_s;
    QTest::newRow("empty") << QString() << u"                          =  \n"_s;
}

void TestReportSections::moduleLines()
{
    QFETCH(QString, path);
    QFETCH(QString, line);
    QCOMPARE(reportModule(path), line);
}

void TestReportSections::moduleThatCannotBeRead()
{
    const QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"broken.dll"_s);
    for (const QByteArray &content : {""_ba, "MZ"_ba, QByteArray(100000, 'M')}) {
        QVERIFY(writeFile(path, content));
        QCOMPARE(reportModule(path), u"broken.dll                =  \n"_s);
    }
    QVERIFY(QFile::remove(path));
    QCOMPARE(reportModule(dir.path()).right(4), u"=  \n"_s);
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (childPart(argc, argv) == u"directory"_s) {
        glob_file_guiDir = u"C:/Zerk %1"_s;
        std::fputs(reportDirectory().toLatin1().constData(), stdout);
        return 0;
    }
    TestReportSections test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reportsections.moc"
