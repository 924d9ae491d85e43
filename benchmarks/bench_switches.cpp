// What a test of a switch costs while its set is empty, as it always is in an ordinary run.

#include "comparison.h"
#include "s3features.h"
#include "s3testflags.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int tests = 500'000;
constexpr int runs = 501;

template <class Test> int countHolding(Test test)
{
    int holding = 0;
    for (int i = 0; i != tests; ++i) {
        comparison::forget();
        holding += test() ? 1 : 0;
    }
    comparison::keep(holding);
    return holding;
}

// The floor: one load and one compare.
struct Floor {
    const void *storage = nullptr;
};

}

int main()
{
    const s3TestFlags flags;
    const s3Features features;
    const QString name = u"useFallbackDictionary"_s;
    const Floor floor;
    const Floor *const floorPointer = &floor;
    comparison::keep(flags);
    comparison::keep(features);
    comparison::keep(floor);
    const auto loadAndCompare = [&] {
        countHolding([&] { return floorPointer->storage != nullptr; });
    };

    bool kept = comparison::compare(
        "flag of an empty set / one load and compare", tests,
        [&] { countHolding([&] { return flags.contains(334); }); }, loadAndCompare, 1.2, runs);
    kept &= comparison::compare(
        "feature of an empty set / one load and compare", tests,
        [&] { countHolding([&] { return features.contains(name); }); }, loadAndCompare, 1.2, runs);

    // A trace site also reads the pointer of the singleton, twice one load and compare.
    static const Floor *floorSingleton = &floor;
    comparison::keep(floorSingleton);
    kept &= comparison::compare(
        "flag by its accessor / two loads and compares", tests,
        [&] { countHolding([] { return s3TestFlagsInstance()->contains(334); }); },
        [&] { countHolding([] { return floorSingleton != nullptr && floorSingleton->storage != nullptr; }); },
        1.2, runs);
    return kept ? 0 : 1;
}
