#include "coreutil.h"

#include "coreutil_p.h"
#include "platform/beep.h"
#include "platform/registry.h"
#include "platform/systemerror.h"
#include "protocol/s3assert.h"
#include "protocol/s3debugtrycatch.h"
#include "s3fileinfo.h"
#include "s3string.h"
#include "test/s3trace.h"

#include <QCoreApplication>
#include <QScopeGuard>

#include <atomic>

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *sourceFile = "libraries/core/src/coreutil";

constinit std::atomic<bool> useBeepError = false;

constexpr qint32 beepTraceFlag = 338;
constexpr qint32 beepToneFlag = 339;
constexpr qint32 registryTraceFlag = 321;

QString mebibytes(quint64 bytes)
{
    return QString::number(bytes >> 20);
}

// The reason comes with the call: by the time that the text is built it may be gone.
void traceSystemFailure(const QString &call, const QString &reason = s3LastErrorText())
{
    s3TraceAlways([&] { return QString(call + u"() failed err="_s + reason); });
}

}

void s3SetUseBeepError(bool on)
{
    useBeepError = on;
}

bool s3UseBeepError()
{
    return useBeepError;
}

bool s3BeepError(bool force)
{
    s3Trace(beepTraceFlag, [&] {
        return u"s3BeepError(force=%1, s3UseBeepError()=%2)"_s.arg(s3String::fromBool(force),
                                                                   s3String::fromBool(s3UseBeepError()));
    });
    if (!force && !s3UseBeepError())
        return false;
    if (s3TestFlagsInstance()->contains(beepToneFlag)) {
        s3Trace(beepTraceFlag, [] { return u"  Beep()"_s; });
        return platform::beepTone(440, 200);
    }
    s3Trace(beepTraceFlag, [] { return u"  MessageBeep()"_s; });
    return platform::beepInformation();
}

QString s3GetRegistryValue(const QString &root, const QString &key, const QString &valueName)
{
    const QVariant value
        = platform::registryValue(root + u'\\' + key, valueName.isEmpty() ? u"Default"_s : valueName);
    QString result = value.isValid() ? value.toString() : QString();
    s3Trace(registryTraceFlag, [&] {
        return u"s3GetRegistryValue('%1', '%2', '%3') = %4 (isValid=%5, type='%6')"_s.arg(
            root, key, valueName, result, s3String::fromBool(value.isValid()),
            QString::fromUtf8(value.typeName()));
    });
    return result;
}

bool s3IsLocalInstall()
{
    static const bool isLocal = !s3FileInfo::exists(u"mandant.ini"_s);
    return isLocal;
}

QString s3ErrorString(int errorNumber)
{
    return qt_error_string(errorNumber);
}

QString s3LastErrorText()
{
    const quint32 number = platform::lastSystemError();
    QString text = platform::knowsSystemError(number) ? s3ErrorString(static_cast<int>(number)) : QString();
    if (!text.isEmpty())
        text += u' ';
    platform::setLastSystemError(number); // asking for the words may have changed it
    return text + u"(%1)"_s.arg(number);
}

QString s3ProcessMemoryTextOf(platform::Processes &processes, platform::ProcessHandle process)
{
    platform::ProcessMemory memory;
    if (!processes.memory(process, memory)) {
        traceSystemFailure(u"GetProcessMemoryInfo"_s);
        return QString();
    }
    return u"WorkingSet: %1MB,   PrivateUsage: %2MB"_s.arg(mebibytes(memory.workingSet),
                                                           mebibytes(memory.privateUsage));
}

namespace
{

// The lines of the browser processes that this process started. They hold most of its memory.
void appendBrowserProcesses(platform::Processes &processes, QString &text)
{
    const std::unique_ptr<platform::ProcessSnapshot> snapshot = processes.snapshot();
    if (!snapshot)
        return traceSystemFailure(u"CreateToolhelp32Snapshot"_s);
    platform::ProcessEntry entry;
    if (!snapshot->first(entry))
        return traceSystemFailure(u"Process32First"_s);
    const QString browserProcess = processes.programFileName(u"QtWebEngineProcess"_s);
    bool isFirst = true;
    do {
        if (entry.parentId != processes.ownId())
            continue;
        const platform::ProcessHandle child = processes.open(entry.id);
        if (child == nullptr) {
            traceSystemFailure(u"OpenProcess"_s);
            continue;
        }
        const auto close = qScopeGuard([&] { processes.close(child); });
        if (entry.fileName != browserProcess)
            continue;
        if (isFirst)
            text += u'\n';
        isFirst = false;
        text += u"\n%1   %2"_s.arg(entry.fileName, s3ProcessMemoryTextOf(processes, child));
    } while (snapshot->next(entry));
}

}

bool s3MemoryReportOf(platform::Processes &processes, QString &text)
{
    try {
        text.clear();
        const platform::SystemMemory memory = processes.systemMemory();
        text += u"Memory usage: %1MB/%2MB,   Available physical: %3MB/%4MB"_s.arg(
            mebibytes(memory.totalPageFile - memory.availablePageFile), mebibytes(memory.totalPageFile),
            mebibytes(memory.availablePhysical), mebibytes(memory.totalPhysical));
        text += u"\n\n%1.exe   %2"_s.arg(qAppName(), s3ProcessMemoryTextOf(processes, processes.ownHandle()));
        appendBrowserProcesses(processes, text);
        return true;
    } catch (...) {
        DEBUG_TRYCATCH(sourceFile, "s3MemoryReport");
        return false; // the crash path asks: a report without these lines is better than none
    }
}

QString s3ProcessMemoryText(platform::ProcessHandle process)
{
    return s3ProcessMemoryTextOf(platform::processes(), process);
}

bool s3MemoryReport(QString &text)
{
    return s3MemoryReportOf(platform::processes(), text);
}

QString s3VersionText(const platform::VersionInfo &info, const QString &key)
{
    const void *value = nullptr;
    quint32 size = 0;
    if (!info.query(u"\\VarFileInfo\\Translation"_s, value, size) || size < 4)
        return QString();
    const auto *translation = static_cast<const quint16 *>(value); // language, code page
    const QString language
        = s3String::fromHex(translation[0], 4, false) + s3String::fromHex(translation[1], 4, false);
    if (!info.query(u"\\StringFileInfo\\%1\\%2"_s.arg(language, key), value, size))
        return QString();
    const auto *text = static_cast<const QChar *>(value);
    s3Assert(size > 0, "size > 0", sourceFile, "vs_query_info");
    s3Assert(text[size - 1] == QChar::Null, "value[size - 1] == QChar::Null", sourceFile, "vs_query_info");
    return QString(text);
}

QString vs_query_info(const QString &fileName, const QString &key)
{
    if (fileName.isEmpty() || key.isEmpty())
        return QString();
    const std::unique_ptr<platform::VersionInfo> info = platform::readVersionInfo(fileName);
    return info ? s3VersionText(*info, key) : QString();
}

QString s3FileVersion(const QString &fileName)
{
    return vs_query_info(fileName, u"FileVersion"_s);
}

QStringList s3MaskPasswords(const QStringList &arguments)
{
    static const QString passwordMask = u"*****"_s;
    QStringList masked = arguments;
    QString previous;
    for (QString &argument : masked) {
        if (previous == "-password"_L1 || previous == "--password"_L1)
            argument = passwordMask;
        else if (argument.startsWith("-password="_L1))
            argument = "-password="_L1 + passwordMask;
        else if (argument.startsWith("--password="_L1))
            argument = "--password="_L1 + passwordMask;
        previous = argument;
    }
    return masked;
}
