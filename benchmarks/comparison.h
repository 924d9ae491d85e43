#pragma once

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

// Two ways of doing the same, measured in turns in one process, so that the ratio does not depend on the
// machine or on what else it does. Each gets the best of several runs.
namespace comparison
{

// Keeps `value` and everything in memory from being optimised away.
template <class Value> inline void keep(const Value &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

// Makes the compiler read memory again.
inline void forget()
{
    asm volatile("" : : : "memory");
}

// The processor's time where the C library counts it (POSIX), the clock's elsewhere: on a machine that is
// busy with other things a run is interrupted, and what passes meanwhile is not its own.
template <class Work> double secondsOf(Work &work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Runs `ours` and `peer` by turns, prints one line and gives whether their ratio keeps to `limit`.
// `operations` is how many operations one run of each makes. `reset` runs before each of them, untimed.
template <class Ours, class Peer, class Reset = decltype([] {})>
[[nodiscard]] bool compare(const char *what, double operations, Ours &&ours, Peer &&peer, double limit,
                           Reset &&reset = {})
{
    constexpr int runs = 15;
    double oursBest = std::numeric_limits<double>::max();
    double peerBest = oursBest;
    for (int run = 0; run != runs; ++run) {
        reset();
        oursBest = std::min(oursBest, secondsOf(ours));
        reset();
        peerBest = std::min(peerBest, secondsOf(peer));
    }
    const double ratio = oursBest / peerBest;
    const bool kept = ratio <= limit;
    std::printf("%-58s %9.2f ns %9.2f ns  ratio %5.2f  limit %4.2f  %s\n", what, oursBest / operations * 1e9,
                peerBest / operations * 1e9, ratio, limit, kept ? "kept" : "EXCEEDED");
    return kept;
}

}
