#pragma once

#include <QString>
#include <QStringList>
#include <QUuid>

// The temporary directory of this process and the library's other well-known places.
//
// Each process owns one directory "WORD.PID.RANDOM" below the system's temporary path, private to its user.
// It is made when it is first asked for, and made anew under another name when somebody deleted it. At the
// exit it is removed; what cannot be removed is marked by a file "can_be_deleted", and a later process of
// the same word finishes the job.
//
// Every `errorString` may be null; it is cleared at the start and holds a text for the user after a
// failure. Nothing here throws or shows anything. No lock guards the process-wide values: all of this
// belongs to one thread, the main thread. Between processes only names and markers decide.

// The absolute path of the temporary directory with forward slashes; empty until it is made. It keeps its
// value when the directory is removed.
extern QString glob_file_tempDir;

// The directory of the local settings file with forward slashes; empty until s3SettingsFindLocalDir.
extern QString glob_file_localSettingsDir;

// The client's program directory, empty until a host application sets it at its start. The settings files of
// the types Ini, IniWithPrivate and Cfg lie there; while it is empty, in the working directory.
extern QString glob_file_guiDir;

// A fresh path for a temporary directory, which is not made: below QDir::tempPath() the name "zerkgui", or
// that of the white label in force, ".debug" while a debugger is attached, the process id and a random
// number of 32 bits. Empty, with a text, when the system does not tell its temporary path. Traced under
// test flag 226.
[[nodiscard]] QString s3MakeTempDirName(QString *errorString);

// Makes a new temporary directory with its subdirectories "cache" and "var" and sets glob_file_tempDir. A
// name that is taken is tried again, 10 times in all. After a failure glob_file_tempDir keeps the name that
// could not be made, or is empty when there was none. Traced under test flag 226.
bool s3TempDirCreate(QString *errorString);

// Whether glob_file_tempDir is a directory. The text for one that was never made is that for a deleted one.
[[nodiscard]] bool s3TempDirExists(QString *errorString);

// Makes sure that the temporary directory exists; one that vanished is replaced by another one with a new
// name, so that paths handed out before stay invalid.
bool s3TestTempDir(QString *errorString);

// The path of `name` in the temporary directory, which is made if needed. Without a directory the result is
// `name` alone, relative to the working directory.
[[nodiscard]] QString s3TempDirFilePath(const QString &name);

// Removes the temporary directory and what earlier processes of the same word left with a marker, at the
// exit. Test flag 201 adds the directories of debugger runs whose process is gone, with or without a marker.
// Reports nothing. Only real directories of this user are touched: in a temporary path that users share, a
// link or a directory of somebody else could lead the removal elsewhere.
void s3TempDirCleanup();

// Makes "TMP", "TEMP" and "TMPDIR" point at the temporary directory, spelt with backslashes on every
// platform. Each call remembers the three values it finds.
void s3TempDirSetEnvironmentVariables();

// Restores every value that was remembered, the oldest first, and remembers them still.
void s3TempDirResetEnvironmentVariables();

// Makes a directory with its parents; true also for an empty path and for a directory that exists.
[[nodiscard]] bool s3MakePath(const QString &path, QString *errorString);

// The path of a known folder, by its KNOWNFOLDERID, as the system spells it; `create` makes a missing one.
// False, and an empty path, when it cannot be had. Which folders Linux knows is told in platform/folders.h.
// Traced under test flag 120.
[[nodiscard]] bool s3GetKnownFolderPath(QString &path, const QUuid &knownFolderID, bool create);

// The keywords for the place of the local settings: "local_appdata", "appdata", "common_appdata".
[[nodiscard]] QStringList s3SettingsLocalDirLocations();

// The name of the local settings file: "zerkguilocaln.ini", or "localn.ini" behind the white label's name.
[[nodiscard]] QString s3SettingsLocalFileName();

// Finds and makes the directory of the local settings file, proves it by opening that file for writing,
// which makes a missing one, and sets glob_file_localSettingsDir, also after a failure.
//
// `location`: a keyword (empty counts as the first), whose folder is that of the organisation below the
// known folder; where the system does not have a folder, the next keyword takes its place. Or a path, which
// is used as it is. `dirProblem`, which may be null, tells a directory that is not to be had from a file
// that cannot be written. With test flag 406 the place is "local_settings" in the temporary directory, and
// nothing is made.
[[nodiscard]] bool s3SettingsFindLocalDir(const QString &location, bool *dirProblem, QString *errorString);

// Looks up a program by its file name, in the registry's App Paths or, on Linux, in PATH; a name without a
// point is also tried with ".exe". References to environment variables are expanded in `name` and in the
// result. False, and an empty `path`, when there is none or `name` is more than a file name.
[[nodiscard]] bool s3FindAppPath(const QString &name, QString &path);

// The path that s3FindAppPath finds, else `name` with its environment variables expanded.
[[nodiscard]] QString s3AppPathOrName(const QString &name);
