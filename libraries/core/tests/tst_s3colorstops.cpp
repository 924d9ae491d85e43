#include "s3colorstops.h"

#include <QTest>

#include <limits>

class TestColorStops final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsEmptyOrWithOneStop();
    void positionsAreClampedAndNeverFall_data();
    void positionsAreClampedAndNeverFall();
    void invalidColorsAreIgnored();
    void indexOutOfRange();
    void flag();
    void equality();
};

void TestColorStops::startsEmptyOrWithOneStop()
{
    QCOMPARE(s3ColorStops().count(), 0);
    const s3ColorStops stops(QColor(Qt::red));
    QCOMPARE(stops.count(), 1);
    QCOMPARE(stops.colorAt(0), QColor(Qt::red));
    QCOMPARE(stops.positionAt(0), 0);
}

void TestColorStops::positionsAreClampedAndNeverFall_data()
{
    QTest::addColumn<QList<qint32>>("added");
    QTest::addColumn<QList<qint32>>("stored");
    using Positions = QList<qint32>;
    QTest::newRow("rising") << Positions{0, 40, 100} << Positions{0, 40, 100};
    QTest::newRow("first above 0") << Positions{30} << Positions{30};
    QTest::newRow("above 100") << Positions{150} << Positions{100};
    QTest::newRow("below 0") << Positions{-5} << Positions{0};
    QTest::newRow("below 0 after 40") << Positions{40, -5} << Positions{40, 40};
    QTest::newRow("falling") << Positions{60, 20, 70} << Positions{60, 60, 70};
    QTest::newRow("equal") << Positions{20, 20} << Positions{20, 20};
    QTest::newRow("extremes") << Positions{std::numeric_limits<qint32>::min(),
                                           std::numeric_limits<qint32>::max()}
                              << Positions{0, 100};
}

void TestColorStops::positionsAreClampedAndNeverFall()
{
    QFETCH(const QList<qint32>, added);
    QFETCH(const QList<qint32>, stored);
    s3ColorStops stops;
    for (const qint32 percent : added)
        stops.add(QColor(1, 2, 3), percent);
    QList<qint32> positions;
    for (qsizetype index = 0; index < stops.count(); ++index)
        positions += stops.positionAt(index);
    QCOMPARE(positions, stored);
}

void TestColorStops::invalidColorsAreIgnored()
{
    s3ColorStops stops(QColor(Qt::red));
    stops.add(QColor(), 50);
    stops.add(QColor(Qt::blue), 20);
    QCOMPARE(stops.count(), 2);
    QCOMPARE(stops.colorAt(1), QColor(Qt::blue));
    QCOMPARE(stops.positionAt(1), 20);
}

void TestColorStops::indexOutOfRange()
{
    const s3ColorStops none;
    QCOMPARE(none.positionAt(-1), 0);
    QCOMPARE(none.positionAt(0), 0);
    QCOMPARE(none.positionAt(5), 0);
    QVERIFY(!none.colorAt(0).isValid());

    s3ColorStops stops(QColor(Qt::red));
    stops.add(QColor(Qt::blue), 30);
    QCOMPARE(stops.positionAt(-1), 0);
    QCOMPARE(stops.positionAt(2), 100);
    QCOMPARE(stops.positionAt(1000), 100);
    QVERIFY(!stops.colorAt(-1).isValid());
    QVERIFY(!stops.colorAt(2).isValid());
}

void TestColorStops::flag()
{
    s3ColorStops stops(QColor(Qt::red));
    QVERIFY(!stops.flag());
    stops.setFlag();
    QVERIFY(stops.flag());
    stops.setFlag(false);
    QVERIFY(!stops.flag());
}

void TestColorStops::equality()
{
    s3ColorStops stops(QColor(Qt::red));
    QVERIFY(stops == s3ColorStops(QColor(Qt::red)));
    stops.setFlag();
    QVERIFY(stops != s3ColorStops(QColor(Qt::red)));
}

QTEST_APPLESS_MAIN(TestColorStops)
#include "tst_s3colorstops.moc"
