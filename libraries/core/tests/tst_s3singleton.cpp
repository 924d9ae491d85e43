#include "s3singleton.h"

#include "s3features.h"
#include "s3testflags.h"
#include "s3whitelabel.h"
#include "test/s3testausproxy.h"

#include <QTest>

#include <type_traits>

namespace
{

class Counted final : public s3Singleton<Counted>
{
public:
    Counted() { ++constructed; }
    ~Counted() override { ++destroyed; }
    Q_DISABLE_COPY_MOVE(Counted)

    int value = 0;

    static inline int constructed = 0;
    static inline int destroyed = 0;
};

class Other final : public s3Singleton<Other>
{
};

template <class T> constexpr bool isSingleton = std::is_base_of_v<s3Singleton<T>, T>;

static_assert(
    isSingleton<
        s3WhiteLabel> && isSingleton<s3TestFlagsGUI> && isSingleton<s3DisabledFeatures> && isSingleton<s3ExperimentalFeatures> && isSingleton<s3TestausProxy>);
static_assert(std::is_base_of_v<s3TestFlags, s3TestFlagsGUI>);
static_assert(std::is_base_of_v<s3Features,
                                s3DisabledFeatures> && std::is_base_of_v<s3Features, s3ExperimentalFeatures>);
static_assert(std::has_virtual_destructor_v<s3Singleton<Counted>>);
// The virtual table is all that the pattern adds to its object.
static_assert(sizeof(s3Singleton<Other>) == sizeof(void *));

}

class TestSingleton final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstCallMakesTheObject();
    void eachTypeHasItsOwn();
};

void TestSingleton::firstCallMakesTheObject()
{
    QCOMPARE(Counted::constructed, 0);
    Counted *object = Counted::singletonInstance();
    QVERIFY(object != nullptr);
    QCOMPARE(Counted::constructed, 1);
    object->value = 7;
    QVERIFY(Counted::singletonInstance() == object);
    QCOMPARE(Counted::singletonInstance()->value, 7);
    QCOMPARE(Counted::constructed, 1);
    QCOMPARE(Counted::destroyed, 0);
}

void TestSingleton::eachTypeHasItsOwn()
{
    QVERIFY(static_cast<void *>(Counted::singletonInstance())
            != static_cast<void *>(Other::singletonInstance()));
    QVERIFY(s3TestFlagsInstance() == s3TestFlagsGUI::singletonInstance());
    QVERIFY(s3DisabledFeaturesInstance() == s3DisabledFeatures::singletonInstance());
    QVERIFY(s3ExperimentalFeaturesInstance() == s3ExperimentalFeatures::singletonInstance());
    QVERIFY(s3WhiteLabelInstance() == s3WhiteLabel::singletonInstance());
}

QTEST_APPLESS_MAIN(TestSingleton)
#include "tst_s3singleton.moc"
