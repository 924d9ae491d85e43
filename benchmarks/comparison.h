#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
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

template <class Work> double secondsOf(Work &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs `ours` and `peer` by turns, prints one line and gives whether their ratio keeps to `limit`.
// `operations` is how many operations one run of each makes. Work of a few nanoseconds is best cut into
// many `runs` that are each shorter than the scheduler's time slice.
template <class Ours, class Peer>
[[nodiscard]] bool compare(const char *what, double operations, Ours &&ours, Peer &&peer, double limit,
                           int runs = 15)
{
    double oursBest = std::numeric_limits<double>::max();
    double peerBest = oursBest;
    for (int run = 0; run != runs; ++run) {
        oursBest = std::min(oursBest, secondsOf(ours));
        peerBest = std::min(peerBest, secondsOf(peer));
    }
    const double ratio = oursBest / peerBest;
    const bool kept = ratio <= limit;
    std::printf("%-58s %9.2f ns %9.2f ns  ratio %5.2f  limit %4.2f  %s\n", what, oursBest / operations * 1e9,
                peerBest / operations * 1e9, ratio, limit, kept ? "kept" : "EXCEEDED");
    return kept;
}

}
