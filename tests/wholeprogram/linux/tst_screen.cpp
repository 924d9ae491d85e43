#include "screen.h"
#include "toolrun.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

// The tool's boxes on a display: they come up with their title, the tool waits for its user, and Return
// ends it with the exit code of the failure.
class TestScreen final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void boxes_data();
    void boxes();
    void successShowsNothing();

private:
    QProcessEnvironment environmentOfDisplay() const;
    QByteArray windowOf(qint64 processId) const;

    Screen m_screen;
};

void TestScreen::initTestCase()
{
    QVERIFY2(m_screen.start(), "Xvfb does not start");
}

void TestScreen::cleanupTestCase()
{
    QVERIFY(m_screen.stop());
}

// The display of this suite, and no session bus: Qt would ask it for the desktop's settings.
QProcessEnvironment TestScreen::environmentOfDisplay() const
{
    QProcessEnvironment environment = ToolRun().environment;
    environment.insert(u"DISPLAY"_s, m_screen.display());
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    return environment;
}

QByteArray TestScreen::windowOf(qint64 processId) const
{
    return m_screen.xdotool({u"search"_s, u"--onlyvisible"_s, u"--all"_s, u"--pid"_s,
                             QString::number(processId), u"--name"_s, u"."_s});
}

void TestScreen::boxes_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<quint32>("result");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("help") << QStringList{u"--help"_s} << 0u << 0;
    QTest::newRow("no arguments") << QStringList() << 0u << 1;
    QTest::newRow("missing file") << QStringList{u"no such file.zml"_s} << 0u << 1;
    QTest::newRow("closed compose window") << QStringList{u"mail.zml"_s} << 1u << 255;
    QTest::newRow("body file missing") << QStringList{u"body.zml"_s} << 0u << 255;
}

void TestScreen::boxes()
{
    QFETCH(QStringList, arguments);
    QFETCH(quint32, result);
    ToolRun tool;
    tool.writeFile(u"mail.zml"_s, "[ZERKMAIL]\n");
    tool.writeFile(u"body.zml"_s, "[ZERKMAIL]\nBODYFILE=missing.txt\n");
    tool.setResult(result);
    tool.environment = environmentOfDisplay();

    const auto process = tool.start(arguments);
    QVERIFY(process->waitForStarted());
    QElapsedTimer timer;
    timer.start();
    QByteArray window;
    while ((window = windowOf(process->processId())).isEmpty() && timer.elapsed() < 60000)
        QTest::qWait(50);
    QVERIFY2(!window.isEmpty(), "no box came up");
    const QString id = QString::fromLatin1(window.split('\n').constLast());
    QCOMPARE(m_screen.xdotool({u"getwindowname"_s, id}), "Zerk");

    // It stays until somebody answers.
    QVERIFY(!process->waitForFinished(300));
    while (process->state() != QProcess::NotRunning && timer.elapsed() < 60000) {
        (void)m_screen.xdotool({u"windowfocus"_s, id, u"key"_s, u"--window"_s, u"0"_s, u"Return"_s});
        process->waitForFinished(100);
    }
    QCOMPARE(process->state(), QProcess::NotRunning);
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QTEST(process->exitCode(), "exitCode");
    // What a box shows does not stand on standard error as well.
    QVERIFY(!process->readAllStandardError().contains("Usage"));
}

void TestScreen::successShowsNothing()
{
    ToolRun tool;
    tool.environment = environmentOfDisplay();
    const ToolResult result = tool.runZml("SEND=1\n");
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.calls.size(), 1);
}

QTEST_GUILESS_MAIN(TestScreen)
#include "tst_screen.moc"
