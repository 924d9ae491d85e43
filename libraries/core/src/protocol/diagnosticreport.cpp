#include "protocol/diagnosticreport.h"

#include "error/crashstate.h"
#include "error/s3exceptionhandlerwin.h"
#include "error/stacktrace.h"
#include "lasting.h"
#include "platform/faultcontext.h"
#include "platform/graphics.h"
#include "platform/modules.h"
#include "platform/runguarded.h"
#include "protocol/callhistory.h"
#include "protocol/reportdelivery.h"
#include "protocol/reportencoding.h"
#include "protocol/reportfilename.h"
#include "protocol/reportmemory.h"
#include "protocol/reportsections.h"
#include "s3operatingsystem.h"

#include <QCoreApplication>
#include <QTemporaryFile>

#include <stdexcept>

using namespace Qt::StringLiterals;

constinit ReportHook reportHook = nullptr;

namespace
{

// A failure that keeps coming back in the report must end at some time.
constexpr int lastEntry = 5;

constexpr std::chrono::milliseconds defaultLockWait{2000};

constinit s3Lasting<QStringList> reportedArguments;
constinit std::chrono::milliseconds lockWait = defaultLockWait;

QStringList argumentsToReport()
{
    if (!reportedArguments.object.isEmpty() || QCoreApplication::instance() == nullptr)
        return reportedArguments.object;
    return QCoreApplication::arguments();
}

// Adds one part that reads what a failure may have broken, or nothing when that faults.
template <class Part> void appendGuarded(QString &text, Part &&part)
{
    QString result;
    if (s3RunGuarded([&] { result = part(); }))
        text += result;
}

QStringList loadedModules()
{
    QStringList paths;
    if (!s3RunGuarded([&] { paths = platform::loadedModules(); }))
        paths.clear();
    return paths;
}

QString reportText(bool withRegisters)
{
    QString text = reportHead(QDateTime::currentDateTime());
    text += reportVersions();
    text += reportArguments(argumentsToReport());
    text += reportDirectory();
    text += reportOperatingSystem(s3OperatingSystem::description(), s3OperatingSystem::hardwareIdentifier(),
                                  s3OperatingSystem::edition());
    text += reportMemoryUsage();
    text += u'\n';
    text += reportGpus(platform::gpuList());
    text += u'\n';
    text += reportEnvironment();
    text += reportServer();
    text += reportIdentity();
    text += errorText + u'\n';
    text += reportHistory(callHistory());
    if (const QStringList calls = secondCallHistory(); !calls.isEmpty())
        text += reportHistory(calls);
    text += u"ActiveWindow = %1\n"_s.arg(activeWindowTitle);
    if (reportHook != nullptr)
        text += reportHook();
    text += reportModules(loadedModules());
    if (withRegisters) {
        const s3FaultContext *context = s3SavedContext();
        appendGuarded(text, [context] { return reportRegisters(context); });
        appendGuarded(text, [context] { return reportMemory(context); });
        appendGuarded(text, [] { return reportFrameWords(s3FirstFrameAddress()); });
        text += u'\n';
    }
    return text;
}

}

void writeDiagnosticReport(bool withRegisters)
{
    if (reportEntries++ > lastEntry)
        exitProgram(-1);
    const QByteArray text = toReportEncoding(reportText(withRegisters));
    QTemporaryFile record;
    if (!record.open())
        return;
    record.write(text);
    record.flush();
    const bool isTraced = s3RunGuarded([&] { writeStackTrace(record); });
    record.close();
    if (record.open())
        deliverReport(record.readAll(), reportFileName(true), lockWait);
    if (!isTraced)
        throw std::runtime_error("the stack trace of the diagnostic report faulted");
}

void setReportArguments(const QStringList &arguments)
{
    reportedArguments.object = arguments;
    startCallHistoryClock();
}

void setReportLockWait(std::chrono::milliseconds wait)
{
    lockWait = wait;
}
