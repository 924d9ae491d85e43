#include "protocol/s3crashhandler.h"

#include "error/crashpath.h"
#include "error/s3exception.h"
#include "error/s3exceptionhandlerwin.h"
#include "platform/debugger.h"
#include "platform/faultcontext.h"
#include "platform/process.h"
#include "s3string.h"
#include "s3testflags.h"
#include "test/s3trace.h"

using namespace Qt::StringLiterals;

namespace
{

// The words for what did not hold, none for a place that must not be reached.
QString brokenCondition(const QString &condition)
{
    if (condition.isEmpty() || condition == "false"_L1)
        return QString();
    return u"Bedingung nicht erfuellt\n%1\n"_s.arg(condition);
}

// The handler of a program that may run under a debugger.
class s3CrashHandlerWin final : public s3CrashHandler
{
public:
    bool debugBreak() override
    {
        if (!platform::isDebuggerAttached())
            return false;
        platform::breakIntoDebugger();
        return true;
    }
};

constinit s3CrashHandler *handler = nullptr;

}

s3CrashHandler *s3CrashHandler::instance()
{
    if (handler == nullptr)
        handler = new s3CrashHandlerWin;
    return handler;
}

void s3CrashHandler::debugTryCatch(const char *file, int line, const char *function)
{
    debugTryCatch(QString::fromUtf8(file), line, QString::fromUtf8(function));
}

void s3CrashHandler::debugTryCatch(const QString &file, int line, const QString &function)
{
    const s3TestFlagsGUI *flags = s3TestFlagsInstance();
    if (flags->contains(198)) {
        assertFailed(NotReached, "false", u"try/catch"_s, "libraries/core/src/protocol/s3crashhandler",
                     __LINE__, "s3CrashHandler::debugTryCatch");
    }
    const bool isTraced = flags->contains(400) || flags->contains(55);
    const bool hasStopped = debugBreak();
    if (!isTraced)
        return;
    s3TraceAlways([&] {
        return u"DEBUG_TRYCATCH() %1:%2  %3() = %4"_s.arg(file, QString::number(line), function,
                                                          s3String::fromBool(hasStopped));
    });
}

void s3CrashHandler::assertFailed(quint32 code, const char *condition, const QString &text, const char *file,
                                  int line, const char *function)
{
    const QString conditionWords = brokenCondition(QString::fromUtf8(condition));
    if (s3TestFlagsInstance()->contains(191)) {
        const QString location
            = failureLocation(code, QString::fromUtf8(file), line, QString::fromUtf8(function));
        throw s3Exception(u'\n' + conditionWords + location + u'\n' + text + u'\n');
    }
    // So that the report has a context of this very place.
    s3ForceFault();
    ErrorAndExit(false, code, conditionWords + text, QString::fromUtf8(file), line,
                 QString::fromUtf8(function));
}
