#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <vector>

// Two ways of doing the same thing, measured side by side in one process. Absolute times say little on a
// machine that others use as well; the ratio of two medians of runs that took turns says enough.
//
//     RatioReport report;
//     report.compare("toLf", [&] { keepResult(ours()); }, [&] { keepResult(plainQt()); }, {.bound = 1.0});
//     return report.exitCode();

// Makes the compiler believe that `value` is looked at.
template <class Value> inline void keepResult(const Value &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

// What a run is measured with. Processor time leaves out what other programs take, and so compares a short
// run with a long one on a busy machine; it is for work of one thread that waits for nothing. (On Windows
// it is wall time all the same.)
enum class RatioClock { Wall, Processor };

struct RatioOptions {
    // The ratio must not exceed this; 0 for no bound.
    double bound = 0;
    // How often each of the two runs is measured.
    int runs = 5;
    // Whether one more run of each comes first; a run of many seconds needs no warming up.
    bool warmUp = true;
    RatioClock clock = RatioClock::Wall;
    // Called behind each run, outside of its time: for what a run leaves behind.
    std::function<void()> reset = [] {
    };
};

class RatioReport
{
public:
    // Measures `ours` against `peer`, prints a line "name: ours ms, peer ms, ratio" and gives the ratio.
    // Who goes first changes from turn to turn.
    template <class Ours, class Peer>
    double compare(const char *name, Ours &&ours, Peer &&peer, const RatioOptions &options = {})
    {
        const auto measured = [&options](auto &task) {
            const double time = milliseconds(task, options.clock);
            options.reset();
            return time;
        };
        if (options.warmUp) {
            measured(ours);
            measured(peer);
        }
        std::vector<double> ourTimes;
        std::vector<double> peerTimes;
        for (int run = 0; run < options.runs; ++run) {
            if (run % 2 == 0) {
                ourTimes.push_back(measured(ours));
                peerTimes.push_back(measured(peer));
            } else {
                peerTimes.push_back(measured(peer));
                ourTimes.push_back(measured(ours));
            }
        }
        return report(name, median(std::move(ourTimes)), median(std::move(peerTimes)), options.bound);
    }

    // Prints and judges two times in milliseconds that were measured elsewhere.
    double report(const char *name, double ours, double peer, double bound = 0)
    {
        const double ratio = ours / peer;
        const bool exceeded = bound > 0 && ratio > bound;
        m_exceeded = m_exceeded || exceeded;
        std::printf("%-52s %10.2f ms %10.2f ms   ratio %6.3f", name, ours, peer, ratio);
        if (bound > 0)
            std::printf("   bound %.2f %s", bound, exceeded ? "EXCEEDED" : "kept");
        std::printf("\n");
        std::fflush(stdout);
        return ratio;
    }

    // The median of `runs` measured runs of `task` in milliseconds, for tables without a peer.
    template <class Task> static double medianTime(Task &&task, int runs = 5)
    {
        task();
        std::vector<double> times;
        for (int run = 0; run < runs; ++run)
            times.push_back(milliseconds(task, RatioClock::Wall));
        return median(std::move(times));
    }

    // For main: failure when any bound was exceeded.
    [[nodiscard]] int exitCode() const { return m_exceeded ? EXIT_FAILURE : EXIT_SUCCESS; }

private:
    template <class Task> static double milliseconds(Task &task, RatioClock clock)
    {
        static constexpr double second = 1000;
        const std::clock_t processorStart = std::clock();
        const auto start = std::chrono::steady_clock::now();
        task();
        if (clock == RatioClock::Processor)
            return double(std::clock() - processorStart) * second / CLOCKS_PER_SEC;
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }

    static double median(std::vector<double> times)
    {
        std::sort(times.begin(), times.end());
        const size_t middle = times.size() / 2;
        return times.size() % 2 != 0 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
    }

    bool m_exceeded = false;
};
