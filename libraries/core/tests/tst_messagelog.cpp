#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "ostrelletest/lockedfile.h"
#include "ostrelletest/ordinaryuser.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedenvironment.h"
#include "protocol/messagelog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <array>
#include <atomic>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{

struct Record {
    QtMsgType type = QtDebugMsg;
    QByteArray category;
    bool hasPosition = false;
    QString text;
};

// What the handler below ours received. The log serialises the calls.
QList<Record> records;
bool handlerLogsItself = false;

void recordingHandler(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    records.append({type, QByteArray(context.category),
                    context.file != nullptr || context.line != 0 || context.function != nullptr, text});
    if (handlerLogsItself)
        qWarning("from inside the handler");
}

QStringList recordedTexts()
{
    QStringList texts;
    for (const Record &record : records)
        texts += record.text;
    return texts;
}

// The handler that is installed now.
QtMessageHandler currentHandler()
{
    const QtMessageHandler handler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(handler);
    return handler;
}

// What text mode makes of a line feed here: CR LF on Windows, LF elsewhere.
QByteArray lineEnd()
{
    static const QByteArray bytes = [] {
        const QTemporaryDir dir;
        QFile file(dir.filePath(u"x"_s));
        if (file.open(QIODevice::WriteOnly | QIODevice::Text))
            file.write("\n");
        file.close();
        return readFile(dir.filePath(u"x"_s));
    }();
    return bytes;
}

// The log's bytes with `lines`, each in the default form of the category "gui.ostrelle".
QByteArray logged(const QByteArrayList &lines)
{
    QByteArray bytes;
    for (const QByteArray &line : lines)
        bytes += "gui.ostrelle: " + line + lineEnd();
    return bytes;
}

// A log in a directory of its own, with the usual category and debug messages on.
class Log
{
public:
    Log()
    {
        initLogFile(m_dir.path(), u"ostrelle.log"_s, true);
        setLogCategory("gui.ostrelle");
        setDebugEnabled(true);
        records.clear();
    }
    ~Log() { initLogFile(QDir::tempPath() + u"/none/none"_s, u"none"_s, false); }
    Q_DISABLE_COPY_MOVE(Log)

    [[nodiscard]] QString path() const { return m_dir.filePath(u"ostrelle.log"_s); }
    [[nodiscard]] QString dir() const { return m_dir.path(); }
    [[nodiscard]] QByteArray content() const { return readFile(path()); }

private:
    QTemporaryDir m_dir;
};

// Constructed before every other object of the program, so destroyed after the log's file.
struct LateLogger {
    ~LateLogger()
    {
        if (!enabled)
            return;
        qWarning("default category, late");
        logWarning() << u"late"_s;
        clearLogCategory();
        logWarning() << u"later"_s;
    }
    bool enabled = false;
};
__attribute__((init_priority(101))) LateLogger lateLogger;

// What a program does with its log, in the working directory.
int runAsChild(const QString &mode)
{
    initLogFile(u"."_s, u"child.log"_s, true);
    setLogCategory("gui.ostrelle");
    setDebugEnabled(mode != "off"_L1);
    logDebug() << u"one ä"_s;
    logCritical() << u"two"_s;
    lateLogger.enabled = mode == "late"_L1;
    return 0;
}

}

class TestMessageLog final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // These three come first: the handler, once installed, stays.
    void noCategoryAtTheStart();
    void enablingDebugWithoutACategoryDoesNothing();
    void emptyFileNameInstallsNothing();
    void installsItsHandlerOnce();

    void writesOneLineForEachMessage();
    void lineIsOnDiskWhenTheCallReturns();
    void levels_data();
    void levels();
    void explicitCategory();
    void logForChoosesTheLevel_data();
    void logForChoosesTheLevel();
    void logsEachItemOfAList();
    void qtsOwnLoggingIsWrittenToo();
    void withoutACategoryTheDefaultOneIsUsed();
    void categoryCanBeSetReadAndCleared();
    void debugIsSwitchedByTheCategory();
    void switchingDebugLeavesTheOtherLevels();
    void messageThatIsOffReachesNobody();
    void emptyMessageReachesNobody();
    void formerHandlerGetsTheUnchangedText();
    void formerHandlerMayLog();
    void texts_data();
    void texts();
    void longMessage();
    void truncates();
    void appends();
    void truncatingMakesNoFile();
    void relativeNameAndBackslashes();
    void secondCallMovesTheLog();
    void emptyNameLeavesTheLogWhereItIs();
    void unwritablePlaces_data();
    void unwritablePlaces();
    void refusedFile();
    void removedLogBeginsAnew();
    void eightThreadsAtOnce();
    void logMovesWhileThreadsWrite();
    void patternSeesTheLineFeed_data();
    void patternSeesTheLineFeed();
    void ordinaryRunPassesOnToQt();
    void runWithDebugOff();
    void messagesAfterTheFileIsGone();
};

void TestMessageLog::noCategoryAtTheStart()
{
    QVERIFY(logCategory() == nullptr);
}

void TestMessageLog::enablingDebugWithoutACategoryDoesNothing()
{
    const QLoggingCategory probe("gui.ostrelle");
    const QLoggingCategory nameless("");
    QVERIFY(probe.isDebugEnabled());
    setDebugEnabled(false);
    QVERIFY(probe.isDebugEnabled());
    QVERIFY(nameless.isDebugEnabled());
    QVERIFY(QLoggingCategory::defaultCategory()->isDebugEnabled());
}

void TestMessageLog::emptyFileNameInstallsNothing()
{
    const QTemporaryDir dir;
    const QtMessageHandler before = currentHandler();
    initLogFile(dir.path(), QString(), true);
    initLogFile(dir.path(), u""_s, false);
    QVERIFY(currentHandler() == before);
    QVERIFY(QDir(dir.path()).isEmpty());
}

void TestMessageLog::installsItsHandlerOnce()
{
    qInstallMessageHandler(recordingHandler);
    const QTemporaryDir dir;
    initLogFile(dir.path(), u"a"_s, true);
    const QtMessageHandler ours = currentHandler();
    QVERIFY(ours != recordingHandler);
    initLogFile(dir.path(), u"b"_s, true);
    QVERIFY(currentHandler() == ours);
    records.clear();
    qWarning("once");
    QCOMPARE(recordedTexts(), QStringList{u"once"_s});
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"b"_s});
    QCOMPARE(readFile(dir.filePath(u"b"_s)), "once" + lineEnd());
}

void TestMessageLog::writesOneLineForEachMessage()
{
    const Log log;
    logDebug() << u"Reading parameter from file C:\\a b\\x.zml"_s;
    logDebug() << u"text with \"quotes\""_s << 3 << u"ä"_s;
    QCOMPARE(log.content(),
             logged({"Reading parameter from file C:\\a b\\x.zml", "text with \"quotes\" 3 \xC3\xA4"}));
}

void TestMessageLog::lineIsOnDiskWhenTheCallReturns()
{
    const Log log;
    for (int i = 1; i <= 3; ++i) {
        logDebug() << u"x"_s;
        QCOMPARE(log.content(), logged(QByteArrayList(i, "x")));
    }
    // Nobody holds it open: Windows would refuse this.
    QVERIFY(QFile::rename(log.path(), log.path() + u".old"_s));
}

void TestMessageLog::levels_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("debug") << int(QtDebugMsg);
    QTest::newRow("info") << int(QtInfoMsg);
    QTest::newRow("warning") << int(QtWarningMsg);
    QTest::newRow("critical") << int(QtCriticalMsg);
}

void TestMessageLog::levels()
{
    QFETCH(const int, type);
    const Log log;
    switch (type) {
    case QtDebugMsg:
        logDebug() << u"text"_s;
        break;
    case QtInfoMsg:
        logInfo() << u"text"_s;
        break;
    case QtWarningMsg:
        logWarning() << u"text"_s;
        break;
    default:
        logCritical() << u"text"_s;
        break;
    }
    QCOMPARE(log.content(), logged({"text"}));
    QCOMPARE(records.size(), 1);
    QCOMPARE(int(records.first().type), type);
    QCOMPARE(records.first().category, "gui.ostrelle");
    QVERIFY(!records.first().hasPosition);
}

void TestMessageLog::explicitCategory()
{
    const Log log;
    const QLoggingCategory other("other");
    const QLoggingCategory quiet("quiet", QtCriticalMsg);
    logDebug(other) << u"1"_s;
    logInfo(other) << u"2"_s;
    logWarning(other) << u"3"_s;
    logCritical(other) << u"\"4\""_s;
    logDebug(quiet) << u"5"_s;
    logInfo(quiet) << u"6"_s;
    logWarning(quiet) << u"7"_s;
    logCritical(quiet) << u"8"_s;
    QCOMPARE(log.content(),
             "other: 1" + lineEnd() + "other: 2" + lineEnd() + "other: 3" + lineEnd() + "other: \"4\""
                 + lineEnd() + "quiet: 8" + lineEnd());
    const QList<QtMsgType> types{QtDebugMsg, QtInfoMsg, QtWarningMsg, QtCriticalMsg, QtCriticalMsg};
    for (qsizetype i = 0; i < types.size(); ++i)
        QCOMPARE(records.value(i).type, types.at(i));
}

void TestMessageLog::logForChoosesTheLevel_data()
{
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("expected");
    QTest::newRow("debug") << int(QtDebugMsg) << int(QtDebugMsg);
    QTest::newRow("info") << int(QtInfoMsg) << int(QtInfoMsg);
    QTest::newRow("warning") << int(QtWarningMsg) << int(QtWarningMsg);
    QTest::newRow("critical") << int(QtCriticalMsg) << int(QtCriticalMsg);
    QTest::newRow("fatal ends nothing") << int(QtFatalMsg) << int(QtCriticalMsg);
    QTest::newRow("unknown") << 77 << int(QtCriticalMsg);
}

void TestMessageLog::logForChoosesTheLevel()
{
    QFETCH(const int, asked);
    QFETCH(const int, expected);
    const Log log;
    logFor(static_cast<QtMsgType>(asked)) << u"text"_s;
    QCOMPARE(records.size(), 1);
    QCOMPARE(int(records.first().type), expected);
}

void TestMessageLog::logsEachItemOfAList()
{
    const Log log;
    logList({u"a"_s, QString(), u"%1 %2"_s, u"ß"_s}, u"item %2"_s);
    logList({}, u"none"_s);
    QCOMPARE(log.content(), logged({"item %2 [a]", "item %2 []", "item %2 [%1 %2]", "item %2 [\xC3\x9F]"}));
    setDebugEnabled(false);
    logList({u"a"_s}, u"off"_s);
    QCOMPARE(records.size(), 4);
}

void TestMessageLog::qtsOwnLoggingIsWrittenToo()
{
    const Log log;
    qDebug("d %d", 1);
    qInfo("i");
    qWarning() << u"w"_s;
    const QLoggingCategory other("x.y");
    qCCritical(other) << 4;
    QCOMPARE(log.content(), "d 1" + lineEnd() + "i" + lineEnd() + "\"w\"" + lineEnd() + "x.y: 4" + lineEnd());
}

void TestMessageLog::withoutACategoryTheDefaultOneIsUsed()
{
    const Log log;
    clearLogCategory();
    logDebug() << u"a"_s;
    logCritical() << u"b"_s;
    QCOMPARE(log.content(), "a" + lineEnd() + "b" + lineEnd());
    QCOMPARE(records.first().category, "default");
}

void TestMessageLog::categoryCanBeSetReadAndCleared()
{
    static const char name[] = "one";
    setLogCategory(name);
    QCOMPARE(logCategory(), "one");
    setLogCategory("two");
    QCOMPARE(logCategory(), "two");
    setLogCategory(name);
    QVERIFY(logCategory() == name);
    clearLogCategory();
    QVERIFY(logCategory() == nullptr);
    setLogCategory("two");
    setLogCategory(nullptr);
    QVERIFY(logCategory() == nullptr);
}

void TestMessageLog::debugIsSwitchedByTheCategory()
{
    const Log log;
    setDebugEnabled(false);
    QVERIFY(!isDebugEnabled());
    logDebug() << u"off"_s;
    setDebugEnabled(true);
    QVERIFY(isDebugEnabled());
    logDebug() << u"on"_s;
    setLogCategory("gui.other");
    setDebugEnabled(false);
    QVERIFY(!isDebugEnabled());
    logDebug() << u"off"_s;
    // The rule of the other category replaced the first one, and without a rule debug is on.
    setLogCategory("gui.ostrelle");
    QVERIFY(isDebugEnabled());
    logDebug() << u"on again"_s;
    QCOMPARE(log.content(), logged({"on", "on again"}));
}

void TestMessageLog::switchingDebugLeavesTheOtherLevels()
{
    const Log log;
    setDebugEnabled(false);
    logDebug() << u"debug"_s;
    logInfo() << u"info"_s;
    logWarning() << u"warning"_s;
    logCritical() << u"critical"_s;
    qDebug("default category");
    QCOMPARE(log.content(), logged({"info", "warning", "critical"}) + "default category" + lineEnd());
}

void TestMessageLog::messageThatIsOffReachesNobody()
{
    const Log log;
    setDebugEnabled(false);
    logDebug() << u"off"_s;
    QVERIFY(records.isEmpty());
    QVERIFY(!QFileInfo::exists(log.path()));
}

void TestMessageLog::emptyMessageReachesNobody()
{
    const Log log;
    logDebug() << QString();
    (void)logCritical();
    qWarning("%s", "");
    QVERIFY(records.isEmpty());
    QVERIFY(!QFileInfo::exists(log.path()));
    logDebug() << u" "_s;
    QCOMPARE(records.size(), 1);
}

void TestMessageLog::formerHandlerGetsTheUnchangedText()
{
    const Log log;
    const QString text = u"a\r\nb\tä"_s + QChar(0xD800) + u"\n"_s;
    logWarning() << text;
    QCOMPARE(records.size(), 1);
    QVERIFY(records.first().text == text);
    QCOMPARE(records.first().type, QtWarningMsg);
    QCOMPARE(records.first().category, "gui.ostrelle");
}

void TestMessageLog::formerHandlerMayLog()
{
    const Log log;
    handlerLogsItself = true;
    logWarning() << u"outer"_s;
    handlerLogsItself = false;
    QCOMPARE(log.content(), logged({"outer"}));
    QCOMPARE(recordedTexts(), QStringList{u"outer"_s});
}

void TestMessageLog::texts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray replacement = "\xEF\xBF\xBD";
    QTest::newRow("Latin") << u"äöüß"_s << QByteArray("\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F");
    QTest::newRow("outside the basic plane") << u"🖂"_s << QByteArray("\xF0\x9F\x96\x82");
    QTest::newRow("lone high surrogate") << u"a"_s + QChar(0xD83D) + u"b"_s << "a" + replacement + "b";
    QTest::newRow("lone low surrogate") << u"a"_s + QChar(0xDD82) + u"b"_s << "a" + replacement + "b";
    QTest::newRow("high surrogate at the end") << u"a"_s + QChar(0xD83D) << "a" + replacement;
    QTest::newRow("two high surrogates")
        << QString(2, QChar(0xD83D)) + u"x"_s << replacement + replacement + "x";
    QTest::newRow("surrogates the wrong way round")
        << QString(QChar(0xDD82)) + QChar(0xD83D) << replacement + replacement;
    QTest::newRow("null character") << u"a"_s + QChar(0) + u"b"_s << QByteArray("a\0b", 3);
    QTest::newRow("byte-order mark inside") << u"a"_s + QChar(0xFEFF) << QByteArray("a\xEF\xBB\xBF");
    QTest::newRow("lines") << u"a\nb\n"_s << "a" + lineEnd() + "b" + lineEnd();
    QTest::newRow("percent signs") << u"%1 %{message} %s"_s << QByteArray("%1 %{message} %s");
}

void TestMessageLog::texts()
{
    QFETCH(const QString, text);
    QFETCH(const QByteArray, bytes);
    const Log log;
    logDebug() << text;
    logDebug() << u"next"_s;
    QCOMPARE(log.content(), logged({bytes, "next"}));
}

void TestMessageLog::longMessage()
{
    const Log log;
    const QString text = QString(2 * 1024 * 1024, u'ä');
    logDebug() << text;
    QVERIFY(log.content() == logged({text.toUtf8()}));
}

void TestMessageLog::truncates()
{
    const Log log;
    logDebug() << u"first run"_s;
    initLogFile(log.dir(), u"ostrelle.log"_s, true);
    QCOMPARE(log.content(), "");
    logDebug() << u"second run"_s;
    QCOMPARE(log.content(), logged({"second run"}));
}

void TestMessageLog::appends()
{
    const Log log;
    QVERIFY(writeFile(log.path(), "kept\n"));
    initLogFile(log.dir(), u"ostrelle.log"_s, false);
    QCOMPARE(log.content(), "kept\n");
    logDebug() << u"new"_s;
    QCOMPARE(log.content(), "kept\n" + logged({"new"}));
}

void TestMessageLog::truncatingMakesNoFile()
{
    const Log log;
    initLogFile(log.dir(), u"ostrelle.log"_s, true);
    QVERIFY(!QFileInfo::exists(log.path()));
}

void TestMessageLog::relativeNameAndBackslashes()
{
    const Log log;
    QVERIFY(QDir(log.dir()).mkpath(u"ä b/c"_s));
    const ScopedCurrentDir inside(log.dir());
    initLogFile(u"ä b\\c"_s, u"x ü.log"_s, true);
    logDebug() << u"1"_s;
    QCOMPARE(readFile(log.dir() + u"/ä b/c/x ü.log"_s), logged({"1"}));
    initLogFile(u"."_s, u"y.log"_s, true);
    logDebug() << u"2"_s;
    QCOMPARE(readFile(log.dir() + u"/y.log"_s), logged({"2"}));
}

void TestMessageLog::secondCallMovesTheLog()
{
    const Log log;
    logDebug() << u"1"_s;
    initLogFile(log.dir(), u"other.log"_s, true);
    logDebug() << u"2"_s;
    QCOMPARE(log.content(), logged({"1"}));
    QCOMPARE(readFile(log.dir() + u"/other.log"_s), logged({"2"}));
    QCOMPARE(recordedTexts(), QStringList({u"1"_s, u"2"_s}));
}

void TestMessageLog::emptyNameLeavesTheLogWhereItIs()
{
    const Log log;
    logDebug() << u"1"_s;
    initLogFile(log.dir(), QString(), true);
    logDebug() << u"2"_s;
    QCOMPARE(log.content(), logged({"1", "2"}));
}

void TestMessageLog::unwritablePlaces_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing directory") << u"none/x.log"_s;
    QTest::newRow("a directory has the name") << u"dir"_s;
    QTest::newRow("below a file") << u"file/x.log"_s;
    QTest::newRow("name that is too long") << QString(5000, u'x');
    QTest::newRow("name with a null character") << u"x"_s + QChar(0) + u"y"_s;
}

void TestMessageLog::unwritablePlaces()
{
    QFETCH(const QString, name);
    const Log log;
    QVERIFY(QDir(log.dir()).mkdir(u"dir"_s));
    QVERIFY(writeFile(log.dir() + u"/file"_s, "untouched"));
    initLogFile(log.dir(), name, true);
    records.clear();
    logDebug() << u"lost"_s;
    QCOMPARE(recordedTexts(), QStringList{u"lost"_s});
    QCOMPARE(readFile(log.dir() + u"/file"_s), "untouched");
    QVERIFY(QFileInfo(log.dir() + u"/dir"_s).isDir());
    // The log is found again as soon as there is a place for it.
    initLogFile(log.dir(), u"ostrelle.log"_s, true);
    logDebug() << u"written"_s;
    QCOMPARE(log.content(), logged({"written"}));
}

void TestMessageLog::refusedFile()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const Log log;
    QVERIFY(writeFile(log.path(), "kept"));
    {
        const ScopedUnreadableFile locked(log.path());
        QVERIFY(locked.isLocked());
        initLogFile(log.dir(), u"ostrelle.log"_s, true);
        logDebug() << u"lost"_s;
        QCOMPARE(recordedTexts(), QStringList{u"lost"_s});
    }
    QCOMPARE(log.content(), "kept");
    logDebug() << u"written"_s;
    QCOMPARE(log.content(), "kept" + logged({"written"}));
}

void TestMessageLog::removedLogBeginsAnew()
{
    const Log log;
    logDebug() << u"1"_s;
    QVERIFY(QFile::remove(log.path()));
    logDebug() << u"2"_s;
    QCOMPARE(log.content(), logged({"2"}));
}

void TestMessageLog::eightThreadsAtOnce()
{
    constexpr int threadCount = 8;
    constexpr int linesEach = 500;
    const Log log;
    std::atomic<int> waiting = threadCount;
    std::atomic<int> done = 0;
    std::vector<std::unique_ptr<QThread>> threads;
    const auto line = [](int thread, int i) {
        return u"%1 %2 ä%3$"_s.arg(thread).arg(i).arg(QString((i * 37) % 400, u'ß'));
    };
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back(QThread::create([&waiting, &done, &line, thread] {
            --waiting;
            while (waiting > 0)
                QThread::yieldCurrentThread();
            for (int i = 0; i < linesEach; ++i)
                logDebug() << line(thread, i);
            ++done;
        }));
        threads.back()->start();
    }
    for (const auto &thread : threads)
        thread->wait();
    // The thread sanitizer does not see what QThread::wait() orders; it sees this.
    QCOMPARE(done.load(), threadCount);

    std::array<int, threadCount> next = {};
    QByteArrayList lines = log.content().split('\n');
    QCOMPARE(lines.takeLast(), "");
    QCOMPARE(lines.size(), threadCount * linesEach);
    for (const QByteArray &bytes : lines) {
        const int thread = bytes.mid(14, 1).toInt();
        QCOMPARE(bytes + '\n', logged({line(thread, next.at(size_t(thread))++).toUtf8()}));
    }
    for (const int count : next)
        QCOMPARE(count, linesEach);
    QCOMPARE(records.size(), threadCount * linesEach);
}

void TestMessageLog::logMovesWhileThreadsWrite()
{
    constexpr int threadCount = 3;
    constexpr int linesEach = 300;
    const Log log;
    std::atomic<int> running = threadCount;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back(QThread::create([&running] {
            for (int i = 0; i < linesEach; ++i)
                logDebug() << u"line"_s;
            --running;
        }));
        threads.back()->start();
    }
    for (int i = 0; running > 0; ++i)
        initLogFile(log.dir(), i % 2 == 0 ? u"a.log"_s : u"b.log"_s, false);
    for (const auto &thread : threads)
        thread->wait();
    qsizetype found = 0;
    for (const QString &name : {u"ostrelle.log"_s, u"a.log"_s, u"b.log"_s})
        found += readFile(log.dir() + u'/' + name).count(logged({"line"}));
    QCOMPARE(found, threadCount * linesEach);
}

void TestMessageLog::patternSeesTheLineFeed_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray end = lineEnd();
    QTest::newRow("text behind the message")
        << u"[%{type}] %{message}<"_s << "[debug] one \xC3\xA4" + end + "<[critical] two" + end + "<";
    QTest::newRow("no source position")
        << u"%{category}|%{file}|%{line}|%{function}|%{message}"_s
        << "gui.ostrelle|unknown|0|unknown|one \xC3\xA4" + end + "gui.ostrelle|unknown|0|unknown|two" + end;
    QTest::newRow("without the message") << u"x"_s << QByteArray("xx");
}

void TestMessageLog::patternSeesTheLineFeed()
{
    QFETCH(const QString, pattern);
    QFETCH(const QByteArray, expected);
    const QTemporaryDir dir;
    const ScopedEnvironment variable("QT_MESSAGE_PATTERN", pattern.toUtf8());
    const ChildRun child = runChild(u"on"_s, dir.path());
    QVERIFY2(child.ended && child.exitCode == 0, child.standardError.constData());
    QCOMPARE(readFile(dir.filePath(u"child.log"_s)), expected);
}

void TestMessageLog::ordinaryRunPassesOnToQt()
{
    const QTemporaryDir dir;
    const ChildRun child = runChild(u"on"_s, dir.path());
    QVERIFY2(child.ended && child.exitCode == 0, child.standardError.constData());
    QCOMPARE(readFile(dir.filePath(u"child.log"_s)), logged({"one \xC3\xA4", "two"}));
    QVERIFY2(child.standardError.contains("gui.ostrelle: two"), child.standardError.constData());
}

void TestMessageLog::runWithDebugOff()
{
    const QTemporaryDir dir;
    const ChildRun child = runChild(u"off"_s, dir.path());
    QVERIFY2(child.ended && child.exitCode == 0, child.standardError.constData());
    QCOMPARE(readFile(dir.filePath(u"child.log"_s)), logged({"two"}));
    QVERIFY2(!child.standardError.contains("one"), child.standardError.constData());
}

// What is logged while static objects go skips the file and still reaches Qt's handler.
void TestMessageLog::messagesAfterTheFileIsGone()
{
    const QTemporaryDir dir;
    const ChildRun child = runChild(u"late"_s, dir.path());
    QVERIFY2(child.ended && child.exitCode == 0, child.standardError.constData());
    QCOMPARE(readFile(dir.filePath(u"child.log"_s)), logged({"one \xC3\xA4", "two"}));
    for (const char *text : {"default category, late", "late", "later"})
        QVERIFY2(child.standardError.contains(text), child.standardError.constData());
}

int main(int argc, char *argv[])
{
    // Otherwise Qt on Windows sends messages to the debugger where there is no console.
    qputenv("QT_ASSUME_STDERR_HAS_CONSOLE", "1");
    for (const char *name : {"QT_LOGGING_RULES", "QT_LOGGING_CONF", "QT_LOGGING_TO_CONSOLE"})
        qunsetenv(name);
    const QString part = childPart(argc, argv);
    // The user's own pattern would change every line.
    if (part.isEmpty())
        qunsetenv("QT_MESSAGE_PATTERN");
    QCoreApplication application(argc, argv);
    if (!part.isEmpty())
        return runAsChild(part);
    TestMessageLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_messagelog.moc"
