#pragma once

#include "platform/folders.h"
#include "platform/process.h"

#include <QString>

#include <functional>

// The decisions of s3tempdir over a given platform.

inline void s3SetErrorString(QString *errorString, const QString &text)
{
    if (errorString != nullptr)
        *errorString = text;
}

// See s3MakeTempDirName; `tempPath` is the system's temporary path.
[[nodiscard]] QString s3MakeTempDirNameIn(const QString &tempPath, bool isDebuggerAttached,
                                          QString *errorString);

// See s3TempDirCreate; `makeName` gives the names to try.
bool s3TempDirCreateNamed(const std::function<QString(QString *errorString)> &makeName, QString *errorString);

// Whether there is a process of that id; false also when the processes cannot be listed.
[[nodiscard]] bool s3ProcessExistsAmong(platform::Processes &processes, qint64 id);

// See s3TempDirCleanup.
void s3TempDirCleanupAmong(platform::Processes &processes);

// See the functions without "In".
[[nodiscard]] bool s3GetKnownFolderPathIn(platform::Folders &folders, QString &path,
                                          const QUuid &knownFolderID, bool create);
[[nodiscard]] bool s3SettingsFindLocalDirIn(platform::Folders &folders, const QString &location,
                                            bool *dirProblem, QString *errorString);
[[nodiscard]] bool s3FindAppPathIn(platform::Folders &folders, const QString &name, QString &path);
