#include "erp/s3session.h"

#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "s3features.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// The clock of the sessions under test, in milliseconds since the epoch.
qint64 currentTime = 1'700'000'000'000;

QDateTime testClock()
{
    QDateTime now = QDateTime::currentDateTimeUtc();
    now.setMSecsSinceEpoch(currentTime);
    return now;
}

QDateTime invalidClock()
{
    return QDateTime();
}

// Switches one experimental feature on for the scope.
class ScopedFeature
{
public:
    ScopedFeature(const QString &name, bool on) : m_name(name)
    {
        if (on)
            s3ExperimentalFeaturesInstance()->insert(name);
    }
    ~ScopedFeature() { s3ExperimentalFeaturesInstance()->remove(m_name); }
    Q_DISABLE_COPY_MOVE(ScopedFeature)

private:
    QString m_name;
};

QList<bool> preferences(const s3Session &session)
{
    return {session.preferLocal1(), session.preferLocal2(), session.preferLocal3(),
            session.preferLocalFiles()};
}

// One plain text or flag of the session, by its operations.
struct PlainText {
    const char *name;
    QString (s3Session::*get)() const;
    void (s3Session::*set)(const QString &);
};

struct PlainFlag {
    const char *name;
    bool (s3Session::*get)() const;
    void (s3Session::*set)(bool);
    bool standard;
};

struct PlainNumber {
    const char *name;
    qint32 (s3Session::*get)() const;
    void (s3Session::*set)(qint32);
    qint32 standard;
};

using S = s3Session;

constexpr PlainText plainTexts[] = {
    {"text1", &S::text1, &S::setText1},
    {"serverName", &S::serverName, &S::setServerName},
    {"text2", &S::text2, &S::setText2},
    {"text3", &S::text3, &S::setText3},
    {"text4", &S::text4, &S::setText4},
    {"serverInfo3", &S::serverInfo3, &S::setServerInfo3},
    {"text5", &S::text5, &S::setText5},
    {"text6", &S::text6, &S::setText6},
    {"text7", &S::text7, &S::setText7},
    {"text8", &S::text8, &S::setText8},
    {"text9", &S::text9, &S::setText9},
    {"clientName", &S::clientName, &S::setClientName},
    {"text10", &S::text10, &S::setText10},
    {"guiDirectory", &S::guiDirectory, &S::setGuiDirectory},
    {"serverDirectory", &S::serverDirectory, &S::setServerDirectory},
    {"zoneName", &S::zoneName, &S::setZoneName},
    {"text11", &S::text11, &S::setText11},
    {"text13", &S::text13, &S::setText13},
    {"text14", &S::text14, &S::setText14},
    {"text15", &S::text15, &S::setText15},
};

constexpr PlainFlag plainFlags[] = {
    {"flag1", &S::flag1, &S::setFlag1, false},
    {"flag2", &S::flag2, &S::setFlag2, false},
    {"flag3", &S::flag3, &S::setFlag3, false},
    {"flag4", &S::flag4, &S::setFlag4, false},
    {"flag5", &S::flag5, &S::setFlag5, false},
    {"flag6", &S::flag6, &S::setFlag6, false},
    {"codeTestsEnabled", &S::codeTestsEnabled, &S::setCodeTestsEnabled, false},
    {"flag8", &S::flag8, &S::setFlag8, true},
    {"flag9", &S::flag9, &S::setFlag9, false},
    {"flag10", &S::flag10, &S::setFlag10, false},
    {"flag12", &S::flag12, &S::setFlag12, false},
    {"flag13", &S::flag13, &S::setFlag13, false},
    {"flag14", &S::flag14, &S::setFlag14, false},
    {"flag15", &S::flag15, &S::setFlag15, false},
    {"preferLocal1", &S::preferLocal1, &S::setPreferLocal1, false},
    {"preferLocal2", &S::preferLocal2, &S::setPreferLocal2, false},
    {"preferLocal3", &S::preferLocal3, &S::setPreferLocal3, false},
    {"preferLocalFiles", &S::preferLocalFiles, &S::setPreferLocalFiles, false},
};

constexpr PlainNumber plainNumbers[] = {
    {"number1", &S::number1, &S::setNumber1, 65},
    {"number2", &S::number2, &S::setNumber2, 0},
};

// Compares every value that has a default; flag15 is left to the caller.
void compareWithDefaults(const s3Session &session)
{
    for (const PlainText &text : plainTexts)
        QVERIFY2((session.*text.get)().isEmpty(), text.name);
    for (const PlainFlag &flag : plainFlags) {
        if (qstrcmp(flag.name, "flag15") != 0)
            QVERIFY2((session.*flag.get)() == flag.standard, flag.name);
    }
    for (const PlainNumber &number : plainNumbers)
        QVERIFY2((session.*number.get)() == number.standard, number.name);
    QVERIFY(!session.flag11());
    QCOMPARE(session.text12(), QString());
    QCOMPARE(session.number3(), -1);
    QCOMPARE(session.hostName(), u"???"_s);
    QVERIFY(!session.hasClientName());
    QCOMPARE(session.serverVersion(), QString());
    QCOMPARE(session.serverBuildInfo(), QString());
    QVERIFY(!session.isVersion2101r8n1OrLater());
    QVERIFY(!session.isVersion2200OrLater());
    QVERIFY(!session.hasNumberFormat());
    QCOMPARE(session.accessTokenSSO(), QString());
    QVERIFY(!session.accessTokenSSOValidUntil().isValid());
}

}

// The record of the connection to the ERP server.
class TestSession final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { currentTime = 1'700'000'000'000; }
    void singleton();
    void defaults();
    void eachValueAlone();
    void valuesWithSettersOfTheirOwn();
    void reset();
    void hostName_data();
    void hostName();
    void numberFormat_data();
    void numberFormat();
    void serverVersion_data();
    void serverVersion();
    void buildInfo_data();
    void buildInfo();
    void preferencesAreClearedFirst();
    void paths_data();
    void paths();
    void relativePath_data();
    void relativePath();
    void resolvedPath_data();
    void resolvedPath();
    void tokenValidity_data();
    void tokenValidity();
    void tokenRunsOut();
    void tokenTraceNeedsAFlag();
    void tokenWithoutAClock();
    void systemClock();
    void tokenFromSeveralThreads();
};

void TestSession::singleton()
{
    QVERIFY(s3SessionInstance() != nullptr);
    QCOMPARE(s3SessionInstance(), s3SessionInstance());
    compareWithDefaults(*s3SessionInstance());
}

void TestSession::defaults()
{
    const s3Session session;
    compareWithDefaults(session);
    QVERIFY(!session.flag15());
    QCOMPARE(session.numberFormat(), s3NumberFormat());
}

// A setter changes its own value and no other.
void TestSession::eachValueAlone()
{
    for (const PlainText &changed : plainTexts) {
        s3Session session;
        (session.*changed.set)(u"\u00e4 \U0001F600"_s);
        for (const PlainText &text : plainTexts)
            QVERIFY2((session.*text.get)() == (&text == &changed ? u"\u00e4 \U0001F600"_s : QString()),
                     changed.name);
    }
    for (const PlainFlag &changed : plainFlags) {
        s3Session session;
        (session.*changed.set)(!changed.standard);
        for (const PlainFlag &flag : plainFlags)
            QVERIFY2((session.*flag.get)() == ((&flag == &changed) != flag.standard), changed.name);
    }
    for (const PlainNumber &changed : plainNumbers) {
        s3Session session;
        (session.*changed.set)(-2147483647);
        for (const PlainNumber &number : plainNumbers)
            QVERIFY2((session.*number.get)() == (&number == &changed ? -2147483647 : number.standard),
                     changed.name);
    }
}

void TestSession::valuesWithSettersOfTheirOwn()
{
    s3Session session;
    session.setFlag11();
    QVERIFY(session.flag11());
    session.setText12(u"text"_s, 7);
    QCOMPARE(session.text12(), u"text"_s);
    QCOMPARE(session.number3(), 7);
    session.setClientName(u"client"_s);
    QVERIFY(session.hasClientName());
    session.setGuiDirectory(u"C:\\gui\\data"_s);
    QCOMPARE(session.guiDirectory(), u"C:/gui/data"_s);
    session.setServerDirectory(u"\\\\server\\share/erp\\"_s);
    QCOMPARE(session.serverDirectory(), u"//server/share/erp/"_s);
}

void TestSession::reset()
{
    s3Session session;
    session.setClock(testClock);
    for (const PlainText &text : plainTexts)
        (session.*text.set)(u"x"_s);
    for (const PlainFlag &flag : plainFlags)
        (session.*flag.set)(!flag.standard);
    for (const PlainNumber &number : plainNumbers)
        (session.*number.set)(4711);
    session.setFlag11();
    session.setText12(u"x"_s, 4711);
    session.setHostName(u"x"_s);
    session.setServerVersionAndBuildInfo(u"2200r0"_s, u"x"_s);
    session.setAccessTokenSSO(u"x"_s, 3600);
    const s3NumberFormat format(u","_s, u"."_s, u"."_s, u","_s);
    session.setNumberFormat(format);

    session.reset();
    compareWithDefaults(session);
    QVERIFY(!session.accessTokenSSOCanBeUsed());
    // What outlives a login.
    QVERIFY(session.flag15());
    QCOMPARE(session.numberFormat(), format);
}

void TestSession::hostName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("withFlag");
    QTest::addColumn<QString>("start");
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("never filled") << QString() << false << u"???"_s << qsizetype(3);
    QTest::newRow("filled") << u"pc7"_s << false << u"pc7"_s << qsizetype(3);
    QTest::newRow("never filled, long") << QString() << true << u"."_s << qsizetype(160);
    QTest::newRow("filled, long") << u"pc7"_s << true << u"pc7."_s << qsizetype(163);
}

void TestSession::hostName()
{
    QFETCH(QString, name);
    QFETCH(bool, withFlag);
    QFETCH(QString, start);
    s3Session session;
    session.setHostName(name);
    // Some other flag where 248 is not wanted: it is that number that counts.
    const ScopedTestFlag flag(withFlag ? 248 : 249);
    const QString hostName = session.hostName();
    QVERIFY(hostName.startsWith(start));
    QTEST(hostName.size(), "size");
    QCOMPARE(session.hostName(), hostName);
    for (const QString &label : hostName.split(u'.'))
        QVERIFY2(label.size() <= 63, qPrintable(label)); // the limit of a name in DNS, RFC 1035
    QVERIFY(!hostName.endsWith(u'.') && !hostName.contains(u".."_s));
}

void TestSession::numberFormat_data()
{
    QTest::addColumn<s3NumberFormat>("format");
    QTest::addColumn<bool>("expected");
    QTest::newRow("empty") << s3NumberFormat() << false;
    QTest::newRow("all") << s3NumberFormat(u","_s, u"."_s, u"."_s, u","_s) << true;
    QTest::newRow("no separators") << s3NumberFormat(u","_s, QString(), u"."_s, QString()) << true;
    QTest::newRow("first missing") << s3NumberFormat(QString(), u"."_s, u"."_s, u","_s) << false;
    QTest::newRow("third missing") << s3NumberFormat(u","_s, u"."_s, QString(), u","_s) << false;
}

void TestSession::numberFormat()
{
    QFETCH(s3NumberFormat, format);
    s3Session session;
    session.setNumberFormat(format);
    QCOMPARE(session.numberFormat(), format);
    QTEST(session.hasNumberFormat(), "expected");
    session.setNumberFormat(s3NumberFormat());
    QVERIFY(!session.hasNumberFormat());
}

void TestSession::serverVersion_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("feature");
    QTest::addColumn<bool>("is2101r8n1");
    QTest::addColumn<bool>("is2200");
    QTest::addColumn<QList<bool>>("preferred");
    const QList<bool> none{false, false, false, false};
    const QList<bool> files{false, false, false, true};
    const QList<bool> all{true, true, true, true};
    QTest::newRow("empty") << QString() << false << false << false << none;
    QTest::newRow("empty, feature") << QString() << true << false << false << files;
    QTest::newRow("2101r8") << u"2101r8------"_s << false << false << false << none;
    QTest::newRow("2101r8n01") << u"2101r8n01---"_s << false << true << false << none;
    QTest::newRow("2101r8n01, feature") << u"2101r8n01---"_s << true << true << false << files;
    QTest::newRow("2199r9n99p99") << u"2199r9n99p99"_s << false << true << false << none;
    QTest::newRow("2200r0") << u"2200r0------"_s << false << true << true << all;
    QTest::newRow("2200r0, feature") << u"2200r0------"_s << true << true << true << all;
    QTest::newRow("no version") << u"unknown"_s << false << false << false << none;
}

void TestSession::serverVersion()
{
    QFETCH(QString, version);
    QFETCH(bool, feature);
    const ScopedFeature experimental(u"preferLocalFilesIfIsLocalInstall"_s, feature);
    s3Session session;
    // With a version nobody looks at the build info, so any will do.
    const QString buildInfo = version.isEmpty() ? QString() : u"one two three"_s;
    QCOMPARE(thrownMessage([&] { session.setServerVersionAndBuildInfo(version, buildInfo); }), QString());
    QCOMPARE(session.serverVersion(), version);
    QCOMPARE(session.serverBuildInfo(), buildInfo);
    QTEST(session.isVersion2101r8n1OrLater(), "is2101r8n1");
    QTEST(session.isVersion2200OrLater(), "is2200");
    QTEST(preferences(session), "preferred");
}

void TestSession::buildInfo_data()
{
    QTest::addColumn<QString>("buildInfo");
    QTest::addColumn<QString>("wrongWord");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("version") << u"Server Version 2101r8n16p03 of today"_s << QString();
    QTest::newRow("version without service") << u"Server Version 2101r8"_s << QString();
    QTest::newRow("several blanks") << u" Server  Version   2101r8n16 "_s << QString();
    QTest::newRow("two words") << u"2101r8n16 Server"_s << QString();
    QTest::newRow("only blanks") << u"   "_s << QString();
    QTest::newRow("some word") << u"Server Version unknown"_s << u"unknown"_s;
    QTest::newRow("padded") << u"Server Version 2101r8n16---"_s << u"2101r8n16---"_s;
    QTest::newRow("patch 0") << u"Server Version 2101r8n16p00"_s << u"2101r8n16p00"_s;
    QTest::newRow("minor of two digits") << u"Server Version 2101r10n16"_s << u"2101r10n16"_s;
    QTest::newRow("place marks and quotes") << u"%1 %2 %3\" %4"_s << u"%3\""_s;
}

void TestSession::buildInfo()
{
    QFETCH(QString, buildInfo);
    QFETCH(QString, wrongWord);
    const ScopedFeature experimental(u"preferLocalFilesIfIsLocalInstall"_s, true);
    s3Session session;
    const QString message
        = thrownMessage([&] { session.setServerVersionAndBuildInfo(QString(), buildInfo); });
    if (wrongWord.isEmpty()) {
        QCOMPARE(message, QString());
    } else {
        QCOMPARE(message,
                 u"\nBedingung nicht erfuellt\n"
                 "s3Version::fromZerkVersion(version).toZerkVersion() == version\n"
                 "Fehlernummer -1111: in libraries/core/src/erp/s3session:1111 in "
                 "s3Session::setServerVersionAndBuildInfo()\n version=\""_s
                     + wrongWord + u"\" serverBuildInfo=\""_s + buildInfo + u"\"\n"_s);
    }
    // Nothing comes from the word, and the rest is done in either case.
    QCOMPARE(session.serverVersion(), QString());
    QCOMPARE(session.serverBuildInfo(), buildInfo);
    QVERIFY(!session.isVersion2101r8n1OrLater());
    QCOMPARE(preferences(session), (QList<bool>{false, false, false, true}));
}

void TestSession::preferencesAreClearedFirst()
{
    s3Session session;
    session.setServerVersionAndBuildInfo(u"2200r1"_s, QString());
    QCOMPARE(preferences(session), QList<bool>(4, true));
    session.setServerVersionAndBuildInfo(u"2101r9"_s, QString());
    QCOMPARE(preferences(session), QList<bool>(4, false));
}

void TestSession::paths_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no directory") << QString() << u"a\\b.txt"_s << u"a/b.txt"_s;
    QTest::newRow("directory") << u"/erp/data"_s << u"a\\b.txt"_s << u"/erp/data/a/b.txt"_s;
    QTest::newRow("backslashes") << u"\\erp\\data"_s << u"b.txt"_s << u"/erp/data/b.txt"_s;
    QTest::newRow("slash at the end") << u"/erp/data/"_s << u"b.txt"_s << u"/erp/data/b.txt"_s;
    QTest::newRow("relative directory") << u"data"_s << u"b.txt"_s << u"data/b.txt"_s;
    QTest::newRow("absolute path") << u"/erp/data"_s << u":/b.txt"_s << u":/b.txt"_s;
    QTest::newRow("non-ASCII") << u"/Gr\u00f6\u00dfe"_s << u"\u00e4\\\u20ac"_s
                               << u"/Gr\u00f6\u00dfe/\u00e4/\u20ac"_s;
}

void TestSession::paths()
{
    QFETCH(QString, directory);
    QFETCH(QString, path);
    s3Session server;
    server.setServerDirectory(directory);
    QTEST(server.serverFilePath(path), "expected");
    QCOMPARE(server.guiFilePath(u"x"_s), u"x"_s);
    s3Session gui;
    gui.setGuiDirectory(directory);
    QTEST(gui.guiFilePath(path), "expected");
    QCOMPARE(gui.serverFilePath(u"x"_s), u"x"_s);
}

void TestSession::relativePath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("below") << u"/erp/gui/a/b.txt"_s << u"a/b.txt"_s;
    QTest::newRow("below, backslashes") << u"\\erp\\gui\\a\\b.txt"_s << u"a/b.txt"_s;
    QTest::newRow("the directory itself") << u"/erp/gui"_s << u"/erp/gui"_s;
    QTest::newRow("name with the same start") << u"/erp/gui2/b.txt"_s << u"/erp/gui2/b.txt"_s;
    QTest::newRow("other case") << u"/ERP/gui/b.txt"_s << u"/ERP/gui/b.txt"_s;
    QTest::newRow("only in front") << u"/x/erp/gui/b.txt"_s << u"/x/erp/gui/b.txt"_s;
    QTest::newRow("once") << u"/erp/gui//erp/gui/b.txt"_s << u"/erp/gui/b.txt"_s;
    QTest::newRow("empty") << QString() << QString();
}

void TestSession::relativePath()
{
    QFETCH(QString, path);
    s3Session session;
    session.setGuiDirectory(u"\\erp\\gui"_s);
    QTEST(session.guiRelativePath(path), "expected");
    session.setGuiDirectory(QString());
    QCOMPARE(session.guiRelativePath(u"\\erp"_s), u"erp"_s);
    QCOMPARE(session.guiRelativePath(u"erp\\gui"_s), u"erp/gui"_s);
}

void TestSession::resolvedPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("allowLocal");
    QTest::addColumn<QString>("expected");
    for (const bool allowLocal : {false, true}) {
        const QByteArray suffix = allowLocal ? ", local allowed" : "";
        QTest::newRow(("resource" + suffix).constData()) << u":/a\\b"_s << allowLocal << u":/a/b"_s;
        QTest::newRow(("not there" + suffix).constData()) << u"no\\file"_s << allowLocal << u"/gui/no/file"_s;
        QTest::newRow(("empty" + suffix).constData()) << QString() << allowLocal << u"/gui"_s;
    }
    QTest::newRow("there") << u"da.txt"_s << false << u"/gui/da.txt"_s;
    QTest::newRow("there, local allowed") << u"da.txt"_s << true << u"da.txt"_s;
    QTest::newRow("there, other spelling") << u".\\da.txt"_s << true << u"./da.txt"_s;
}

void TestSession::resolvedPath()
{
    QFETCH(QString, path);
    QFETCH(bool, allowLocal);
    const QTemporaryDir directory;
    const ScopedCurrentDir current(directory.path());
    QFile file(u"da.txt"_s);
    QVERIFY(file.open(QIODevice::WriteOnly));
    s3Session session;
    session.setGuiDirectory(u"/gui"_s);
    QTEST(session.resolveGuiPath(path, allowLocal), "expected");
    // An absolute path stays with either choice, whether it is there or not.
    const QString absolute = directory.path() + u"/nowhere"_s;
    QCOMPARE(session.resolveGuiPath(absolute, allowLocal), absolute);
}

void TestSession::tokenValidity_data()
{
    QTest::addColumn<qint32>("seconds");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("line");
    const auto row = [](qint32 seconds, bool expected, const QString &words) {
        QTest::addRow("%d s", seconds)
            << seconds << expected << u"s3Session::accessTokenSSOCanBeUsed(): %1 s"_s.arg(words);
    };
    row(2147483647, true, u"noch gueltig: 2147483647"_s);
    row(3600, true, u"noch gueltig: 3600"_s);
    row(6, true, u"noch gueltig: 6"_s);
    row(5, false, u"laeuft bald ab: 5"_s);
    row(4, false, u"laeuft bald ab: 4"_s);
    row(3, false, u"laeuft bald ab: 3"_s);
    row(2, false, u"laeuft bald ab: 2"_s);
    row(1, false, u"laeuft bald ab: 1"_s);
    row(0, false, u"abgelaufen seit: 0"_s);
    row(-1, false, u"abgelaufen seit: 1"_s);
    row(-2147483647 - 1, false, u"abgelaufen seit: 2147483648"_s);
}

void TestSession::tokenValidity()
{
    QFETCH(qint32, seconds);
    QFETCH(QString, line);
    s3Session session;
    session.setClock(testClock);
    session.setAccessTokenSSO(u"token"_s, seconds);
    QCOMPARE(session.accessTokenSSO(), u"token"_s);
    QCOMPARE(session.accessTokenSSOValidUntil().toMSecsSinceEpoch(), currentTime + qint64(seconds) * 1000);
    for (const qint32 flag : {314, 318}) {
        const ScopedTestFlag traced(flag);
        const TraceRecorder trace;
        QTEST(session.accessTokenSSOCanBeUsed(), "expected");
        QCOMPARE(trace.lines(), QStringList{line});
    }
    const ScopedTestFlag first(314);
    const ScopedTestFlag second(318);
    const TraceRecorder trace;
    QTEST(session.accessTokenSSOCanBeUsed(), "expected");
    QCOMPARE(trace.lines(), QStringList{line}); // one line for both
}

void TestSession::tokenRunsOut()
{
    s3Session session;
    session.setClock(testClock);
    session.setAccessTokenSSO(u"token"_s, 60);
    currentTime += 54'000;
    QVERIFY(session.accessTokenSSOCanBeUsed());
    currentTime += 1'000;
    QVERIFY(!session.accessTokenSSOCanBeUsed());
    QCOMPARE(session.accessTokenSSO(), u"token"_s);
    session.setAccessTokenSSO(u"new"_s, 6);
    QVERIFY(session.accessTokenSSOCanBeUsed());
    // A date in another zone means the same moment.
    session.setAccessTokenSSOValidUntil(testClock().addSecs(6).toOffsetFromUtc(7200));
    QVERIFY(session.accessTokenSSOCanBeUsed());
    session.setAccessTokenSSOValidUntil(testClock().addSecs(5).toOffsetFromUtc(7200));
    QVERIFY(!session.accessTokenSSOCanBeUsed());
}

void TestSession::tokenTraceNeedsAFlag()
{
    const s3Session session;
    const TraceRecorder trace;
    {
        const ScopedTestFlag other(313);
        QVERIFY(!session.accessTokenSSOCanBeUsed());
    }
    QCOMPARE(trace.lines(), QStringList());
    const ScopedTestFlag flag(318);
    QVERIFY(!session.accessTokenSSOCanBeUsed());
    QCOMPARE(trace.lines(), QStringList{u"s3Session::accessTokenSSOCanBeUsed(): abgelaufen seit: 0 s"_s});
}

void TestSession::tokenWithoutAClock()
{
    s3Session session;
    session.setClock(invalidClock);
    session.setAccessTokenSSO(u"token"_s, 60);
    QVERIFY(!session.accessTokenSSOValidUntil().isValid());
    QVERIFY(!session.accessTokenSSOCanBeUsed());
}

void TestSession::systemClock()
{
    s3Session session;
    session.setClock(testClock);
    session.setClock(nullptr);
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    session.setAccessTokenSSO(u"token"_s, 3600);
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const QDateTime until = session.accessTokenSSOValidUntil();
    QCOMPARE(until.toMSecsSinceEpoch() % 1000, 0);
    QVERIFY(until.toSecsSinceEpoch() >= before + 3600 && until.toSecsSinceEpoch() <= after + 3600);
    QVERIFY(session.accessTokenSSOCanBeUsed());
}

// Workers refresh the token while others read it: each reader sees whole tokens.
void TestSession::tokenFromSeveralThreads()
{
    s3Session session;
    session.setClock(testClock);
    const QString tokens[] = {QString(400, u'a'), QString(400, u'b')};
    session.setAccessTokenSSO(tokens[0], 3600);
    std::atomic<int> wrong = 0;
    {
        std::vector<std::jthread> workers;
        for (const QString &token : tokens) {
            workers.emplace_back([&session, token] {
                for (int round = 0; round < 5000; ++round)
                    session.setAccessTokenSSO(QString(token.data(), token.size()), 3600 + round);
            });
            workers.emplace_back([&] {
                for (int round = 0; round < 5000; ++round) {
                    const QString seen = session.accessTokenSSO();
                    if (seen != tokens[0] && seen != tokens[1])
                        ++wrong;
                    if (!session.accessTokenSSOValidUntil().isValid())
                        ++wrong;
                }
            });
        }
    }
    QCOMPARE(wrong.load(), 0);
    QVERIFY(session.accessTokenSSOCanBeUsed());
}

QTEST_GUILESS_MAIN(TestSession)
#include "tst_s3session.moc"
