#include "failures.h"

#include "platform/crashdeadline.h"
#include "platform/display.h"
#include "protocol/diagnosticreport.h"
#include "s3tempdir.h"
#include "s3testflags.h"

#include <QApplication>
#include <QFile>

#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{

// Stands in front of all other objects, so that the flag is on when the handlers are installed.
struct EarlyFlags {
    EarlyFlags()
    {
        if (std::getenv("CRASHER_FLAG_191") != nullptr)
            s3TestFlagsInstance()->insert(191);
    }
};
[[gnu::init_priority(101)]] const EarlyFlags earlyFlags;

QList<Failure> allFailures()
{
    return commonFailures() + hangs() + platformFailures();
}

}

// crasher NAME DIRECTORY LIMIT LIBRARY: fails in the way called NAME. The record goes below DIRECTORY; LIMIT
// is the time of the crash path in milliseconds, 0 for all limits of the product; LIBRARY is the foreign one.
// crasher names: tells the names.
int main(int argc, char **argv)
{
    platform::prepareDisplay();
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 2 && arguments[1] == "names"_L1) {
        for (const Failure &failure : allFailures())
            std::puts(failure.name);
        return 0;
    }
    if (arguments.size() != 5)
        return 98;
    prepareProcess();
    glob_file_localSettingsDir = arguments[2];
    foreignLibrary = QFile::encodeName(arguments[4]);
    if (const int limit = arguments[3].toInt(); limit > 0) {
        platform::setCrashDeadlineLimit(limit);
        setReportLockWait(std::chrono::minutes(2)); // of a slow machine, for many at once
    }
    for (const Failure &failure : allFailures()) {
        if (arguments[1] != QLatin1StringView(failure.name))
            continue;
        std::printf("fails at %lld\n",
                    static_cast<long long>(std::chrono::steady_clock::now().time_since_epoch().count()));
        std::fflush(stdout);
        failure.fail();
    }
    std::puts("still here");
    return 0;
}
