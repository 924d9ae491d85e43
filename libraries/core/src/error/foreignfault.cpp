#include "error/foreignfault.h"

#include "error/crashpath.h"
#include "error/crashstate.h"
#include "error/crashsteps.h"
#include "error/modulelists.h"
#include "error/stacktrace.h"
#include "s3string.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 accessViolation = 0xC0000005;

constexpr std::array<quint32, 10> foreignCodes{
    accessViolation,
    0xC0000006, // in page error
    0xC000001D, // illegal instruction
    0xC000001E, // invalid lock sequence
    0xC0000096, // privileged instruction
    0xC015000F, // early deactivation of an activation context
    0xC0150010, // invalid deactivation of one
    0x80000001, // guard page
    0x80000003, // breakpoint
    0x80000004, // single step
};

// The label of each line, translated, and the key of its value in the module's version resource.
struct VersionLine {
    const char16_t *label;
    const char16_t *key;
};

constexpr std::array versionLines{
    VersionLine{u"Dateibeschreibung", u"FileDescription"}, VersionLine{u"Dateiversion", u"FileVersion"},
    VersionLine{u"Produktname", u"ProductName"},           VersionLine{u"Produktversion", u"ProductVersion"},
    VersionLine{u"Herstellername", u"CompanyName"},
};

QString labelled(const QString &label, const QString &value)
{
    return label + u"\t  "_s + value + u'\n';
}

QString moduleBlock(s3CrashSteps &steps, int frameNumber, const QString &module, const QString &function)
{
    QString block = u"\n#%1  %2"_s.arg(QString::number(frameNumber), module);
    if (!function.isEmpty())
        block += u": %1()"_s.arg(function);
    block += u"\n\n"_s;
    for (const VersionLine &line : versionLines)
        block += labelled(steps.translate(QString::fromUtf16(line.label)),
                          steps.versionText(module, QString::fromUtf16(line.key)));
    return block;
}

}

bool isForeignFault(s3CrashSteps &steps, quint32 code, const s3StackSummary &summary)
{
    if (std::ranges::find(foreignCodes, code) == foreignCodes.end())
        return false;
    if (summary.modules[0].isEmpty() || steps.isKnownModule(summary.modules[0], true))
        return false;
    if (code != accessViolation)
        return true;

    std::size_t limit = summary.modules.size();
    if (debugFrameLimit > 0)
        limit = std::min(limit, static_cast<std::size_t>(debugFrameLimit));
    for (std::size_t i = 1; i < limit; ++i) {
        if (summary.modules[i].isEmpty())
            return true;
        if (summary.frameNumbers[i] - summary.frameNumbers[i - 1] < 4
            && steps.isKnownModule(summary.modules[i], true))
            return false;
    }
    return true;
}

QString foreignFaultText(s3CrashSteps &steps, const QString &text, const s3StackSummary &summary)
{
    QString words = steps.translate(u"ACHTUNG: Fehler in Fremdkomponente!"_s) + u"\n\n"_s
        + steps.translate(u"In einer Fremdkomponente ist ein nicht behebbarer Fehler aufgetreten."_s)
        + u"\n\n"_s + moduleFileName(summary.modules[0]) + u"\n\n"_s;
    words += summary.functions[0].isEmpty()
        ? text
        : steps.translate(u"%1 in %2()"_s).arg(text, summary.functions[0]);
    words += u"\n\n"_s + steps.translate(u"Das laufende Programm muss daher jetzt beendet werden."_s) + u'\n'
        + steps.translate(u"Bitte starten Sie die GUI anschließend neu."_s) + u"\n\n\n"_s
        + steps.translate(u"Details"_s) + u":\n"_s
        + labelled(steps.translate(u"Arbeitsplatz"_s), steps.hostName());
    if (steps.hasContext())
        words += u"RIP\t\t  %1\n"_s.arg(s3String::fromHex(steps.instructionPointer(), 16));
    for (std::size_t i = 0; i < summary.functions.size(); ++i) {
        if (!summary.modules[i].isEmpty())
            words += moduleBlock(steps, summary.frameNumbers[i], summary.modules[i], summary.functions[i]);
    }
    words += u'\n' + steps.operatingSystem() + u'\n';
    QString memory;
    if (steps.memoryReport(memory))
        words += memory + u'\n';
    return words;
}

bool foreignFaultBox(s3CrashSteps &steps, const QString &text, const s3StackSummary &summary)
{
    if (summary.modules[0].isEmpty())
        return false;
    QString words;
    const bool isShown = steps.guarded([&] { words = foreignFaultText(steps, text, summary); })
        && steps.guarded([&] { steps.beep(); }) && steps.guarded([&] { steps.showBox(words); });
    if (isShown)
        exitProgramBy(steps, 1);
    return isShown;
}
