#pragma once

#include <string>
#include <utility>
#include <vector>

namespace mapi
{

// One argument of a command line, and how the log shows it: without the text of the mail.
struct Argument {
    Argument(std::string value) : text(value), shown(std::move(value)) { }
    Argument(const char *value) : Argument(std::string(value)) { }
    Argument(std::string value, std::string shownAs) : text(std::move(value)), shown(std::move(shownAs)) { }

    std::string text;
    std::string shown;
};

using Arguments = std::vector<Argument>;

// What stands in the log for the text of a mail.
[[nodiscard]] inline std::string hiddenText(const std::string &text)
{
    return std::string("(").append(std::to_string(text.size())).append(" bytes)");
}

}
