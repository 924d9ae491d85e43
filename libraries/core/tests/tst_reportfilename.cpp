#include "erp/s3session.h"
#include "ostrelletest/filecontent.h"
#include "protocol/reportfilename.h"
#include "s3tempdir.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestReportFileName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void emptySession();
    void withoutLocalSettings();
    void plainNameThatExists();
    void directoryOfThatNameIsNoReport();
    void sessionNames_data();
    void sessionNames();
    void incompleteSession_data();
    void incompleteSession();
    void clientNameCountsForWritingAlone();
    void lengths_data();
    void lengths();
    void checksumIsOfTheWholeName();
    void directoryWithoutRoom();
    void existsAndIsRemoved();
    void missingReportIsRemoved();

private:
    [[nodiscard]] QString directory() const { return m_dir->path() + u"/errorReports/"_s; }
    [[nodiscard]] bool makePlainReport() const
    {
        return QDir().mkpath(directory()) && writeFile(directory() + u"SYS.FEHL"_s, "record"_ba);
    }
    static void connectTo(const QString &server, const QString &serverDirectory)
    {
        s3SessionInstance()->setClientName(u"client"_s);
        s3SessionInstance()->setServerName(server);
        s3SessionInstance()->setServerDirectory(serverDirectory);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestReportFileName::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    glob_file_localSettingsDir = m_dir->path();
    s3SessionInstance()->reset();
}

void TestReportFileName::cleanup()
{
    glob_file_localSettingsDir.clear();
    s3SessionInstance()->reset();
    m_dir.reset();
}

void TestReportFileName::emptySession()
{
    QCOMPARE(reportFileName(true), directory() + u"SYS.FEHL"_s);
    QCOMPARE(reportFileName(false), QString());
    QVERIFY(makePlainReport());
    QCOMPARE(reportFileName(true), directory() + u"SYS.FEHL"_s);
    QCOMPARE(reportFileName(false), directory() + u"SYS.FEHL"_s);
}

void TestReportFileName::withoutLocalSettings()
{
    glob_file_localSettingsDir.clear();
    QCOMPARE(reportFileName(true), u"/errorReports/SYS.FEHL"_s);
}

void TestReportFileName::plainNameThatExists()
{
    connectTo(u"server"_s, u"/dir"_s);
    QCOMPARE(reportFileName(false), directory() + u"server_dir"_s);
    QVERIFY(makePlainReport());
    QCOMPARE(reportFileName(false), directory() + u"SYS.FEHL"_s);
    QCOMPARE(reportFileName(true), directory() + u"server_dir"_s);
}

void TestReportFileName::directoryOfThatNameIsNoReport()
{
    QVERIFY(QDir().mkpath(directory() + u"SYS.FEHL"_s));
    QCOMPARE(reportFileName(false), QString());
    QVERIFY(!reportExists());
}

void TestReportFileName::sessionNames_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("serverDirectory");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"erp"_s << u"prod"_s << u"erpprod"_s;
    QTest::newRow("slashes and points") << u"a/b.c"_s << u"/d"_s << u"a_b_c_d"_s;
    QTest::newRow("backslashes") << u"erp"_s << u"\\x\\y"_s << u"erp_x_y"_s;
    QTest::newRow("nothing but points") << u"..."_s << u"/"_s << u"____"_s;
    QTest::newRow("no way up") << u"../.."_s << u"/../etc"_s
                               << u"_____"
                                  "____etc"_s;
    QTest::newRow("other characters stay") << u"größe-1"_s << u"/a b%1"_s << u"größe-1_a b%1"_s;
}

void TestReportFileName::sessionNames()
{
    QFETCH(QString, server);
    QFETCH(QString, serverDirectory);
    QFETCH(QString, name);
    connectTo(server, serverDirectory);
    QCOMPARE(reportFileName(true), directory() + name);
    QCOMPARE(reportFileName(false), directory() + name);
}

void TestReportFileName::incompleteSession_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("serverDirectory");
    QTest::newRow("no server") << QString() << u"/d"_s;
    QTest::newRow("no directory") << u"erp"_s << QString();
    QTest::newRow("neither") << QString() << QString();
}

void TestReportFileName::incompleteSession()
{
    QFETCH(QString, server);
    QFETCH(QString, serverDirectory);
    connectTo(server, serverDirectory);
    QCOMPARE(reportFileName(true), QString());
    QCOMPARE(reportFileName(false), QString());
}

void TestReportFileName::clientNameCountsForWritingAlone()
{
    connectTo(u"erp"_s, u"/d"_s);
    s3SessionInstance()->setClientName(QString());
    QCOMPARE(reportFileName(true), directory() + u"SYS.FEHL"_s);
    QCOMPARE(reportFileName(false), directory() + u"erp_d"_s);
}

void TestReportFileName::lengths_data()
{
    QTest::addColumn<int>("beyondRoom");
    QTest::newRow("ten characters of room left") << -10;
    QTest::newRow("exactly the room") << 0;
    QTest::newRow("one character too long") << 1;
    QTest::newRow("two characters too long") << 2;
    QTest::newRow("far too long") << 5000;
}

void TestReportFileName::lengths()
{
    QFETCH(int, beyondRoom);
    const qsizetype room = 250 - directory().size();
    // The name has a beginning and an end that differ, and no character that is replaced.
    QString name;
    for (qsizetype i = 0; i < room + beyondRoom; ++i)
        name += QChar(u'a' + char16_t(i % 26));
    connectTo(name.left(5), name.mid(5));
    const QString found = reportFileName(true);
    QVERIFY(found.startsWith(directory()));
    const QString foundName = found.mid(directory().size());
    if (beyondRoom <= 0) {
        QCOMPARE(foundName, name);
        return;
    }
    const QString checksum = QString::number(qChecksum(name.toUtf8(), Qt::ChecksumIso3309));
    const qsizetype left = room - checksum.size() - 2;
    QCOMPARE(foundName, checksum + u'-' + name.left(left / 2) + u'-' + name.right((left + 1) / 2));
    QCOMPARE(foundName.size(), room);
    QCOMPARE(found.size(), 250);
}

void TestReportFileName::checksumIsOfTheWholeName()
{
    const QString begin(300, u'b');
    const QString end(300, u'e');
    connectTo(begin + u'1' + end, u"/d"_s);
    const QString one = reportFileName(true);
    connectTo(begin + u'2' + end, u"/d"_s);
    const QString two = reportFileName(true);
    QVERIFY(one != two);
    QCOMPARE(one.mid(one.indexOf(u'-', directory().size())).right(100), two.right(100));
}

void TestReportFileName::directoryWithoutRoom()
{
    const QString longDirectory = u'/' + QString(400, u'd');
    glob_file_localSettingsDir = longDirectory;
    connectTo(u"erp"_s, u"/d"_s);
    const QString checksum = QString::number(qChecksum("erp_d"_ba, Qt::ChecksumIso3309));
    QCOMPARE(reportFileName(true), longDirectory + u"/errorReports/"_s + checksum + u"--"_s);
}

void TestReportFileName::existsAndIsRemoved()
{
    QVERIFY(!reportExists());
    QVERIFY(makePlainReport());
    QVERIFY(reportExists());
    QVERIFY(removeReport());
    QVERIFY(!reportExists());

    connectTo(u"erp"_s, u"/d"_s);
    QVERIFY(!reportExists());
    QVERIFY(writeFile(directory() + u"erp_d"_s, "record"_ba));
    QVERIFY(reportExists());
    QVERIFY(removeReport());
    QVERIFY(!reportExists());
}

void TestReportFileName::missingReportIsRemoved()
{
    QVERIFY(removeReport());
    connectTo(u"erp"_s, u"/d"_s);
    QVERIFY(removeReport());
}

QTEST_GUILESS_MAIN(TestReportFileName)
#include "tst_reportfilename.moc"
