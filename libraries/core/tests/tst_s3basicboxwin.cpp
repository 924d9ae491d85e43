#include "s3basicboxwin.h"

#include "ostrelletest/scopedtestflag.h"
#include "ostrelletest/tracerecorder.h"

#include <QCoreApplication>
#include <QTest>

using namespace Qt::StringLiterals;

class TestBasicBoxWin final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void boxType_data();
    void boxType();
    void rightToLeftReading();
    void result2Button_data();
    void result2Button();
    void traces();
    void noTraceWithoutFlag();
};

void TestBasicBoxWin::boxType_data()
{
    QTest::addColumn<int>("icon");
    QTest::addColumn<int>("buttons");
    QTest::addColumn<int>("defaultButton");
    QTest::addColumn<unsigned int>("type");
    using Box = QMessageBox;
    constexpr unsigned int topmost = 0x40000;
    const int ok = Box::Ok;
    const int okCancel = Box::Ok | Box::Cancel;
    const int yesNo = Box::Yes | Box::No;
    const int yesNoCancel = Box::Yes | Box::No | Box::Cancel;

    QTest::newRow("critical") << int(Box::Critical) << ok << 0 << (16 | topmost);
    QTest::newRow("warning") << int(Box::Warning) << ok << 0 << (48 | topmost);
    QTest::newRow("information") << int(Box::Information) << ok << 0 << (64 | topmost);
    QTest::newRow("question") << int(Box::Question) << ok << 0 << (32 | topmost);
    QTest::newRow("no icon") << int(Box::NoIcon) << ok << 0 << topmost;
    QTest::newRow("unknown icon") << 5 << ok << 0 << topmost;
    QTest::newRow("negative icon") << -1 << ok << 0 << topmost;

    QTest::newRow("ok") << 0 << ok << 0 << (0 | topmost);
    QTest::newRow("ok, cancel") << 0 << okCancel << 0 << (1 | topmost);
    QTest::newRow("yes, no") << 0 << yesNo << 0 << (4 | topmost);
    QTest::newRow("yes, no, cancel") << 0 << yesNoCancel << 0 << (3 | topmost);
    QTest::newRow("no buttons") << 0 << 0 << 0 << topmost;
    QTest::newRow("yes alone") << 0 << int(Box::Yes) << 0 << topmost;
    QTest::newRow("ok, yes, no, cancel") << 0 << (yesNoCancel | ok) << 0 << topmost;
    QTest::newRow("retry, abort") << 0 << int(Box::Retry | Box::Abort) << 0 << topmost;

    QTest::newRow("default ok") << 0 << okCancel << int(Box::Ok) << (1 | topmost);
    QTest::newRow("default cancel of two") << 0 << okCancel << int(Box::Cancel) << (1 | 0x100 | topmost);
    QTest::newRow("default yes") << 0 << yesNo << int(Box::Yes) << (4 | topmost);
    QTest::newRow("default no of two") << 0 << yesNo << int(Box::No) << (4 | 0x100 | topmost);
    QTest::newRow("default yes of three") << 0 << yesNoCancel << int(Box::Yes) << (3 | topmost);
    QTest::newRow("default no of three") << 0 << yesNoCancel << int(Box::No) << (3 | 0x100 | topmost);
    QTest::newRow("default cancel of three") << 0 << yesNoCancel << int(Box::Cancel) << (3 | 0x200 | topmost);
    QTest::newRow("default not among the buttons") << 0 << yesNo << int(Box::Cancel) << (4 | topmost);
    QTest::newRow("default no of a single ok") << 0 << ok << int(Box::No) << topmost;
    QTest::newRow("default cancel of an unknown set")
        << 0 << int(Box::Retry | Box::Cancel) << int(Box::Cancel) << (0x200 | topmost);

    QTest::newRow("all together") << int(Box::Critical) << yesNoCancel << int(Box::Cancel)
                                  << (16 | 3 | 0x200 | topmost);
}

void TestBasicBoxWin::boxType()
{
    QFETCH(const int, icon);
    QFETCH(const int, buttons);
    QFETCH(const int, defaultButton);
    QTEST(s3BasicBoxWin::boxType(icon, buttons, defaultButton), "type");
}

void TestBasicBoxWin::rightToLeftReading()
{
    const ScopedTestFlag flag(229);
    QCOMPARE(s3BasicBoxWin::boxType(QMessageBox::Warning, QMessageBox::Ok, 0), 48U | 0x40000U | 0x100000U);
}

void TestBasicBoxWin::result2Button_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("button");
    QTest::newRow("IDOK") << 1 << int(QMessageBox::Ok);
    QTest::newRow("IDCANCEL") << 2 << int(QMessageBox::Cancel);
    QTest::newRow("IDYES") << 6 << int(QMessageBox::Yes);
    QTest::newRow("IDNO") << 7 << int(QMessageBox::No);
    QTest::newRow("failure") << 0 << 0;
    QTest::newRow("IDABORT") << 3 << 0;
    QTest::newRow("IDRETRY") << 4 << 0;
    QTest::newRow("IDIGNORE") << 5 << 0;
    QTest::newRow("IDCLOSE") << 8 << 0;
    QTest::newRow("negative") << -1 << 0;
}

void TestBasicBoxWin::result2Button()
{
    QFETCH(const int, result);
    QTEST(s3BasicBoxWin::result2Button(result), "button");
}

void TestBasicBoxWin::traces()
{
    const ScopedTestFlag flag(334);
    const TraceRecorder trace;
    (void)s3BasicBoxWin::boxType(QMessageBox::Critical, QMessageBox::Ok, 0);
    (void)s3BasicBoxWin::result2Button(6);
    (void)s3BasicBoxWin::result2Button(99);
    QCOMPARE(trace.lines(),
             (QStringList{u"s3BasicBoxWin::boxType() type=262160"_s,
                          u"s3BasicBoxWin::result2Button() button=16384"_s,
                          u"s3BasicBoxWin::result2Button() button=0"_s}));
}

void TestBasicBoxWin::noTraceWithoutFlag()
{
    const TraceRecorder trace;
    (void)s3BasicBoxWin::boxType(QMessageBox::Critical, QMessageBox::Ok, 0);
    (void)s3BasicBoxWin::result2Button(6);
    QCOMPARE(trace.lines(), QStringList());
}

QTEST_GUILESS_MAIN(TestBasicBoxWin)
#include "tst_s3basicboxwin.moc"
