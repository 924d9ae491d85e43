#include "processobjects.h"

#include "error/crashstate.h"
#include "error/s3exceptionhandlerwin.h"
#include "languageobjects.h"
#include "protocol/messagelog_p.h"
#include "protocol/s3qeventprotocol_p.h"
#include "s3settings.h"
#include "s3tempdir.h"

#include <QFile>

namespace
{

// The message log's file tells the log when it goes: what is logged later skips the file.
class LogFile final : public QFile
{
public:
    LogFile() = default;
    ~LogFile() override { detachLogFile(); }
    Q_DISABLE_COPY_MOVE(LogFile)
};

// The order of these definitions is the order of construction before main, and backwards that of
// destruction at the end of the process. The log's file comes first, so that everything that is
// constructed behind it can still log when it is destroyed; the crash handler follows what its report
// reads; the event names come last.
LogFile logFile;
LanguageObjects language;

}

QString glob_file_guiDir;
QString glob_file_tempDir;
QString glob_file_localSettingsDir;
// Not destroyed, as a program may fail on its way out.
QString &activeWindowTitle = *new QString;
QString &errorText = *new QString;

namespace
{

QString iniFileName;
QList<s3EnvironmentVariable> changedVariables;
const s3ExceptionHandlerWinPrivate exceptionHandler;
QHash<int, QString> &names = *new QHash<int, QString>(makeEventNames());
QSet<int> &ignoredTypes = *new QSet<int>;

}

QFile &messageLogFile()
{
    return logFile;
}

LanguageObjects &languageObjects()
{
    return language;
}

QHash<int, QString> &eventNames()
{
    return names;
}

QSet<int> &ignoredEventTypes()
{
    return ignoredTypes;
}

QString &settingsIniFileName()
{
    return iniFileName;
}

QList<s3EnvironmentVariable> &environmentRecords()
{
    return changedVariables;
}
