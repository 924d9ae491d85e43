#include "ostrelletest/filecontent.h"
#include "ostrelletest/ordinaryuser.h"
#include "platform/filelock.h"
#include "protocol/reportdelivery.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using platform::FileLock;

class TestReportDelivery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appends();
    void makesTheDirectory();
    void bytesStayAsTheyAre();
    void emptyRecord();
    void largeRecord();
    void namesThatAreNoPlace_data();
    void namesThatAreNoPlace();
    void otherCharacters();
    void readOnlyFile();
    void lockIsOfOne();
    void lockMakesTheFile();
    void lockWithoutPlace();
    void lockKeepsNobodyFromReading();
    void waitEnds();
    void lockIsGivenBack();
};

void TestReportDelivery::appends()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    QVERIFY(deliverReport("one\n"_ba, name, 0ms));
    QVERIFY(deliverReport("two\n"_ba, name, 0ms));
    QVERIFY(deliverReport("three\n"_ba, name, 2s));
    QCOMPARE(readFile(name), "one\ntwo\nthree\n"_ba);
}

void TestReportDelivery::makesTheDirectory()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"a/errorReports/SYS.FEHL"_s);
    QVERIFY(deliverReport("record"_ba, name, 0ms));
    QCOMPARE(readFile(name), "record"_ba);
    QCOMPARE(QDir(dir.filePath(u"a/errorReports"_s)).entryList(QDir::Files | QDir::Hidden),
             QStringList(u"SYS.FEHL"_s));
}

void TestReportDelivery::bytesStayAsTheyAre()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    QByteArray bytes;
    for (int byte = 0; byte < 0x100; ++byte)
        bytes += static_cast<char>(byte);
    bytes += "\n\r\n\x1A after"_ba;
    QVERIFY(deliverReport(bytes, name, 0ms));
    QVERIFY(deliverReport(bytes, name, 0ms));
    QCOMPARE(readFile(name), bytes + bytes);
}

void TestReportDelivery::emptyRecord()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    QVERIFY(deliverReport(QByteArray(), name, 0ms));
    QCOMPARE(readFile(name), ""_ba);
}

void TestReportDelivery::largeRecord()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    const QByteArray record = "line of a record\n"_ba.repeated(500000);
    QVERIFY(deliverReport(record, name, 0ms));
    QVERIFY(deliverReport("next"_ba, name, 0ms));
    QVERIFY(readFile(name) == record + "next"_ba);
}

void TestReportDelivery::namesThatAreNoPlace_data()
{
    QTest::addColumn<QString>("name"); // below the test's directory, which has a file "file"
    QTest::newRow("empty") << QString();
    QTest::newRow("a directory") << u"directory"_s;
    QTest::newRow("below a file") << u"file/SYS.FEHL"_s;
    QTest::newRow("directory below a file") << u"file/errorReports/SYS.FEHL"_s;
    QTest::newRow("name too long") << QString(5000, u'n');
}

void TestReportDelivery::namesThatAreNoPlace()
{
    QFETCH(QString, name);
    const QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath(u"file"_s), "content"_ba));
    QVERIFY(QDir(dir.path()).mkdir(u"directory"_s));
    QVERIFY(!deliverReport("record"_ba, name.isEmpty() ? name : dir.filePath(name), 10min));
    QCOMPARE(readFile(dir.filePath(u"file"_s)), "content"_ba);
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({u"directory"_s, u"file"_s}));
}

void TestReportDelivery::otherCharacters()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"größe €/a b 日.FEHL"_s);
    QVERIFY(deliverReport("record"_ba, name, 0ms));
    QCOMPARE(readFile(name), "record"_ba);
}

void TestReportDelivery::readOnlyFile()
{
    const OrdinaryUser user;
    QVERIFY(user.isOrdinary());
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    QVERIFY(deliverReport("one"_ba, name, 0ms));
    QVERIFY(QFile::setPermissions(name, QFileDevice::ReadOwner));
    if (QFile probe(name); probe.open(QIODevice::WriteOnly | QIODevice::Append))
        QSKIP("Wine lets the superuser write to a read-only file.");
    QVERIFY(!deliverReport("two"_ba, name, 10min));
    QVERIFY(QFile::setPermissions(name, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QCOMPARE(readFile(name), "one"_ba);
}

void TestReportDelivery::lockIsOfOne()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"file"_s);
    std::optional<FileLock> first(name);
    QCOMPARE(first->tryLock(), FileLock::Result::Taken);
    FileLock second(name);
    QCOMPARE(second.tryLock(), FileLock::Result::Busy);
    QCOMPARE(second.tryLock(), FileLock::Result::Busy);
    FileLock other(dir.filePath(u"other"_s));
    QCOMPARE(other.tryLock(), FileLock::Result::Taken);
    first.reset();
    QCOMPARE(second.tryLock(), FileLock::Result::Taken);
}

void TestReportDelivery::lockMakesTheFile()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"größe"_s);
    QVERIFY(writeFile(dir.filePath(u"there"_s), "content"_ba));
    const FileLock missing(name);
    QVERIFY(QFileInfo(name).isFile());
    FileLock there(dir.filePath(u"there"_s));
    QCOMPARE(there.tryLock(), FileLock::Result::Taken);
    QCOMPARE(readFile(dir.filePath(u"there"_s)), "content"_ba);
}

void TestReportDelivery::lockWithoutPlace()
{
    const QTemporaryDir dir;
    FileLock missing(dir.filePath(u"no/directory"_s));
    QCOMPARE(missing.tryLock(), FileLock::Result::Failed);
    FileLock directory(dir.path());
    QCOMPARE(directory.tryLock(), FileLock::Result::Failed);
}

void TestReportDelivery::lockKeepsNobodyFromReading()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"file"_s);
    FileLock lock(name);
    QCOMPARE(lock.tryLock(), FileLock::Result::Taken);
    QVERIFY(writeFile(name, QByteArray(100000, 'x')));
    QCOMPARE(readFile(name), QByteArray(100000, 'x'));
}

// A record that would have to wait too long is appended all the same.
void TestReportDelivery::waitEnds()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    FileLock lock(name);
    QCOMPARE(lock.tryLock(), FileLock::Result::Taken);
    QVERIFY(deliverReport("one"_ba, name, 0ms));
    QVERIFY(deliverReport("two"_ba, name, 100ms));
    QCOMPARE(readFile(name), "onetwo"_ba);
}

void TestReportDelivery::lockIsGivenBack()
{
    const QTemporaryDir dir;
    const QString name = dir.filePath(u"SYS.FEHL"_s);
    QVERIFY(deliverReport("one"_ba, name, 0ms));
    FileLock lock(name);
    QCOMPARE(lock.tryLock(), FileLock::Result::Taken);
}

QTEST_GUILESS_MAIN(TestReportDelivery)
#include "tst_reportdelivery.moc"
