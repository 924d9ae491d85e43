#pragma once

#include "boxes.h"

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>

constexpr bool isWindows = OSTRELLE_WINDOWS != 0;
constexpr bool isSanitized = OSTRELLE_SANITIZED != 0;

// Limits of the crash path in milliseconds. The generous one is far beyond what a crash takes on a busy
// machine, so that a box and a record are never lost to it; the suite's patience is longer still.
constexpr int generousLimit = 240000;
constexpr int productLimit = 0;
constexpr int patience = 300000;

// What a failing process has, boxes that stand not counted.
constexpr std::chrono::milliseconds timeToBeGone{10000};

// One run of the crash program. Its boxes have a folder of their own, its record goes below `folder`, or
// below one that lives as long as this.
class Crash
{
public:
    explicit Crash(const QString &folder = QString());

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QProcess process;

    // Runs to the end and answers each box at once.
    void run(const QString &failure, int limit = generousLimit);

    // Runs with the first box standing until a second one is there as well.
    void runUntilTwoBoxes(const QString &failure);

    // Runs with the first box standing for that long before it is answered. Whether the program was still
    // there.
    [[nodiscard]] bool outlivesBox(const QString &failure, int limit, std::chrono::milliseconds time);

    // Runs without a display, so that nothing stops the clock: boxes are texts on standard error. Linux.
    void runWithoutDisplay(const QString &failure, int limit = generousLimit);

    // The parts of run(), for several programs at once: start(), poll() until it is false, finish().
    void start(const QString &failure, int limit);
    [[nodiscard]] bool poll();
    void finish();

    // Whether it ended with `code`, by itself and not by the generous limit.
    [[nodiscard]] bool endedWith(int code) const;

    // From just before the failure to the end that the suite saw, without the time for which a box stood.
    [[nodiscard]] std::chrono::milliseconds timeToEnd() const;

    // All that is known, for a row that fails.
    [[nodiscard]] QByteArray told() const;

    [[nodiscard]] QString reportFile() const;

    bool ended = false;
    // The program came as far as its failure, and what it wrote to standard output behind it.
    bool hasFailed = false;
    QByteArray standardOutput;
    QByteArray standardError;
    QStringList texts; // of its boxes

private:
    void startProgram(const QString &failure, int limit);
    void lookUntil(const std::function<bool()> &isEnough);
    void wait();
    void readOutput();

    QTemporaryDir m_own;
    QString m_folder;
    std::unique_ptr<Boxes> m_boxes;
    std::chrono::steady_clock::time_point m_failure;
    std::chrono::steady_clock::time_point m_end;
    std::chrono::milliseconds m_standing{0};
};

// The names of all ways to fail that the crash program knows.
[[nodiscard]] QStringList waysToFail();
