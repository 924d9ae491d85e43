#pragma once

#include <QString>
#include <QStringList>

// What one run of a program took.
struct ChildUsage {
    int exitCode = -1;
    double milliseconds = 0; // from before its start until its end was seen
    qint64 peakBytes = 0; // the most memory it had resident
};

// Runs `program` with `arguments` in this process's environment and waits for it. A program that cannot be
// started has the exit code -1 and no time.
[[nodiscard]] ChildUsage runChild(const QString &program, const QStringList &arguments);
