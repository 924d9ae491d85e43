#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mapi
{

// Diagnosis for administrators: one line of what was decided and why, appended to the file that
// OSTRELLE_MAPI_LOG names by an absolute path (created for the owner only, no link is followed), with the
// time in UTC and the number of the process in front; also to GLib's log at debug level. Bytes that would
// end the line or change a terminal are shown as "\xHH". Never the text of a mail. Any thread; a log that
// cannot be written does not matter.
void logLine(std::string_view line) noexcept;

// Each text in quotes, with blanks between, so that it can be seen where an argument ends.
[[nodiscard]] std::string quotedList(const std::vector<std::string> &texts);

}
