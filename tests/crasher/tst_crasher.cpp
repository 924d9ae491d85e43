#include "boxes.h"

#include "protocol/reportencoding.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr bool isWindows = OSTRELLE_WINDOWS != 0;
constexpr bool isSanitized = OSTRELLE_SANITIZED != 0;

// Far beyond what a crash takes on a busy machine; the program's own limit is below it, so that a hang shows
// as what it is.
constexpr int patience = 300000;
constexpr int generousLimit = 240000;
constexpr int productLimit = 0;
// For what hangs behind something that takes its time on a busy machine.
constexpr int shortLimit = 30000;

QString besideSuite(const char *fileName)
{
    return QCoreApplication::applicationDirPath() + u'/' + QLatin1StringView(fileName);
}

// One run of the crash program.
class Crash
{
public:
    explicit Crash(const QString &folder = QString()) : m_folder(folder.isEmpty() ? m_own.path() : folder)
    {
        environment.remove(u"WAYLAND_DISPLAY"_s);
        const QString options = environment.value(u"ASAN_OPTIONS"_s);
        // What a crash leaves behind is no leak of the product.
        environment.insert(u"ASAN_OPTIONS"_s,
                           (options.isEmpty() ? options : options + u':')
                               + u"detect_leaks=0:handle_segv=0:handle_abort=0"_s);
    }

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QProcess process;

    void start(const QString &failure, int limit = generousLimit)
    {
        process.setProcessEnvironment(environment);
        process.start(besideSuite(OSTRELLE_CRASHER),
                      {failure, m_folder, QString::number(limit), besideSuite(OSTRELLE_FOREIGN)});
    }

    // Runs to the end and answers each box.
    void run(const QString &failure, int limit = generousLimit)
    {
        const std::unique_ptr<Boxes> boxes = Boxes::make(m_folder, environment);
        start(failure, limit);
        for (int waited = 0; !hasEnded() && waited < patience; waited += pause) {
            boxes->answer(process);
            process.waitForFinished(pause);
        }
        finish(*boxes);
    }

    // Runs with the first box standing until a second one is there as well.
    void runUntilTwoBoxes(const QString &failure)
    {
        const std::unique_ptr<Boxes> boxes = Boxes::make(m_folder, environment);
        start(failure);
        for (int waited = 0; !hasEnded() && waited < patience && boxes->texts(process).size() < 2;
             waited += pause)
            process.waitForFinished(pause);
        for (int waited = 0; !hasEnded() && waited < patience; waited += pause) {
            boxes->answer(process);
            process.waitForFinished(pause);
        }
        finish(*boxes);
    }

    void finish(Boxes &boxes)
    {
        texts = boxes.texts(process);
        finish();
    }

    void finish()
    {
        ended = hasEnded() || process.waitForFinished(patience);
        if (!ended) {
            process.kill();
            process.waitForFinished();
        }
        standardError = process.readAllStandardError();
        standardOutput = process.readAllStandardOutput();
    }

    [[nodiscard]] bool endedWith(int code) const
    {
        return ended && process.exitStatus() == QProcess::NormalExit
            && (process.exitCode() == code || (code == -1 && process.exitCode() == 255));
    }

    [[nodiscard]] QByteArray told() const
    {
        return QByteArray::number(process.exitStatus()) + " " + QByteArray::number(process.exitCode()) + "\n"
            + texts.join(u"\n-----\n"_s).toUtf8() + "\n" + standardOutput + standardError;
    }

    [[nodiscard]] QString reportFile() const { return m_folder + u"/errorReports/SYS.FEHL"_s; }

    bool ended = false;
    QStringList texts;
    QByteArray standardError;
    QByteArray standardOutput;

private:
    static constexpr int pause = 20;

    [[nodiscard]] bool hasEnded() const { return process.state() == QProcess::NotRunning; }

    QTemporaryDir m_own;
    QString m_folder;
};

QString readReport(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? fromReportEncoding(file.readAll()) : QString();
}

const QString rule = QString(90, u'-') + u'\n';

// The records of a report file: each begins with a row of dashes and a date.
QStringList recordsOf(const QString &report)
{
    static const QRegularExpression head(u"-{90}\n\\d\\d\\.\\d\\d\\.\\d{4} # "_s);
    QStringList records;
    qsizetype start = -1;
    for (auto matches = head.globalMatch(report); matches.hasNext();) {
        const qsizetype next = matches.next().capturedStart();
        if (start < 0 && next != 0)
            return {}; // something stands in front of the first one
        if (start >= 0)
            records += report.mid(start, next - start);
        start = next;
    }
    if (start >= 0)
        records += report.mid(start);
    return records;
}

// The sections in their order. What a record tells differently by machine stands as any text.
QRegularExpression recordForm(const QString &errorBlocks, const QString &history, bool withRegisters)
{
    const QString rows = u"-{90}\n"_s;
    const QString hexadecimal = u"[0-9a-f]{16}"_s;
    const QString memoryBlock = u"(\n%1: ( [0-9a-f]{2}){16}  .{16}|\n%1:[^\n]*)*\n"_s.arg(hexadecimal);
    const QString registers = u"RIP=%1  RSP=%1  RAX=%1  RBX=%1\nRCX=%1  RDX=%1   R8=%1   R9=%1\n"
                              "RSI=%1  RDI=%1  RBP=%1  EFlags=%1\n"_s.arg(hexadecimal)
        + memoryBlock + memoryBlock + u"(\n(%1:  %1 %1\n)*)?\n"_s.arg(hexadecimal);
    const QString form = u"^"_s + rows
        + u"\\d\\d\\.\\d\\d\\.\\d{4} # \\d\\d:\\d\\d:\\d\\d # crasher\\.exe # "
          "\\d+ # v2\\.6\n"_s
        + u"Server Version: [^\n]*\nClient Version: [^\n]*\n"_s // versions
        + u"[^\n]*crasher[^\n]*\n"_s // arguments
        + u"[^\n]+\n(        Edition: [^\n]*\n)?"_s // system
        + u"(Memory usage: .*?\n)?\n"_s + u"(\nGPU #\\d+:\n.*?\n)*\n\n"_s
        + u"(([A-Z_]+=[^\n]*\n)+\n)?"_s // environment
        + u"Server: [^\n]*\n[^\n]*\n[^\n]*\n\n"_s + u"M=[^\n]* # Z=[^\n]* # GUI:[^\n]* # S=[^\n]*\n"_s
        + errorBlocks + u"\n"_s + history + rows + u"ActiveWindow = [^\n]*\n"_s
        + u"([^\n]+ = [^\n]* [^\n]*\n){35}\n([^\n]+ = [^\n]* [^\n]*\n){6}\n([^\n]+ = [^\n]* [^\n]*\n)*\n"_s
        + (withRegisters ? registers : QString()) + u"ImageHlpApiVersion: \\d+ \\d+ \\d+\n.*"_s
        + u"\nCall Stack \\(TraceStack_ME\\):\n.*"_s + rows + u"finished\\.\n\n$"_s;
    return QRegularExpression(form, QRegularExpression::DotMatchesEverythingOption);
}

// The location of a failure and its block in the report.
QString errorBlock(const QString &text, int code, const QString &location)
{
    return u"\n%1\n\\*\\*\\* %2 \\*\\*\\*\n%3\nGetLastError\\(\\): \\d+ txt=[^\n]*\n"_s.arg(
        text, QString::number(code), location);
}

QString historyLine(const QString &location)
{
    return u" {18} {25} ErrorAndExit {14}\\d+ *%1\n"_s.arg(location);
}

QString boxForm(const QString &text, const QString &location, const QString &rest = QString())
{
    return u"^ACHTUNG: DIAGNOSEMELDUNG!\n\nBitte drucken Sie anschließend das Fehlerprotokoll "
           "mit dem Kommando:\nDiagnosemeldung ausgeben \\(Diverse Kommandos\\)\n\nDetails:\n%1\n%2\n\n%3$"_s
               .arg(text, location, rest);
}

bool matches(const QString &text, const QString &form)
{
    return QRegularExpression(form, QRegularExpression::DotMatchesEverythingOption).match(text).hasMatch();
}

QString locationOf(int code, const QString &place)
{
    return u"Fehlernummer -%1: in "_s.arg(code) + QRegularExpression::escape(place);
}

const QString filterPlace = u"libraries/core/src/error/s3exceptionhandlerwin:849"_s;

const QString registerRows
    = u"RIP=[0-9a-f]{16}  RSP=.*EFlags=[0-9a-f]{16}\n\n([0-9a-f]{16}:  ([0-9a-f]{2} ?)+\n){0,2}"
      "(\n([0-9a-f]{16}:  [0-9a-f]{16} [0-9a-f]{16}\n){0,4})?"_s;

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
    void hangs_data();
    void hangs();
    void brokenHeap();
    void leftToTheSystem_data();
    void leftToTheSystem();
    void formerHandler();
    void noPlaceForTheReport();
    void recordsAreAppended();
    void manyAtOnce();
};

// The first process of a machine may take very long to come up.
void TestCrasher::initTestCase()
{
    Crash crash;
    crash.start(u"nothing"_s);
    crash.finish();
    QVERIFY2(crash.endedWith(0), crash.told().constData());
    QVERIFY(crash.standardOutput.startsWith("still here"));
}

void TestCrasher::faults_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("chain"); // a part of the stack trace, on Linux
    QTest::addColumn<bool>("isMachineFault");
    QTest::addColumn<QString>("missing"); // why this platform does not have it

    const QString none;
    const auto row = [&](const char *failure, const QString &name, const QString &function,
                         const QString &missing = QString(), bool isMachineFault = true, int code = 1123) {
        QTest::newRow(failure) << QString::fromLatin1(failure)
                               << u"Exception: "_s + name + (function.isEmpty() ? none : whereForm(function))
                               << code << function << isMachineFault << missing;
    };
    const QString onlyLinux = isWindows ? u"not to be had on this platform"_s : none;
    const QString onlyWindows = isWindows ? none : u"Windows alone has it"_s;
    const QString wineCannot = isWindows ? u"Wine ends the process without asking anybody"_s : none;
    const QString nowhere = u"( in [^\n]*)?"_s;

    row("nullWrite", u"ACCESS_VIOLATION"_s, u"writeTo"_s);
    row("nullRead", u"ACCESS_VIOLATION"_s, u"readFrom"_s);
    row("jumpToNull", u"ACCESS_VIOLATION"_s + nowhere, none);
    row("stackOverflow", u"STACK_OVERFLOW"_s, isWindows ? none : u"(anonymous namespace)::recurse"_s,
        wineCannot);
    row("stackOverflowOnWorker", u"STACK_OVERFLOW"_s, isWindows ? none : u"(anonymous namespace)::recurse"_s,
        wineCannot);
    row("illegalInstruction", u"ILLEGAL_INSTRUCTION"_s, u"(anonymous namespace)::illegalInstruction"_s);
    // The system tells a program apart from one that uses a bad address only on Windows.
    row("privilegedInstruction", isWindows ? u"PRIVILEGED_INSTRUCTION"_s : u"ACCESS_VIOLATION"_s,
        u"(anonymous namespace)::privilegedInstruction"_s);
    row("divisionByZero", u"INTEGER_DIVIDE_BY_ZERO"_s, u"(anonymous namespace)::divisionByZero"_s);
    row("breakpoint", u"BREAKPOINT"_s, u"(anonymous namespace)::breakpoint"_s);
    row("misalignment", u"DATATYPE_MISALIGNMENT"_s, u"(anonymous namespace)::misalignment"_s, onlyLinux);
    row("bus", u"IN_PAGE_ERROR"_s, u"writeTo"_s, onlyLinux);
    row("sentSignal", u"ACCESS_VIOLATION"_s + nowhere, none, onlyLinux);
    row("raiseUnknown", u"[^\n]+(\n[^\n]*)*"_s, none, onlyWindows);
    row("nullWriteOnWorker", u"ACCESS_VIOLATION"_s, u"writeTo"_s);
    row("pureCall", u"ACCESS_VIOLATION"_s, u"s3ExceptionHandlerWinPrivate::pureCallHandler"_s);
    row("badAlloc", u"std::bad_alloc"_s + nowhere, none, none, false, 329);
    row("ownException", u"\\(anonymous namespace\\)::OwnException"_s + nowhere, none, none, false);
    row("ownExceptionOnWorker", u"\\(anonymous namespace\\)::OwnException"_s + nowhere, none, none, false);
    row("thrownNumber", u"int"_s + nowhere, none, none, false);
    row("abort", (isWindows ? u"[^\n]+"_s : u"Aborted"_s) + nowhere, none, none, false);
    row("terminate", (isWindows ? u"[^\n]+"_s : u"Aborted"_s) + nowhere, none, none, false);
}

void TestCrasher::faults()
{
    QFETCH(QString, failure);
    QFETCH(QString, text);
    QFETCH(int, code);
    QFETCH(QString, chain);
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
    const QString location = locationOf(code, filterPlace);
    QCOMPARE(crash.texts.size(), 1);
    QVERIFY2(matches(crash.texts[0], boxForm(text, location, registerRows)), crash.told().constData());

    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QCOMPARE(records.size(), 1);
    const QRegularExpression form = recordForm(errorBlock(text, code, location), historyLine(location), true);
    QVERIFY(form.isValid());
    QVERIFY2(form.match(records[0]).hasMatch(), records[0].toUtf8().constData());
    if (!isWindows && !chain.isEmpty())
        QVERIFY2(records[0].contains(chain + u'+'), records[0].toUtf8().constData());
}

void TestCrasher::foreignFaults_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("function");
    QTest::addColumn<bool>("isForeign");

    QTest::newRow("close to our frames")
        << u"foreignNear"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << false;
    QTest::newRow("far from our frames")
        << u"foreignFar"_s << u"ACCESS_VIOLATION"_s << u"foreignWrite"_s << true;
    QTest::newRow("another fault close to our frames")
        << u"foreignIllegal"_s << u"ILLEGAL_INSTRUCTION"_s << u"foreignIllegal"_s << true;
}

void TestCrasher::foreignFaults()
{
    QFETCH(QString, failure);
    QFETCH(QString, name);
    QFETCH(QString, function);
    QFETCH(bool, isForeign);
    if (isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(failure);
    QVERIFY2(crash.endedWith(isForeign ? 1 : -1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 1);
    const QString library = QRegularExpression::escape(QLatin1StringView(OSTRELLE_FOREIGN));
    // What Wine's dbghelp makes of the name of an exported function is not ours.
    const QString functionForm = isWindows ? u"[^\n]*"_s : function;
    if (isForeign) {
        const QString labels = u"Dateibeschreibung\t  [^\n]*\nDateiversion\t  [^\n]*\nProduktname\t  [^\n]*\n"
                               "Produktversion\t  [^\n]*\nHerstellername\t  [^\n]*\n"_s;
        const QString form
            = u"^ACHTUNG: Fehler in Fremdkomponente!\n\n"
              "In einer Fremdkomponente ist ein nicht behebbarer Fehler aufgetreten\\.\n\n%1\n\n%2"
              "( in %3\\(\\))?\n\nDas laufende Programm muss daher jetzt beendet werden\\.\n"
              "Bitte starten Sie die GUI anschließend neu\\.\n\n\nDetails:\nArbeitsplatz\t  [^\n]+\n"
              "RIP\t\t  0x[0-9a-f]{16}\n(\n#\\d+  [^\n]*\n\n%4){1,2}\n[^\n]*\n(Memory usage: .*)?$"_s.arg(
                  library, name, functionForm, labels);
        QVERIFY2(matches(crash.texts[0], form), crash.told().constData());
        QVERIFY2(!QFile::exists(crash.reportFile()), "a foreign fault is not diagnosed");
    } else {
        const QString location = locationOf(1123, filterPlace);
        const QString text = u"Exception: %1 in %2(: %3\\(\\))?"_s.arg(name, library, functionForm);
        QVERIFY2(matches(crash.texts[0], boxForm(text, location, registerRows)), crash.told().constData());
        const QStringList records = recordsOf(readReport(crash.reportFile()));
        QCOMPARE(records.size(), 1);
        QVERIFY(recordForm(errorBlock(text, 1123, location), historyLine(location), true)
                    .match(records[0])
                    .hasMatch());
    }
}

void TestCrasher::assertions_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("location");
    QTest::addColumn<int>("code");

    const QString handler = u"libraries/core/src/error/s3exceptionhandlerwin:\\d+ in "
                            "s3ExceptionHandlerWinPrivate::invalidParameterHandler\\(\\)"_s;
    QTest::newRow("without a text") << u"assertion"_s << u"Bedingung nicht erfuellt\n1 == 2\n"_s
                                    << locationOf(1111, u"file:7 in f()"_s) << 1111;
    QTest::newRow("with a text") << u"assertionWithText"_s << u"Bedingung nicht erfuellt\n1 == 2\nGröße\n"_s
                                 << locationOf(1111, u"file:7 in f()"_s) << 1111;
    QTest::newRow("on a worker") << u"assertionOnWorker"_s << u"Bedingung nicht erfuellt\n1 == 2\n"_s
                                 << locationOf(1111, u"file:7 in f()"_s) << 1111;
    QTest::newRow("a place not to be reached")
        << u"notReached"_s << u"try/catch"_s << locationOf(201, u"file:8"_s) << 201;
    QTest::newRow("invalid parameter")
        << u"invalidParameter"_s
        << u"size > 0\nfunction=fopen file=größe\\.c line=12\nInvalid parameter detected\n"_s
        << u"Fehlernummer -201: in "_s + handler << 201;
    QTest::newRow("invalid parameter, null texts")
        << u"invalidParameterWithoutTexts"_s << u"Invalid parameter detected\n"_s
        << u"Fehlernummer -201: in "_s + handler << 201;
}

void TestCrasher::assertions()
{
    QFETCH(QString, failure);
    QFETCH(QString, text);
    QFETCH(QString, location);
    QFETCH(int, code);
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
    // The first one that is answered writes the record, and the process may end before the other one does.
    const QStringList records = recordsOf(readReport(crash.reportFile()));
    QVERIFY(!records.isEmpty());
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
    QVERIFY(!records.isEmpty());
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

void TestCrasher::hangs_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<int>("boxes");

    QTest::newRow("in the report") << u"hangInReport"_s << shortLimit << -1 << 1;
    QTest::newRow("in the clean-up") << u"hangAtExit"_s << productLimit << 5 << 0;
}

// These processes would never end without the limit.
void TestCrasher::hangs()
{
    QFETCH(QString, failure);
    QFETCH(int, limit);
    QFETCH(int, exitCode);
    QFETCH(int, boxes);
    Crash crash;
    crash.run(failure, limit);
    QVERIFY2(crash.endedWith(exitCode), crash.told().constData());
    QCOMPARE(crash.texts.size(), boxes);
    QVERIFY(!QFile::exists(crash.reportFile()));
}

void TestCrasher::brokenHeap()
{
    if (isSanitized)
        QSKIP("the sanitizers take machine faults for their own");
    Crash crash;
    crash.run(u"brokenHeap"_s, productLimit);
    QVERIFY2(crash.ended
                 && (crash.process.exitStatus() == QProcess::CrashExit || crash.process.exitCode() != 0),
             crash.told().constData());
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

void TestCrasher::noPlaceForTheReport()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"errorReports"_s)); // not a directory
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    Crash crash(folder.path());
    crash.run(u"assertion"_s);
    QVERIFY2(crash.endedWith(-1), crash.told().constData());
    QCOMPARE(crash.texts.size(), 1);
    QCOMPARE(QFileInfo(file.fileName()).size(), 0);
}

void TestCrasher::recordsAreAppended()
{
    const QTemporaryDir folder;
    for (int i = 0; i < 2; ++i) {
        Crash crash(folder.path());
        crash.environment.remove(u"DISPLAY"_s);
        crash.environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        if constexpr (isWindows) {
            crash.run(u"assertion"_s);
        } else {
            crash.start(u"assertion"_s);
            crash.finish();
            // Without a display the box is a text.
            QVERIFY(crash.standardError.contains("ACHTUNG: DIAGNOSEMELDUNG!\n"));
        }
        QVERIFY2(crash.endedWith(-1), crash.told().constData());
        QCOMPARE(recordsOf(readReport(crash.reportFile())).size(), i + 1);
    }
}

void TestCrasher::manyAtOnce()
{
    if (isWindows)
        QSKIP("the suite of the report has writers at once; here they would only wait for their boxes");
    constexpr int processes = 16;
    const QTemporaryDir folder;
    std::vector<std::unique_ptr<Crash>> crashes;
    for (int i = 0; i < processes; ++i) {
        auto crash = std::make_unique<Crash>(folder.path());
        crash->environment.remove(u"DISPLAY"_s);
        crash->environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        crash->start(isSanitized ? u"badAlloc"_s : u"nullWrite"_s);
        crashes.push_back(std::move(crash));
    }
    for (const auto &crash : crashes) {
        crash->finish();
        QVERIFY2(crash->endedWith(-1), crash->told().constData());
    }
    const QStringList records = recordsOf(readReport(crashes.front()->reportFile()));
    QCOMPARE(records.size(), processes);
    QSet<QString> writers;
    const QString location = locationOf(isSanitized ? 329 : 1123, filterPlace);
    const QRegularExpression form = recordForm(
        errorBlock(u"Exception: [^\n]*"_s, isSanitized ? 329 : 1123, location), historyLine(location), true);
    for (const QString &record : records) {
        QVERIFY2(form.match(record).hasMatch(), record.toUtf8().constData());
        writers.insert(record.section(u" # "_s, 3, 3));
    }
    QCOMPARE(writers.size(), processes);
}

QTEST_GUILESS_MAIN(TestCrasher)
#include "tst_crasher.moc"
