#pragma once

#include <QString>

namespace platform
{

// Gives the file `from` the name `to`, in one step: a file that has that name is replaced, and whoever opens
// `to` meanwhile gets the former file or the new one as a whole. Both names are in one file system. A link at
// `to` is replaced itself. The result is 0, or the system's error number when both files stay as they are.
//
// Windows refuses a `to` that is read-only, and one that is open and not shared for deletion.
[[nodiscard]] quint32 replaceFile(const QString &from, const QString &to);

}
