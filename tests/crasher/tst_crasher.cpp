#include "crash.h"
#include "record.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// For what hangs behind something that takes its time on a busy machine.
constexpr int shortLimit = 30000;

// Where a fault was, as far as the platform's symbols tell: " in f()" on Linux.
QString whereForm(const QString &function)
{
    return isWindows ? u"( in crasher\\.exe(: [^\n]*\\(\\))?)?"_s
                     : u" in "_s + QRegularExpression::escape(function) + u"\\(\\)"_s;
}

}

class TestCrasher final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void faults_data();
    void faults();
    void foreignFaults_data();
    void foreignFaults();
    void assertions_data();
    void assertions();
    void failureInReport_data();
    void failureInReport();
    void secondFailureWhileTheBoxStands();
    void twoThreadsAtOnce();
    void exits_data();
    void exits();
    void hangInReport();
    void leftToTheSystem_data();
    void leftToTheSystem();
    void formerHandler();
    void seventhEntry_data();
    void seventhEntry();
    void recordsAreAppended();
    void withoutDisplay();
    void manyAtOnce();
};

// The first process of a machine may take very long to come up.
void TestCrasher::initTestCase()
{
    QVERIFY(waysToFail().contains(u"nullWrite"_s));
    Crash crash;
    crash.run(u"nothing"_s);
    QVERIFY2(crash.endedWith(0), crash.told().constData());
    QCOMPARE(crash.standardOutput, "still here\n"_ba);
}

void TestCrasher::faults_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("chain"); // functions on the stack in their order, on Linux
    QTest::addColumn<bool>("isMachineFault");
    QTest::addColumn<QString>("missing"); // why this platform does not have it

    const QString none;
    const auto row = [&](const char *failure, const QString &name, const QStringList &chain,
                         const QString &missing = QString(), bool isMachineFault = true, int code = 1123) {
        // Other than a fault of the machine, the rest is told by the library that gives up.
        const QString where = isMachineFault && !chain.isEmpty() ? whereForm(chain[0]) : none;
        QTest::newRow(failure) << QString::fromLatin1(failure) << u"Exception: "_s + name + where << code
                               << chain << isMachineFault << missing;
    };
    // The functions of the crash program are its own alone.
    const auto local = [](const QString &function) {
        return u"(anonymous namespace)::"_s + function;
    };
    const QString mainFunction = u"main"_s;
    const QString worker = u"Worker::run"_s;
    const QString onlyLinux = isWindows ? u"not to be had on this platform"_s : none;
    const QString onlyWindows = isWindows ? none : u"Windows alone has it"_s;
    const QString wineCannot = isWindows ? u"Wine ends the process without asking anybody"_s : none;
    const QString nowhere = u"( in [^\n]*)?"_s;

    row("nullWrite", u"ACCESS_VIOLATION"_s, {u"writeTo"_s, local(u"nullWrite"_s), mainFunction});
    row("nullRead", u"ACCESS_VIOLATION"_s, {u"readFrom"_s, local(u"nullRead"_s), mainFunction});
    row("jumpToNull", u"ACCESS_VIOLATION"_s + nowhere, {});
    row("stackOverflow", u"STACK_OVERFLOW"_s, {local(u"recurse"_s), local(u"recurse"_s)}, wineCannot);
    row("stackOverflowOnWorker", u"STACK_OVERFLOW"_s, {local(u"recurse"_s), local(u"recurse"_s)}, wineCannot);
    row("illegalInstruction", u"ILLEGAL_INSTRUCTION"_s, {local(u"illegalInstruction"_s), mainFunction});
    // The system tells a program apart from one that uses a bad address only on Windows.
    row("privilegedInstruction", isWindows ? u"PRIVILEGED_INSTRUCTION"_s : u"ACCESS_VIOLATION"_s,
        {local(u"privilegedInstruction"_s), mainFunction});
    row("divisionByZero", u"INTEGER_DIVIDE_BY_ZERO"_s, {local(u"divisionByZero"_s), mainFunction});
    row("breakpoint", u"BREAKPOINT"_s, {local(u"breakpoint"_s), mainFunction});
    row("singleStep", u"SINGLE_STEP"_s, {local(u"singleStep"_s), mainFunction});
    row("floatInvalidOperation", u"FLOAT_INVALID_OPERATION"_s,
        {local(u"divide"_s), local(u"floatInvalidOperation"_s), mainFunction});
    row("floatDivisionByZero", u"FLOAT_DIVIDE_BY_ZERO"_s,
        {local(u"divide"_s), local(u"floatDivisionByZero"_s), mainFunction});
    row("floatOverflow", u"FLOAT_OVERFLOW"_s, {local(u"divide"_s), local(u"floatOverflow"_s), mainFunction});
    row("floatUnderflow", u"FLOAT_UNDERFLOW"_s,
        {local(u"divide"_s), local(u"floatUnderflow"_s), mainFunction});
    row("floatInexactResult", u"FLOAT_INEXACT_RESULT"_s,
        {local(u"divide"_s), local(u"floatInexactResult"_s), mainFunction});
    row("misalignment", u"DATATYPE_MISALIGNMENT"_s, {local(u"misalignment"_s), mainFunction}, onlyLinux);
    row("bus", u"IN_PAGE_ERROR"_s, {u"writeTo"_s, local(u"bus"_s), mainFunction}, onlyLinux);
    row("guardPage", u"GUARD_PAGE_VIOLATION"_s, {u"writeTo"_s, local(u"guardPage"_s), mainFunction},
        onlyWindows);
    row("sentSignal", u"ACCESS_VIOLATION"_s + nowhere, {}, onlyLinux);
    row("raiseUnknown", u"[^\n]+(\n[^\n]*)*"_s, {}, onlyWindows);
    row("raiseNameless", u"0xffffffffe1234567"_s + nowhere, {}, onlyWindows);
    row("nullWriteOnWorker", u"ACCESS_VIOLATION"_s, {u"writeTo"_s, local(u"nullWrite"_s), local(worker)});
    row("damagedBlocks", u"ACCESS_VIOLATION"_s,
        {u"writeTo"_s, local(u"nullWrite"_s), local(u"damagedBlocks"_s), mainFunction});
    row("pureCall", u"ACCESS_VIOLATION"_s,
        {u"s3ExceptionHandlerWinPrivate::pureCallHandler"_s, mainFunction});
    const QString ownType = u"\\(anonymous namespace\\)::OwnException"_s;
    const QString gaveUp = isWindows ? u"[^\n]+"_s : u"Aborted"_s;
    row("badAlloc", u"std::bad_alloc"_s + nowhere, {local(u"badAlloc"_s), mainFunction}, none, false, 329);
    row("ownException", ownType + nowhere, {local(u"ownException"_s), mainFunction}, none, false);
    // Qt takes the exception, and with it the functions off the stack, before it gives up.
    row("ownExceptionOnWorker", ownType + nowhere, {}, none, false);
    row("thrownNumber", u"int"_s + nowhere, {local(u"thrownNumber"_s), mainFunction}, none, false);
    row("abort", gaveUp + nowhere, {local(u"giveUp"_s), mainFunction}, none, false);
    row("terminate", gaveUp + nowhere, {local(u"giveUpWithoutException"_s), mainFunction}, none, false);
}

void TestCrasher::faults()
{
    QFETCH(QString, failure);
    QFETCH(QString, text);
    QFETCH(int, code);
    QFETCH(QStringList, chain);
    QFETCH(bool, isMachineFault);
    QFETCH(QString, missing);
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    if (isMachineFault && isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QVERIFY(crash.standardOutput.isEmpty()); // nothing behind the failure was reached
    const QString location = locationOf(code, filterPlace());
    QCOMPARE(crash.texts.size(), 1);
    QVERIFY2(matches(crash.texts[0], boxForm(text, location, registerRows())), crash.told().constData());

    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(records.size(), 1);
    const QRegularExpression form = recordForm(errorBlock(text, code, location), historyLine(location), true);
    QVERIFY(form.isValid());
    QVERIFY2(form.match(records[0]).hasMatch(), records[0].toUtf8().constData());
    if (isWindows)
        return; // the names of this compiler's functions are not to be had
    qsizetype place = records[0].indexOf("Call Stack"_L1);
    for (const QString &function : std::as_const(chain)) {
        place = records[0].indexOf(u") "_s + function + u'+', place + 1);
        QVERIFY2(place >= 0, (function + u" in\n"_s + records[0]).toUtf8().constData());
    }
}

void TestCrasher::foreignFaults_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("ownFrame"); // the number of our first one
    QTest::addColumn<bool>("isForeign");

    QTest::newRow("close to our frames")
        << u"foreignNear"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << 2 << false;
    QTest::newRow("three frames behind ours")
        << u"foreignStillNear"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << 4 << false;
    QTest::newRow("four frames behind ours")
        << u"foreignJustFar"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << 5 << true;
    QTest::newRow("far from our frames")
        << u"foreignFar"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << 13 << true;
    QTest::newRow("another fault close to our frames")
        << u"foreignIllegal"_s << u"ILLEGAL_INSTRUCTION"_s << u"foreignIllegal"_s << 2 << true;
}

void TestCrasher::foreignFaults()
{
    QFETCH(QString, failure);
    QFETCH(QString, name);
    QFETCH(QString, function);
    QFETCH(int, ownFrame);
    QFETCH(bool, isForeign);
    if (isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(isForeign ? 1 : -1), crash.told().constData());
    QVERIFY(crash.standardOutput.isEmpty());
    QCOMPARE(crash.texts.size(), 1);
    const QString library = QRegularExpression::escape(QLatin1StringView(OSTRELLE_FOREIGN));
    // What Wine's dbghelp makes of the name of an exported function is not ours.
    const auto functionForm = [](const QString &before, const QString &words) {
        return isWindows ? u"(%1[^\n]*\\(\\))?"_s.arg(before) : before + words + u"\\(\\)"_s;
    };
    if (isForeign) {
        const QString labels
            = u"\n\nDateibeschreibung\t  [^\n]*\nDateiversion\t  [^\n]*\nProduktname\t  [^\n]*\n"
              "Produktversion\t  [^\n]*\nHerstellername\t  [^\n]*\n"_s;
        const QString head
            = u"^ACHTUNG: Fehler in Fremdkomponente!\n\n"
              "In einer Fremdkomponente ist ein nicht behebbarer Fehler aufgetreten\\.\n\n%1\n\n%2"
              "\n\nDas laufende Programm muss daher jetzt beendet werden\\.\n"
              "Bitte starten Sie die GUI anschließend neu\\.\n\n\nDetails:\n"_s.arg(
                  library, name + functionForm(u" in "_s, function));
        const QString form = head + u"Arbeitsplatz\t  [^\n]+\nRIP\t\t  0x[0-9a-f]{16}\n"_s
            + u"\n#1  [^\n]*[/\\\\]"_s + library + functionForm(u": "_s, function) + labels
            + u"\n#%1  [^\n]*[/\\\\]crasher"_s.arg(ownFrame) + (isWindows ? u"\\.exe"_s : QString())
            + functionForm(u": "_s, u"[^\n]*foreign[^\n]*"_s) + labels
            + u"\n[^\n]*\n(Memory usage: .*)?\\z"_s;
        QVERIFY2(matches(crash.texts[0], form), crash.told().constData());
        QVERIFY2(!QFile::exists(crash.reportFile()), "a foreign fault is not diagnosed");
    } else {
        const QString location = locationOf(1123, filterPlace());
        const QString text = u"Exception: %1 in %2%3"_s.arg(name, library, functionForm(u": "_s, function));
        QVERIFY2(matches(crash.texts[0], boxForm(text, location, registerRows())), crash.told().constData());
        const QStringList records = recordsOf(readReport(crash.reportFile()));
        QCOMPARE(records.size(), 1);
        QVERIFY2(recordForm(errorBlock(text, 1123, location), historyLine(location), true)
                     .match(records[0])
                     .hasMatch(),
                 records[0].toUtf8().constData());
    }
}

void TestCrasher::assertions_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("location");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("missing"); // why this platform does not have it

    const QString none;

    const QString handler = u"libraries/core/src/error/s3exceptionhandlerwin:\\d+ in "
                            "s3ExceptionHandlerWinPrivate::invalidParameterHandler\\(\\)"_s;
    QTest::newRow("without a text") << u"assertion"_s << u"Bedingung nicht erfuellt\n1 == 2\n"_s
                                    << locationOf(1111, u"file:7 in f()"_s) << 1111 << none;
    QTest::newRow("with a text") << u"assertionWithText"_s << u"Bedingung nicht erfuellt\n1 == 2\nGröße\n"_s
                                 << locationOf(1111, u"file:7 in f()"_s) << 1111 << none;
    QTest::newRow("on a worker") << u"assertionOnWorker"_s << u"Bedingung nicht erfuellt\n1 == 2\n"_s
                                 << locationOf(1111, u"file:7 in f()"_s) << 1111 << none;
    QTest::newRow("a place not to be reached")
        << u"notReached"_s << u"try/catch"_s << locationOf(201, u"file:8"_s) << 201 << none;
    QTest::newRow("invalid parameter")
        << u"invalidParameter"_s
        << u"size > 0\nfunction=fopen file=größe\\.c line=12\nInvalid parameter detected\n"_s
        << u"Fehlernummer -201: in "_s + handler << 201 << none;
    QTest::newRow("invalid parameter, null texts")
        << u"invalidParameterWithoutTexts"_s << u"Invalid parameter detected\n"_s
        << u"Fehlernummer -201: in "_s + handler << 201 << none;
    QTest::newRow("invalid parameter, the handler that is installed")
        << u"refusedParameter"_s << u"Invalid parameter detected\n"_s << u"Fehlernummer -201: in "_s + handler
        << 201 << (isWindows ? none : u"Windows alone has such a handler"_s);
}

void TestCrasher::assertions()
{
    QFETCH(QString, failure);
    QFETCH(QString, text);
    QFETCH(QString, location);
    QFETCH(int, code);
    QFETCH(QString, missing);
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing));
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QVERIFY(crash.standardOutput.isEmpty());
    QCOMPARE(crash.texts.size(), 1);
    QVERIFY2(matches(crash.texts[0], boxForm(text, location)), crash.told().constData());
    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(records.size(), 1);
    // A history line holds 90 characters of the location.
    const QRegularExpression form = recordForm(errorBlock(text, code, location),
                                               historyLine(u"Fehlernummer -%1: [^\n]*"_s.arg(code)), false);
    QVERIFY2(form.match(records[0]).hasMatch(), records[0].toUtf8().constData());
}

void TestCrasher::failureInReport_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<bool>("isMachineFault");

    QTest::newRow("machine fault") << u"faultInReport"_s << true;
    QTest::newRow("exception") << u"throwInReport"_s << false;
    QTest::newRow("abort") << u"abortInReport"_s << true; // becomes a fault, so that a catch-all takes it
}

void TestCrasher::failureInReport()
{
    QFETCH(QString, failure);
    QFETCH(bool, isMachineFault);
    if (isMachineFault && isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 2);
    QVERIFY(crash.texts[0].startsWith("ACHTUNG: DIAGNOSEMELDUNG!\n"_L1));
    QCOMPARE(crash.texts[1].trimmed(), u"Die Diagnosemeldung konnte nicht vollständig beendet werden"_s);
    QVERIFY(!QFile::exists(crash.reportFile()));
}

void TestCrasher::secondFailureWhileTheBoxStands()
{
    Crash crash;
    crash.runUntilTwoBoxes(u"secondFailure"_s);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 2);
    const QString first = u"Bedingung nicht erfuellt\nfirst\n"_s;
    const QString second = u"Bedingung nicht erfuellt\nsecond\n"_s;
    const QString firstPlace = locationOf(1111, u"file:7 in f()"_s);
    const QString secondPlace = locationOf(1111, u"other:8 in g()"_s);
    QVERIFY2(matches(crash.texts[0], boxForm(first, firstPlace)), crash.told().constData());
    QVERIFY2(matches(crash.texts[1], boxForm(second, secondPlace)), crash.told().constData());
    // The first one that is answered writes the record and ends both.
    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(records.size(), 1);
    const QRegularExpression form
        = recordForm(errorBlock(first, 1111, firstPlace) + errorBlock(second, 1111, secondPlace),
                     historyLine(firstPlace) + historyLine(secondPlace), false);
    QVERIFY2(form.match(records[0]).hasMatch(), records[0].toUtf8().constData());
}

void TestCrasher::twoThreadsAtOnce()
{
    Crash crash;
    crash.runUntilTwoBoxes(u"twoAtOnce"_s);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 2);
    const QString text = u"Bedingung nicht erfuellt\nboth\n"_s;
    const QString place = locationOf(1111, u"file:7 in f()"_s);
    for (const QString &box : std::as_const(crash.texts))
        QVERIFY2(matches(box, boxForm(text, place)), crash.told().constData());
    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(records.size(), 1);
    QVERIFY2(recordForm(errorBlock(text, 1111, place) + errorBlock(text, 1111, place),
                        historyLine(place) + historyLine(place), false)
                 .match(records[0])
                 .hasMatch(),
             records[0].toUtf8().constData());
}

void TestCrasher::exits_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<bool>("isMachineFault");

    QTest::newRow("exit alone") << u"exitAlone"_s << false;
    QTest::newRow("the clean-up faults") << u"faultAtExit"_s << true;
}

void TestCrasher::exits()
{
    QFETCH(QString, failure);
    QFETCH(bool, isMachineFault);
    if (isMachineFault && isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(5), crash.told().constData());
    QCOMPARE(crash.texts, QStringList());
    QVERIFY(!QFile::exists(crash.reportFile()));
}

// The box has been there before the hang. This process would never end without the limit.
void TestCrasher::hangInReport()
{
    Crash crash;
    crash.run(u"hangInReport"_s, shortLimit);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 1);
    QVERIFY(crash.texts[0].startsWith("ACHTUNG: DIAGNOSEMELDUNG!\n"_L1));
    QVERIFY(!QFile::exists(crash.reportFile()));
}

void TestCrasher::leftToTheSystem_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<bool>("withFlag");
    QTest::addColumn<bool>("isHere");

    QTest::newRow("flag 191") << u"nullWrite"_s << true << true;
    QTest::newRow("handlers removed") << u"removedHandler"_s << false << true;
    QTest::newRow("handler returns, nothing there before") << u"noFormerHandler"_s << false << !isWindows;
}

void TestCrasher::leftToTheSystem()
{
    QFETCH(QString, failure);
    QFETCH(bool, withFlag);
    QFETCH(bool, isHere);
    if (!isHere)
        QSKIP("the run-time library has a filter of its own there");
    if (isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    if (withFlag)
        crash.environment.insert(u"CRASHER_FLAG_191"_s, u"1"_s);
    crash.run(failure);
    QVERIFY2(crash.ended && endedBySystem(crash.process), crash.told().constData());
    QCOMPARE(crash.texts, QStringList());
    QVERIFY(!QFile::exists(crash.reportFile()));
}

void TestCrasher::formerHandler()
{
    if (isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(u"formerHandler"_s);
    QVERIFY2(crash.endedWith(7), crash.told().constData());
}

void TestCrasher::seventhEntry_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<int>("records");

    QTest::newRow("in the report") << u"failsAgainInReport"_s << 0;
    QTest::newRow("behind it") << u"failsAgainAtExit"_s << 6;
}

// The process fails more often than it is told.
void TestCrasher::seventhEntry()
{
    QFETCH(QString, failure);
    QFETCH(int, records);
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    const QString text = u"Bedingung nicht erfuellt\n1 == 2\n"_s;
    const QString location = locationOf(1111, u"file:7 in f()"_s);
    QCOMPARE(crash.texts.size(), 6);
    for (const QString &box : std::as_const(crash.texts))
        QVERIFY2(matches(box, boxForm(text, location)), crash.told().constData());
    const QStringList written = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(written.size(), records);
    for (int i = 0; i < records; ++i) {
        // Each tells of those before it as well.
        const QRegularExpression form = recordForm(errorBlock(text, 1111, location).repeated(i + 1),
                                                   historyLine(location).repeated(i + 1), false);
        QVERIFY2(form.match(written[i]).hasMatch(), written[i].toUtf8().constData());
    }
}

void TestCrasher::recordsAreAppended()
{
    const QTemporaryDir folder;
    const QString location = locationOf(1111, u"file:7 in f()"_s);
    const QRegularExpression form = recordForm(
        errorBlock(u"Bedingung nicht erfuellt\n1 == 2\n"_s, 1111, location), historyLine(location), false);
    for (int i = 1; i <= 2; ++i) {
        Crash crash(folder.path());
        crash.run(u"assertion"_s);
        QVERIFY2(crash.endedWith(-1), crash.told().constData());
        const QStringList records = recordsOf(readReport(crash.reportFile()));
        QCOMPARE(records.size(), i);
        for (const QString &record : records)
            QVERIFY2(form.match(record).hasMatch(), record.toUtf8().constData());
    }
}

void TestCrasher::withoutDisplay()
{
    if (isWindows)
        QSKIP("there is no such thing on this platform");
    Crash crash;
    crash.runWithoutDisplay(u"assertion"_s);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QVERIFY(crash.standardError.contains("ACHTUNG: DIAGNOSEMELDUNG!\n"));
    QCOMPARE(recordsOf(readReport(crash.reportFile())).size(), 1);
}

void TestCrasher::manyAtOnce()
{
    constexpr std::size_t processes = 16;
    const QTemporaryDir folder;
    std::vector<std::unique_ptr<Crash>> crashes;
    while (crashes.size() < processes)
        crashes.push_back(std::make_unique<Crash>(folder.path()));
    for (const auto &crash : crashes)
        crash->start(isSanitized ? u"badAlloc"_s : u"nullWrite"_s, generousLimit);
    const QDeadlineTimer deadline(patience);
    const auto isRunning = [](const std::unique_ptr<Crash> &crash) {
        return crash->poll();
    };
    while (std::ranges::count_if(crashes, isRunning) > 0 && !deadline.hasExpired()) { }
    for (const auto &crash : crashes) {
        crash->finish();
        QVERIFY2(crash->endedWith(-1), crash->told().constData());
        QCOMPARE(crash->texts.size(), 1);
    }
    const QStringList records = recordsOf(readReport(crashes.front()->reportFile()));
    QCOMPARE(records.size(), static_cast<qsizetype>(processes));
    QSet<QString> writers;
    const QString location = locationOf(isSanitized ? 329 : 1123, filterPlace());
    const QRegularExpression form = recordForm(
        errorBlock(u"Exception: [^\n]*"_s, isSanitized ? 329 : 1123, location), historyLine(location), true);
    for (const QString &record : records) {
        QVERIFY2(form.match(record).hasMatch(), record.toUtf8().constData());
        writers.insert(record.section(u" # "_s, 3, 3));
    }
    QCOMPARE(writers.size(), static_cast<qsizetype>(processes));
}

QTEST_GUILESS_MAIN(TestCrasher)
#include "tst_crasher.moc"
