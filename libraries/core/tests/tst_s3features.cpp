#include "s3features.h"
#include "s3testflags.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestFeatures final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordinaryRunHasEmptySets();
    void featureNamesAreCaseSensitive_data();
    void featureNamesAreCaseSensitive();
    void featuresInForce_data();
    void featuresInForce();
    void emptiedSetsAreEmpty();
    void flagsAreMembership_data();
    void flagsAreMembership();
    void entriesCountOnce();
    void accessorsGiveOneObject();
};

void TestFeatures::ordinaryRunHasEmptySets()
{
    QVERIFY(s3TestFlagsInstance()->isEmpty());
    QVERIFY(!s3TestFlagsInstance()->contains(55));
    QVERIFY(s3ExperimentalFeaturesInstance()->isEmpty());
    QVERIFY(!s3ExperimentalFeaturesInstance()->contains(u"forceFallbackDictionary"_s));
    // A set of things switched off: empty means that the fallback dictionary is in use.
    QVERIFY(s3DisabledFeaturesInstance()->isEmpty());
    QVERIFY(!s3DisabledFeaturesInstance()->contains(u"useFallbackDictionary"_s));
}

void TestFeatures::featureNamesAreCaseSensitive_data()
{
    QTest::addColumn<QString>("entered");
    QTest::addColumn<bool>("inForce");
    QTest::newRow("exact") << u"useFallbackDictionary"_s << true;
    QTest::newRow("upper case") << u"USEFALLBACKDICTIONARY"_s << false;
    QTest::newRow("lower case") << u"usefallbackdictionary"_s << false;
    QTest::newRow("blank behind") << u"useFallbackDictionary "_s << false;
    QTest::newRow("part") << u"useFallback"_s << false;
    QTest::newRow("longer") << u"useFallbackDictionaryX"_s << false;
    QTest::newRow("empty") << QString() << false;
}

void TestFeatures::featureNamesAreCaseSensitive()
{
    QFETCH(const QString, entered);
    s3Features features;
    features.insert(entered);
    QTEST(features.contains(u"useFallbackDictionary"_s), "inForce");
    QVERIFY(features.contains(entered));
    QVERIFY(!features.isEmpty());
}

void TestFeatures::featuresInForce_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("experimental");
    QTest::newRow("forceFallbackDictionary") << u"forceFallbackDictionary"_s << true;
    QTest::newRow("preferLocalFilesIfIsLocalInstall") << u"preferLocalFilesIfIsLocalInstall"_s << true;
    QTest::newRow("useFallbackDictionary") << u"useFallbackDictionary"_s << false;
}

// A name entered in one set says nothing in the other.
void TestFeatures::featuresInForce()
{
    QFETCH(const QString, name);
    QFETCH(const bool, experimental);
    s3Features *on = experimental ? static_cast<s3Features *>(s3ExperimentalFeaturesInstance())
                                  : s3DisabledFeaturesInstance();
    s3Features *other = experimental ? static_cast<s3Features *>(s3DisabledFeaturesInstance())
                                     : s3ExperimentalFeaturesInstance();
    on->insert(name);
    const bool found = on->contains(name);
    const bool foundInOther = other->contains(name);
    on->remove(name);
    QVERIFY(found);
    QVERIFY(!foundInOther);
    QVERIFY(!on->contains(name));
    QVERIFY(on->isEmpty());
}

// Without entries there is no membership, whether the storage was never made, was left or was freed.
void TestFeatures::emptiedSetsAreEmpty()
{
    s3TestFlags flags;
    QVERIFY(flags.isEmpty());
    QVERIFY(!flags.contains(0));
    flags.insert(0);
    flags.remove(0);
    QVERIFY(flags.isEmpty());
    QVERIFY(!flags.contains(0));
    flags.insert(0);
    flags.clear();
    QVERIFY(flags.isEmpty());
    QVERIFY(!flags.contains(0));

    s3Features features;
    QVERIFY(features.isEmpty());
    QVERIFY(!features.contains(QString()));
    features.insert(u"a"_s);
    features.remove(u"a"_s);
    QVERIFY(features.isEmpty());
    QVERIFY(!features.contains(u"a"_s));
    features.insert(u"a"_s);
    features.clear();
    QVERIFY(features.isEmpty());
    QVERIFY(!features.contains(u"a"_s));
}

void TestFeatures::flagsAreMembership_data()
{
    QTest::addColumn<qint32>("flag");
    for (const qint32 flag :
         {0, 1, -1, 55, 460, std::numeric_limits<qint32>::max(), std::numeric_limits<qint32>::min()})
        QTest::addRow("%d", flag) << flag;
}

void TestFeatures::flagsAreMembership()
{
    QFETCH(const qint32, flag);
    s3TestFlags flags;
    flags.insert(7);
    QVERIFY(!flags.contains(flag));
    flags.insert(flag);
    QVERIFY(flags.contains(flag));
    QVERIFY(flags.contains(7));
    QVERIFY(!flags.contains(flag ^ 2));
    flags.remove(flag);
    QVERIFY(!flags.contains(flag));
    QVERIFY(flags.contains(7));
}

void TestFeatures::entriesCountOnce()
{
    s3TestFlags flags;
    flags.insert(55);
    flags.insert(55);
    flags.remove(55);
    QVERIFY(!flags.contains(55));
    flags.remove(55);
    QVERIFY(flags.isEmpty());
}

void TestFeatures::accessorsGiveOneObject()
{
    QVERIFY(s3TestFlagsInstance() == s3TestFlagsInstance());
    QVERIFY(s3ExperimentalFeaturesInstance() == s3ExperimentalFeaturesInstance());
    QVERIFY(s3DisabledFeaturesInstance() == s3DisabledFeaturesInstance());
    QVERIFY(static_cast<s3Features *>(s3ExperimentalFeaturesInstance())
            != static_cast<s3Features *>(s3DisabledFeaturesInstance()));
}

QTEST_APPLESS_MAIN(TestFeatures)
#include "tst_s3features.moc"
