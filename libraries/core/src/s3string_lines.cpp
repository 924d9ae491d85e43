#include "s3string.h"

#include "s3stringtokenizer.h"

#include <algorithm>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

// The carriage returns and line feeds of a text, one after the other. Each of the two is looked for with
// its own search, so that a text with few or none of one kind is passed over at full speed.
class LineEndCursor
{
public:
    explicit LineEndCursor(const QString &text)
        : m_text(text), m_return(find(u'\r', 0)), m_feed(find(u'\n', 0))
    {
    }

    // The position of the next of both, the length of the text behind the last one.
    [[nodiscard]] qsizetype position() const { return std::min(m_return, m_feed); }
    [[nodiscard]] bool atFeed() const { return m_feed < m_return; }
    // Whether a carriage return is still to come.
    [[nodiscard]] bool hasReturn() const { return m_return < m_text.size(); }
    void advance()
    {
        if (atFeed())
            m_feed = find(u'\n', m_feed + 1);
        else
            m_return = find(u'\r', m_return + 1);
    }

private:
    [[nodiscard]] qsizetype find(QChar ch, qsizetype from) const
    {
        const qsizetype found = m_text.indexOf(ch, from);
        return found < 0 ? m_text.size() : found;
    }

    QStringView m_text;
    qsizetype m_return;
    qsizetype m_feed;
};

// The length of a text of `length` units, at whose first line end `cursor` is, without carriage returns and
// with `feedLength` units for each line feed.
qsizetype lengthWithLineEnds(qsizetype length, LineEndCursor cursor, qsizetype feedLength)
{
    qsizetype result = length;
    for (; cursor.position() < length; cursor.advance())
        result += cursor.atFeed() ? feedLength - 1 : -1;
    return result;
}

}

s3String &s3String::replaceLineEnds(const QString &replacement)
{
    const qsizetype feedLength = replacement.size();
    const bool feedStays = feedLength == 1 && replacement.front() == u'\n';
    LineEndCursor cursor(*this);
    if (cursor.position() == size() || (feedStays && !cursor.hasReturn()))
        return *this;
    // One pass. A text that does not grow is put together in its own buffer if it is nobody else's: the
    // place of writing is never before the place of reading.
    const bool inPlace = feedLength <= 1 && isDetached();
    QString other;
    if (!inPlace)
        other = QString(feedLength <= 1 ? size() : lengthWithLineEnds(size(), cursor, feedLength),
                        Qt::Uninitialized);
    QChar *const begin = inPlace ? data() : other.data();
    QChar *out = begin;
    const QChar *const in = constData();
    qsizetype copied = 0;
    for (;; cursor.advance()) {
        const qsizetype position = cursor.position();
        const auto length = size_t(position - copied);
        // Text before the first change in its own buffer is where it belongs.
        if (out != in + copied)
            std::memmove(out, in + copied, length * sizeof(QChar));
        out += length;
        if (position == size())
            break;
        copied = position + 1;
        if (cursor.atFeed())
            out = std::copy(replacement.cbegin(), replacement.cend(), out);
    }
    const qsizetype length = out - begin;
    if (!inPlace)
        QString::swap(other);
    truncate(length);
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
