#pragma once

#include "platform/process.h"

#include <QString>
#include <QStringList>

// Small system utilities of the core library. All may be called from any thread and take no lock. None of
// them reports a failure to the user: the answer is then an empty text or false.

// Whether s3BeepError beeps at all, false at first. Set at the start of the program.
void s3SetUseBeepError(bool on);
[[nodiscard]] bool s3UseBeepError();

// Beeps for an error when s3UseBeepError() is on or `force` says so: the desktop's information sound, or
// with test flag 339 a tone of 440 Hz for 200 ms. Whether the beep worked; false when none was wanted.
// Traced under test flag 338.
bool s3BeepError(bool force);

// The text of a registry value: `root` is "HKEY_LOCAL_MACHINE" or another one, `key` the path below it, an
// empty `valueName` the key's default value. Empty when there is none or the platform has no registry.
// Traced under test flag 321.
[[nodiscard]] QString s3GetRegistryValue(const QString &root, const QString &key, const QString &valueName);

// Whether this is a local installation: one without a file "mandant.ini" in the working directory, which
// lies where the program is run from a server. Looked at once, at the first call.
[[nodiscard]] bool s3IsLocalInstall();

// The system's text for an error number.
[[nodiscard]] QString s3ErrorString(int errorNumber);

// The text of the thread's last failed system call and its number: "File not found (2)"; only "(2)" for
// a number that the system does not know. The number stays the thread's last error.
[[nodiscard]] QString s3LastErrorText();

// Fills `text` with the memory of the machine, of this process and of the browser processes it started.
// False when that failed midway; `text` then holds what was found until then.
bool s3MemoryReport(QString &text);

// "WorkingSet: 12MB,   PrivateUsage: 34MB" for an open process, empty on failure, which is traced whatever
// the test flags.
[[nodiscard]] QString s3ProcessMemoryText(platform::ProcessHandle process);

// The text `key` ("FileVersion", "CompanyName", ...) of the first translation in the version resource of the
// binary `fileName`; empty when there is none.
[[nodiscard]] QString vs_query_info(const QString &fileName, const QString &key);

// The file version in words of a binary's version resource.
[[nodiscard]] QString s3FileVersion(const QString &fileName);

// A copy of a command line in which each password reads "*****": the argument behind "-password" or
// "--password", and what follows "-password=" or "--password=". The case of the option counts.
[[nodiscard]] QStringList s3MaskPasswords(const QStringList &arguments);
