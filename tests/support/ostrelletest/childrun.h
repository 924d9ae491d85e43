#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QProcess>
#include <QString>
#include <QStringList>

// What a suite's own program did when it was run once more, to look at something that ends a process or
// happens once in its life. The suite's main() looks for "--child" and runs the part that follows it.
struct ChildRun {
    bool ended = false; // by itself, not killed by the time limit, not crashed
    int exitCode = 0;
    QByteArray standardOutput;
    QByteArray standardError;
};

// Runs this program as `program --child part`, in `directory` unless that is empty, for `patience`
// milliseconds at most. Needs an application object.
inline ChildRun runChild(const QString &part, const QString &directory = QString(), int patience = 240000)
{
    QProcess process;
    if (!directory.isEmpty())
        process.setWorkingDirectory(directory);
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child"), part});
    ChildRun run;
    run.ended = process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit;
    run.exitCode = process.exitCode();
    run.standardOutput = process.readAllStandardOutput();
    run.standardError = process.readAllStandardError().replace("\r\n", "\n");
    return run;
}

// The exit code of a process that ended with -1, as its parent sees it.
inline bool isMinusOne(int exitCode)
{
    return exitCode == -1 || exitCode == 0xFF;
}

// The part that this process was started for, empty for an ordinary run.
inline QString childPart(int argc, char **argv)
{
    const bool isChild = argc > 2 && qstrcmp(argv[1], "--child") == 0;
    return isChild ? QString::fromLocal8Bit(argv[2]) : QString();
}
