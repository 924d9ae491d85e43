#include "coreutil.h"

#include "coreutil_p.h"
#include "knownsystemerror.h"
#include "ostrelletest/childrun.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "platform/systemerror.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint64 mebibyte = 1024 * 1024;

// Processes as a test tells them.
class ScriptedProcesses final : public platform::Processes
{
public:
    std::vector<platform::ProcessEntry> entries;
    bool hasSnapshot = true;
    bool throwsInSnapshot = false;
    QList<quint32> closedDoors; // processes that cannot be opened
    QList<quint32> silent; // processes that do not tell their counters
    QList<quint32> opened;
    QList<quint32> closed;

    static constexpr quint32 own = 42;

    platform::SystemMemory systemMemory() override
    {
        return {100 * mebibyte, 30 * mebibyte + 1, 64 * mebibyte, 20 * mebibyte + mebibyte - 1};
    }
    quint32 ownId() override { return own; }
    platform::ProcessHandle ownHandle() override { return handleOf(own); }
    QString programFileName(const QString &name) override { return name + u".exe"_s; }
    std::unique_ptr<platform::ProcessSnapshot> snapshot() override;
    platform::ProcessHandle open(quint32 id) override
    {
        if (closedDoors.contains(id)) {
            platform::setLastSystemError(unknownSystemError);
            return nullptr;
        }
        opened += id;
        return handleOf(id);
    }
    void close(platform::ProcessHandle process) override { closed += idOf(process); }
    bool memory(platform::ProcessHandle process, platform::ProcessMemory &memory) override
    {
        const quint32 id = idOf(process);
        if (silent.contains(id)) {
            platform::setLastSystemError(unknownSystemError);
            return false;
        }
        memory = {id * mebibyte, (id + 1) * mebibyte - 1};
        return true;
    }

    static platform::ProcessHandle handleOf(quint32 id)
    {
        return reinterpret_cast<platform::ProcessHandle>(quintptr(id));
    }
    static quint32 idOf(platform::ProcessHandle handle)
    {
        return static_cast<quint32>(reinterpret_cast<quintptr>(handle));
    }
};

class ScriptedSnapshot final : public platform::ProcessSnapshot
{
public:
    explicit ScriptedSnapshot(std::vector<platform::ProcessEntry> entries) : m_entries(std::move(entries)) { }

    bool first(platform::ProcessEntry &entry) override
    {
        if (m_entries.empty())
            platform::setLastSystemError(unknownSystemError);
        return next(entry);
    }
    bool next(platform::ProcessEntry &entry) override
    {
        if (m_position == m_entries.size())
            return false;
        entry = m_entries[m_position++];
        return true;
    }

private:
    std::vector<platform::ProcessEntry> m_entries;
    size_t m_position = 0;
};

std::unique_ptr<platform::ProcessSnapshot> ScriptedProcesses::snapshot()
{
    if (throwsInSnapshot)
        throw std::runtime_error("no memory");
    if (!hasSnapshot) {
        platform::setLastSystemError(unknownSystemError);
        return nullptr;
    }
    return std::make_unique<ScriptedSnapshot>(entries);
}

// A version resource as a test tells it.
class ScriptedVersionInfo final : public platform::VersionInfo
{
public:
    struct Part {
        QByteArray bytes;
        quint32 size;
    };
    QHash<QString, Part> parts;

    bool query(const QString &path, const void *&value, quint32 &size) const override
    {
        const auto found = parts.constFind(path);
        if (found == parts.constEnd())
            return false;
        value = found->bytes.constData();
        size = found->size;
        return true;
    }

    // `count` characters of `text`, a closing null included or not.
    void setText(const QString &path, const QString &text, quint32 count)
    {
        QByteArray bytes(reinterpret_cast<const char *>(text.utf16()), (text.size() + 1) * 2);
        parts.insert(path, {bytes, count});
    }
};

const QByteArray germanUnicode = "\x07\x04\xb0\x04"_ba; // 0407, 04b0

QString errorSuffix()
{
    return u"(%1)"_s.arg(unknownSystemError);
}

}

class TestCoreUtil final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void beepErrorIsOffAtFirst();
    void beepError_data();
    void beepError();
    void registryValueThatIsNotThere_data();
    void registryValueThatIsNotThere();
    void registryReadsNoFile();
    void localInstall_data();
    void localInstall();
    void errorStrings();
    void lastErrorText();
    void lastErrorTextOfUnknownNumber();
    void lastErrorTextOfNoError();
    void memoryReport_data();
    void memoryReport();
    void memoryReportClosesWhatItOpens();
    void memoryReportSurvivesAnException();
    void memoryReportOfThisMachine();
    void memoryReportNamesBrowserProcesses();
    void processMemoryOfThisProcess();
    void processMemoryOfNoProcess();
    void versionText_data();
    void versionText();
    void versionTextOfAShortTranslation();
    void versionTextMustBeClosed();
    void versionInfoOfFilesWithoutOne_data();
    void versionInfoOfFilesWithoutOne();
    void maskPasswords_data();
    void maskPasswords();
};

void TestCoreUtil::cleanup()
{
    s3SetUseBeepError(false);
    s3TestFlagsInstance()->clear();
}

void TestCoreUtil::beepErrorIsOffAtFirst()
{
    QVERIFY(!s3UseBeepError());
    QVERIFY(!s3BeepError(false));
    s3SetUseBeepError(true);
    QVERIFY(s3UseBeepError());
}

void TestCoreUtil::beepError_data()
{
    QTest::addColumn<bool>("force");
    QTest::addColumn<bool>("use");
    QTest::addColumn<bool>("tone");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("not wanted") << false << false << false
                                << QStringList(u"s3BeepError(force=false, s3UseBeepError()=false)"_s);
    QTest::newRow("not wanted, with the tone's flag")
        << false << false << true << QStringList(u"s3BeepError(force=false, s3UseBeepError()=false)"_s);
    QTest::newRow("forced") << true << false << false
                            << QStringList({u"s3BeepError(force=true, s3UseBeepError()=false)"_s,
                                            u"  MessageBeep()"_s});
    QTest::newRow("by the setting") << false << true << false
                                    << QStringList({u"s3BeepError(force=false, s3UseBeepError()=true)"_s,
                                                    u"  MessageBeep()"_s});
    QTest::newRow("forced, tone") << true << false << true
                                  << QStringList({u"s3BeepError(force=true, s3UseBeepError()=false)"_s,
                                                  u"  Beep()"_s});
}

void TestCoreUtil::beepError()
{
    QFETCH(bool, force);
    QFETCH(bool, use);
    QFETCH(bool, tone);
    QFETCH(QStringList, lines);
    s3SetUseBeepError(use);
    s3TestFlagsInstance()->insert(338);
    if (tone)
        s3TestFlagsInstance()->insert(339);
    const TraceRecorder trace;
    const bool worked = s3BeepError(force);
    QCOMPARE(trace.lines(), lines);
    if (lines.size() == 1)
        QVERIFY(!worked);
}

void TestCoreUtil::registryValueThatIsNotThere_data()
{
    QTest::addColumn<QString>("valueName");

    QTest::newRow("named value") << u"Größe"_s;
    QTest::newRow("default value") << QString();
}

void TestCoreUtil::registryValueThatIsNotThere()
{
    QFETCH(QString, valueName);
    const TraceRecorder trace;
    const auto read = [&] {
        return s3GetRegistryValue(u"HKEY_CURRENT_USER"_s, u"Software\\Ostrelle Test\\No such key"_s,
                                  valueName);
    };
    QCOMPARE(read(), QString());
    QCOMPARE(trace.lines(), QStringList());
    const ScopedTestFlag flag(321);
    QCOMPARE(read(), QString());
    QCOMPARE(trace.lines(),
             QStringList(
                 u"s3GetRegistryValue('HKEY_CURRENT_USER', 'Software\\Ostrelle Test\\No such key', '%1') =  "
                 "(isValid=false, type='')"_s.arg(valueName)));
}

void TestCoreUtil::registryReadsNoFile()
{
    // Where there is no registry, the path of a key must not be taken for that of a settings file.
    const QTemporaryDir directory;
    const ScopedCurrentDir current(directory.path());
    QVERIFY(current.entered());
    QFile file(u"OSTRELLE\\key"_s);
    if (file.open(QIODevice::WriteOnly)) // the name is that of a file on Linux only
        file.write("[General]\nname=value\n");
    file.close();
    const QStringList before = QDir().entryList(QDir::Files);
    QCOMPARE(s3GetRegistryValue(u"OSTRELLE"_s, u"key"_s, u"name"_s), QString());
    QCOMPARE(QDir().entryList(QDir::Files), before);
}

void TestCoreUtil::localInstall_data()
{
    QTest::addColumn<bool>("hasFile");
    QTest::addColumn<QByteArray>("answers");

    QTest::newRow("no mandant.ini, one comes later") << false << "1 1"_ba;
    QTest::newRow("mandant.ini, it goes later") << true << "0 0"_ba;
}

void TestCoreUtil::localInstall()
{
    QFETCH(bool, hasFile);
    QFETCH(QByteArray, answers);
    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    if (hasFile) {
        QFile file(directory.filePath(u"mandant.ini"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const ChildRun run = runChild(u"localInstall"_s, directory.path());
    QVERIFY(run.ended);
    QCOMPARE(run.standardOutput.trimmed(), answers);
}

void TestCoreUtil::errorStrings()
{
    QCOMPARE(s3ErrorString(static_cast<int>(knownSystemError)),
             qt_error_string(static_cast<int>(knownSystemError)));
    QVERIFY(!s3ErrorString(static_cast<int>(knownSystemError)).isEmpty());
}

void TestCoreUtil::lastErrorText()
{
    platform::setLastSystemError(knownSystemError);
    const QString text = s3LastErrorText();
    QCOMPARE(text, qt_error_string(static_cast<int>(knownSystemError)) + u" (2)"_s);
}

void TestCoreUtil::lastErrorTextOfUnknownNumber()
{
    platform::setLastSystemError(unknownSystemError);
    QCOMPARE(s3LastErrorText(), errorSuffix());
    QCOMPARE(s3LastErrorText(), errorSuffix()); // still the last error
}

void TestCoreUtil::lastErrorTextOfNoError()
{
    platform::setLastSystemError(0);
    QVERIFY(s3LastErrorText().endsWith(u"(0)"_s));
}

void TestCoreUtil::memoryReport_data()
{
    QTest::addColumn<std::vector<platform::ProcessEntry>>("entries");
    QTest::addColumn<bool>("hasSnapshot");
    QTest::addColumn<QList<quint32>>("closedDoors");
    QTest::addColumn<QList<quint32>>("silent");
    QTest::addColumn<QString>("children");
    QTest::addColumn<QStringList>("trace");

    using Entries = std::vector<platform::ProcessEntry>;
    using Ids = QList<quint32>;
    const quint32 own = ScriptedProcesses::own;
    const QString browser = u"QtWebEngineProcess.exe"_s;
    const QString failed = u"() failed err="_s + errorSuffix();

    QTest::newRow("no children") << Entries({{own, 1, u"tool.exe"_s}, {7, 1, browser}}) << true << Ids()
                                 << Ids() << QString() << QStringList();
    QTest::newRow("one child") << Entries({{7, own, browser}}) << true << Ids() << Ids()
                               << u"\n\nQtWebEngineProcess.exe   WorkingSet: 7MB,   PrivateUsage: 7MB"_s
                               << QStringList();
    QTest::newRow("two children, a line feed before the first only")
        << Entries({{7, own, browser}, {8, 1, browser}, {9, own, browser}}) << true << Ids() << Ids()
        << u"\n\nQtWebEngineProcess.exe   WorkingSet: 7MB,   PrivateUsage: 7MB"
           "\nQtWebEngineProcess.exe   WorkingSet: 9MB,   PrivateUsage: 9MB"_s
        << QStringList();
    QTest::newRow("children of other names, the case counts")
        << Entries({{7, own, u"other.exe"_s}, {8, own, u"qtwebengineprocess.exe"_s}}) << true << Ids()
        << Ids() << QString() << QStringList();
    QTest::newRow("a child that cannot be opened is passed over")
        << Entries({{7, own, browser}, {8, own, browser}}) << true << Ids({7}) << Ids()
        << u"\n\nQtWebEngineProcess.exe   WorkingSet: 8MB,   PrivateUsage: 8MB"_s
        << QStringList(u"OpenProcess"_s + failed);
    QTest::newRow("a child without counters")
        << Entries({{7, own, browser}}) << true << Ids() << Ids({7}) << u"\n\nQtWebEngineProcess.exe   "_s
        << QStringList(u"GetProcessMemoryInfo"_s + failed);
    QTest::newRow("no snapshot") << Entries({{7, own, browser}}) << false << Ids() << Ids() << QString()
                                 << QStringList(u"CreateToolhelp32Snapshot"_s + failed);
    QTest::newRow("no first process")
        << Entries() << true << Ids() << Ids() << QString() << QStringList(u"Process32First"_s + failed);
}

void TestCoreUtil::memoryReport()
{
    QFETCH(std::vector<platform::ProcessEntry>, entries);
    QFETCH(bool, hasSnapshot);
    QFETCH(QList<quint32>, closedDoors);
    QFETCH(QList<quint32>, silent);
    QFETCH(QString, children);
    QFETCH(QStringList, trace);
    ScriptedProcesses processes;
    processes.entries = entries;
    processes.hasSnapshot = hasSnapshot;
    processes.closedDoors = closedDoors;
    processes.silent = silent;

    const TraceRecorder recorder; // these lines need no flag
    QString text = u"what stood here before"_s;
    QVERIFY(s3MemoryReportOf(processes, text));
    QCOMPARE(text,
             u"Memory usage: 69MB/100MB,   Available physical: 20MB/64MB\n\n"_s + qAppName()
                 + u".exe   WorkingSet: 42MB,   PrivateUsage: 42MB"_s + children);
    QCOMPARE(recorder.lines(), trace);
}

void TestCoreUtil::memoryReportClosesWhatItOpens()
{
    ScriptedProcesses processes;
    processes.entries = {{7, ScriptedProcesses::own, u"QtWebEngineProcess.exe"_s},
                         {8, ScriptedProcesses::own, u"other.exe"_s},
                         {9, 1, u"QtWebEngineProcess.exe"_s}};
    QString text;
    QVERIFY(s3MemoryReportOf(processes, text));
    QCOMPARE(processes.opened, QList<quint32>({7, 8}));
    QCOMPARE(processes.closed, processes.opened);
}

void TestCoreUtil::memoryReportSurvivesAnException()
{
    ScriptedProcesses processes;
    processes.throwsInSnapshot = true;
    const ScopedTestFlag tracing(400);
    const TraceRecorder trace;
    QString text;
    QVERIFY(!s3MemoryReportOf(processes, text));
    static const QRegularExpression line(
        u"^DEBUG_TRYCATCH\\(\\) libraries/core/src/coreutil:[0-9]+  s3MemoryReport\\(\\) = false$"_s);
    QCOMPARE(trace.lines().size(), 1);
    QVERIFY2(line.match(trace.lines().at(0)).hasMatch(), qPrintable(trace.lines().at(0)));
    QVERIFY(text.startsWith(u"Memory usage: "_s));
}

void TestCoreUtil::memoryReportOfThisMachine()
{
    QString text;
    QVERIFY(s3MemoryReport(text));
    static const QRegularExpression form(
        u"^Memory usage: ([0-9]+)MB/([0-9]+)MB,   Available physical: ([0-9]+)MB/([0-9]+)MB\n\n"
        "tst_coreutil\\.exe   WorkingSet: ([0-9]+)MB,   PrivateUsage: ([0-9]+)MB"_s);
    const QRegularExpressionMatch match = form.match(text);
    QVERIFY2(match.hasMatch(), qPrintable(text));
    const auto number = [&](int group) {
        return match.captured(group).toULongLong();
    };
    QVERIFY(number(1) > 0 && number(1) < number(2));
    QVERIFY(number(3) > 0 && number(3) < number(4));
    QVERIFY(number(5) > 0 && number(5) < number(4));
}

void TestCoreUtil::memoryReportNamesBrowserProcesses()
{
    // A child under the browser process's name: this program itself, waiting for its input to end.
    const QTemporaryDir directory;
    const QString name = platform::processes().programFileName(u"QtWebEngineProcess"_s);
    const QString program = directory.filePath(name);
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
    QProcess child;
    const auto end = qScopeGuard([&] {
        child.closeWriteChannel();
        child.waitForFinished();
    });
    child.start(program, {u"--child"_s, u"wait"_s});
    QVERIFY(child.waitForReadyRead(30000)); // it has come up
    QString text;
    QVERIFY(s3MemoryReport(text));
    const QRegularExpression form(u"MB\n\n%1   WorkingSet: [1-9][0-9]*MB,   PrivateUsage: [0-9]+MB$"_s.arg(
        QRegularExpression::escape(name)));
    QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
}

void TestCoreUtil::processMemoryOfThisProcess()
{
    static const QRegularExpression form(u"^WorkingSet: [1-9][0-9]*MB,   PrivateUsage: [0-9]+MB$"_s);
    const QString text = s3ProcessMemoryText(platform::processes().ownHandle());
    QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
}

void TestCoreUtil::processMemoryOfNoProcess()
{
    const TraceRecorder trace;
    QCOMPARE(s3ProcessMemoryText(nullptr), QString());
    QCOMPARE(trace.lines().size(), 1);
    static const QRegularExpression line(u"^GetProcessMemoryInfo\\(\\) failed err=.+ \\([1-9][0-9]*\\)$"_s);
    QVERIFY2(line.match(trace.lines().at(0)).hasMatch(), qPrintable(trace.lines().at(0)));
}

void TestCoreUtil::versionText_data()
{
    QTest::addColumn<QByteArray>("translation");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("result");

    QTest::newRow("language, then code page, four digits each")
        << germanUnicode << u"\\StringFileInfo\\040704b0\\CompanyName"_s << u"Zerk GmbH"_s;
    QTest::newRow("digits in lower case, filled with zeros")
        << "\x0a\x00\xe3\x00"_ba << u"\\StringFileInfo\\000a00e3\\CompanyName"_s << u"Zerk GmbH"_s;
    QTest::newRow("the first of several translations")
        << germanUnicode + "\x09\x04\xb0\x04"_ba << u"\\StringFileInfo\\040704b0\\CompanyName"_s
        << u"Zerk GmbH"_s;
    QTest::newRow("no such key") << germanUnicode << u"\\StringFileInfo\\040704b0\\FileVersion"_s
                                 << QString();
    QTest::newRow("another language")
        << germanUnicode << u"\\StringFileInfo\\040904b0\\CompanyName"_s << QString();
    QTest::newRow("no translation") << QByteArray() << u"\\StringFileInfo\\040704b0\\CompanyName"_s
                                    << QString();
}

void TestCoreUtil::versionText()
{
    QFETCH(QByteArray, translation);
    QFETCH(QString, path);
    QFETCH(QString, result);
    ScriptedVersionInfo info;
    if (!translation.isNull())
        info.parts.insert(u"\\VarFileInfo\\Translation"_s, {translation, quint32(translation.size())});
    info.setText(path, u"Zerk GmbH"_s, 10);
    QCOMPARE(s3VersionText(info, u"CompanyName"_s), result);
}

void TestCoreUtil::versionTextOfAShortTranslation()
{
    ScriptedVersionInfo info;
    info.setText(u"\\StringFileInfo\\040704b0\\k"_s, u"x"_s, 2);
    info.parts.insert(u"\\VarFileInfo\\Translation"_s, {germanUnicode, 3});
    QCOMPARE(s3VersionText(info, u"k"_s), QString());
    info.parts.insert(u"\\VarFileInfo\\Translation"_s, {germanUnicode, 4});
    QCOMPARE(s3VersionText(info, u"k"_s), u"x"_s);
}

void TestCoreUtil::versionTextMustBeClosed()
{
    ScriptedVersionInfo info;
    info.parts.insert(u"\\VarFileInfo\\Translation"_s, {germanUnicode, 4});
    const QString path = u"\\StringFileInfo\\040704b0\\k"_s;
    const QString file = u"libraries/core/src/coreutil"_s;
    const auto message = [&] {
        return thrownMessage([&] { (void)s3VersionText(info, u"k"_s); });
    };

    info.setText(path, u"abc"_s, 0);
    QVERIFY(isAssertion(message(), u"size > 0"_s, file, u"vs_query_info"_s));
    info.setText(path, u"abc"_s, 3);
    QVERIFY(isAssertion(message(), u"value[size - 1] == QChar::Null"_s, file, u"vs_query_info"_s));
    info.setText(path, u"abc"_s, 4);
    QCOMPARE(message(), QString());
    QCOMPARE(s3VersionText(info, u"k"_s), u"abc"_s);
    info.setText(path, QString(), 1);
    QCOMPARE(s3VersionText(info, u"k"_s), QString());
    info.setText(path, u"ab\0cd"_s, 6); // the text ends at its first null
    QCOMPARE(s3VersionText(info, u"k"_s), u"ab"_s);
}

void TestCoreUtil::versionInfoOfFilesWithoutOne_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("key");

    QTest::newRow("empty name") << QString() << u"FileVersion"_s;
    QTest::newRow("empty key") << QCoreApplication::applicationFilePath() << QString();
    QTest::newRow("no such file") << u"/no/such/größe.dll"_s << u"FileVersion"_s;
    QTest::newRow("a directory") << QDir::tempPath() << u"FileVersion"_s;
    QTest::newRow("a program without a version resource")
        << QCoreApplication::applicationFilePath() << u"FileVersion"_s;
}

void TestCoreUtil::versionInfoOfFilesWithoutOne()
{
    QFETCH(QString, fileName);
    QFETCH(QString, key);
    QCOMPARE(vs_query_info(fileName, key), QString());
    if (key == u"FileVersion"_s)
        QCOMPARE(s3FileVersion(fileName), QString());
}

void TestCoreUtil::maskPasswords_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("masked");

    QTest::newRow("empty list") << QStringList() << QStringList();
    QTest::newRow("nothing to mask") << QStringList({u"x"_s, u"-user"_s, u"y"_s})
                                     << QStringList({u"x"_s, u"-user"_s, u"y"_s});
    QTest::newRow("next argument") << QStringList({u"-password"_s, u"pw"_s, u"x"_s})
                                   << QStringList({u"-password"_s, u"*****"_s, u"x"_s});
    QTest::newRow("next argument, two dashes") << QStringList({u"--password"_s, u"pw"_s, u"x"_s})
                                               << QStringList({u"--password"_s, u"*****"_s, u"x"_s});
    QTest::newRow("same argument") << QStringList({u"-password=pw"_s, u"x"_s})
                                   << QStringList({u"-password=*****"_s, u"x"_s});
    QTest::newRow("same argument, two dashes")
        << QStringList({u"--password=pw"_s, u"x"_s}) << QStringList({u"--password=*****"_s, u"x"_s});
    QTest::newRow("empty password") << QStringList({u"-password="_s, u"x"_s})
                                    << QStringList({u"-password=*****"_s, u"x"_s});
    QTest::newRow("the password is the option's name")
        << QStringList({u"-password"_s, u"-password"_s, u"x"_s})
        << QStringList({u"-password"_s, u"*****"_s, u"x"_s});
    QTest::newRow("the password looks like the option")
        << QStringList({u"-password"_s, u"-password=pw"_s, u"x"_s})
        << QStringList({u"-password"_s, u"*****"_s, u"x"_s});
    QTest::newRow("a literal mask changes nothing")
        << QStringList({u"*****"_s, u"x"_s}) << QStringList({u"*****"_s, u"x"_s});
    QTest::newRow("the case counts") << QStringList({u"-Password"_s, u"pw"_s, u"--PASSWORD=pw"_s})
                                     << QStringList({u"-Password"_s, u"pw"_s, u"--PASSWORD=pw"_s});
    QTest::newRow("only the whole name")
        << QStringList({u"-passwords"_s, u"pw"_s, u"--password:pw"_s, u"password=x"_s})
        << QStringList({u"-passwords"_s, u"pw"_s, u"--password:pw"_s, u"password=x"_s});
    QTest::newRow("at the end") << QStringList({u"x"_s, u"-password"_s})
                                << QStringList({u"x"_s, u"-password"_s});
    QTest::newRow("equals signs in the password")
        << QStringList(u"-password=a=b"_s) << QStringList(u"-password=*****"_s);
}

void TestCoreUtil::maskPasswords()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, masked);
    const QStringList original = arguments;
    QCOMPARE(s3MaskPasswords(arguments), masked);
    QCOMPARE(arguments, original);
}

namespace
{

// The answer, and once more after the file has come or gone.
int localInstall()
{
    const bool first = s3IsLocalInstall();
    if (!QFile::remove(u"mandant.ini"_s)) {
        QFile file(u"mandant.ini"_s);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
    }
    std::printf("%d %d\n", first ? 1 : 0, s3IsLocalInstall() ? 1 : 0);
    return 0;
}

int waitForInput()
{
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) { }
    return 0;
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString part = childPart(argc, argv);
    if (part == u"localInstall"_s)
        return localInstall();
    if (part == u"wait"_s)
        return waitForInput();
    TestCoreUtil test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_coreutil.moc"
