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

}

// crasher NAME DIRECTORY LIMIT LIBRARY: fails in the way called NAME. The record goes below DIRECTORY, which
// is also where the suite's boxes stand; LIMIT is the time of the crash path in milliseconds, 0 for that of
// the product.
int main(int argc, char **argv)
{
    platform::prepareDisplay();
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 5)
        return 98;
    prepareProcess();
    glob_file_localSettingsDir = arguments[2];
    boxFolder = QFile::encodeName(arguments[2]);
    foreignLibrary = QFile::encodeName(arguments[4]);
    setReportLockWait(std::chrono::minutes(2)); // of a slow machine, for many at once
    if (const int limit = arguments[3].toInt(); limit > 0)
        platform::setCrashDeadlineLimit(limit);
    for (const QList<Failure> *failures : {&commonFailures(), &platformFailures()}) {
        for (const Failure &failure : *failures) {
            if (arguments[1] == QLatin1StringView(failure.name))
                failure.fail();
        }
    }
    std::puts("still here");
    return 0;
}
