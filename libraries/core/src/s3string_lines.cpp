#include "s3string.h"

#include "s3stringtokenizer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

s3String &s3String::replaceLineEnds(const QString &replacement)
{
    remove(u'\r');
    if (contains(u'\n')) {
        if (replacement.size() == 1) {
            if (replacement.front() != u'\n')
                replace(u'\n', replacement.front());
        } else {
            replace(u"\n"_s, replacement);
        }
    }
    return *this;
}

s3String s3String::toCrLf() const
{
    return s3String(*this).replaceLineEnds(u"\r\n"_s);
}

s3String s3String::toLf() const
{
    return s3String(*this).replaceLineEnds(u"\n"_s);
}

s3String s3String::toSemicolonLines() const
{
    return s3String(*this).replaceLineEnds(u";"_s);
}

s3String &s3String::removeTrailingLineEnd()
{
    // The expression "(\r*\n[^\S\n]*)\z", read from the end: an engine would look at the whole text, and
    // at long runs of carriage returns again and again.
    qsizetype end = size();
    const auto isOtherSpace = [](QChar ch) {
        return ch == u' ' || ch == u'\t' || ch == u'\v' || ch == u'\f' || ch == u'\r';
    };
    while (end > 0 && isOtherSpace(at(end - 1)))
        --end;
    if (end == 0 || at(end - 1) != u'\n')
        return *this;
    --end;
    while (end > 0 && at(end - 1) == u'\r')
        --end;
    truncate(end);
    return *this;
}

qint64 s3String::lineCount() const
{
    return isEmpty() ? 0 : count(u'\n') + 1;
}

qint64 s3String::longestLineLength() const
{
    qint64 longest = 0;
    s3StringTokenizer tokens(*this, u"\r\n"_s, false);
    while (!tokens.next().isEmpty())
        longest = std::max<qint64>(longest, tokens.token().size());
    return longest;
}

s3String s3String::lines(int first, int last, bool keepLineEnd) const
{
    if (last < first)
        return {};
    qsizetype start = 0;
    qsizetype end = size() - 1;
    qint64 line = 1;
    for (qsizetype feed = indexOf(u'\n'); feed >= 0; feed = indexOf(u'\n', feed + 1), ++line) {
        if (line == last) {
            end = feed - 1;
            break;
        }
        if (line + 1 == first)
            start = feed + 1;
    }
    if (end < start)
        return {};
    s3String result = sliced(start, end - start + 1);
    if (keepLineEnd && at(end) != u'\n')
        result.append(u'\n');
    return result.replaceLineEnds(u"\n"_s);
}
