#include "error/crashpath.h"

#include "error/crashstate.h"
#include "error/crashsteps.h"
#include "error/foreignfault.h"
#include "error/modulelists.h"
#include "error/stacktrace.h"
#include "platform/fault.h"
#include "s3string.h"
#include "s3testflags.h"

#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr int failureExitCode = -1;

// What reports show as the place of an unhandled fault.
constexpr int filterLine = 849;

constexpr qint32 noForeignBoxFlag = 370;

constexpr quint32 faultCode = 1123;
constexpr quint32 outOfMemoryCode = 329;

QString faultName(s3CrashSteps &steps, const platform::Fault &fault)
{
    QString name = steps.exceptionCodeName(fault.code);
    if (name.isEmpty() && fault.code == platform::thrownObjectCode) {
        name = steps.thrownTypeName(fault).remove(QRegularExpression(u"^class "_s));
    }
    if (name.isEmpty())
        name = steps.faultMessage(fault.code);
    if (name.isEmpty())
        name = s3String::fromHex(static_cast<quint64>(qint64{static_cast<qint32>(fault.code)}), 16);
    return name;
}

// The place of the fault by module and function, to follow its name.
QString whereOf(s3CrashSteps &steps, const s3StackSummary &summary)
{
    const QString &module = summary.modules[0];
    const QString &function = summary.functions[0];
    if (module == steps.applicationFilePath())
        return function.isEmpty() ? QString() : u" in %1()"_s.arg(function);
    return function.isEmpty() ? u" in %1"_s.arg(moduleFileName(module))
                              : u" in %1: %2()"_s.arg(moduleFileName(module), function);
}

QString memoryRows(s3CrashSteps &steps)
{
    constexpr int rows = 2;
    QString text;
    quint64 address = steps.instructionPointer() - 16;
    for (int row = 0; row < rows; ++row) {
        std::array<uchar, 16> bytes = {};
        const qsizetype count = steps.readMemory(address, bytes);
        if (count <= 0)
            break;
        QStringList words;
        for (qsizetype i = 0; i < count; ++i)
            words += s3String::fromHex(bytes[static_cast<std::size_t>(i)], 2, false);
        text += s3String::fromHex(address, 16, false) + u":  "_s + words.join(u' ') + u'\n';
        if (count < static_cast<qsizetype>(bytes.size()))
            break;
        address += bytes.size();
    }
    return text;
}

QString boxHead(s3CrashSteps &steps)
{
    return steps.translate(u"ACHTUNG: DIAGNOSEMELDUNG!"_s) + u"\n\n"_s
        + steps.translate(u"Bitte drucken Sie anschließend das Fehlerprotokoll"_s) + u' '
        + steps.translate(u"mit dem Kommando:"_s) + u'\n'
        + steps.translate(u"Diagnosemeldung ausgeben (Diverse Kommandos)"_s) + u"\n\n"_s
        + steps.translate(u"Details"_s) + u":\n"_s;
}

QString boxText(s3CrashSteps &steps, bool withRegisters, const QString &text, const QString &location)
{
    QString words;
    // One piece after the other, so that a failure costs its own piece alone. A string that a fault has left
    // half done is not looked at again.
    const auto append = [&](auto &&piece) {
        QString pieceWords;
        if (steps.guarded([&] { pieceWords = piece(); }))
            words += pieceWords;
    };
    append([&] { return boxHead(steps); });
    words += text + u'\n' + location + u"\n\n"_s;
    bool isKnown = false;
    if (withRegisters && steps.guarded([&] { isKnown = steps.hasContext(); }) && isKnown) {
        append([&] { return steps.registers() + u'\n'; });
        append([&] { return memoryRows(steps); });
        append([&] { return steps.frameWords(); });
    }
    return words;
}

}

void unhandledExceptionFilterBy(s3CrashSteps &steps, const platform::Fault &fault)
{
    const bool isHandled = steps.guarded([&] {
        steps.begin();
        steps.captureContext(fault.context);
        handleFaultBy(steps, fault.code, faultName(steps, fault),
                      u"libraries/core/src/error/s3exceptionhandlerwin"_s, filterLine);
    });
    if (!isHandled)
        exitProgramBy(steps, failureExitCode);
}

void handleFaultBy(s3CrashSteps &steps, quint32 code, const QString &text, const QString &file, int line)
{
    (void)steps.guarded([&] { steps.begin(); });

    QString where;
    s3StackSummary summary;
    bool hasSummary = false;
    bool hasEnded = false;
    const bool isUnharmed
        = steps.guarded([&] { hasSummary = steps.captureStackSummary(summary); }) && steps.guarded([&] {
              if (!hasSummary)
                  return;
              if (!isForeignFault(steps, code, summary))
                  s3TestFlagsInstance()->remove(noForeignBoxFlag);
              else if (!s3TestFlagsInstance()->contains(noForeignBoxFlag))
                  hasEnded = foreignFaultBox(steps, text, summary);
          });
    if (hasEnded)
        return;
    if (isUnharmed && hasSummary)
        (void)steps.guarded([&] { where = whereOf(steps, summary); });

    errorAndExitBy(steps, true, text == "std::bad_alloc"_L1 ? outOfMemoryCode : faultCode,
                   u"Exception: "_s + text + where, file, line, QString());
}

void errorAndExitBy(s3CrashSteps &steps, bool withRegisters, quint32 code, const QString &text,
                    const QString &file, int line, const QString &function)
{
    quint32 error = 0;
    // First of all, since any other step may change it.
    (void)steps.guarded([&] { error = steps.lastError(); });
    (void)steps.guarded([&] { steps.begin(); });

    if (!reportFrozen) {
        (void)steps.guarded([&] {
            const QString title = steps.foregroundWindowTitle();
            if (!title.isEmpty())
                activeWindowTitle = title;
        });
        errorText.clear();
    }

    const QString location = failureLocation(code, file, line, function);
    QString message;
    QString errorWords;
    (void)steps.guarded([&] { message = steps.message(code); });
    (void)steps.guarded([&] { errorWords = steps.lastErrorText(error); });
    (void)steps.guarded([&] {
        errorText += u"\n%1\n%2\n%3\nGetLastError(): %4 txt=%5\n"_s.arg(text, message, location,
                                                                        QString::number(error), errorWords);
    });

    reportFrozen = false;
    (void)steps.guarded([&] { steps.recordService(QString(18, u' '), u"ErrorAndExit"_s, location); });
    reportFrozen = true;

    QString words;
    (void)steps.guarded([&] { words = boxText(steps, withRegisters, text, location); });
    (void)steps.guarded([&] { steps.beep(); });
    (void)steps.guarded([&] { steps.showBox(words); });
    if (!steps.guarded([&] { steps.writeReport(withRegisters); })) {
        (void)steps.guarded([&] {
            steps.showBox(steps.translate(u"Die Diagnosemeldung konnte nicht vollständig beendet werden"_s));
        });
    }
    exitProgramBy(steps, failureExitCode);
}

void exitProgramBy(s3CrashSteps &steps, int exitCode)
{
    (void)steps.guarded([&] { steps.beginExit(exitCode); });
    (void)steps.guarded([&] { steps.quitApplication(exitCode); });
    (void)steps.guarded([&] { steps.cleanUp(); });
    (void)steps.guarded([&] { steps.destroyApplication(); });
    if (!steps.guarded([&] { steps.exit(exitCode); }))
        steps.exitAtOnce(exitCode);
}

QString failureLocation(quint32 code, const QString &file, int line, const QString &function)
{
    QString location
        = u"Fehlernummer -%1: in %2:%3"_s.arg(QString::number(code), file, QString::number(line));
    if (!function.isEmpty())
        location += u" in %1()"_s.arg(function);
    return location;
}

QString invalidParameterText(const wchar_t *expression, const wchar_t *function, const wchar_t *file,
                             unsigned int line)
{
    QString text;
    if (expression != nullptr && function != nullptr && file != nullptr)
        text = u"%1\nfunction=%2 file=%3 line=%4\n"_s.arg(
            QString::fromWCharArray(expression), QString::fromWCharArray(function),
            QString::fromWCharArray(file), QString::number(line));
    return text + u"Invalid parameter detected\n"_s;
}
