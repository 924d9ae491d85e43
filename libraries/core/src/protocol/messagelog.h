#pragma once

#include <QDebug>
#include <QLoggingCategory>
#include <QString>
#include <QStringList>
#include <QtGlobal>

// The program's own log: everything that goes through Qt's logging (qDebug, the categories, the functions
// below) is appended to one file, and then passed on to the message handler that was there before.
//
// A line is qFormatLogMessage's form of the text and one line feed, in UTF-8 without byte-order mark; a
// lone surrogate becomes U+FFFD. QT_MESSAGE_PATTERN therefore sees the line feed as part of the text. The
// file is opened in text mode: the line feed is CR LF on Windows and LF elsewhere. It is opened and closed
// for each message, so each is on disk when the call that logged it returns, and a log that somebody moves
// or removes simply begins anew. Messages of several threads are written one after the other.
//
// A log that cannot be written loses its lines without a word; the former handler gets them all the same.
// Empty messages are dropped altogether.

// Chooses the log file `dir`/`fileName` (a relative one lies in the working directory of each message),
// empties it when `truncate` is set and it exists, and installs the message handler at the first call. A
// later call moves the log. The file comes into being with the first message. An empty `fileName` does
// nothing at all.
void initLogFile(const QString &dir, const QString &fileName, bool truncate);

// The logging category of the log... functions below, for all threads; none (null) at the start, and then
// they log in Qt's default category. `name` must live as long as the process. Each name that is set stays
// registered with Qt.
void setLogCategory(const char *name);
void clearLogCategory();
[[nodiscard]] const char *logCategory();

// Lets debug messages of the category through, or not; its other levels are not touched. It replaces all
// filter rules that were set through QLoggingCategory before. Without a category it does nothing.
void setDebugEnabled(bool on);

// Whether debug messages of the category get through: lets a caller with a long text leave it unbuilt.
[[nodiscard]] bool isDebugEnabled();

// A stream on the category at that level, without quotation marks around texts and without a source
// position; the message is written when the stream goes. Nothing is, and no handler hears of it, where the
// level is off.
[[nodiscard]] QDebug logDebug();
[[nodiscard]] QDebug logInfo();
[[nodiscard]] QDebug logWarning();
[[nodiscard]] QDebug logCritical();

// The same on another category, which must outlive the stream.
[[nodiscard]] QDebug logDebug(const QLoggingCategory &category);
[[nodiscard]] QDebug logInfo(const QLoggingCategory &category);
[[nodiscard]] QDebug logWarning(const QLoggingCategory &category);
[[nodiscard]] QDebug logCritical(const QLoggingCategory &category);

// The stream for a level; QtFatalMsg gives the critical one and ends nothing.
[[nodiscard]] QDebug logFor(QtMsgType type);

// One debug message "text [item]" for each item.
void logList(const QStringList &list, const QString &text);
