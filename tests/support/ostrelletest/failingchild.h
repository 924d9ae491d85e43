#pragma once

#include "ostrelletest/childrun.h"
#include "ostrelletest/filecontent.h"
#include "platform/crashdeadline.h"
#include "protocol/reportencoding.h"
#include "protocol/s3logfilestream.h"
#include "s3tempdir.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

// What is left of a suite's own program (childrun.h) that ended through the library's fatal exit.
struct FailedRun {
    ChildRun run;
    QString boxes; // the texts of its boxes, each behind "s3BasicBox::show(): "
    QString record; // its diagnostic report
};

// For the child, before it fails: boxes become lines of a log that needs no button, the report lies in the
// working directory, and a slow machine has the time for it. Works without an application object.
inline void prepareToFail()
{
    platform::setCrashDeadlineLimit(120000);
    s3LogFileStream::open(QStringLiteral("error"), QString(), QStringConverter::Utf8);
    glob_file_localSettingsDir = QDir::currentPath();
}

// Runs `part` in a directory of its own; the part calls prepareToFail().
inline FailedRun runFailingChild(const QString &part)
{
    const QTemporaryDir directory;
    FailedRun failed;
    failed.run = runChild(part, directory.path());
    failed.boxes = QString::fromUtf8(readFile(directory.filePath(QStringLiteral("log_error.txt"))));
    failed.record = fromReportEncoding(readFile(directory.filePath(QStringLiteral("errorReports/SYS.FEHL"))));
    return failed;
}
