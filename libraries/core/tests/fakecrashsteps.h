#pragma once

#include "error/crashsteps.h"
#include "error/stacktrace.h"
#include "platform/fault.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <stdexcept>
#include <utility>

// Steps of a crash path that only write down what is done, and can be told to fail.
class FakeCrashSteps final : public s3CrashSteps
{
public:
    FakeCrashSteps() = default;
    ~FakeCrashSteps() = default;
    Q_DISABLE_COPY_MOVE(FakeCrashSteps)

    QSet<QString> failing; // by name
    QStringList calls; // what was asked and done, in order, each with its argument if it has one
    QStringList boxes;

    s3StackSummary summary;
    bool hasSummary = true;
    bool isContextSaved = false;
    QSet<QString> ownModules;
    QHash<quint32, QString> names;
    QHash<quint32, QString> messages;
    QString typeName;
    quint32 error = 0;
    QString title;
    QString programPath = QStringLiteral("/opt/ostrelle");
    QString memory;
    bool hasMemory = true;
    qsizetype readableBytes = 1000;
    quint64 rip = 0x401000;
    // Called once each, while a box stands and while the failure is recorded.
    void (*duringBox)(FakeCrashSteps &steps) = nullptr;
    void (*duringRecord)(FakeCrashSteps &steps) = nullptr;

    // The deeds alone.
    [[nodiscard]] QStringList deeds() const
    {
        QStringList result;
        for (const QString &call : calls) {
            if (call[0].isUpper())
                result += call;
        }
        return result;
    }

    void begin() override { ask("begin"); }
    int captureContext(const s3FaultContext *context) override
    {
        ask("captureContext");
        isContextSaved = context != nullptr;
        return 1;
    }
    bool hasContext() override
    {
        ask("hasContext");
        return isContextSaved;
    }
    QString exceptionCodeName(quint32 code) override
    {
        ask("exceptionCodeName");
        return names.value(code);
    }
    QString thrownTypeName(const platform::Fault &) override
    {
        ask("thrownTypeName");
        return typeName;
    }
    QString faultMessage(quint32 code) override
    {
        ask("faultMessage");
        return messages.value(code);
    }
    bool captureStackSummary(s3StackSummary &result) override
    {
        result = summary; // filled, even if it fails later
        ask("captureStackSummary");
        return hasSummary;
    }
    quint32 lastError() override
    {
        ask("lastError");
        return error;
    }
    QString lastErrorText(quint32 number) override
    {
        ask("lastErrorText");
        return QStringLiteral("error words %1").arg(number);
    }
    QString applicationFilePath() override
    {
        ask("applicationFilePath");
        return programPath;
    }
    bool isKnownModule(const QString &path, bool ownOnly) override
    {
        ask("isKnownModule");
        return ownOnly && ownModules.contains(path);
    }
    QString foregroundWindowTitle() override
    {
        ask("foregroundWindowTitle");
        return title;
    }
    QString translate(const QString &sourceText) override
    {
        ask("translate");
        return u'<' + sourceText + u'>';
    }
    QString message(quint32 number) override
    {
        ask("message");
        return QStringLiteral("message %1").arg(number);
    }
    QString hostName() override
    {
        ask("hostName");
        return QStringLiteral("host");
    }
    QString operatingSystem() override
    {
        ask("operatingSystem");
        return QStringLiteral("system");
    }
    bool memoryReport(QString &text) override
    {
        ask("memoryReport");
        text = memory;
        return hasMemory;
    }
    QString versionText(const QString &module, const QString &key) override
    {
        ask("versionText");
        return module + u':' + key;
    }
    quint64 instructionPointer() override
    {
        ask("instructionPointer");
        return rip;
    }
    QString registers() override
    {
        ask("registers");
        return QStringLiteral("[registers]\n");
    }
    qsizetype readMemory(quint64 address, std::array<uchar, 16> &bytes) override
    {
        ask("readMemory");
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uchar>(address + i);
        const qsizetype count = qMin<qsizetype>(readableBytes, 16);
        readableBytes -= count;
        return count;
    }
    QString frameWords() override
    {
        ask("frameWords");
        return QStringLiteral("[frame words]");
    }
    void recordService(const QString &column1, const QString &column3, const QString &text) override
    {
        if (auto *const during = std::exchange(duringRecord, nullptr))
            during(*this);
        record("RecordService", column1 + u'|' + column3 + u'|' + text);
    }
    void beep() override { record("Beep"); }
    void showBox(const QString &text) override
    {
        boxes += text;
        if (auto *const during = std::exchange(duringBox, nullptr))
            during(*this);
        record("ShowBox");
    }
    void writeReport(bool withRegisters) override
    {
        record("WriteReport", withRegisters ? QStringLiteral("true") : QStringLiteral("false"));
    }
    void beginExit(int exitCode) override { record("BeginExit", QString::number(exitCode)); }
    void quitApplication(int exitCode) override { record("QuitApplication", QString::number(exitCode)); }
    void cleanUp() override { record("CleanUp"); }
    void destroyApplication() override { record("DestroyApplication"); }
    void exit(int exitCode) override { record("Exit", QString::number(exitCode)); }
    void exitAtOnce(int exitCode) override { record("ExitAtOnce", QString::number(exitCode)); }

private:
    bool runGuarded(void (*step)(void *), void *argument) override
    {
        try {
            step(argument);
            return true;
        } catch (...) {
            return false;
        }
    }

    // A step that fails counts as asked.
    void ask(const char *name)
    {
        calls += QLatin1StringView(name);
        if (failing.contains(QLatin1StringView(name)))
            throw std::runtime_error(name);
    }

    void record(const char *name, const QString &argument = QString())
    {
        calls += argument.isEmpty() ? QString(QLatin1StringView(name))
                                    : QLatin1StringView(name) + u' ' + argument;
        if (failing.contains(QLatin1StringView(name)))
            throw std::runtime_error(name);
    }
};
