#include "s3numberformat.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestNumberFormat final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void members();
    void isPresent_data();
    void isPresent();
    void byFlags_data();
    void byFlags();
    void effectiveGroupSeparator_data();
    void effectiveGroupSeparator();
    void toString();

private:
    const s3NumberFormat m_format{u"1"_s, u"2"_s, u"3"_s, u"4"_s};
};

void TestNumberFormat::members()
{
    QCOMPARE(m_format.decimalPoint(), u"1"_s);
    QCOMPARE(m_format.groupSeparator(), u"2"_s);
    QCOMPARE(m_format.alternativeDecimalPoint(), u"3"_s);
    QCOMPARE(m_format.alternativeGroupSeparator(), u"4"_s);
    QVERIFY(m_format == s3NumberFormat(u"1"_s, u"2"_s, u"3"_s, u"4"_s));
    QVERIFY(m_format != s3NumberFormat(u"1"_s, u"2"_s, u"3"_s, u"x"_s));
    QVERIFY(s3NumberFormat() == s3NumberFormat(QString(), QString(), QString(), QString()));
}

void TestNumberFormat::isPresent_data()
{
    QTest::addColumn<QString>("decimalPoint");
    QTest::addColumn<QString>("alternativeDecimalPoint");
    QTest::addColumn<bool>("present");
    QTest::newRow("both") << u"."_s << u","_s << true;
    QTest::newRow("first alone") << u"."_s << QString() << false;
    QTest::newRow("third alone") << QString() << u","_s << false;
    QTest::newRow("none") << QString() << QString() << false;
}

void TestNumberFormat::isPresent()
{
    QFETCH(const QString, decimalPoint);
    QFETCH(const QString, alternativeDecimalPoint);
    QTEST(s3NumberFormat(decimalPoint, QString(), alternativeDecimalPoint, QString()).isPresent(), "present");
    QTEST(s3NumberFormat(decimalPoint, u"x"_s, alternativeDecimalPoint, u"x"_s).isPresent(), "present");
}

void TestNumberFormat::byFlags_data()
{
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<QString>("decimalPoint");
    QTest::addColumn<QString>("groupSeparator");
    QTest::newRow("nothing") << 0U << QString() << QString();
    QTest::newRow("integer") << 1U << QString() << u"2"_s;
    QTest::newRow("integer, language-independent") << 17U << QString() << QString();
    QTest::newRow("integer, decimal point of the language") << 33U << QString() << u"2"_s;
    QTest::newRow("real") << 2U << u"1"_s << u"2"_s;
    QTest::newRow("real, language-independent") << 18U << u"."_s << QString();
    QTest::newRow("real, language-independent first") << 114U << u"."_s << QString();
    QTest::newRow("real, decimal point of the language") << 34U << u"3"_s << QString();
    QTest::newRow("real, groups of the language") << 98U << u"3"_s << u"4"_s;
    QTest::newRow("real, groups without the decimal point") << 66U << u"1"_s << u"2"_s;
    QTest::newRow("both kinds") << 3U << u"1"_s << u"2"_s;
    QTest::newRow("other") << 4U << QString() << QString();
    QTest::newRow("other, language") << 100U << QString() << QString();
}

void TestNumberFormat::byFlags()
{
    QFETCH(const quint32, flags);
    QTEST(m_format.decimalPoint(flags), "decimalPoint");
    QTEST(m_format.groupSeparator(flags), "groupSeparator");
}

void TestNumberFormat::effectiveGroupSeparator_data()
{
    QTest::addColumn<s3NumberFormat>("format");
    QTest::addColumn<QString>("separator");
    const QString none;
    QTest::newRow("same decimal points") << s3NumberFormat(u","_s, u"2"_s, u","_s, u"4"_s) << u"4"_s;
    QTest::newRow("same decimal points, no alternative")
        << s3NumberFormat(u"."_s, none, u"."_s, none) << none;
    QTest::newRow("all empty") << s3NumberFormat() << none;
    QTest::newRow("C decimal point, no groups") << s3NumberFormat(u"."_s, none, u","_s, u"4"_s) << u","_s;
    QTest::newRow("C decimal point, groups") << s3NumberFormat(u"."_s, u"2"_s, u","_s, u"4"_s) << u"2"_s;
    QTest::newRow("other decimal point, no groups") << s3NumberFormat(u","_s, none, u"."_s, u"4"_s) << none;
    QTest::newRow("other decimal point, groups") << s3NumberFormat(u","_s, u"2"_s, u"."_s, u"4"_s) << u"2"_s;
}

void TestNumberFormat::effectiveGroupSeparator()
{
    QFETCH(const s3NumberFormat, format);
    QTEST(format.effectiveGroupSeparator(), "separator");
}

void TestNumberFormat::toString()
{
    QCOMPARE(m_format.toString(), u"{\"1\", \"2\", \"3\", \"4\"}"_s);
    QCOMPARE(s3NumberFormat().toString(), u"{\"\", \"\", \"\", \"\"}"_s);
    // Placeholders in the texts are text.
    QCOMPARE(s3NumberFormat(u"%2"_s, u"%1"_s, u"%4"_s, u"%3"_s).toString(),
             u"{\"%2\", \"%1\", \"%4\", \"%3\"}"_s);
}

QTEST_APPLESS_MAIN(TestNumberFormat)
#include "tst_s3numberformat.moc"
