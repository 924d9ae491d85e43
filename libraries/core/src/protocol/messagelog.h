#pragma once

#include <QDebug>
#include <QString>

// The program's own log: everything that goes through Qt's logging is appended to one file.

// Chooses the log file `dir`/`fileName`, empties it when `truncate` is set and it exists, and installs
// the message handler at the first call. An empty `fileName` does nothing.
void initLogFile(const QString &dir, const QString &fileName, bool truncate);

// The logging category of the log... functions; `name` must live as long as the process.
void setLogCategory(const char *name);
void clearLogCategory();
[[nodiscard]] const char *logCategory();

// Lets the category's debug messages through or not. Without a category it does nothing.
void setDebugEnabled(bool on);

// A stream on the category at debug level; the message is written when it goes.
[[nodiscard]] QDebug logDebug();
