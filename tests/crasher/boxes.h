#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>

// The boxes of a program that runs as a child, as its user sees them.
class Boxes
{
public:
    // The boxes of a program that will be started with `environment`, which is completed. `folder` is theirs
    // alone.
    [[nodiscard]] static std::unique_ptr<Boxes> make(const QString &folder, QProcessEnvironment &environment);
    virtual ~Boxes() = default;

    // The texts of all boxes so far that could be read in full, in the order in which they came up.
    [[nodiscard]] virtual QStringList texts(const QProcess &program) = 0;

    // For how long a box has stood so far; never more than it was.
    [[nodiscard]] virtual std::chrono::milliseconds standing() const = 0;

    // Answers the boxes that stand, and those that come up later as soon as this is called again.
    virtual void answer(const QProcess &program) = 0;
};

// What this platform shows a parent of a process that the system ended for a fault.
[[nodiscard]] bool endedBySystem(const QProcess &program);
