#include "erp/s3version.h"

#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(s3Version)

// Both notations of a version, its order and the client's own version.
class TestVersion final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dottedNotation_data();
    void dottedNotation();
    void readZerkNotation_data();
    void readZerkNotation();
    void writeZerkNotation_data();
    void writeZerkNotation();
    void roundTrips();
    void shortMajorsAreNotReadBack();
    void texts_data();
    void texts();
    void order_data();
    void order();
    void generations_data();
    void generations();
    void clientVersion();
};

namespace
{

// All four parts, also those that numberList() leaves out.
QList<qint32> parts(const s3Version &version)
{
    return {version.major(), version.minor(), version.service(), version.patch()};
}

}

void TestVersion::dottedNotation_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<qint32>>("expected");
    QTest::newRow("empty") << QString() << QList<qint32>{0, 0, -1, -1};
    QTest::newRow("major") << u"7"_s << QList<qint32>{7, 0, -1, -1};
    QTest::newRow("major, minor") << u"10.0"_s << QList<qint32>{10, 0, -1, -1};
    QTest::newRow("three parts") << u"10.0.22000"_s << QList<qint32>{10, 0, 22000, -1};
    QTest::newRow("four parts") << u"2101.8.16.3"_s << QList<qint32>{2101, 8, 16, 3};
    QTest::newRow("fifth part ignored") << u"1.2.3.4.5"_s << QList<qint32>{1, 2, 3, 4};
    QTest::newRow("leading zeros") << u"2101.8.06.03"_s << QList<qint32>{2101, 8, 6, 3};
    QTest::newRow("no numbers") << u"a.b.c.d"_s << QList<qint32>{0, 0, 0, 0};
    QTest::newRow("empty parts") << u"..."_s << QList<qint32>{0, 0, 0, 0};
    QTest::newRow("suffix spoils its part") << u"6.1.0-18-amd64"_s << QList<qint32>{6, 1, 0, -1};
    QTest::newRow("negative") << u"-1.2"_s << QList<qint32>{-1, 2, -1, -1};
    QTest::newRow("too large for 32 bits") << u"99999999999.1"_s << QList<qint32>{0, 1, -1, -1};
    QTest::newRow("non-ASCII digits") << u"\u0661.2"_s << QList<qint32>{0, 2, -1, -1};
}

void TestVersion::dottedNotation()
{
    QFETCH(QString, text);
    QTEST(parts(s3Version(text)), "expected");
}

void TestVersion::readZerkNotation_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<qint32>>("expected");
    QTest::newRow("empty") << QString() << QList<qint32>{0, 0, -1, -1};
    QTest::newRow("only padding") << u"------------"_s << QList<qint32>{0, 0, -1, -1};
    QTest::newRow("all parts") << u"2101r8n16p03"_s << QList<qint32>{2101, 8, 16, 3};
    QTest::newRow("service padded") << u"2101r8n16---"_s << QList<qint32>{2101, 8, 16, -1};
    QTest::newRow("minor padded") << u"2101r8------"_s << QList<qint32>{2101, 8, -1, -1};
    QTest::newRow("major padded") << u"2101--------"_s << QList<qint32>{2101, 0, -1, -1};
    QTest::newRow("not padded") << u"2101r8"_s << QList<qint32>{2101, 8, -1, -1};
    QTest::newRow("cut to 12 characters") << u"2101r8n16p0399"_s << QList<qint32>{2101, 8, 16, 3};
    QTest::newRow("padding behind 12 characters") << u"2101r8n16p03----"_s << QList<qint32>{2101, 8, 16, 3};
    QTest::newRow("minor of two digits") << u"2101r10n05"_s << QList<qint32>{2101, 0, -1, -1};
    QTest::newRow("service of one digit") << u"2101r8n5p03"_s << QList<qint32>{2101, 8, 0, -1};
    QTest::newRow("major of three digits") << u"999r8n05"_s << QList<qint32>{0, 0, -1, -1};
    QTest::newRow("capital letters") << u"2101R8"_s << QList<qint32>{0, 0, -1, -1};
    QTest::newRow("ends at the r") << u"2101r"_s << QList<qint32>{2101, 0, -1, -1};
    QTest::newRow("ends at the n") << u"2101r8n"_s << QList<qint32>{2101, 8, 0, -1};
    QTest::newRow("ends at the p") << u"2101r8n16p"_s << QList<qint32>{2101, 8, 16, 0};
    QTest::newRow("points instead") << u"2101.8.16.3"_s << QList<qint32>{2101, 8, 16, 3};
}

void TestVersion::readZerkNotation()
{
    QFETCH(QString, text);
    QTEST(parts(s3Version::fromZerkVersion(text)), "expected");
}

void TestVersion::writeZerkNotation_data()
{
    QTest::addColumn<s3Version>("version");
    QTest::addColumn<QString>("expected");
    QTest::newRow("invalid") << s3Version() << QString();
    QTest::newRow("major and minor") << s3Version(2101, 8, -1, -1) << u"2101r8"_s;
    QTest::newRow("service") << s3Version(2101, 8, 5, -1) << u"2101r8n05"_s;
    QTest::newRow("service 0") << s3Version(2101, 8, 0, -1) << u"2101r8n00"_s;
    QTest::newRow("patch") << s3Version(2101, 8, 16, 3) << u"2101r8n16p03"_s;
    QTest::newRow("patch 0 is not written") << s3Version(2101, 8, 16, 0) << u"2101r8n16"_s;
    QTest::newRow("patch without service") << s3Version(2017, 4, -1, 5) << u"2017r4p05"_s;
    QTest::newRow("not padded") << s3Version(5, 10, 123, 456) << u"5r10n123p456"_s;
    QTest::newRow("all 0") << s3Version(0, 0, 0, -1) << u"0r0n00"_s;
}

void TestVersion::writeZerkNotation()
{
    QFETCH(s3Version, version);
    QTEST(version.toZerkVersion(), "expected");
}

void TestVersion::roundTrips()
{
    // Steps that share no factor with the ranges, so that all digits meet.
    for (qint32 majorPart = 1000; majorPart <= 9999; majorPart += 391) {
        for (qint32 minorPart = 0; minorPart <= 9; ++minorPart) {
            for (qint32 service = -1; service <= 99; service += 7) {
                for (qint32 patch = service < 0 ? -1 : 0; patch <= (service < 0 ? -1 : 99); patch += 11) {
                    const s3Version version(majorPart, minorPart, service, patch == 0 ? -1 : patch);
                    const QString text = version.toZerkVersion();
                    QCOMPARE(parts(s3Version::fromZerkVersion(text)), parts(version));
                    QCOMPARE(s3Version::fromZerkVersion(text).toZerkVersion(), text);
                    QCOMPARE(parts(s3Version::fromZerkVersion(text.leftJustified(12, u'-'))), parts(version));
                    QCOMPARE(parts(s3Version(version.toString())), parts(version));
                }
            }
        }
    }
}

void TestVersion::shortMajorsAreNotReadBack()
{
    // The major is written as it is, but its letter is expected behind four digits.
    for (qint32 majorPart = 0; majorPart <= 999; ++majorPart) {
        const QString text = s3Version(majorPart, 8, 16, 3).toZerkVersion();
        QCOMPARE(text, u"%1r8n16p03"_s.arg(majorPart));
        QVERIFY2(s3Version::fromZerkVersion(text).toZerkVersion() != text, qPrintable(text));
        // The dotted notation has no such limit.
        QCOMPARE(s3Version(u"%1.8.16.3"_s.arg(majorPart)).toString(), u"%1.8.16.3"_s.arg(majorPart));
    }
}

void TestVersion::texts_data()
{
    QTest::addColumn<s3Version>("version");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<qint32>>("numbers");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("default") << s3Version() << QString() << QList<qint32>{0, 0} << false;
    QTest::newRow("0, 0") << s3Version(0, 0, -1, -1) << QString() << QList<qint32>{0, 0} << false;
    QTest::newRow("0, 0, 0") << s3Version(0, 0, 0, -1) << u"0.0.0"_s << QList<qint32>{0, 0, 0} << true;
    QTest::newRow("0, 0, 0, 0") << s3Version(0, 0, 0, 0) << u"0.0.0.0"_s << QList<qint32>{0, 0, 0, 0} << true;
    QTest::newRow("0, 1") << s3Version(0, 1, -1, -1) << u"0.1"_s << QList<qint32>{0, 1} << true;
    QTest::newRow("negative major") << s3Version(-1, 5, 5, 5) << QString() << QList<qint32>{-1, 5, 5, 5}
                                    << false;
    QTest::newRow("patch without service")
        << s3Version(2017, 4, -1, 5) << u"2017.4"_s << QList<qint32>{2017, 4} << true;
    QTest::newRow("all") << s3Version(2101, 8, 16, 3) << u"2101.8.16.3"_s << QList<qint32>{2101, 8, 16, 3}
                         << true;
}

void TestVersion::texts()
{
    QFETCH(s3Version, version);
    QTEST(version.toString(), "text");
    QTEST(version.numberList(), "numbers");
    QTEST(version.isValid(), "isValid");
}

void TestVersion::order_data()
{
    QTest::addColumn<s3Version>("left");
    QTest::addColumn<s3Version>("right");
    QTest::addColumn<int>("expected"); // -1, 0, 1
    QTest::newRow("equal") << s3Version(2101, 8, 16, 3) << s3Version(2101, 8, 16, 3) << 0;
    QTest::newRow("major first") << s3Version(2100, 9, 99, 99) << s3Version(2101, 0, -1, -1) << -1;
    QTest::newRow("then minor") << s3Version(2101, 8, 0, -1) << s3Version(2101, 7, 99, 99) << 1;
    QTest::newRow("then service") << s3Version(2101, 8, 2, -1) << s3Version(2101, 8, 10, -1) << -1;
    QTest::newRow("then patch") << s3Version(2101, 8, 2, 9) << s3Version(2101, 8, 2, 10) << -1;
    QTest::newRow("without service is below service 0")
        << s3Version(2101, 8, -1, -1) << s3Version(2101, 8, 0, -1) << -1;
    QTest::newRow("patch 0 is above no patch") << s3Version(2101, 8, 2, 0) << s3Version(2101, 8, 2, -1) << 1;
    QTest::newRow("patch without service does not count")
        << s3Version(2017, 4, -1, 5) << s3Version(2017, 4, -1, -1) << 0;
    QTest::newRow("any negative service is none")
        << s3Version(2017, 4, -7, -1) << s3Version(2017, 4, -1, -1) << 0;
}

void TestVersion::order()
{
    QFETCH(s3Version, left);
    QFETCH(s3Version, right);
    QFETCH(int, expected);
    QCOMPARE(left == right, expected == 0);
    QCOMPARE(left >= right, expected >= 0);
    QCOMPARE(right >= left, expected <= 0);
    QCOMPARE(left < right, expected < 0);
}

void TestVersion::generations_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("is2100");
    QTest::addColumn<bool>("is2101r8n1");
    QTest::addColumn<bool>("is2200");
    QTest::newRow("empty") << QString() << false << false << false;
    QTest::newRow("2017r4n16p05") << u"2017r4n16p05"_s << false << false << false;
    QTest::newRow("2099r9n99p99") << u"2099r9n99p99"_s << false << false << false;
    QTest::newRow("2100r0") << u"2100r0"_s << true << false << false;
    QTest::newRow("2101r8, padded") << u"2101r8------"_s << true << false << false;
    QTest::newRow("2101r8n00p99") << u"2101r8n00p99"_s << true << false << false;
    QTest::newRow("2101r8n01") << u"2101r8n01"_s << true << true << false;
    QTest::newRow("2101r9") << u"2101r9"_s << true << true << false;
    QTest::newRow("2199r9n99p99") << u"2199r9n99p99"_s << true << true << false;
    QTest::newRow("2200r0") << u"2200r0"_s << true << true << true;
    QTest::newRow("2200") << u"2200"_s << true << true << true;
}

void TestVersion::generations()
{
    QFETCH(QString, version);
    QTEST(s3Version::isAtLeast2100(version), "is2100");
    QTEST(s3Version::isAtLeast2101r8n1(version), "is2101r8n1");
    QTEST(s3Version::isAtLeast2200(version), "is2200");
}

void TestVersion::clientVersion()
{
    QCOMPARE(s3ClientVersion(), u"5.5.0"_s);
    QCOMPARE(s3ClientIdentification(), u"5.5.0-------=----------------2"_s);
}

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_s3version.moc"
