#include "error/systemcrashsteps.h"

#include "coreutil.h"
#include "erp/s3session.h"
#include "error/crashstate.h"
#include "error/crashsteps.h"
#include "error/crashturn.h"
#include "error/exceptioncodes.h"
#include "error/modulelists.h"
#include "error/s3exceptionhandlerwin.h"
#include "error/stacktrace.h"
#include "platform/crashdeadline.h"
#include "platform/fault.h"
#include "platform/faultcontext.h"
#include "platform/runguarded.h"
#include "platform/systemerror.h"
#include "protocol/callhistory.h"
#include "protocol/diagnosticreport.h"
#include "protocol/reportmemory.h"
#include "s3basicbox.h"
#include "s3operatingsystem.h"
#include "s3tempdir.h"
#include "s3translate.h"

#include <QCoreApplication>

#include <atomic>
#include <cstdlib>
#include <memory>

namespace
{

constexpr int failureExitCode = -1;

class SystemCrashSteps final : public s3CrashSteps
{
public:
    constexpr SystemCrashSteps() = default;

    void begin() override
    {
        s3CrashTurn::take();
        platform::startCrashDeadline(failureExitCode);
    }

    int captureContext(const s3FaultContext *context) override { return ::captureContext(context); }
    bool hasContext() override { return savedContext() != nullptr; }
    QString exceptionCodeName(quint32 code) override { return ::exceptionCodeName(code); }
    QString thrownTypeName(const platform::Fault &fault) override
    {
        return fault.thrownType != nullptr ? platform::typeName(*fault.thrownType) : QString();
    }
    QString faultMessage(quint32 code) override { return platform::faultMessage(code); }
    bool captureStackSummary(s3StackSummary &summary) override { return ::captureStackSummary(summary); }
    quint32 lastError() override { return platform::lastSystemError(); }
    QString lastErrorText(quint32 error) override
    {
        platform::setLastSystemError(error);
        return s3LastErrorText();
    }

    QString applicationFilePath() override { return QCoreApplication::applicationFilePath(); }
    bool isKnownModule(const QString &path, bool ownOnly) override { return ::isKnownModule(path, ownOnly); }
    QString foregroundWindowTitle() override { return platform::foregroundWindowTitle(); }
    QString translate(const QString &sourceText) override { return s3Translate(sourceText); }
    QString message(quint32 number) override { return s3Message(static_cast<qint32>(number)); }
    QString hostName() override { return s3SessionInstance()->hostName(); }
    QString operatingSystem() override { return s3OperatingSystem::shortName(); }
    bool memoryReport(QString &text) override { return s3MemoryReport(text); }
    QString versionText(const QString &module, const QString &key) override
    {
        return vs_query_info(module, key);
    }

    quint64 instructionPointer() override
    {
        const s3FaultContext *context = savedContext();
        return context != nullptr ? context->rip : 0;
    }
    QString registers() override { return reportRegisters(savedContext()); }
    qsizetype readMemory(quint64 address, std::array<uchar, 16> &bytes) override
    {
        return readMemoryGuarded(address, bytes.data(), static_cast<qsizetype>(bytes.size()));
    }
    QString frameWords() override { return reportFrameWords(s3FirstFrameAddress()); }

    void recordService(const QString &column1, const QString &column3, const QString &text) override
    {
        ::recordService(column1, column3, text);
    }
    void beep() override { s3BeepError(true); }

    void showBox(const QString &text) override
    {
        // A box that fails with an abort comes back as one more failure, which must end at some time.
        if (m_boxes++ > lastBox)
            return;
        // While the user reads, another thread that fails shows its box as well.
        s3CrashTurn::give();
        const bool stopsClock = platform::boxIsSeen();
        if (stopsClock)
            platform::pauseCrashDeadline();
        const bool isShown = s3RunGuarded([&] { s3BasicBox::fatal(text); });
        if (stopsClock)
            platform::resumeCrashDeadline();
        s3CrashTurn::take();
        if (!isShown)
            throw FailedBox();
    }

    void writeReport(bool withRegisters) override { writeDiagnosticReport(withRegisters); }

    void beginExit(int exitCode) override
    {
        s3CrashTurn::take();
        platform::startCrashDeadline(exitCode);
        platform::setCrashDeadlineExitCode(exitCode);
    }
    void quitApplication(int exitCode) override
    {
        if (QCoreApplication::instance() != nullptr)
            QCoreApplication::exit(exitCode);
    }
    void cleanUp() override
    {
        if (exitHook != nullptr)
            exitHook();
        else
            s3TempDirCleanup();
    }
    void destroyApplication() override
    {
        // Its memory is left alone: it may be a local variable of main, and the process ends anyway.
        if (QCoreApplication *application = QCoreApplication::instance())
            std::destroy_at(application);
    }
    void exit(int exitCode) override { std::exit(exitCode); }
    void exitAtOnce(int exitCode) override { std::_Exit(exitCode); }

private:
    struct FailedBox {
    };

    static constexpr int lastBox = 5;
    std::atomic<int> m_boxes = 0;

    bool runGuarded(void (*step)(void *), void *argument) override
    {
        return s3RunGuarded([step, argument] { step(argument); });
    }
};

// Neither made nor destroyed at run time: a lock around its making could be found locked by a thread that
// failed in there.
constinit SystemCrashSteps steps;

}

s3CrashSteps &systemCrashSteps()
{
    return steps;
}
