#include "platform/display.h"

#include "s3basicbox.h"
#include "standarderrorcapture.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;

// A process without a screen: its boxes neither block nor vanish. The state is that of the whole
// process, therefore a program of its own.
class TestDisplay final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationRunsOffscreen();
    void variableIsNotLeftToOtherPrograms();
    void boxWritesItsText_data();
    void boxWritesItsText();
    void boxAnswersWithItsDefaultButton_data();
    void boxAnswersWithItsDefaultButton();
    void nativeBoxWritesTitleAndText();
    void frontsAnswerOk();
    void environmentDecides_data();
    void environmentDecides();
};

void TestDisplay::applicationRunsOffscreen()
{
    QVERIFY(!platform::screenAvailable());
    QCOMPARE(QGuiApplication::platformName(), u"offscreen"_s);
}

void TestDisplay::variableIsNotLeftToOtherPrograms()
{
    QVERIFY(!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"));
}

void TestDisplay::boxWritesItsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("written");

    QTest::newRow("plain") << u"Hallo"_s << "Hallo\n"_ba;
    QTest::newRow("empty") << QString() << "\n"_ba;
    QTest::newRow("umlauts and beyond") << u"Größe \U0001F4E7"_s << u"Größe \U0001F4E7\n"_s.toUtf8();
    QTest::newRow("rich text becomes plain")
        << u"<b>Kein</b> Mailprogramm<br>gefunden"_s << "Kein Mailprogramm\ngefunden\n"_ba;
    QTest::newRow("angle brackets that are no tags") << u"1 < 2 > 0"_s << "1 < 2 > 0\n"_ba;
    QTest::newRow("several lines") << u"a\n\tb\r\nc"_s << "a\n\tb\nc\n"_ba;
    QTest::newRow("terminal sequences")
        << u"a\x1b[31mb\x07\x9bz"_s << u"a\uFFFD[31mb\uFFFD\uFFFDz\n"_s.toUtf8();
    QTest::newRow("null character") << u"a"_s + QChar(QChar::Null) + u"b"_s << u"a\uFFFDb\n"_s.toUtf8();
    QTest::newRow("a million characters") << QString(1000000, u'x') << QByteArray(1000000, 'x') + '\n';
}

void TestDisplay::boxWritesItsText()
{
    QFETCH(const QString, text);
    QFETCH(const QByteArray, written);
    StandardErrorCapture capture;
    const int answer = s3BasicBox::critical(text);
    QCOMPARE(capture.take(), written);
    QCOMPARE(answer, int(QMessageBox::Ok));
}

void TestDisplay::boxAnswersWithItsDefaultButton_data()
{
    QTest::addColumn<int>("buttons");
    QTest::addColumn<int>("defaultButton");
    QTest::addColumn<int>("answer");
    using Box = QMessageBox;

    QTest::newRow("default button") << int(Box::Yes | Box::No) << int(Box::No) << int(Box::No);
    QTest::newRow("none: Ok before others")
        << int(Box::Cancel | Box::Ok | Box::Yes) << int(Box::NoButton) << int(Box::Ok);
    QTest::newRow("none: the first") << int(Box::No | Box::Yes) << int(Box::NoButton) << int(Box::Yes);
    QTest::newRow("not among the buttons") << int(Box::Yes | Box::No) << int(Box::Cancel) << int(Box::Yes);
    QTest::newRow("no buttons at all") << int(Box::NoButton) << int(Box::NoButton) << int(Box::Ok);
    QTest::newRow("no buttons, some default") << int(Box::NoButton) << int(Box::Cancel) << int(Box::Ok);
}

void TestDisplay::boxAnswersWithItsDefaultButton()
{
    QFETCH(const int, buttons);
    QFETCH(const int, defaultButton);
    StandardErrorCapture capture;
    const int answer
        = s3BasicBox::show(QMessageBox::Question, QString(), u"?"_s, buttons, defaultButton, false);
    QCOMPARE(capture.take(), "?\n"_ba);
    QTEST(answer, "answer");
}

// The native box shows plain text, so nothing is taken out of it.
void TestDisplay::nativeBoxWritesTitleAndText()
{
    StandardErrorCapture capture;
    const int answer = s3BasicBox::show(QMessageBox::Critical, u"Titel"_s, u"<b>x</b>"_s,
                                        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                        QMessageBox::Cancel, true);
    QCOMPARE(capture.take(), "Titel: <b>x</b>\n"_ba);
    QCOMPARE(answer, int(QMessageBox::Cancel));
}

void TestDisplay::frontsAnswerOk()
{
    StandardErrorCapture capture;
    QCOMPARE(s3BasicBox::information(u"1"_s), int(QMessageBox::Ok));
    QCOMPARE(s3BasicBox::warning(u"2"_s), int(QMessageBox::Ok));
    QCOMPARE(s3BasicBox::critical(u"3"_s), int(QMessageBox::Ok));
    QCOMPARE(s3BasicBox::fatal(u"4"_s), int(QMessageBox::Ok));
    QCOMPARE(s3BasicBox::fatalQuestion(u"5"_s, QMessageBox::Yes | QMessageBox::No, QMessageBox::No),
             int(QMessageBox::No));
    const QByteArray written = capture.take();
    QVERIFY(written.startsWith("1\n2\n3\n"));
    QVERIFY(written.endsWith(": 5\n"));
}

void TestDisplay::environmentDecides_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("available");

    QTest::newRow("X11") << "DISPLAY"_ba
                         << ":0"_ba << true;
    QTest::newRow("Wayland") << "WAYLAND_DISPLAY"_ba
                             << "wayland-0"_ba << true;
    QTest::newRow("platform chosen") << "QT_QPA_PLATFORM"_ba
                                     << "minimal"_ba << true;
    QTest::newRow("offscreen chosen") << "QT_QPA_PLATFORM"_ba
                                      << "offscreen"_ba << true;
    QTest::newRow("empty display") << "DISPLAY"_ba
                                   << ""_ba << false;
    QTest::newRow("empty platform") << "QT_QPA_PLATFORM"_ba
                                    << ""_ba << false;
}

// Last, as it changes the state of the process.
void TestDisplay::environmentDecides()
{
    QFETCH(const QByteArray, variable);
    QFETCH(const QByteArray, value);
    qputenv(variable.constData(), value);
    const bool prepared = platform::prepareDisplay();
    const QByteArray platformVariable = qgetenv("QT_QPA_PLATFORM");
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        qunsetenv(name);
    QTEST(prepared, "available");
    QCOMPARE(platform::screenAvailable(), prepared);
    // Without a choice of the user's the variable is in force until the application has read it.
    const bool chosen = variable == "QT_QPA_PLATFORM" && !value.isEmpty();
    QCOMPARE(platformVariable, chosen ? value : prepared ? ""_ba : "offscreen"_ba);
}

int main(int argc, char **argv)
{
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        qunsetenv(name);
    platform::prepareDisplay();
    const QApplication application(argc, argv);
    TestDisplay test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_display.moc"
