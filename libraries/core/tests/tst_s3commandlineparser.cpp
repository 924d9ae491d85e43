#include "s3commandlineparser.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{

class FixedHelp final : public s3CommandLineParser
{
public:
    QString helpText() const override { return u"a < b & \"c\""_s; }
};

struct SeenBox {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QString title;
    QString text;
};

// Closes the next modal box with its OK button and tells what it showed.
SeenBox answerBox(const std::function<void()> &showBox)
{
    SeenBox seen;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            seen = {box->icon(), box->standardButtons(), box->windowTitle(), box->text()};
            box->done(QMessageBox::Ok);
        }
    });
    timer.start(10);
    showBox();
    return seen;
}

}

class TestCommandLineParser final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpTextLeavesOutHelpAll();
    void helpHtml_data();
    void helpHtml();
    void showResult_data();
    void showResult();
};

void TestCommandLineParser::helpTextLeavesOutHelpAll()
{
    s3CommandLineParser parser;
    const QString full = parser.QCommandLineParser::helpText();
    const QString text = parser.helpText();
    QVERIFY(full.contains(u"--help-all"_s));
    QVERIFY(!text.contains(u"--help-all"_s));
    // Exactly that one line goes.
    QCOMPARE(full.count(u'\n') - text.count(u'\n'), 1);
    QVERIFY(text.contains(u"-?"_s));
    QVERIFY(text.contains(u"-h, --help"_s));
}

void TestCommandLineParser::helpHtml_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no error") << QString()
                              << u"<html><head><body><pre>a &lt; b &amp; &quot;c&quot;</pre></body></html>"_s;
    QTest::newRow("error as it stands")
        << u"x<y>&"_s
        << u"<html><head><body><h2>x<y>&</h2><pre>a &lt; b &amp; &quot;c&quot;</pre></body></html>"_s;
}

void TestCommandLineParser::helpHtml()
{
    QFETCH(QString, error);
    QTEST(FixedHelp().helpHtml(error), "expected");
}

void TestCommandLineParser::showResult_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<int>("icon");
    QTest::newRow("error") << 1 << 1 << int(QMessageBox::Warning);
    QTest::newRow("help") << 2 << 0 << int(QMessageBox::Information);
    QTest::newRow("ok") << 0 << 0 << int(QMessageBox::Information);
    QTest::newRow("any other") << 77 << 0 << int(QMessageBox::Information);
}

void TestCommandLineParser::showResult()
{
    QFETCH(int, result);
    const FixedHelp parser;
    int exitCode = -1;
    const SeenBox seen = answerBox([&] { exitCode = parser.showResult(result, u"e"_s); });
    QTEST(exitCode, "exitCode");
    QTEST(int(seen.icon), "icon");
    QCOMPARE(seen.buttons, QMessageBox::Ok);
    QCOMPARE(seen.text, parser.helpHtml(u"e"_s));
    QVERIFY(!seen.title.isEmpty());
}

QTEST_MAIN(TestCommandLineParser)
#include "tst_s3commandlineparser.moc"
