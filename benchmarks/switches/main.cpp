// What a test of a switch costs while its set is empty, as it always is in an ordinary run.

#include "ratio.h"
#include "s3features.h"
#include "s3testflags.h"

using namespace Qt::StringLiterals;

namespace
{

// One run is shorter than the scheduler's time slice, so that on a busy machine most runs are undisturbed.
constexpr int tests = 500'000;
constexpr int runs = 501;

template <class Test> int countHolding(Test test)
{
    int holding = 0;
    for (int i = 0; i != tests; ++i) {
        asm volatile("" : : : "memory");
        holding += test() ? 1 : 0;
    }
    keepResult(holding);
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
    keepResult(flags);
    keepResult(features);
    keepResult(floor);
    const auto loadAndCompare = [&] {
        countHolding([floorPointer] { return floorPointer->storage != nullptr; });
    };

    RatioReport report;
    report.compare("flag of an empty set / one load and compare",
                   [&] { countHolding([set = &flags] { return set->contains(334); }); }, loadAndCompare,
                   {.bound = 1.2, .runs = runs});
    report.compare("feature of an empty set / one load and compare",
                   [&] { countHolding([set = &features, &name] { return set->contains(name); }); },
                   loadAndCompare, {.bound = 1.2, .runs = runs});

    // A trace site also reads the pointer of the singleton, twice one load and compare. Both loops have these
    // instructions; how they lie in memory is worth a quarter.
    static const Floor *floorSingleton = &floor;
    keepResult(floorSingleton);
    report.compare(
        "flag by its accessor / two loads and compares",
        [&] { countHolding([] { return s3TestFlagsInstance()->contains(334); }); },
        [&] { countHolding([] { return floorSingleton != nullptr && floorSingleton->storage != nullptr; }); },
        {.bound = 1.5, .runs = runs});
    return report.exitCode();
}
