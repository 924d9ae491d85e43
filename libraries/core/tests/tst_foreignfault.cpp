#include "error/foreignfault.h"

#include "error/crashstate.h"
#include "fakecrashsteps.h"

#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// The summary of a stack: modules with the frame at which each was met, and functions.
s3StackSummary summaryOf(std::initializer_list<std::pair<const char16_t *, int>> modules,
                         std::initializer_list<const char16_t *> functions = {})
{
    s3StackSummary summary;
    std::size_t i = 0;
    for (const auto &[module, number] : modules) {
        summary.modules[i] = QString::fromUtf16(module);
        summary.frameNumbers[i++] = number;
    }
    i = 0;
    for (const char16_t *function : functions)
        summary.functions[i++] = QString::fromUtf16(function);
    return summary;
}

// Names that begin with "own" are own modules.
bool isForeign(quint32 code, const s3StackSummary &summary)
{
    FakeCrashSteps steps;
    for (const QString &module : summary.modules) {
        if (module.startsWith("own"_L1))
            steps.ownModules.insert(module);
    }
    return isForeignFault(steps, code, summary);
}

}

class TestForeignFault final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codes_data();
    void codes();
    void modules_data();
    void modules();
    void frameLimit_data();
    void frameLimit();

    void boxWords_data();
    void boxWords();
    void boxEndsTheProgram();
    void noBoxWithoutAModule();
    void failingSteps_data();
    void failingSteps();
};

void TestForeignFault::codes_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<bool>("foreign");

    QTest::newRow("access violation") << 0xC0000005u << true;
    QTest::newRow("in page error") << 0xC0000006u << true;
    QTest::newRow("illegal instruction") << 0xC000001Du << true;
    QTest::newRow("invalid lock sequence") << 0xC000001Eu << true;
    QTest::newRow("privileged instruction") << 0xC0000096u << true;
    QTest::newRow("early deactivation") << 0xC015000Fu << true;
    QTest::newRow("invalid deactivation") << 0xC0150010u << true;
    QTest::newRow("guard page") << 0x80000001u << true;
    QTest::newRow("breakpoint") << 0x80000003u << true;
    QTest::newRow("single step") << 0x80000004u << true;
    QTest::newRow("misalignment") << 0x80000002u << false;
    QTest::newRow("invalid handle") << 0xC0000008u << false;
    QTest::newRow("division by zero") << 0xC0000094u << false;
    QTest::newRow("stack overflow") << 0xC00000FDu << false;
    QTest::newRow("thrown object") << 0xE06D7363u << false;
    QTest::newRow("abort") << 0x40000015u << false;
    QTest::newRow("heap corruption") << 0xC0000374u << false;
    QTest::newRow("nothing") << 0u << false;
}

void TestForeignFault::codes()
{
    QFETCH(quint32, code);
    QFETCH(bool, foreign);
    QCOMPARE(isForeign(code, summaryOf({{u"foreign", 1}})), foreign);
}

void TestForeignFault::modules_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<s3StackSummary>("summary");
    QTest::addColumn<bool>("foreign");
    constexpr quint32 violation = 0xC0000005;
    constexpr quint32 illegal = 0xC000001D;

    QTest::newRow("no module") << violation << summaryOf({}) << false;
    QTest::newRow("no module, another code") << illegal << summaryOf({}) << false;
    QTest::newRow("own module") << violation << summaryOf({{u"own", 1}}) << false;
    QTest::newRow("own module, another code") << illegal << summaryOf({{u"own", 1}}) << false;
    QTest::newRow("own before foreign") << violation << summaryOf({{u"own", 1}, {u"foreign", 2}}) << false;
    QTest::newRow("another code asks for no stack")
        << illegal << summaryOf({{u"foreign", 1}, {u"own", 2}}) << true;
    QTest::newRow("nothing above") << violation << summaryOf({{u"foreign", 1}}) << true;
    QTest::newRow("own, 1 above") << violation << summaryOf({{u"foreign", 1}, {u"own", 2}}) << false;
    QTest::newRow("own, 3 above") << violation << summaryOf({{u"foreign", 1}, {u"own", 4}}) << false;
    QTest::newRow("own, 4 above") << violation << summaryOf({{u"foreign", 1}, {u"own", 5}}) << true;
    QTest::newRow("own, 90 above") << violation << summaryOf({{u"foreign", 1}, {u"own", 91}}) << true;
    QTest::newRow("foreign, then own, 1 above each")
        << violation << summaryOf({{u"foreign", 1}, {u"other", 2}, {u"own", 3}}) << false;
    QTest::newRow("own as third, 3 above the second")
        << violation << summaryOf({{u"foreign", 1}, {u"other", 20}, {u"own", 23}}) << false;
    QTest::newRow("own as third, 4 above the second")
        << violation << summaryOf({{u"foreign", 1}, {u"other", 2}, {u"own", 6}}) << true;
    QTest::newRow("own far, then another own near it")
        << violation << summaryOf({{u"foreign", 1}, {u"own", 9}, {u"own2", 10}}) << false;
    QTest::newRow("a gap ends the search")
        << violation << summaryOf({{u"foreign", 1}, {u"", 0}, {u"own", 3}}) << true;
    QTest::newRow("three foreign ones")
        << violation << summaryOf({{u"foreign", 1}, {u"other", 2}, {u"third", 3}}) << true;
}

void TestForeignFault::modules()
{
    QFETCH(quint32, code);
    QFETCH(s3StackSummary, summary);
    QFETCH(bool, foreign);
    QCOMPARE(isForeign(code, summary), foreign);
}

void TestForeignFault::frameLimit_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("second"); // is it the second module that is ours, or the third
    QTest::addColumn<bool>("foreign");

    QTest::newRow("0 changes nothing") << 0 << false << false;
    QTest::newRow("negative changes nothing") << -1 << false << false;
    QTest::newRow("1: only the first module") << 1 << true << true;
    QTest::newRow("2: the second is looked at") << 2 << true << false;
    QTest::newRow("2: the third is not") << 2 << false << true;
    QTest::newRow("3: the third is") << 3 << false << false;
    QTest::newRow("100 raises nothing") << 100 << false << false;
}

void TestForeignFault::frameLimit()
{
    QFETCH(int, limit);
    QFETCH(bool, second);
    QFETCH(bool, foreign);
    const auto restore = qScopeGuard([] { debugFrameLimit = 0; });
    debugFrameLimit = limit;
    const s3StackSummary summary = second ? summaryOf({{u"foreign", 1}, {u"own", 2}})
                                          : summaryOf({{u"foreign", 1}, {u"other", 2}, {u"own", 3}});
    QCOMPARE(isForeign(0xC0000005, summary), foreign);
}

namespace
{

const QString boxHead = u"<ACHTUNG: Fehler in Fremdkomponente!>\n\n"
                        "<In einer Fremdkomponente ist ein nicht behebbarer Fehler aufgetreten.>\n\n"_s;
const QString boxMiddle = u"\n\n<Das laufende Programm muss daher jetzt beendet werden.>\n"
                          "<Bitte starten Sie die GUI anschließend neu.>\n\n\n"
                          "<Details>:\n<Arbeitsplatz>\t  host\n"_s;

QString versionLines(const QString &module)
{
    return u"<Dateibeschreibung>\t  %1:FileDescription\n<Dateiversion>\t  %1:FileVersion\n"
           "<Produktname>\t  %1:ProductName\n<Produktversion>\t  %1:ProductVersion\n"
           "<Herstellername>\t  %1:CompanyName\n"_s.arg(module);
}

}

void TestForeignFault::boxWords_data()
{
    QTest::addColumn<s3StackSummary>("summary");
    QTest::addColumn<bool>("hasContext");
    QTest::addColumn<QString>("memory"); // null: no report
    QTest::addColumn<QString>("words");

    QTest::newRow("one module, no function, no context, no memory")
        << summaryOf({{u"C:\\x\\foreign.dll", 1}}) << false << QString()
        << boxHead + u"foreign.dll\n\nTEXT"_s + boxMiddle + u"\n#1  C:\\x\\foreign.dll\n\n"_s
            + versionLines(u"C:\\x\\foreign.dll"_s) + u"\nsystem\n"_s;
    QTest::newRow("two modules and functions, context, memory")
        << summaryOf({{u"/x/foreign.so", 2}, {u"/y/größe.so", 17}}, {u"f", u"g"}) << true << u"12MB"_s
        << boxHead + u"foreign.so\n\n<TEXT in f()>"_s + boxMiddle + u"RIP\t\t  0x0000000000401000\n"_s
            + u"\n#2  /x/foreign.so: f()\n\n"_s + versionLines(u"/x/foreign.so"_s)
            + u"\n#17  /y/größe.so: g()\n\n"_s + versionLines(u"/y/größe.so"_s) + u"\nsystem\n12MB\n"_s;
    QTest::newRow("the third module is not shown")
        << summaryOf({{u"a", 1}, {u"b", 2}, {u"c", 3}}) << false << QString()
        << boxHead + u"a\n\nTEXT"_s + boxMiddle + u"\n#1  a\n\n"_s + versionLines(u"a"_s) + u"\n#2  b\n\n"_s
            + versionLines(u"b"_s) + u"\nsystem\n"_s;
}

void TestForeignFault::boxWords()
{
    QFETCH(s3StackSummary, summary);
    QFETCH(bool, hasContext);
    QFETCH(QString, memory);
    QFETCH(QString, words);
    FakeCrashSteps steps;
    steps.isContextSaved = hasContext;
    steps.memory = memory;
    steps.hasMemory = !memory.isNull();
    // The fake's translation has no place for arguments but as it stands.
    QCOMPARE(foreignFaultText(steps, u"TEXT"_s, summary), words);
}

void TestForeignFault::boxEndsTheProgram()
{
    FakeCrashSteps steps;
    QVERIFY(foreignFaultBox(steps, u"TEXT"_s, summaryOf({{u"foreign", 1}})));
    QCOMPARE(steps.deeds(),
             QStringList({u"Beep"_s, u"ShowBox"_s, u"BeginExit 1"_s, u"QuitApplication 1"_s, u"CleanUp"_s,
                          u"DestroyApplication"_s, u"Exit 1"_s}));
    QCOMPARE(steps.boxes.size(), 1);
    QVERIFY(steps.boxes[0].startsWith(boxHead));
}

void TestForeignFault::noBoxWithoutAModule()
{
    FakeCrashSteps steps;
    QVERIFY(!foreignFaultBox(steps, u"TEXT"_s, summaryOf({{u"", 0}, {u"other", 2}})));
    QCOMPARE(steps.calls, QStringList());
}

void TestForeignFault::failingSteps_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QStringList>("deeds");

    for (const char *name : {"translate", "hostName", "hasContext", "instructionPointer", "versionText",
                             "operatingSystem", "memoryReport"})
        QTest::newRow(name) << QString::fromLatin1(name) << QStringList();
    QTest::newRow("Beep") << u"Beep"_s << QStringList(u"Beep"_s);
    QTest::newRow("ShowBox") << u"ShowBox"_s << QStringList({u"Beep"_s, u"ShowBox"_s});
}

void TestForeignFault::failingSteps()
{
    QFETCH(QString, step);
    QFETCH(QStringList, deeds);
    FakeCrashSteps steps;
    steps.isContextSaved = true;
    steps.failing.insert(step);
    QVERIFY(!foreignFaultBox(steps, u"TEXT"_s, summaryOf({{u"foreign", 1}})));
    QVERIFY(steps.calls.contains(step));
    QCOMPARE(steps.deeds(), deeds);
}

QTEST_GUILESS_MAIN(TestForeignFault)
#include "tst_foreignfault.moc"
