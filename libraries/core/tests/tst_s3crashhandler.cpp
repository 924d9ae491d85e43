#include "error/s3exception.h"
#include "ostrelletest/failingchild.h"
#include "ostrelletest/scopedcurrentdir.h"
#include "ostrelletest/thrownmessage.h"
#include "ostrelletest/tracerecorder.h"
#include "protocol/s3assert.h"
#include "protocol/s3crashhandler.h"
#include "protocol/s3debugtrycatch.h"
#include "protocol/s3logfilestream.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <limits>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{

// As under a debugger, or not.
class CountingHandler final : public s3CrashHandler
{
public:
    explicit CountingHandler(bool hasDebugger) : m_hasDebugger(hasDebugger) { }

    int asked = 0;

    bool debugBreak() override
    {
        ++asked;
        return m_hasDebugger;
    }

private:
    bool m_hasDebugger;
};

}

class TestCrashHandler final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exceptionHoldsUtf8();
    void flag191Throws_data();
    void flag191Throws();
    void assertionFormIsSilentWhenItHolds();
    void assertionFormNamesItsSite();
    void assertionFormWithText();
    void thereIsOneHandler();
    void noDebuggerNoBreak();
    void tryCatchIsSilentWithoutFlags();
    void tryCatchTraces_data();
    void tryCatchTraces();
    void tryCatchAlwaysAsksForTheDebugger_data();
    void tryCatchAlwaysAsksForTheDebugger();
    void tryCatchMayBeAnAssertion();
    void withoutTheFlagTheProcessEnds_data();
    void withoutTheFlagTheProcessEnds();
};

void TestCrashHandler::exceptionHoldsUtf8()
{
    const s3Exception original(u"größer €"_s);
    const s3Exception copy(original);
    QCOMPARE(QByteArray(original.what()), "größer €"_ba);
    QCOMPARE(QByteArray(copy.what()), "größer €"_ba);
    QCOMPARE(QByteArray(s3Exception(QString()).what()), QByteArray(""));
}

void TestCrashHandler::flag191Throws_data()
{
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QByteArray>("condition");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<QByteArray>("message");

    const QByteArray file = "libraries/core/src/s3x";
    QTest::newRow("condition, no text")
        << 1111u << "c"_ba << QString() << file << 67 << "f"_ba
        << "\nBedingung nicht erfuellt\nc\nFehlernummer -1111: in libraries/core/src/s3x:67 in f()\n\n"_ba;
    QTest::newRow("the condition false is not shown")
        << 201u << "false"_ba << u"try/catch"_s << file << 1 << "s3CrashHandler::debugTryCatch"_ba
        << "\nFehlernummer -201: in libraries/core/src/s3x:1 in s3CrashHandler::debugTryCatch()\ntry/catch\n"_ba;
    QTest::newRow("only false in lower case is left out")
        << 1111u << "FALSE"_ba << QString() << file << 1 << "f"_ba
        << "\nBedingung nicht erfuellt\nFALSE\nFehlernummer -1111: in libraries/core/src/s3x:1 in f()\n\n"_ba;
    QTest::newRow("empty condition") << 1111u << ""_ba << QString() << file << 2 << "f"_ba
                                     << "\nFehlernummer -1111: in libraries/core/src/s3x:2 in f()\n\n"_ba;
    QTest::newRow("empty function")
        << 1111u << "c"_ba << QString() << file << 3 << ""_ba
        << "\nBedingung nicht erfuellt\nc\nFehlernummer -1111: in libraries/core/src/s3x:3\n\n"_ba;
    QTest::newRow("null strings") << 1111u << QByteArray() << QString() << QByteArray() << 0 << QByteArray()
                                  << "\nFehlernummer -1111: in :0\n\n"_ba;
    QTest::newRow("text behind the place")
        << 1111u << "m_runFinished == true"_ba << u"Kein runFinish() Aufruf"_s << file << 4 << "f"_ba
        << "\nBedingung nicht erfuellt\nm_runFinished == true\nFehlernummer -1111: in "
           "libraries/core/src/s3x:4 in f()\nKein runFinish() Aufruf\n"_ba;
    QTest::newRow("UTF-8 everywhere")
        << 1111u << "größe > 0"_ba << u"größer €"_s << "ö.cpp"_ba << 5 << "ä"_ba
        << "\nBedingung nicht erfuellt\ngröße > 0\nFehlernummer -1111: in ö.cpp:5 in ä()\ngrößer €\n"_ba;
    QTest::newRow("percent signs stay")
        << 1111u << "%2"_ba << u"%1"_s << "%3"_ba << 6 << "%1"_ba
        << "\nBedingung nicht erfuellt\n%2\nFehlernummer -1111: in %3:6 in %1()\n%1\n"_ba;
    QTest::newRow("code is unsigned, line is not")
        << std::numeric_limits<quint32>::max() << "c"_ba << QString() << file << -1 << "f"_ba
        << "\nBedingung nicht erfuellt\nc\nFehlernummer -4294967295: in libraries/core/src/s3x:-1 in f()\n\n"_ba;
}

void TestCrashHandler::flag191Throws()
{
    QFETCH(quint32, code);
    QFETCH(QByteArray, condition);
    QFETCH(QString, text);
    QFETCH(QByteArray, file);
    QFETCH(int, line);
    QFETCH(QByteArray, function);
    QFETCH(QByteArray, message);
    const auto cString = [](const QByteArray &bytes) {
        return bytes.isNull() ? nullptr : bytes.constData();
    };

    const QString thrown = thrownMessage([&] {
        s3CrashHandler::assertFailed(code, cString(condition), text, cString(file), line, cString(function));
    });
    QCOMPARE(thrown.toUtf8(), message);
}

void TestCrashHandler::assertionFormIsSilentWhenItHolds()
{
    QCOMPARE(thrownMessage([] { s3Assert(true, "true", "file", "function"); }), QString());
    s3Assert(true, "true", "file", "function"); // without the flag it would end this program
}

void TestCrashHandler::assertionFormNamesItsSite()
{
    int line = 0;
    const QString thrown = thrownMessage([&] {
        line = __LINE__ + 1;
        s3Assert(line == 0, "line == 0", "libraries/core/tests/x", "Test::f");
    });
    QCOMPARE(
        thrown,
        u"\nBedingung nicht erfuellt\nline == 0\nFehlernummer -1111: in libraries/core/tests/x:%1 in Test::f()\n\n"_s
            .arg(line));
}

void TestCrashHandler::assertionFormWithText()
{
    const QString thrown = thrownMessage([&] { s3Assert(false, "c", "file", "f", u"Erklärung"_s, 12); });
    QCOMPARE(thrown, u"\nBedingung nicht erfuellt\nc\nFehlernummer -1111: in file:12 in f()\nErklärung\n"_s);
}

void TestCrashHandler::thereIsOneHandler()
{
    QVERIFY(s3CrashHandler::instance() != nullptr);
    QCOMPARE(s3CrashHandler::instance(), s3CrashHandler::instance());
}

void TestCrashHandler::noDebuggerNoBreak()
{
    QVERIFY(!s3CrashHandler::instance()->debugBreak());
}

void TestCrashHandler::tryCatchIsSilentWithoutFlags()
{
    const TraceRecorder trace;
    DEBUG_TRYCATCH("libraries/core/src/x", "f");
    QCOMPARE(trace.lines(), QStringList());
}

void TestCrashHandler::tryCatchTraces_data()
{
    QTest::addColumn<qint32>("flag");

    QTest::newRow("400") << 400;
    QTest::newRow("55, with the trace file") << 55;
}

void TestCrashHandler::tryCatchTraces()
{
    QFETCH(qint32, flag);
    const QTemporaryDir directory; // flag 55 writes a file
    const ScopedCurrentDir current(directory.path());
    const ScopedTestFlag tracing(flag);
    const TraceRecorder trace;
    const int line = __LINE__ + 1;
    DEBUG_TRYCATCH("libraries/core/src/größe", "s3X::f");
    s3CrashHandler::instance()->debugTryCatch(u"%1"_s, -1, u"%2"_s);
    s3CrashHandler::instance()->debugTryCatch(nullptr, 0, static_cast<const char *>(nullptr));
    QCOMPARE(trace.lines(),
             QStringList({u"DEBUG_TRYCATCH() libraries/core/src/größe:%1  s3X::f() = false"_s.arg(line),
                          u"DEBUG_TRYCATCH() %1:-1  %2() = false"_s, u"DEBUG_TRYCATCH() :0  () = false"_s}));
    s3LogFileStream::closeAll();
}

void TestCrashHandler::tryCatchAlwaysAsksForTheDebugger_data()
{
    QTest::addColumn<qint32>("flag");
    QTest::addColumn<bool>("hasDebugger");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("no flag") << 0 << false << QStringList();
    QTest::newRow("no flag, in a debugger") << 0 << true << QStringList();
    QTest::newRow("another flag") << 56 << true << QStringList();
    QTest::newRow("traced") << 400 << false << QStringList(u"DEBUG_TRYCATCH() file:7  f() = false"_s);
    QTest::newRow("traced, in a debugger")
        << 400 << true << QStringList(u"DEBUG_TRYCATCH() file:7  f() = true"_s);
}

void TestCrashHandler::tryCatchAlwaysAsksForTheDebugger()
{
    QFETCH(qint32, flag);
    QFETCH(bool, hasDebugger);
    QFETCH(QStringList, lines);
    const ScopedTestFlag tracing(flag);
    const TraceRecorder trace;
    CountingHandler handler(hasDebugger);
    handler.debugTryCatch("file", 7, "f");
    QCOMPARE(handler.asked, 1);
    QCOMPARE(trace.lines(), lines);
}

void TestCrashHandler::tryCatchMayBeAnAssertion()
{
    const ScopedTestFlag asserting(198);
    const TraceRecorder trace;
    const QString message = thrownMessage([] { DEBUG_TRYCATCH("libraries/core/src/x", "f"); });
    static const QRegularExpression words(
        u"^\nFehlernummer -201: in libraries/core/src/protocol/s3crashhandler:[0-9]+ in "
        "s3CrashHandler::debugTryCatch\\(\\)\ntry/catch\n$"_s);
    QVERIFY2(words.match(message).hasMatch(), qPrintable(message));
    QCOMPARE(trace.lines(), QStringList());
}

void TestCrashHandler::withoutTheFlagTheProcessEnds_data()
{
    QTest::addColumn<QString>("part");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("location");

    QTest::newRow("a condition that does not hold")
        << u"condition"_s << u"Bedingung nicht erfuellt\n1 == 2\n"_s
        << u"Fehlernummer -1111: in file:7 in f()"_s;
    QTest::newRow("a condition and an explanation")
        << u"explained"_s << u"Bedingung nicht erfuellt\ngröße == 2\nErklärung %1"_s
        << u"Fehlernummer -1111: in file:9 in f()"_s;
    QTest::newRow("a place not to be reached")
        << u"notReached"_s << QString() << u"Fehlernummer -201: in file:8 in f()"_s;
    QTest::newRow("no function") << u"noFunction"_s << u"only text"_s << u"Fehlernummer -201: in file:8"_s;
    QTest::newRow("null strings") << u"nullStrings"_s << QString() << u"Fehlernummer -201: in :-1"_s;
    QTest::newRow("on a worker") << u"onAWorker"_s << u"Bedingung nicht erfuellt\nworker\n"_s
                                 << u"Fehlernummer -1111: in file:10 in f()"_s;
}

// Through a box and the diagnostic report, whose stack leads to the place that failed.
void TestCrashHandler::withoutTheFlagTheProcessEnds()
{
    QFETCH(QString, part);
    QFETCH(QString, text);
    QFETCH(QString, location);
    const FailedRun failed = runFailingChild(part);
    QVERIFY(failed.run.ended);
    QVERIFY2(isMinusOne(failed.run.exitCode), QByteArray::number(failed.run.exitCode).constData());
    QVERIFY(failed.run.standardOutput.isEmpty()); // nothing behind the assertion was reached
    QVERIFY2(failed.boxes.contains(u":\n"_s + text + u'\n' + location + u"\n\n"_s), qPrintable(failed.boxes));
    QVERIFY2(failed.record.contains(u'\n' + text + u'\n'), qPrintable(failed.record));
    QVERIFY2(failed.record.contains(u'\n' + location + u"\nGetLastError(): "_s), qPrintable(failed.record));

    const qsizetype stack = failed.record.indexOf(u"\nCall Stack (TraceStack_ME):\n"_s);
    QVERIFY2(stack > 0, qPrintable(failed.record));
    const QString frames = failed.record.mid(stack);
    QVERIFY2(frames.contains(u"RIP="_s), qPrintable(frames));
    // The innermost frame is the assertion's, though Wine has no name for it: the library is built without.
    const qsizetype site = frames.indexOf(u"failHere+"_s);
    QVERIFY2(site > 0, qPrintable(frames));
    QVERIFY(frames.left(site).count(u"RIP="_s) >= 1);
    if (WALKER_OF_WINE)
        return;
    const qsizetype entry = frames.indexOf(u" s3CrashHandler::assertFailed+"_s);
    QVERIFY2(entry > 0 && site > entry, qPrintable(frames));
    QCOMPARE(frames.left(entry).count(u"RIP="_s), 0);
}

namespace
{

__attribute__((noinline, noclone)) void failHere(const QString &part)
{
    if (part == u"condition"_s)
        s3Assert(false, "1 == 2", "file", "f", QString(), 7);
    else if (part == u"explained"_s)
        s3Assert(false, "größe == 2", "file", "f", u"Erklärung %1"_s, 9);
    else if (part == u"notReached"_s)
        s3CrashHandler::assertFailed(s3CrashHandler::NotReached, "false", QString(), "file", 8, "f");
    else if (part == u"noFunction"_s)
        s3CrashHandler::assertFailed(s3CrashHandler::NotReached, "false", u"only text"_s, "file", 8, "");
    else if (part == u"nullStrings"_s)
        s3CrashHandler::assertFailed(s3CrashHandler::NotReached, nullptr, QString(), nullptr, -1, nullptr);
    else if (part == u"onAWorker"_s)
        s3Assert(false, "worker", "file", "f", QString(), 10);
    std::puts("still here");
}

int runPart(const QString &part)
{
    prepareToFail();
    if (part == u"onAWorker"_s) {
        std::thread worker([&] { failHere(part); });
        worker.join();
    } else {
        failHere(part);
    }
    return 0;
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (const QString part = childPart(argc, argv); !part.isEmpty())
        return runPart(part);
    TestCrashHandler test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_s3crashhandler.moc"
