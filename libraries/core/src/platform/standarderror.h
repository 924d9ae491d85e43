#pragma once

#include <QString>

namespace platform
{

// What a terminal may be given of `text`: control characters other than line feed and tab, which could
// steer it, become U+FFFD each; a carriage return before a line feed goes.
[[nodiscard]] QString terminalText(const QString &text);

// Writes terminalText(`text`) and a line end to standard error, in the system's 8-bit encoding, at once
// and in one piece. A failed write is ignored: this is where messages end up that could not be shown
// any other way. A process without standard error (a Windows GUI program) writes nothing. Any thread.
void writeToStandardError(const QString &text);

}
