#pragma once

#include <QString>

// Makes `link` a symbolic link to the file or directory `target`, which need not exist on Linux. False
// where the system does not make one (Wine 8 only pretends to); the test then says so with QSKIP.
[[nodiscard]] bool makeSymbolicLink(const QString &target, const QString &link);
