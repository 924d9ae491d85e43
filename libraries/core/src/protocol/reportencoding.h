#pragma once

#include <QByteArray>
#include <QString>

// The 8-bit character set of the core library, one byte a character: ASCII up to 127, above that the table
// of reportencoding.cpp, and for every other character the byte FF with its UTF-8 bytes behind it. No state;
// any thread.

// A byte order mark is dropped wherever it stands; a surrogate without its partner becomes U+FFFD.
[[nodiscard]] QByteArray toReportEncoding(const QString &text);

// The text of such bytes. An escape without a whole character behind it becomes U+FFFD for its one byte.
[[nodiscard]] QString fromReportEncoding(const QByteArray &bytes);
