#include "platform/symbolname.h"

#include <cstdlib>
#include <memory>
#include <string_view>

#include <cxxabi.h>

namespace platform
{

namespace
{

constexpr auto npos = std::string_view::npos;

// The end of a name that is followed by qualifiers of a member function or by the compiler's marks of a
// clone: behind the last parenthesis.
std::string_view withoutQualifiers(std::string_view name)
{
    const std::size_t last = name.rfind(')');
    return last == npos ? name : name.substr(0, last + 1);
}

// Where the parenthesis that ends `name` was opened.
std::size_t openingOf(std::string_view name)
{
    int depth = 0;
    for (std::size_t i = name.size(); i-- > 0;) {
        if (name[i] == ')')
            ++depth;
        else if (name[i] == '(' && --depth == 0)
            return i;
    }
    return npos;
}

std::string_view withoutParameters(std::string_view name)
{
    const std::string_view call = withoutQualifiers(name);
    const std::size_t open = call.ends_with(')') ? openingOf(call) : npos;
    // A name without parameters may end in "(anonymous namespace)::x" or begin with a parenthesis.
    if (open == npos || open == 0 || name.substr(call.size()).starts_with("::"))
        return name;
    return name.substr(0, open);
}

// Behind the last blank that stands outside of all brackets; an operator's name may hold blanks itself.
std::string_view withoutResult(std::string_view name)
{
    const std::size_t operatorName = name.find("operator");
    const std::string_view searched = name.substr(0, operatorName);
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < searched.size(); ++i) {
        const char c = searched[i];
        if (c == '<' || c == '(' || c == '{' || c == '[')
            ++depth;
        else if (c == '>' || c == ')' || c == '}' || c == ']')
            --depth;
        else if (c == ' ' && depth == 0)
            start = i + 1;
    }
    return name.substr(start);
}

}

QString symbolName(const char *symbol)
{
    if (std::string_view(symbol).starts_with("_Z")) {
        int status = 0;
        const std::unique_ptr<char, decltype(&std::free)> decoded(
            abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
        if (decoded != nullptr && status == 0) {
            const std::string_view name = decoded.get();
            // Only what has parameters is a function; "vtable for X" and the like stay whole.
            const std::string_view function = withoutParameters(name);
            const std::string_view shown = function.size() < name.size() ? withoutResult(function) : name;
            return QString::fromUtf8(shown.data(), static_cast<qsizetype>(shown.size()));
        }
    }
    return QString::fromUtf8(symbol);
}

}
