#include "s3features.h"
#include "s3testflags.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestFeatures final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordinaryRunHasEmptySets();
    void featureNamesAreCaseSensitive();
    void flagsAreMembership();
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

void TestFeatures::featureNamesAreCaseSensitive()
{
    s3Features features;
    features.insert(u"USEFALLBACKDICTIONARY"_s);
    QVERIFY(!features.contains(u"useFallbackDictionary"_s));
    QVERIFY(features.contains(u"USEFALLBACKDICTIONARY"_s));
    features.remove(u"USEFALLBACKDICTIONARY"_s);
    QVERIFY(features.isEmpty());
    features.insert(u"a"_s);
    features.clear();
    QVERIFY(!features.contains(u"a"_s));
}

void TestFeatures::flagsAreMembership()
{
    s3TestFlags flags;
    flags.insert(0);
    flags.insert(-1);
    flags.insert(460);
    QVERIFY(flags.contains(0));
    QVERIFY(flags.contains(-1));
    QVERIFY(flags.contains(460));
    QVERIFY(!flags.contains(461));
    flags.remove(460);
    QVERIFY(!flags.contains(460));
    flags.clear();
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
