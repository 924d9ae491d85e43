#pragma once

#include <QString>
#include <QStringList>

// What the program did last, for the diagnostic report: two rings of 40 lines, filled during the whole run.
// Nothing is recorded while reportFrozen is true (error/crashstate.h). With test flag 122 each line is also
// traced. Main thread; the crash path reads and writes from the failing thread, without a lock.

// The operations on the first ring. A line shows `column1` as it is, the second and third column in 25
// characters each with a "+" for the flag between them, the milliseconds since the clock started, and the
// first 90 characters of `text`.
void recordSSO(const QString &column1, const QString &column2, const QString &text);
void recordService(const QString &column1, const QString &column3, const QString &text);
void recordEvent(const QString &column1, const QString &column2, const QString &column3, bool flag,
                 const QString &text);

// The operation on the second ring. It stores at the index of the first one, so that a line of each ring
// stands at the same place, and does not move that index.
void recordCall(const QString &first, const QString &second, const QString &third, const QString &fourth);

// The used lines of each ring, the oldest first.
[[nodiscard]] QStringList callHistory();
[[nodiscard]] QStringList secondCallHistory();

// Starts the clock of the lines unless it runs; the first line does so as well.
void startCallHistoryClock();

// Forgets all lines and both indexes, for tests.
void clearCallHistory();
