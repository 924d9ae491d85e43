#pragma once

#include <QString>
#include <QtGlobal>

#include <array>
#include <type_traits>

namespace platform
{
struct Fault;
}
struct s3FaultContext;
struct s3StackSummary;

// What the crash path asks and does, apart from its decisions (error/crashpath.h). Any of it may fail; the
// caller runs each under guarded().
class s3CrashSteps
{
public:
    // Runs `step` under the catch-all that takes machine faults too; whether it ran to its end.
    template <class Step> [[nodiscard]] bool guarded(Step &&step)
    {
        return runGuarded([](void *argument) { (*static_cast<std::remove_reference_t<Step> *>(argument))(); },
                          &step);
    }

    // Takes the turn among failing threads and starts the limit of time; nothing for the thread that has
    // the turn already.
    virtual void begin() = 0;

    // The failure.
    virtual int captureContext(const s3FaultContext *context) = 0;
    virtual bool hasContext() = 0;
    virtual QString exceptionCodeName(quint32 code) = 0;
    virtual QString thrownTypeName(const platform::Fault &fault) = 0;
    virtual QString faultMessage(quint32 code) = 0;
    virtual bool captureStackSummary(s3StackSummary &summary) = 0;
    virtual quint32 lastError() = 0;
    virtual QString lastErrorText(quint32 error) = 0;

    // The program and its surroundings.
    virtual QString applicationFilePath() = 0;
    virtual bool isKnownModule(const QString &path, bool ownOnly) = 0;
    virtual QString foregroundWindowTitle() = 0;
    virtual QString translate(const QString &sourceText) = 0;
    virtual QString message(quint32 number) = 0;
    virtual QString hostName() = 0;
    virtual QString operatingSystem() = 0;
    virtual bool memoryReport(QString &text) = 0;
    virtual QString versionText(const QString &module, const QString &key) = 0;

    // Registers and memory of the saved context. readMemory gives the number of bytes that could be read.
    virtual quint64 instructionPointer() = 0;
    virtual QString registers() = 0;
    virtual qsizetype readMemory(quint64 address, std::array<uchar, 16> &bytes) = 0;
    virtual QString frameWords() = 0;

    // What is done about it.
    virtual void recordService(const QString &column1, const QString &column3, const QString &text) = 0;
    virtual void beep() = 0;
    virtual void showBox(const QString &text) = 0;
    virtual void writeReport(bool withRegisters) = 0;

    // The end. None of the last two returns in a process; in a test they do.
    virtual void beginExit(int exitCode) = 0; // keeps the turn for good
    virtual void quitApplication(int exitCode) = 0;
    virtual void cleanUp() = 0;
    virtual void destroyApplication() = 0;
    virtual void exit(int exitCode) = 0;
    virtual void exitAtOnce(int exitCode) = 0;

protected:
    constexpr s3CrashSteps() = default;
    ~s3CrashSteps() = default;
    Q_DISABLE_COPY_MOVE(s3CrashSteps)

    virtual bool runGuarded(void (*step)(void *), void *argument) = 0;
};
