#include "erp/s3session.h"
#include "erp/s3version.h"
#include "error/crashstate.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedenvironment.h"
#include "platform/faultcontext.h"
#include "platform/modules.h"
#include "platform/runguarded.h"
#include "protocol/callhistory.h"
#include "protocol/diagnosticreport.h"
#include "protocol/reportencoding.h"
#include "protocol/reportfilename.h"
#include "protocol/reportmemory.h"
#include "protocol/reportsections.h"
#include "s3operatingsystem.h"
#include "s3tempdir.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

const QString ruleText = QString(90, u'-') + u'\n';

// Takes a record apart from its beginning on; whatever does not stand there is remembered as the error.
class RecordReader
{
public:
    explicit RecordReader(QString text) : m_text(std::move(text)) { }

    void text(const QString &expected)
    {
        if (!m_text.mid(m_position).startsWith(expected))
            return fail(expected);
        m_position += expected.size();
    }
    void pattern(const QString &expected)
    {
        static constexpr auto option = QRegularExpression::DotMatchesEverythingOption;
        const QRegularExpression expression(u"\\A(?:"_s + expected + u')', option);
        const auto match = expression.match(m_text.mid(m_position));
        if (!match.hasMatch())
            return fail(expected);
        m_position += match.capturedLength();
    }
    [[nodiscard]] QString rest() const { return m_text.mid(m_position); }
    [[nodiscard]] QString error() const { return m_error; }

private:
    void fail(const QString &expected)
    {
        if (m_error.isEmpty())
            m_error = u"expected <%1>, found <%2>"_s.arg(expected, m_text.mid(m_position, 200));
    }

    QString m_text;
    qsizetype m_position = 0;
    QString m_error;
};

QString hookText()
{
    return u"from the hook\n"_s;
}

QString throwingHook()
{
    throw std::runtime_error("hook");
}

// The fault is what is tested.
__attribute__((no_sanitize("undefined"))) QString faultingHook()
{
    volatile int *nowhere = nullptr;
    *nowhere = 1;
    return QString();
}

// The records of a file in their order, each from its head on.
QStringList recordsOf(const QByteArray &content)
{
    static const QRegularExpression head(
        u"(?=-{90}\\n\\d\\d\\.\\d\\d\\.\\d{4} # \\d\\d:\\d\\d:\\d\\d # [^\\n]*\\.exe # \\d+ # v2\\.6\\n)"_s);
    QStringList records = fromReportEncoding(content).split(head);
    records.removeAll(QString()); // what is in front of the first head
    return records;
}

// Whether the record is one from beginning to end, of this process number and with this text.
bool isWhole(const QString &record, const QString &processId, const QString &text)
{
    return record.count(u"v2.6\n"_s) == 1
        && record.section(u'\n', 1, 1).contains(u" # %1 # "_s.arg(processId)) && record.count(text) == 1
        && record.endsWith(QString(90, u'-') + u"\nfinished.\n\n"_s)
        && record.count(u"Server Version: "_s) == 1 && record.count(u"ActiveWindow = "_s) == 1
        && record.count(u"Call Stack (TraceStack_ME):"_s) == 1;
}

constexpr int patience = 600000; // records take their time on a slow machine, and more with sanitizers
constexpr int processes = 16;
constexpr int recordsOfEach = 2;

// Everything that a record shows, and the place of the records, as they are at the start of a program.
void resetReport(const QString &localSettingsDir)
{
    glob_file_localSettingsDir = localSettingsDir;
    glob_file_guiDir.clear();
    s3SessionInstance()->reset();
    setReportArguments(QStringList());
    reportHook = nullptr;
    reportFrozen = false;
    reportEntries = 0;
    activeWindowTitle.clear();
    errorText.clear();
    clearCallHistory();
    s3SaveContext(nullptr);
}

}

class TestDiagnosticReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void sectionsInOrder_data();
    void sectionsInOrder();
    void plainRecord();
    void eightBitCharacters();
    void ownArguments();
    void secondHistoryOnlyWhenUsed();
    void registersWithoutContext();
    void brokenContext();
    void frameWordsOfTheSummaryAlone();
    void recordsAreAppended();
    void seventhEntryEndsTheProcess();
    void failingHookLosesTheRecord();
    void nothingIsLeftBehind();
    void placesThatCannotBeHad_data();
    void placesThatCannotBeHad();
    void sessionWithoutServerHasNoPlace();
    void sessionHasItsOwnFile();
    void noTemporaryFile();
    void readOnlyRecord();
    void processesAtOnce();

private:
    [[nodiscard]] QString file() const { return m_dir->path() + u"/errorReports/SYS.FEHL"_s; }
    [[nodiscard]] QString record() const { return fromReportEncoding(readFile(file())); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestDiagnosticReport::initTestCase()
{
    // The first process of a platform may take long to start, which must not count for a test below.
    QVERIFY(runChild(u"nothing"_s, QString(), patience).ended);
    // The first stack trace may load libraries of its own, which a record cannot list before.
    const QTemporaryDir dir;
    resetReport(dir.path());
    writeDiagnosticReport(true);
    QCOMPARE(recordsOf(readFile(reportFileName(true))).size(), 1);
}

void TestDiagnosticReport::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    resetReport(m_dir->path());
}

void TestDiagnosticReport::cleanup()
{
    resetReport(QString());
    m_dir.reset();
}

void TestDiagnosticReport::sectionsInOrder_data()
{
    QTest::addColumn<bool>("withRegisters");
    QTest::newRow("of a fault") << true;
    QTest::newRow("of an assertion") << false;
}

void TestDiagnosticReport::sectionsInOrder()
{
    QFETCH(bool, withRegisters);
    const ScopedEnvironment openGl("QT_OPENGL", "software"_ba);
    const ScopedEnvironment rhi("QSG_RHI_BACKEND", "d3d11"_ba);
    s3SessionInstance()->setHostName(u"PC-7"_s);
    s3SessionInstance()->setServerName(u"erp"_s);
    s3SessionInstance()->setServerVersionAndBuildInfo(u"2101r8n16"_s, u"build info"_s);
    s3SessionInstance()->setServerInfo3(u"info 3"_s);
    setReportArguments({u"ostrelle"_s, u"a.zml"_s, u"-password"_s, u"secret"_s});
    glob_file_guiDir = u"C:/Zerk"_s;
    errorText = u"\nthe text\nthe message\nFehlernummer -1111: in a:1\nGetLastError(): 0 txt=(0)\n"_s;
    recordSSO(u"sso"_s, QString(), u"first"_s);
    recordService(QString(18, u' '), u"ErrorAndExit"_s, u"second"_s);
    recordCall(u"call"_s, QString(), QString(), u"fourth"_s);
    reportFrozen = true;
    activeWindowTitle = u"A window – 1"_s;
    reportHook = hookText;
    s3ForceFault();
    QVERIFY(s3SavedContext() != nullptr);
    s3SetFirstFrameAddress(s3SavedContext()->rsp + 16);
    const s3FaultContext context = *s3SavedContext();
    writeDiagnosticReport(withRegisters);

    RecordReader reader(record());
    reader.text(ruleText);
    reader.pattern(u"\\d\\d\\.\\d\\d\\.\\d{4} # \\d\\d:\\d\\d:\\d\\d # "_s);
    reader.text(qAppName() + u".exe # "_s + QString::number(QCoreApplication::applicationPid())
                + u" # v2.6\n"_s);
    reader.text(u"Server Version: 2101r8n16\nClient Version: "_s + s3ClientVersion() + u'\n');
    reader.text(u"ostrelle a.zml -password *****\n"_s);
    reader.pattern(u"guidir=C:/Zerk (\\(local install\\))?\\n"_s);
    reader.text(reportOperatingSystem(s3OperatingSystem::description(),
                                      s3OperatingSystem::hardwareIdentifier(), s3OperatingSystem::edition()));
    reader.pattern(u"Memory usage: \\d+MB/\\d+MB,   Available physical: \\d+MB/\\d+MB\\n\\n[^\\n]+\\n"_s);
    reader.text(u"\n"_s);
    reader.pattern(u"(\\nGPU #\\d+:\\n[^\\n].*?\\n)*\\n"_s);
    reader.text(u"\n"_s);
    reader.text(u"QT_OPENGL=software\nQSG_RHI_BACKEND=d3d11\n\n"_s);
    reader.text(u"Server: erp\nbuild info\ninfo 3\n\n"_s);
    reader.pattern(u"M= # Z= # GUI:PC-7(:\\d+)? # S=PC-7\\n"_s);
    reader.text(errorText + u'\n');
    reader.pattern(u"sso +\\d+ +first\\n +ErrorAndExit +\\d+ +second\\n"_s);
    reader.text(ruleText);
    reader.pattern(u"call +\\d+ +fourth   \\n"_s);
    reader.text(ruleText);
    reader.text(u"ActiveWindow = A window – 1\n"_s);
    reader.text(u"from the hook\n"_s);
    reader.text(reportModules(platform::loadedModules()));
    if (withRegisters) {
        reader.text(reportRegisters(&context));
        reader.text(u"\n%1: "_s.arg(context.rip - 32, 16, 16, QChar(u'0')));
        reader.pattern(u"[^\\n]*(\\n[0-9a-f]{16}: ( [0-9a-f]{2}){16}  [ -~]{16}){5}\\n"_s);
        reader.text(u"\n%1: "_s.arg(context.rsp, 16, 16, QChar(u'0')));
        reader.pattern(u"[^\\n]*(\\n[0-9a-f]{16}: ( [0-9a-f]{2}){16}  [ -~]{16}){5}\\n"_s);
        reader.text(u"\n%1:  "_s.arg(context.rsp, 16, 16, QChar(u'0')));
        reader.pattern(u"[0-9a-f]{16} [0-9a-f]{16}\\n([0-9a-f]{16}:  [0-9a-f]{16} [0-9a-f]{16}\\n){3}"_s);
        reader.text(u"\n"_s);
    }
    reader.pattern(u"ImageHlpApiVersion: \\d+ \\d+ \\d+\\n"_s);
    reader.pattern(u"(searchPath=[^\\n]*\\n)?"_s);
    reader.text(u"\nCall Stack (TraceStack_ME):\n"_s);
    QVERIFY2(reader.error().isEmpty(), qPrintable(reader.error()));
    QVERIFY(reader.rest().endsWith(ruleText + u"finished.\n\n"_s));
    QCOMPARE(recordsOf(readFile(file())).size(), 1);
}

void TestDiagnosticReport::plainRecord()
{
    writeDiagnosticReport(false);
    RecordReader reader(record());
    reader.pattern(u"-{90}\\n[^\\n]*\\nServer Version: \\nClient Version: 5\\.5\\.0\\n"_s);
    reader.text(QCoreApplication::arguments().join(u' ') + u'\n');
    reader.text(s3OperatingSystem::description());
    reader.pattern(u".*\\nServer: \\n\\n\\n\\nM= # Z= # GUI:\\?\\?\\?(:\\d+)? # S=\\?\\?\\?\\n\\n"_s);
    reader.text(ruleText + u"ActiveWindow = \n"_s);
    reader.text(reportModules(platform::loadedModules()));
    reader.pattern(u"ImageHlpApiVersion: "_s);
    QVERIFY2(reader.error().isEmpty(), qPrintable(reader.error()));
}

void TestDiagnosticReport::eightBitCharacters()
{
    errorText = u"Größe 5 € – \uFEFF\U0001F600"_s;
    writeDiagnosticReport(false);
    QVERIFY(readFile(file()).contains("\nGr\x94\xE1"
                                      "e 5 \xFE \xFF\xE2\x80\x93 \xFF\xF0\x9F\x98\x80\n"_ba));
    QVERIFY(!readFile(file()).contains('\r'));
}

void TestDiagnosticReport::ownArguments()
{
    setReportArguments({u"one"_s, u"two"_s});
    writeDiagnosticReport(false);
    QVERIFY(record().contains(u"\none two\n"_s));
    setReportArguments(QStringList());
    writeDiagnosticReport(false);
    QVERIFY(recordsOf(readFile(file()))
                .last()
                .contains(u'\n' + QCoreApplication::arguments().join(u' ') + u'\n'));
}

void TestDiagnosticReport::secondHistoryOnlyWhenUsed()
{
    recordSSO(u"one"_s, QString(), QString());
    writeDiagnosticReport(false);
    QCOMPARE(record().section(u"ActiveWindow = "_s, 0, 0).count(ruleText), 2);
}

void TestDiagnosticReport::registersWithoutContext()
{
    s3SaveContext(nullptr);
    writeDiagnosticReport(true);
    const QString text = record();
    QVERIFY(!text.contains(u"RIP=0000"_s));
    QVERIFY(text.contains(reportModules(platform::loadedModules()) + u"\nImageHlpApiVersion: "_s));
}

// As after a jump to nowhere.
void TestDiagnosticReport::brokenContext()
{
    s3ForceFault();
    s3FaultContext context = *s3SavedContext();
    context.rip = 0x40;
    s3SaveContext(&context);
    s3SetFirstFrameAddress(0x100);
    writeDiagnosticReport(true);
    RecordReader reader(record());
    reader.pattern(u".*?(?=RIP=0000000000000040  RSP=)"_s);
    reader.text(reportRegisters(&context));
    reader.text(u"\n0000000000000020: \n"_s);
    reader.pattern(u"(\\n[0-9a-f]{16}: ( [0-9a-f]{2}){16}  [ -~]{16}){6}\\n"_s);
    reader.text(u"\n\n"_s);
    reader.pattern(u"ImageHlpApiVersion: .*-{90}\\nfinished\\.\\n\\n\\z"_s);
    QVERIFY2(reader.error().isEmpty(), qPrintable(reader.error()));
}

void TestDiagnosticReport::frameWordsOfTheSummaryAlone()
{
    // The first frame's address is shown as the summary of the stack has left it, and only then.
    s3ForceFault();
    writeDiagnosticReport(true);
    QVERIFY(!record().contains(QRegularExpression(u"\\n[0-9a-f]{16}:  [0-9a-f]{16} [0-9a-f]{16}\\n"_s)));
}

void TestDiagnosticReport::recordsAreAppended()
{
    errorText = u"the first failure"_s;
    writeDiagnosticReport(true);
    const QByteArray first = readFile(file());
    errorText += u", the second failure"_s;
    writeDiagnosticReport(false);
    QVERIFY(readFile(file()).startsWith(first));
    const QStringList records = recordsOf(readFile(file()));
    QCOMPARE(records.size(), 2);
    const QString processId = QString::number(QCoreApplication::applicationPid());
    QVERIFY(isWhole(records.at(0), processId, u"\nthe first failure\n"_s));
    QVERIFY(isWhole(records.at(1), processId, u"\nthe first failure, the second failure\n"_s));
}

void TestDiagnosticReport::seventhEntryEndsTheProcess()
{
    const ChildRun run = runChild(u"seven"_s, m_dir->path(), patience);
    QVERIFY(run.ended);
    QVERIFY2(isMinusOne(run.exitCode), run.standardError.constData());
    QVERIFY(run.standardOutput.contains("entry 6"));
    QVERIFY(!run.standardOutput.contains("entry 7"));
    QCOMPARE(recordsOf(readFile(file())).size(), 6);
}

void TestDiagnosticReport::failingHookLosesTheRecord()
{
    reportHook = throwingHook;
    QVERIFY(!s3RunGuarded([] { writeDiagnosticReport(false); }));
    QVERIFY(!QFile::exists(file()));
    // A fault leaves behind what the writer had in hand, so it is another process's.
    const ChildRun run = runChild(u"faultingHook"_s, m_dir->path(), patience);
    QVERIFY(run.ended);
    QVERIFY2(run.exitCode == 0, run.standardError.constData());
    QVERIFY(!QFile::exists(file()));
    reportHook = nullptr;
    QVERIFY(s3RunGuarded([] { writeDiagnosticReport(false); }));
    QCOMPARE(recordsOf(readFile(file())).size(), 1);
}

void TestDiagnosticReport::nothingIsLeftBehind()
{
    const QTemporaryDir temporary;
    const QByteArray path = QDir::toNativeSeparators(temporary.path()).toLocal8Bit();
    const ScopedEnvironment tmpdir("TMPDIR", path);
    const ScopedEnvironment tmp("TMP", path);
    const ScopedEnvironment temp("TEMP", path);
    QCOMPARE(QDir(QDir::tempPath()), QDir(temporary.path()));
    writeDiagnosticReport(true);
    QCOMPARE(recordsOf(readFile(file())).size(), 1);
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QCOMPARE(QDir(temporary.path()).entryList(all), QStringList());
    QCOMPARE(QDir(m_dir->path()).entryList(all), QStringList(u"errorReports"_s));
    QCOMPARE(QDir(m_dir->path() + u"/errorReports"_s).entryList(all), QStringList(u"SYS.FEHL"_s));
}

void TestDiagnosticReport::placesThatCannotBeHad_data()
{
    QTest::addColumn<QString>("made"); // what is there before: "file" or "directory"
    QTest::addColumn<QString>("where");
    QTest::newRow("a file instead of the settings directory") << u"file"_s << u"/settings"_s;
    QTest::newRow("a file instead of the report directory") << u"file"_s << u"/settings/errorReports"_s;
    QTest::newRow("a directory instead of the report")
        << u"directory"_s << u"/settings/errorReports/SYS.FEHL"_s;
}

void TestDiagnosticReport::placesThatCannotBeHad()
{
    QFETCH(QString, made);
    QFETCH(QString, where);
    const QString place = m_dir->path() + where;
    QVERIFY(QDir().mkpath(made == u"file"_s ? QFileInfo(place).path() : place));
    if (made == u"file"_s)
        QVERIFY(writeFile(place, "content"_ba));
    glob_file_localSettingsDir = m_dir->path() + u"/settings"_s;
    writeDiagnosticReport(true);
    writeDiagnosticReport(false);
    QCOMPARE(reportEntries.load(), 2);
    if (made == u"file"_s)
        QCOMPARE(readFile(place), "content"_ba);
    else
        QVERIFY(QFileInfo(place).isDir());
}

void TestDiagnosticReport::sessionWithoutServerHasNoPlace()
{
    s3SessionInstance()->setClientName(u"client"_s);
    writeDiagnosticReport(false);
    QVERIFY(!QFile::exists(m_dir->path() + u"/errorReports"_s));
}

void TestDiagnosticReport::sessionHasItsOwnFile()
{
    s3SessionInstance()->setClientName(QString(50, u'c'));
    s3SessionInstance()->setServerName(u"erp.example"_s);
    s3SessionInstance()->setServerDirectory(u"/prod"_s);
    writeDiagnosticReport(false);
    QVERIFY(!QFile::exists(file()));
    const QString text = fromReportEncoding(readFile(m_dir->path() + u"/errorReports/erp_example_prod"_s));
    QVERIFY(text.contains(u"\nServer: erp.example\n"_s));
    QVERIFY(text.contains(u"\nM="_s + QString(40, u'c') + u" # Z="_s));
    QVERIFY(reportExists());
}

void TestDiagnosticReport::noTemporaryFile()
{
    // Not a missing one: Qt takes the root directory for that.
    const QString noDirectory = m_dir->path() + u"/file"_s;
    QVERIFY(writeFile(noDirectory, "content"_ba));
    const QByteArray path = QDir::toNativeSeparators(noDirectory).toLocal8Bit();
    const ScopedEnvironment tmpdir("TMPDIR", path);
    const ScopedEnvironment tmp("TMP", path);
    const ScopedEnvironment temp("TEMP", path);
    QCOMPARE(QDir(QDir::tempPath()), QDir(noDirectory));
    writeDiagnosticReport(true);
    QVERIFY(!QFile::exists(m_dir->path() + u"/errorReports"_s));
}

void TestDiagnosticReport::readOnlyRecord()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    glob_file_localSettingsDir = dir.path();
    errorText = u"first"_s;
    writeDiagnosticReport(false);
    const QString name = reportFileName(true);
    const QByteArray before = readFile(name);
    QCOMPARE(recordsOf(before).size(), 1);
    QVERIFY(QFile::setPermissions(name, QFileDevice::ReadOwner));
    if (QFile probe(name); probe.open(QIODevice::WriteOnly | QIODevice::Append))
        QSKIP("Wine lets the superuser write to a read-only file.");
    writeDiagnosticReport(false);
    QVERIFY(QFile::setPermissions(name, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QCOMPARE(readFile(name), before);
}

void TestDiagnosticReport::processesAtOnce()
{
    std::vector<std::unique_ptr<QProcess>> children;
    for (int i = 0; i < processes; ++i) {
        auto child = std::make_unique<QProcess>();
        child->setWorkingDirectory(m_dir->path());
        child->setProcessChannelMode(QProcess::MergedChannels);
        child->start(QCoreApplication::applicationFilePath(), {u"--child"_s, u"append"_s});
        children.push_back(std::move(child));
    }
    for (const auto &child : children) {
        while (!child->canReadLine())
            QVERIFY2(child->waitForReadyRead(patience), qPrintable(child->errorString()));
        QCOMPARE(child->readLine().trimmed(), "ready"_ba);
    }
    // All have everything ready; the record itself is what they do at once.
    for (const auto &child : children)
        child->write("go\n");
    for (const auto &child : children) {
        QVERIFY(child->waitForBytesWritten(patience) || child->bytesToWrite() == 0);
        QVERIFY(child->state() == QProcess::NotRunning || child->waitForFinished(patience));
        QCOMPARE(child->exitStatus(), QProcess::NormalExit);
        QCOMPARE(child->exitCode(), 0);
    }
    const QStringList records = recordsOf(readFile(file()));
    QCOMPARE(records.size(), processes * recordsOfEach);
    QHash<QString, int> counts;
    for (const QString &one : records) {
        const QString processId = one.section(u" # "_s, 3, 3);
        const int number = ++counts[processId];
        QVERIFY2(isWhole(one, processId, u"\nrecord %1 of %2\n"_s.arg(QString::number(number), processId)),
                 qPrintable(one));
    }
    QCOMPARE(counts.size(), processes);
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        QCOMPARE(count.value(), recordsOfEach);
}

namespace
{

// Seven failures of one process; the seventh is too many.
int writeSeven()
{
    resetReport(QDir::currentPath());
    for (int entry = 1; entry <= 7; ++entry) {
        writeDiagnosticReport(false);
        std::printf("entry %d\n", entry);
        std::fflush(stdout);
    }
    return 0;
}

// Whether the fault leaves the writer. Ends without looking for what that has lost.
[[noreturn]] void writeWithFaultingHook()
{
    resetReport(QDir::currentPath());
    reportHook = faultingHook;
    const bool isWritten = s3RunGuarded([] { writeDiagnosticReport(false); });
    std::_Exit(isWritten ? 1 : 0);
}

// Tells that it is ready, waits for the word, and writes its records.
int appendRecords()
{
    resetReport(QDir::currentPath());
    setReportLockWait(10min);
    std::puts("ready");
    std::fflush(stdout);
    if (std::getchar() == EOF)
        return 1;
    for (int number = 1; number <= recordsOfEach; ++number) {
        errorText = u"record %1 of %2"_s.arg(QString::number(number),
                                             QString::number(QCoreApplication::applicationPid()));
        writeDiagnosticReport(true);
    }
    return 0;
}

}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QString part = childPart(argc, argv);
    if (part == u"nothing"_s)
        return 0;
    if (part == u"seven"_s)
        return writeSeven();
    if (part == u"faultingHook"_s)
        writeWithFaultingHook();
    if (part == u"append"_s)
        return appendRecords();
    TestDiagnosticReport test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diagnosticreport.moc"
