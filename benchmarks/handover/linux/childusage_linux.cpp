#include "childusage.h"

#include <QFile>

#include <chrono>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

ChildUsage runChild(const QString &program, const QStringList &arguments)
{
    std::vector<QByteArray> texts = {QFile::encodeName(program)};
    for (const QString &argument : arguments)
        texts.push_back(QFile::encodeName(argument));
    std::vector<char *> argv;
    for (QByteArray &text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);

    ChildUsage usage;
    pid_t child = 0;
    const auto start = std::chrono::steady_clock::now();
    if (posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return usage;
    int status = 0;
    rusage resources = {};
    if (wait4(child, &status, 0, &resources) != child || !WIFEXITED(status))
        return usage;
    usage.milliseconds
        = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    usage.exitCode = WEXITSTATUS(status);
    usage.peakBytes = qint64(resources.ru_maxrss) * 1024;
    return usage;
}
