#pragma once

#include <QString>

// Where the diagnostic report lies: "errorReports" below the local settings directory, or below the root
// of the current drive as long as there is none. One file of the name "SYS.FEHL" for a program without a
// session; a connected client has one for each server and directory.

// The path with forward slashes. With `forWriting` false a "SYS.FEHL" that exists goes before the session's
// own file. Empty when a connected client does not know its server or directory, or when nothing is
// connected and "SYS.FEHL" does not exist. A name that would make the path longer than 250 characters is
// shortened in its middle and has a checksum in front. Main thread or crash path.
[[nodiscard]] QString reportFileName(bool forWriting);

// Whether the file that reportFileName(false) names is there, and its removal; whether it is gone then.
[[nodiscard]] bool reportExists();
bool removeReport();
