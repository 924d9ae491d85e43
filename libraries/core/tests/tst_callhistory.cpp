#include "error/crashstate.h"
#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"
#include "protocol/callhistory.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// The line with the digits of its time as "T", for the columns around them.
QString withoutTime(const QString &line, qsizetype position)
{
    QString text = line;
    for (qsizetype i = position; i < text.size() && text.at(i).isDigit(); ++i)
        text[i] = u'T';
    return text;
}

qint64 timeOf(const QString &line, qsizetype position)
{
    return line.mid(position, 10).trimmed().toLongLong();
}

// The first ring's columns behind an empty first one: 25, flag, 25, blank, then the time.
constexpr qsizetype timePosition = 52;

}

class TestCallHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { clear(); }
    void cleanup() { clear(); }
    void emptyAtFirst();
    void lines_data();
    void lines();
    void timeIsFilledUp();
    void timeGoesOn();
    void ringKeepsTheLast_data();
    void ringKeepsTheLast();
    void kindsShareTheRing();
    void frozenTakesNothing();
    void traced();
    void notTracedWithoutFlag();
    void callLine();
    void callUsesTheFirstIndex();
    void callRingIsListedFromItsOwnIndex();
    void callTraced();

private:
    static void clear()
    {
        reportFrozen = false;
        clearCallHistory();
    }
};

void TestCallHistory::emptyAtFirst()
{
    QCOMPARE(callHistory(), QStringList());
    QCOMPARE(secondCallHistory(), QStringList());
}

void TestCallHistory::lines_data()
{
    QTest::addColumn<int>("kind"); // 0 SSO, 1 Service, 2 Event, 3 Event with its flag
    QTest::addColumn<QString>("column1");
    QTest::addColumn<QString>("column2");
    QTest::addColumn<QString>("column3");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("before"); // in front of the time
    QTest::addColumn<QString>("after");
    const QString blanks25(25, u' ');
    QTest::newRow("SSO") << 0 << u"one"_s << u"two"_s << u""_s << u"text"_s
                         << QString(u"onetwo"_s + QString(22, u' ') + u' ' + blanks25 + u' ') << u"text"_s;
    QTest::newRow("Service") << 1 << u"one"_s << u""_s << u"three"_s << u"text"_s
                             << QString(u"one"_s + blanks25 + u" three"_s + QString(20, u' ') + u' ')
                             << u"text"_s;
    QTest::newRow("Service as the crash path records it")
        << 1 << QString(18, u' ') << u""_s << u"ErrorAndExit"_s << u"Fehlernummer -1111: in a:1"_s
        << QString(QString(18, u' ') + blanks25 + u" ErrorAndExit"_s + QString(13, u' ') + u' ')
        << u"Fehlernummer -1111: in a:1"_s;
    QTest::newRow("Event") << 2 << u"one"_s << u"two"_s << u"three"_s << u"text"_s
                           << QString(u"onetwo"_s + QString(22, u' ') + u" three"_s + QString(20, u' ')
                                      + u' ')
                           << u"text"_s;
    QTest::newRow("Event with flag") << 3 << u""_s << u"two"_s << u"three"_s << u""_s
                                     << QString(u"two"_s + QString(22, u' ') + u"+three"_s + QString(20, u' ')
                                                + u' ')
                                     << u""_s;
    QTest::newRow("columns of exactly 25")
        << 2 << u""_s << QString(25, u'2') << QString(25, u'3') << u"x"_s
        << QString(QString(25, u'2') + u' ' + QString(25, u'3') + u' ') << u"x"_s;
    QTest::newRow("columns are cut, the first one is not")
        << 2 << QString(99, u'1') << QString(26, u'2') << QString(26, u'3') << u"x"_s
        << QString(QString(99, u'1') + QString(25, u'2') + u' ' + QString(25, u'3') + u' ') << u"x"_s;
    QTest::newRow("text of 90") << 0 << u""_s << u""_s << u""_s << QString(90, u'x')
                                << QString(blanks25 + u' ' + blanks25 + u' ') << QString(90, u'x');
    QTest::newRow("text of 91 is cut") << 0 << u""_s << u""_s << u""_s << QString(QString(90, u'x') + u'y')
                                       << QString(blanks25 + u' ' + blanks25 + u' ') << QString(90, u'x');
    QTest::newRow("place markers are text")
        << 2 << u"%6"_s << u"%1"_s << u"%2"_s << u"%3 %5"_s
        << QString(u"%6%1"_s + QString(23, u' ') + u" %2"_s + QString(23, u' ') + u' ') << u"%3 %5"_s;
    QTest::newRow("not ASCII") << 2 << u"ä"_s << u"\U0001F600"_s << u"€"_s << u"ß"_s
                               << QString(u"ä\U0001F600"_s + QString(23, u' ') + u" €"_s + QString(24, u' ')
                                          + u' ')
                               << u"ß"_s;
}

void TestCallHistory::lines()
{
    QFETCH(int, kind);
    QFETCH(QString, column1);
    QFETCH(QString, column2);
    QFETCH(QString, column3);
    QFETCH(QString, text);
    QFETCH(QString, before);
    QFETCH(QString, after);
    if (kind == 0)
        recordSSO(column1, column2, text);
    else if (kind == 1)
        recordService(column1, column3, text);
    else
        recordEvent(column1, column2, column3, kind == 3, text);
    QCOMPARE(callHistory().size(), 1);
    const QString line = callHistory().constFirst();
    QCOMPARE(line.left(before.size()), before);
    const QString rest = line.mid(before.size());
    QVERIFY2(QRegularExpression(u"^[0-9]{1,9} +$"_s).match(rest.left(11)).hasMatch(), qPrintable(rest));
    QCOMPARE(rest.mid(11), after);
}

void TestCallHistory::timeIsFilledUp()
{
    recordSSO(QString(), QString(), u"x"_s);
    const QString line = withoutTime(callHistory().constFirst(), timePosition);
    QCOMPARE(line.size(), timePosition + 12);
    QVERIFY(line.at(timePosition) == u'T');
    QCOMPARE(line.mid(timePosition).remove(u'T').trimmed(), u"x"_s);
}

void TestCallHistory::timeGoesOn()
{
    startCallHistoryClock();
    for (int i = 0; i < 10; ++i)
        recordSSO(QString(), QString(), QString());
    qint64 last = 0;
    for (const QString &line : callHistory()) {
        const qint64 time = timeOf(line, timePosition);
        QVERIFY(time >= last);
        last = time;
    }
}

void TestCallHistory::ringKeepsTheLast_data()
{
    QTest::addColumn<int>("recorded");
    for (const int recorded : {1, 39, 40, 41, 79, 80, 81, 1000})
        QTest::addRow("%d", recorded) << recorded;
}

void TestCallHistory::ringKeepsTheLast()
{
    QFETCH(int, recorded);
    QStringList expected;
    for (int i = 0; i < recorded; ++i) {
        const QString name = u"<%1>"_s.arg(i);
        recordSSO(name, QString(), QString());
        expected.append(name);
    }
    expected = expected.mid(qMax(0, recorded - 40));
    QStringList found;
    for (const QString &line : callHistory())
        found.append(line.left(line.indexOf(u'>') + 1));
    QCOMPARE(found, expected);
}

void TestCallHistory::kindsShareTheRing()
{
    recordSSO(u"a"_s, QString(), QString());
    recordService(u"b"_s, QString(), QString());
    recordEvent(u"c"_s, QString(), QString(), false, QString());
    QCOMPARE(callHistory().size(), 3);
    QVERIFY(callHistory().at(0).startsWith(u'a'));
    QVERIFY(callHistory().at(1).startsWith(u'b'));
    QVERIFY(callHistory().at(2).startsWith(u'c'));
}

void TestCallHistory::frozenTakesNothing()
{
    recordSSO(u"before"_s, QString(), QString());
    const QStringList before = callHistory();
    reportFrozen = true;
    recordSSO(u"a"_s, QString(), QString());
    recordService(u"b"_s, QString(), QString());
    recordEvent(u"c"_s, QString(), QString(), true, QString());
    recordCall(u"d"_s, QString(), QString(), QString());
    QCOMPARE(callHistory(), before);
    QCOMPARE(secondCallHistory(), QStringList());
    reportFrozen = false;
    recordSSO(u"after"_s, QString(), QString());
    QCOMPARE(callHistory().size(), 2);
}

void TestCallHistory::traced()
{
    const ScopedTestFlag flag(122);
    const TraceRecorder recorder;
    recordSSO(u"a"_s, QString(), u"x"_s);
    recordService(u"b"_s, QString(), u"x"_s);
    recordEvent(u"c"_s, QString(), QString(), true, u"x"_s);
    const QStringList lines = callHistory();
    QCOMPARE(
        recorder.lines(),
        QStringList({u"SSO:    "_s + lines.at(0), u"Service:"_s + lines.at(1), u"Event:  "_s + lines.at(2)}));
}

void TestCallHistory::notTracedWithoutFlag()
{
    const ScopedTestFlag flag(121);
    const TraceRecorder recorder;
    recordSSO(u"a"_s, QString(), QString());
    recordCall(u"a"_s, QString(), QString(), QString());
    QCOMPARE(recorder.lines(), QStringList());
}

void TestCallHistory::callLine()
{
    recordCall(u"first column"_s, u"second"_s, u"third"_s, u"fourth"_s);
    const QString line = secondCallHistory().constFirst();
    QCOMPARE(line.left(35), u"first colusecond"_s + QString(19, u' '));
    QVERIFY(QRegularExpression(u"^[0-9]{1,9} *fourth   third$"_s).match(line.mid(35)).hasMatch());
    QCOMPARE(line.mid(45), u"fourth   third"_s);
    QCOMPARE(callHistory(), QStringList());
}

void TestCallHistory::callUsesTheFirstIndex()
{
    // The first ring does not move, so the second call takes the place of the first one.
    recordCall(u"a"_s, QString(), QString(), QString());
    recordCall(u"b"_s, QString(), QString(), QString());
    QCOMPARE(secondCallHistory().size(), 1);
    QVERIFY(secondCallHistory().constFirst().startsWith(u'b'));
    recordSSO(QString(), QString(), QString());
    recordCall(u"c"_s, QString(), QString(), QString());
    QCOMPARE(secondCallHistory().size(), 2);
    QVERIFY(secondCallHistory().at(0).startsWith(u'b'));
    QVERIFY(secondCallHistory().at(1).startsWith(u'c'));
}

void TestCallHistory::callRingIsListedFromItsOwnIndex()
{
    for (int i = 0; i < 45; ++i) {
        recordCall(u"<%1>"_s.arg(i), QString(), QString(), QString());
        recordSSO(QString(), QString(), QString());
    }
    QStringList expected;
    for (int i = 5; i < 45; ++i)
        expected.append(u"<%1>"_s.arg(i));
    QStringList found;
    for (const QString &line : secondCallHistory())
        found.append(line.left(line.indexOf(u'>') + 1));
    QCOMPARE(found, expected);
}

void TestCallHistory::callTraced()
{
    const ScopedTestFlag flag(122);
    const TraceRecorder recorder;
    recordCall(u"a"_s, u"b"_s, u"c"_s, u"d"_s);
    QCOMPARE(recorder.lines(), secondCallHistory());
}

QTEST_GUILESS_MAIN(TestCallHistory)
#include "tst_callhistory.moc"
