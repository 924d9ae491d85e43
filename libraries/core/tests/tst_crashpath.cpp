#include "error/crashpath.h"

#include "error/crashstate.h"
#include "error/s3exceptionhandlerwin.h"
#include "error/systemcrashsteps.h"
#include "fakecrashsteps.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/thrownmessage.h"
#include "platform/faultcontext.h"
#include "s3tempdir.h"
#include "s3tempdir_p.h"
#include "s3testflags.h"

#include <QDir>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 accessViolation = 0xC0000005;

const QString place = u"Fehlernummer -1123: in file:7"_s;

const QStringList ending{u"BeginExit -1"_s, u"QuitApplication -1"_s, u"CleanUp"_s, u"DestroyApplication"_s,
                         u"Exit -1"_s};

QString boxHead()
{
    return u"<ACHTUNG: DIAGNOSEMELDUNG!>\n\n<Bitte drucken Sie anschließend das Fehlerprotokoll> "
           "<mit dem Kommando:>\n<Diagnosemeldung ausgeben (Diverse Kommandos)>\n\n<Details>:\n"_s;
}

QStringList deedsOf(const QString &location, bool withRegisters = false)
{
    return QStringList{u"RecordService "_s + QString(18, u' ') + u"|ErrorAndExit|"_s + location, u"Beep"_s,
                       u"ShowBox"_s, withRegisters ? u"WriteReport true"_s : u"WriteReport false"_s}
    + ending;
}

bool makeTempDirIn(const QString &parent)
{
    const auto makeName = [&](QString *error) {
        return s3MakeTempDirNameIn(parent, false, error);
    };
    return s3TempDirCreateNamed(makeName, nullptr) && QDir(glob_file_tempDir).exists();
}

void fail(FakeCrashSteps &steps, bool withRegisters = false)
{
    errorAndExitBy(steps, withRegisters, 1123, u"TEXT"_s, u"file"_s, 7, QString());
}

}

class TestCrashPath final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void filterNames_data();
    void filterNames();
    void filterKeepsTheContext();
    void filterEndsOnAFailure_data();
    void filterEndsOnAFailure();

    void faultMessage_data();
    void faultMessage();
    void foreignFault_data();
    void foreignFault();
    void foreignFlag_data();
    void foreignFlag();
    void failingSummary_data();
    void failingSummary();
    void foreignBoxThatFails();

    void locations_data();
    void locations();
    void errorBlock();
    void lastErrorIsTakenFirst();
    void windowTitle_data();
    void windowTitle();
    void stateIsFrozen();
    void secondFailureWhileTheBoxStands();
    void boxWithRegisters_data();
    void boxWithRegisters();
    void orderOfDeeds();
    void eachStepFailing_data();
    void eachStepFailing();
    void everyStepFailing();
    void incompleteReportWithoutABox();

    void exitOrder();
    void eachExitStepFailing_data();
    void eachExitStepFailing();

    void invalidParameter_data();
    void invalidParameter();
    void invalidParameterIsAnAssertion_data();
    void invalidParameterIsAnAssertion();
    void contextOfForcedFaults();

    void cleanUpOfTheTempDir();
    void cleanUpByTheHook();
};

void TestCrashPath::init()
{
    reportFrozen = false;
    activeWindowTitle.clear();
    errorText.clear();
}

void TestCrashPath::filterNames_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("codeName");
    QTest::addColumn<QString>("typeName");
    QTest::addColumn<QString>("systemMessage");
    QTest::addColumn<QString>("name");
    const QString none;

    QTest::newRow("by the table") << 0xC0000005u << u"ACCESS_VIOLATION"_s << u"type"_s << u"words"_s
                                  << u"ACCESS_VIOLATION"_s;
    QTest::newRow("thrown object") << 0xE06D7363u << none << u"MyError"_s << u"words"_s << u"MyError"_s;
    QTest::newRow("thrown class") << 0xE06D7363u << none << u"class std::bad_alloc"_s << none
                                  << u"std::bad_alloc"_s;
    QTest::newRow("class only in front") << 0xE06D7363u << none << u"my class X"_s << none << u"my class X"_s;
    QTest::newRow("classX is no keyword") << 0xE06D7363u << none << u"classX"_s << none << u"classX"_s;
    QTest::newRow("thrown object of unknown type") << 0xE06D7363u << none << none << u"words"_s << u"words"_s;
    QTest::newRow("the type of another code is not asked for")
        << 0xC0000409u << none << u"type"_s << none << u"0xffffffffc0000409"_s;
    QTest::newRow("the system's words") << 0xC0000409u << none << none << u"words"_s << u"words"_s;
    QTest::newRow("unknown, with its sign") << 0xC0000409u << none << none << none << u"0xffffffffc0000409"_s;
    QTest::newRow("unknown, positive") << 0x40000015u << none << none << none << u"0x0000000040000015"_s;
    QTest::newRow("unknown object, no words")
        << 0xE06D7363u << none << none << none << u"0xffffffffe06d7363"_s;
    QTest::newRow("zero") << 0u << none << none << none << u"0x0000000000000000"_s;
}

void TestCrashPath::filterNames()
{
    QFETCH(quint32, code);
    QFETCH(QString, codeName);
    QFETCH(QString, typeName);
    QFETCH(QString, systemMessage);
    QFETCH(QString, name);
    FakeCrashSteps steps;
    steps.hasSummary = false;
    steps.names[code] = codeName;
    steps.typeName = typeName;
    steps.messages[code] = systemMessage;
    unhandledExceptionFilterBy(steps, platform::Fault{code, nullptr, nullptr});
    const QString location = u"Fehlernummer -%1: in libraries/core/src/error/s3exceptionhandlerwin:849"_s.arg(
        name == u"std::bad_alloc"_s ? 329 : 1123);
    QCOMPARE(steps.boxes.value(0), boxHead() + u"Exception: "_s + name + u'\n' + location + u"\n\n"_s);
    QCOMPARE(steps.deeds(), deedsOf(location, true));
}

void TestCrashPath::filterKeepsTheContext()
{
    const s3FaultContext context;
    FakeCrashSteps steps;
    unhandledExceptionFilterBy(steps, platform::Fault{accessViolation, &context, nullptr});
    QVERIFY(steps.isContextSaved);
    QCOMPARE(steps.calls.first(2), QStringList({u"begin"_s, u"captureContext"_s}));

    FakeCrashSteps without;
    without.isContextSaved = true;
    unhandledExceptionFilterBy(without, platform::Fault{accessViolation, nullptr, nullptr});
    QVERIFY(!without.isContextSaved);
}

void TestCrashPath::filterEndsOnAFailure_data()
{
    QTest::addColumn<QString>("step");

    for (const char *name :
         {"begin", "captureContext", "exceptionCodeName", "thrownTypeName", "faultMessage"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestCrashPath::filterEndsOnAFailure()
{
    QFETCH(QString, step);
    FakeCrashSteps steps;
    steps.failing.insert(step);
    unhandledExceptionFilterBy(steps, platform::Fault{platform::thrownObjectCode, nullptr, nullptr});
    QVERIFY(steps.calls.contains(step));
    QCOMPARE(steps.deeds(), ending);
}

void TestCrashPath::faultMessage_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("code");

    QTest::newRow("own program and function")
        << u"X"_s << u"/opt/ostrelle"_s << u"f"_s << u"Exception: X in f()"_s << 1123;
    QTest::newRow("own program alone")
        << u"X"_s << u"/opt/ostrelle"_s << QString() << u"Exception: X"_s << 1123;
    QTest::newRow("another module") << u"X"_s << u"/lib/own.so"_s << QString() << u"Exception: X in own.so"_s
                                    << 1123;
    QTest::newRow("another module and function")
        << u"X"_s << u"C:\\lib\\own.dll"_s << u"g"_s << u"Exception: X in own.dll: g()"_s << 1123;
    QTest::newRow("out of memory") << u"std::bad_alloc"_s << u"/opt/ostrelle"_s << u"f"_s
                                   << u"Exception: std::bad_alloc in f()"_s << 329;
    QTest::newRow("nearly out of memory")
        << u"std::bad_alloc2"_s << u"/opt/ostrelle"_s << QString() << u"Exception: std::bad_alloc2"_s << 1123;
    QTest::newRow("percent signs stay")
        << u"%1%2"_s << u"/x/%1"_s << u"%2"_s << u"Exception: %1%2 in %1: %2()"_s << 1123;
}

void TestCrashPath::faultMessage()
{
    QFETCH(QString, text);
    QFETCH(QString, module);
    QFETCH(QString, function);
    QFETCH(QString, message);
    QFETCH(int, code);
    FakeCrashSteps steps;
    steps.summary.modules[0] = module;
    steps.summary.functions[0] = function;
    steps.summary.frameNumbers[0] = 1;
    steps.ownModules.insert(module);
    handleFaultBy(steps, accessViolation, text, u"file"_s, 7);
    QCOMPARE(steps.boxes.value(0), boxHead() + message + u"\nFehlernummer -%1: in file:7\n\n"_s.arg(code));
    QVERIFY(steps.calls.contains(u"WriteReport true"_s));
    QCOMPARE(steps.deeds().last(), u"Exit -1"_s);
}

void TestCrashPath::foreignFault_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<int>("ownFrame"); // of the own module behind the foreign one, 0 for none
    QTest::addColumn<bool>("foreign");

    QTest::newRow("violation, no own module") << accessViolation << 0 << true;
    QTest::newRow("violation, own module 3 above") << accessViolation << 4 << false;
    QTest::newRow("violation, own module 4 above") << accessViolation << 5 << true;
    QTest::newRow("illegal instruction, own module next") << 0xC000001Du << 2 << true;
    QTest::newRow("thrown object") << 0xE06D7363u << 0 << false;
}

void TestCrashPath::foreignFault()
{
    QFETCH(quint32, code);
    QFETCH(int, ownFrame);
    QFETCH(bool, foreign);
    FakeCrashSteps steps;
    steps.summary.modules = {u"/x/foreign.so"_s, ownFrame != 0 ? u"own"_s : QString(), QString()};
    steps.summary.frameNumbers = {1, ownFrame, 0};
    steps.ownModules.insert(u"own"_s);
    handleFaultBy(steps, code, u"X"_s, u"file"_s, 7);
    QCOMPARE(steps.boxes.size(), 1);
    QCOMPARE(steps.boxes[0].startsWith("<ACHTUNG: Fehler in Fremdkomponente!>"_L1), foreign);
    QCOMPARE(steps.deeds(),
             foreign ? QStringList({u"Beep"_s, u"ShowBox"_s, u"BeginExit 1"_s, u"QuitApplication 1"_s,
                                    u"CleanUp"_s, u"DestroyApplication"_s, u"Exit 1"_s})
                     : deedsOf(place, true));
}

void TestCrashPath::foreignFlag_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<bool>("hasSummary");
    QTest::addColumn<bool>("staysOn");

    QTest::newRow("foreign: the report all the same") << u"foreign"_s << true << true;
    QTest::newRow("own: the flag goes") << u"own"_s << true << false;
    QTest::newRow("no summary: nobody asks") << QString() << false << true;
}

void TestCrashPath::foreignFlag()
{
    QFETCH(QString, module);
    QFETCH(bool, hasSummary);
    QFETCH(bool, staysOn);
    const ScopedTestFlag flag(370);
    FakeCrashSteps steps;
    steps.hasSummary = hasSummary;
    steps.summary.modules[0] = module;
    steps.ownModules.insert(u"own"_s);
    handleFaultBy(steps, accessViolation, u"X"_s, u"file"_s, 7);
    QCOMPARE(s3TestFlagsInstance()->contains(370), staysOn);
    QCOMPARE(steps.deeds(), deedsOf(place, true));
}

void TestCrashPath::failingSummary_data()
{
    QTest::addColumn<QString>("step");

    QTest::newRow("the walk") << u"captureStackSummary"_s;
    QTest::newRow("the decision") << u"isKnownModule"_s;
    QTest::newRow("the place") << u"applicationFilePath"_s;
    QTest::newRow("the turn") << u"begin"_s;
}

void TestCrashPath::failingSummary()
{
    QFETCH(QString, step);
    FakeCrashSteps steps;
    steps.failing.insert(step);
    steps.summary.modules[0] = u"own"_s;
    steps.summary.functions[0] = u"f"_s;
    steps.ownModules.insert(u"own"_s);
    handleFaultBy(steps, accessViolation, u"X"_s, u"file"_s, 7);
    QVERIFY(steps.calls.contains(step));
    const QString where = step == u"begin"_s ? u" in own: f()"_s : QString();
    QCOMPARE(steps.boxes.value(0), boxHead() + u"Exception: X"_s + where + u'\n' + place + u"\n\n"_s);
    QCOMPARE(steps.deeds(), deedsOf(place, true));
}

void TestCrashPath::foreignBoxThatFails()
{
    FakeCrashSteps steps;
    steps.failing.insert(u"versionText"_s);
    steps.summary.modules[0] = u"/x/foreign.so"_s;
    steps.summary.functions[0] = u"f"_s;
    handleFaultBy(steps, accessViolation, u"X"_s, u"file"_s, 7);
    QCOMPARE(steps.boxes,
             QStringList(boxHead() + u"Exception: X in foreign.so: f()\n"_s + place + u"\n\n"_s));
    QCOMPARE(steps.deeds(), deedsOf(place, true));
}

void TestCrashPath::locations_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("location");

    QTest::newRow("without a function")
        << 1111u << u"libraries/x"_s << 67 << QString() << u"Fehlernummer -1111: in libraries/x:67"_s;
    QTest::newRow("with a function") << 201u << u"x"_s << 1 << u"s3X::f"_s
                                     << u"Fehlernummer -201: in x:1 in s3X::f()"_s;
    QTest::newRow("the largest code")
        << 0xFFFFFFFFu << u"x"_s << -1 << QString() << u"Fehlernummer -4294967295: in x:-1"_s;
    QTest::newRow("percent signs, not ASCII")
        << 1u << u"ö%2"_s << 0 << u"%1"_s << u"Fehlernummer -1: in ö%2:0 in %1()"_s;
    QTest::newRow("all empty") << 0u << QString() << 0 << QString() << u"Fehlernummer -0: in :0"_s;
}

void TestCrashPath::locations()
{
    QFETCH(quint32, code);
    QFETCH(QString, file);
    QFETCH(int, line);
    QFETCH(QString, function);
    QFETCH(QString, location);
    FakeCrashSteps steps;
    errorAndExitBy(steps, false, code, u"TEXT"_s, file, line, function);
    QCOMPARE(steps.boxes, QStringList(boxHead() + u"TEXT\n"_s + location + u"\n\n"_s));
    QCOMPARE(steps.deeds(), deedsOf(location));
}

void TestCrashPath::errorBlock()
{
    FakeCrashSteps steps;
    steps.error = 1234;
    errorAndExitBy(steps, false, 329, u"%1 größer"_s, u"file"_s, 7, u"f"_s);
    QCOMPARE(errorText,
             u"\n%1 größer\nmessage 329\nFehlernummer -329: in file:7 in f()\n"
             "GetLastError(): 1234 txt=error words 1234\n"_s);
}

void TestCrashPath::lastErrorIsTakenFirst()
{
    FakeCrashSteps steps;
    fail(steps);
    QCOMPARE(steps.calls.first(), u"lastError"_s);
}

void TestCrashPath::windowTitle_data()
{
    QTest::addColumn<bool>("frozen");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("kept");

    QTest::newRow("first failure") << false << u"new"_s << u"new"_s;
    QTest::newRow("no window") << false << QString() << u"old"_s;
    QTest::newRow("second failure") << true << u"new"_s << u"old"_s;
}

void TestCrashPath::windowTitle()
{
    QFETCH(bool, frozen);
    QFETCH(QString, title);
    QFETCH(QString, kept);
    reportFrozen = frozen;
    activeWindowTitle = u"old"_s;
    errorText = u"first"_s;
    FakeCrashSteps steps;
    steps.title = title;
    fail(steps);
    QCOMPARE(activeWindowTitle, kept);
    QCOMPARE(errorText.startsWith("first\nTEXT\n"_L1), frozen);
    QCOMPARE(steps.calls.contains(u"foregroundWindowTitle"_s), !frozen);
}

void TestCrashPath::stateIsFrozen()
{
    // Only while the failure's own entry is recorded the histories are open.
    FakeCrashSteps steps;
    reportFrozen = true;
    steps.duringBox = [](FakeCrashSteps &) {
        QVERIFY(reportFrozen);
    };
    steps.duringRecord = [](FakeCrashSteps &) {
        QVERIFY(!reportFrozen);
    };
    fail(steps);
    QVERIFY(reportFrozen);
    QVERIFY(steps.duringBox == nullptr && steps.duringRecord == nullptr);

    FakeCrashSteps failing;
    reportFrozen = false;
    failing.failing.insert(u"RecordService"_s);
    fail(failing);
    QVERIFY(reportFrozen);
}

void TestCrashPath::secondFailureWhileTheBoxStands()
{
    FakeCrashSteps steps;
    steps.title = u"first title"_s;
    steps.duringBox = [](FakeCrashSteps &inner) {
        inner.title = u"second title"_s;
        errorAndExitBy(inner, false, 201, u"SECOND"_s, u"other"_s, 8, QString());
    };
    fail(steps);
    QCOMPARE(steps.boxes,
             QStringList({boxHead() + u"TEXT\n"_s + place + u"\n\n"_s,
                          boxHead() + u"SECOND\nFehlernummer -201: in other:8\n\n"_s}));
    QCOMPARE(activeWindowTitle, u"first title"_s);
    QCOMPARE(errorText,
             u"\nTEXT\nmessage 1123\nFehlernummer -1123: in file:7\nGetLastError(): 0 txt=error words 0\n"
             "\nSECOND\nmessage 201\nFehlernummer -201: in other:8\nGetLastError(): 0 txt=error words 0\n"_s);
}

void TestCrashPath::boxWithRegisters_data()
{
    QTest::addColumn<bool>("withRegisters");
    QTest::addColumn<bool>("hasContext");
    QTest::addColumn<int>("readable");
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("end");
    const QString registers = u"[registers]\n\n"_s;
    const QString first = u"0000000000400ff0:  f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff\n"_s;
    const QString second = u"0000000000401000:  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n"_s;
    const QString words = u"[frame words]"_s;
    const QString none;

    QTest::newRow("not wanted") << false << true << 100 << none << none;
    QTest::newRow("no context") << true << false << 100 << none << none;
    QTest::newRow("all") << true << true << 100 << none << registers + first + second + words;
    QTest::newRow("one row readable") << true << true << 16 << none << registers + first + words;
    QTest::newRow("one and a half") << true << true << 24 << none
                                    << registers + first + u"0000000000401000:  00 01 02 03 04 05 06 07\n"_s
            + words;
    QTest::newRow("no memory readable") << true << true << 0 << none << registers + words;
    QTest::newRow("registers fail") << true << true << 100 << u"registers"_s << first + second + words;
    QTest::newRow("memory fails") << true << true << 100 << u"readMemory"_s << registers + words;
    QTest::newRow("frame words fail") << true << true << 100 << u"frameWords"_s << registers + first + second;
    QTest::newRow("the question fails") << true << true << 100 << u"hasContext"_s << none;
}

void TestCrashPath::boxWithRegisters()
{
    QFETCH(bool, withRegisters);
    QFETCH(bool, hasContext);
    QFETCH(int, readable);
    QFETCH(QString, failing);
    QFETCH(QString, end);
    FakeCrashSteps steps;
    steps.isContextSaved = hasContext;
    steps.readableBytes = readable;
    steps.failing.insert(failing);
    fail(steps, withRegisters);
    QCOMPARE(steps.boxes, QStringList(boxHead() + u"TEXT\n"_s + place + u"\n\n"_s + end));
    QCOMPARE(steps.deeds(), deedsOf(place, withRegisters));
}

void TestCrashPath::orderOfDeeds()
{
    FakeCrashSteps steps;
    fail(steps);
    QCOMPARE(steps.deeds(), deedsOf(place));
}

void TestCrashPath::eachStepFailing_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QStringList>("added"); // behind the step's own deed
    const QString tail = u"TEXT\n"_s + place + u"\n\n"_s;
    const QString whole = boxHead() + tail;

    for (const char *name : {"lastError", "begin", "foregroundWindowTitle", "message", "lastErrorText"})
        QTest::newRow(name) << QString::fromLatin1(name) << whole << QStringList();
    QTest::newRow("translate") << u"translate"_s << tail << QStringList();
    QTest::newRow("RecordService") << u"RecordService"_s << whole << QStringList();
    QTest::newRow("Beep") << u"Beep"_s << whole << QStringList();
    QTest::newRow("ShowBox") << u"ShowBox"_s << whole << QStringList();
    QTest::newRow("WriteReport") << u"WriteReport"_s << whole << QStringList(u"ShowBox"_s);
}

void TestCrashPath::eachStepFailing()
{
    QFETCH(QString, step);
    QFETCH(QString, box);
    QFETCH(QStringList, added);
    FakeCrashSteps steps;
    steps.failing.insert(step);
    fail(steps);
    QCOMPARE(steps.boxes.value(0), box);
    QStringList deeds = deedsOf(place);
    for (const QString &deed : added)
        deeds.insert(4, deed);
    QCOMPARE(steps.deeds(), deeds);
    if (!added.isEmpty())
        QCOMPARE(steps.boxes.value(1), u"<Die Diagnosemeldung konnte nicht vollständig beendet werden>"_s);
    QVERIFY(errorText.contains(place));
}

void TestCrashPath::everyStepFailing()
{
    FakeCrashSteps steps;
    steps.isContextSaved = true;
    for (const char *name : {"lastError", "begin", "foregroundWindowTitle", "message", "lastErrorText",
                             "RecordService", "translate", "hasContext", "Beep", "ShowBox", "WriteReport",
                             "BeginExit", "QuitApplication", "CleanUp", "DestroyApplication", "Exit"})
        steps.failing.insert(QString::fromLatin1(name));
    fail(steps, true);
    QCOMPARE(steps.boxes, QStringList(u"TEXT\n"_s + place + u"\n\n"_s));
    QCOMPARE(errorText, u"\nTEXT\n\n"_s + place + u"\nGetLastError(): 0 txt=\n"_s);
    QCOMPARE(steps.deeds(), deedsOf(place, true) + QStringList(u"ExitAtOnce -1"_s));
}

void TestCrashPath::incompleteReportWithoutABox()
{
    // The box that tells of it may fail as well, and then even its words.
    FakeCrashSteps mute;
    mute.failing = {u"WriteReport"_s, u"ShowBox"_s, u"translate"_s};
    fail(mute);
    QCOMPARE(mute.deeds(), deedsOf(place));
}

void TestCrashPath::exitOrder()
{
    FakeCrashSteps steps;
    exitProgramBy(steps, 5);
    QCOMPARE(steps.calls,
             QStringList({u"BeginExit 5"_s, u"QuitApplication 5"_s, u"CleanUp"_s, u"DestroyApplication"_s,
                          u"Exit 5"_s}));
}

void TestCrashPath::eachExitStepFailing_data()
{
    QTest::addColumn<QStringList>("steps");

    QTest::newRow("BeginExit") << QStringList(u"BeginExit"_s);
    QTest::newRow("QuitApplication") << QStringList(u"QuitApplication"_s);
    QTest::newRow("CleanUp") << QStringList(u"CleanUp"_s);
    QTest::newRow("DestroyApplication") << QStringList(u"DestroyApplication"_s);
    QTest::newRow("Exit") << QStringList(u"Exit"_s);
    QTest::newRow("all") << QStringList(
        {u"BeginExit"_s, u"QuitApplication"_s, u"CleanUp"_s, u"DestroyApplication"_s, u"Exit"_s});
}

void TestCrashPath::eachExitStepFailing()
{
    QFETCH(QStringList, steps);
    FakeCrashSteps fake;
    fake.failing = QSet<QString>(steps.begin(), steps.end());
    exitProgramBy(fake, -1);
    QStringList expected = ending;
    if (steps.contains(u"Exit"_s))
        expected += u"ExitAtOnce -1"_s;
    QCOMPARE(fake.calls, expected);
}

void TestCrashPath::invalidParameter_data()
{
    QTest::addColumn<bool>("hasExpression");
    QTest::addColumn<bool>("hasFunction");
    QTest::addColumn<bool>("hasFile");
    QTest::addColumn<QString>("text");
    const QString alone = u"Invalid parameter detected\n"_s;

    QTest::newRow("all null") << false << false << false << alone;
    QTest::newRow("no expression") << false << true << true << alone;
    QTest::newRow("no function") << true << false << true << alone;
    QTest::newRow("no file") << true << true << false << alone;
    QTest::newRow("all given") << true << true << true
                               << u"größe > %2\nfunction=f file=C:\\x.c line=4294967295\n"_s + alone;
}

void TestCrashPath::invalidParameter()
{
    QFETCH(bool, hasExpression);
    QFETCH(bool, hasFunction);
    QFETCH(bool, hasFile);
    QFETCH(QString, text);
    QCOMPARE(invalidParameterText(hasExpression ? L"größe > %2" : nullptr, hasFunction ? L"f" : nullptr,
                                  hasFile ? L"C:\\x.c" : nullptr, 4294967295U),
             text);
}

void TestCrashPath::invalidParameterIsAnAssertion_data()
{
    QTest::addColumn<bool>("isTold");
    QTest::addColumn<QString>("text");

    QTest::newRow("null strings") << false << u"Invalid parameter detected\n"_s;
    QTest::newRow("all given") << true
                               << u"größe > 0\nfunction=f file=x.c line=12\nInvalid parameter detected\n"_s;
}

void TestCrashPath::invalidParameterIsAnAssertion()
{
    QFETCH(bool, isTold);
    QFETCH(QString, text);
    const QString message = thrownMessage([&] {
        s3ExceptionHandlerWinPrivate::invalidParameterHandler(
            isTold ? L"größe > 0" : nullptr, isTold ? L"f" : nullptr, isTold ? L"x.c" : nullptr, 12, 0);
    });
    const QRegularExpression words(
        u"^\nFehlernummer -201: in libraries/core/src/error/s3exceptionhandlerwin:[1-9][0-9]* in "
        "s3ExceptionHandlerWinPrivate::invalidParameterHandler\\(\\)\n%1\n$"_s.arg(
            QRegularExpression::escape(text)));
    QVERIFY2(words.match(message).hasMatch(), qPrintable(message));
}

void TestCrashPath::contextOfForcedFaults()
{
    s3FaultContext context;
    context.rip = 42;
    s3SetFirstFrameAddress(7);
    QCOMPARE(captureContext(&context), 1);
    QVERIFY(savedContext() != nullptr);
    QCOMPARE(savedContext()->rip, 42U);
    QCOMPARE(s3FirstFrameAddress(), 0U);
    s3SetFirstFrameAddress(7);
    QCOMPARE(captureContext(nullptr), 1);
    QVERIFY(savedContext() == nullptr);
    QCOMPARE(s3FirstFrameAddress(), 0U);
}

void TestCrashPath::cleanUpOfTheTempDir()
{
    const QTemporaryDir parent;
    const auto restore = qScopeGuard([] { glob_file_tempDir.clear(); });
    QVERIFY(makeTempDirIn(parent.path()));
    systemCrashSteps().cleanUp();
    QVERIFY(!QDir(glob_file_tempDir).exists());
}

void TestCrashPath::cleanUpByTheHook()
{
    static int hooks = 0;
    const QTemporaryDir parent;
    const auto restore = qScopeGuard([] {
        exitHook = nullptr;
        glob_file_tempDir.clear();
    });
    exitHook = [] {
        ++hooks;
    };
    QVERIFY(makeTempDirIn(parent.path()));
    systemCrashSteps().cleanUp();
    QCOMPARE(hooks, 1);
    QVERIFY(QDir(glob_file_tempDir).exists()); // the hook stands in for it
}

QTEST_GUILESS_MAIN(TestCrashPath)
#include "tst_crashpath.moc"
