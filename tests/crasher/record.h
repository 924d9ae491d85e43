#pragma once

#include <QRegularExpression>
#include <QString>
#include <QStringList>

// What a box and a record of the crash program look like. All that is given as a form is part of a regular
// expression.

// The content of a report file, empty when there is none.
[[nodiscard]] QString readReport(const QString &fileName);

// The records of a report file in their order; none when something stands in front of the first one.
[[nodiscard]] QStringList recordsOf(const QString &report);

// A whole record: each section in its order. What differs by machine stands as any text.
[[nodiscard]] QRegularExpression recordForm(const QString &errorBlocks, const QString &history,
                                            bool withRegisters);

// The block of a failure, and its line in the history, which holds 90 characters of the place.
[[nodiscard]] QString errorBlock(const QString &text, int code, const QString &location);
[[nodiscard]] QString historyLine(const QString &location);

// The whole text of a box for a failure of the program's own.
[[nodiscard]] QString boxForm(const QString &text, const QString &location, const QString &rest = QString());

[[nodiscard]] bool matches(const QString &text, const QString &form);

// "Fehlernummer -1123: in place"
[[nodiscard]] QString locationOf(int code, const QString &place);

// The place of a fault, and the registers and memory that its box shows.
[[nodiscard]] const QString &filterPlace();
[[nodiscard]] const QString &registerRows();
