#include "error/modulelists.h"

#include "platform/modulename.h"
#include "platform/process.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QString installed(const char *windowsName)
{
    return platform::installedModuleName(QString::fromLatin1(windowsName));
}

}

class TestModuleLists final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ownModulesInOrder();
    void systemModulesInOrder();
    void knownModules_data();
    void knownModules();
    void fileNames_data();
    void fileNames();
};

void TestModuleLists::ownModulesInOrder()
{
    const char *const names[] = {"Qt6Core.dll",
                                 "Qt6Gui.dll",
                                 "Qt6Widgets.dll",
                                 "Qt6Network.dll",
                                 "Qt6NetworkAuth.dll",
                                 "Qt6OpenGL.dll",
                                 "Qt6Positioning.dll",
                                 "Qt6PrintSupport.dll",
                                 "Qt6Svg.dll",
                                 "Qt6Qml.dll",
                                 "Qt6QmlModels.dll",
                                 "Qt6Quick.dll",
                                 "Qt6QuickWidgets.dll",
                                 "Qt6WebChannel.dll",
                                 "Qt6WebEngineCore.dll",
                                 "Qt6WebEngineWidgets.dll",
                                 "Qt6Widgets.dll",
                                 "opengl32sw.dll",
                                 "d3dcompiler_47.dll",
                                 "qgif.dll",
                                 "qico.dll",
                                 "qjpeg.dll",
                                 "qtiff.dll",
                                 "qschannelbackend.dll",
                                 "qwindows.dll",
                                 "qwindowsvistastyle.dll",
                                 "windowsprintersupport.dll",
                                 "concrt140.dll",
                                 "msvcp140_1.dll",
                                 "msvcp140_2.dll",
                                 "msvcp140.dll",
                                 "ucrtbase.dll",
                                 "vcruntime140_1.dll",
                                 "vcruntime140.dll"};
    QStringList expected(platform::processes().programFileName(qAppName()));
    for (const char *name : names)
        expected += installed(name);
    QCOMPARE(ownModules(), expected);
    QCOMPARE(ownModules().size(), 35);
}

void TestModuleLists::systemModulesInOrder()
{
    QStringList expected;
    for (const char *name :
         {"ntdll.dll", "kernel32.dll", "GDI32.dll", "USER32.dll", "ole32.dll", "comctl32.dll"})
        expected += installed(name);
    QCOMPARE(systemModules(), expected);
}

void TestModuleLists::knownModules_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("ownOnly");
    QTest::addColumn<bool>("isKnown");

    const QString core = installed("Qt6Core.dll");
    const QString loader = installed("ntdll.dll");
    QTest::newRow("own, by name") << core << true << true;
    QTest::newRow("own, among all") << core << false << true;
    QTest::newRow("own, with a path") << u"/usr/lib/"_s + core << true << true;
    QTest::newRow("own, with backslashes") << u"C:\\Program Files\\x\\"_s + core << true << true;
    QTest::newRow("own, mixed separators") << u"C:\\x/"_s + core << true << true;
    QTest::newRow("own, upper case") << core.toUpper() << true << true;
    QTest::newRow("the program") << QCoreApplication::applicationFilePath() << true << true;
    QTest::newRow("the last of the list") << installed("vcruntime140.dll") << true << true;
    QTest::newRow("system, own only") << loader << true << false;
    QTest::newRow("system") << loader << false << true;
    QTest::newRow("system, lower case") << installed("GDI32.dll").toLower() << false << true;
    QTest::newRow("foreign, own only") << u"/usr/lib/libforeign.so"_s << true << false;
    QTest::newRow("foreign") << u"/usr/lib/libforeign.so"_s << false << false;
    QTest::newRow("own as a folder") << core + u"/x"_s << false << false;
    QTest::newRow("longer than own") << core + u"x"_s << false << false;
    QTest::newRow("own with further numbers of its version")
        << core + u".4.2"_s << true << core.contains(".so"_L1);
    QTest::newRow("a program with a further number") << u"/x/tst_modulelists.1"_s << true << false;
    QTest::newRow("shorter than own") << core.chopped(1) << false << false;
    QTest::newRow("empty") << QString() << false << false;
    QTest::newRow("not ASCII") << u"/ö/größe.dll"_s << false << false;
}

void TestModuleLists::knownModules()
{
    QFETCH(QString, path);
    QFETCH(bool, ownOnly);
    QFETCH(bool, isKnown);
    QCOMPARE(isKnownModule(path, ownOnly), isKnown);
}

void TestModuleLists::fileNames_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("name alone") << u"a.dll"_s << u"a.dll"_s;
    QTest::newRow("slashes") << u"/x/y/a.so.6"_s << u"a.so.6"_s;
    QTest::newRow("backslashes") << u"C:\\x\\a.dll"_s << u"a.dll"_s;
    QTest::newRow("backslash last") << u"C:/x\\a.dll"_s << u"a.dll"_s;
    QTest::newRow("ends with a separator") << u"/x/"_s << QString();
}

void TestModuleLists::fileNames()
{
    QFETCH(QString, path);
    QFETCH(QString, name);
    QCOMPARE(moduleFileName(path), name);
}

QTEST_GUILESS_MAIN(TestModuleLists)
#include "tst_modulelists.moc"
