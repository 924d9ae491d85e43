#pragma once

#include "s3environmentvariable.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

class QFile;
struct LanguageObjects;

// Access to the objects that live as long as the process and whose order of construction is fixed. They
// are defined in processobjects.cpp and nowhere else, so that no linker decides the order. Each is reached
// only through the module that it belongs to; this header is for those modules.
//
// Not to be called from the constructor of another static object outside processobjects.cpp.

// The file of the message log (protocol/messagelog.h), closed between messages.
[[nodiscard]] QFile &messageLogFile();

// The names of events (protocol/s3qeventprotocol.h) by QEvent::Type, and the types that the event protocol
// leaves out. Both outlive the static objects: an event may get its type while the process ends.
[[nodiscard]] QHash<int, QString> &eventNames();
[[nodiscard]] QSet<int> &ignoredEventTypes();

// Dictionaries, individual languages and unknown texts (languageobjects.h).
[[nodiscard]] LanguageObjects &languageObjects();

// The variables that s3TempDirSetEnvironmentVariables changed, oldest first. The process-wide strings of the
// temporary directory (s3tempdir.h) are defined beside it.
[[nodiscard]] QList<s3EnvironmentVariable> &environmentRecords();

// The name of the ini file (s3Settings::setIniFileName), empty at first.
[[nodiscard]] QString &settingsIniFileName();
