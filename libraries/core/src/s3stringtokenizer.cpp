#include "s3stringtokenizer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// Whether `list` inside the brackets of a character class stands for just its characters.
bool isPlainList(const QString &list)
{
    if (list.isEmpty() || list.front() == u'^')
        return false;
    return std::none_of(list.cbegin(), list.cend(), [](QChar ch) {
        return ch == u'\\' || ch == u'[' || ch == u']' || ch == u'-' || ch.isSurrogate();
    });
}

// `text` with a replacement character for each half of a surrogate pair that stands alone: the matching
// engine refuses a text with such halves as a whole, and the positions must stay.
QString wellFormed(const QString &text)
{
    if (text.isValidUtf16())
        return text;
    QString result = text;
    for (qsizetype i = 0; i < result.size(); ++i) {
        if (!result.at(i).isSurrogate())
            continue;
        if (result.at(i).isHighSurrogate() && i + 1 < result.size() && result.at(i + 1).isLowSurrogate())
            ++i;
        else
            result[i] = QChar(QChar::ReplacementCharacter);
    }
    return result;
}

}

s3StringTokenizer::Delimiters::Delimiters(const QString &list)
{
    if (!isPlainList(list)) {
        expressions.emplace(Expressions{QRegularExpression(u"[^"_s + list + u']'),
                                        QRegularExpression(u'[' + list + u']'),
                                        !list.contains(u'[') && !list.contains(u']')});
        return;
    }
    hasTable = true;
    ascii.fill(Other);
    for (const QChar ch : list) {
        if (ch.unicode() < ascii.size())
            ascii[ch.unicode()] = Delimiter;
        else
            others += ch;
    }
}

void s3StringTokenizer::Delimiters::tabulateExpressions()
{
    // With a bracket inside, an expression may be more than a class and match more than one character.
    if (isPlain() || !expressions->isOneClass || !expressions->nonDelimiter.isValid()
        || !expressions->delimiter.isValid())
        return;
    hasTable = true;
    for (size_t code = 0; code < ascii.size(); ++code) {
        const QString ch = QChar(char16_t(code));
        ascii[code] = quint8((expressions->nonDelimiter.match(ch).hasMatch() ? Other : 0)
                             | (expressions->delimiter.match(ch).hasMatch() ? Delimiter : 0));
    }
}

s3StringTokenizer::s3StringTokenizer(const QString &text, const QString &delimiters, bool trim)
    : m_text(text), m_trim(trim), m_delimiters(delimiters)
{
    // Filling the table costs as much as the tokens of a page or two.
    static constexpr qsizetype worthATable = 4096;
    if (text.size() >= worthATable)
        m_delimiters.tabulateExpressions();
}

QString &s3StringTokenizer::next(const QString &delimiters)
{
    clearToken();
    if (m_position >= m_text.size())
        return m_token;
    std::optional<Delimiters> own;
    if (!delimiters.isEmpty())
        own.emplace(delimiters);
    const Delimiters &active = own.has_value() ? *own : m_delimiters;
    const qsizetype start = find(active, m_position, Delimiters::Other);
    if (start < 0) {
        m_position = m_text.size();
        return m_token;
    }
    const qsizetype end = find(active, start, Delimiters::Delimiter);
    m_position = end < 0 ? m_text.size() : end;
    setToken(start, m_position);
    return m_token;
}

QString &s3StringTokenizer::rest()
{
    clearToken();
    if (m_position < m_text.size()) {
        const qsizetype start = find(m_delimiters, m_position, Delimiters::Other);
        if (start >= 0)
            setToken(start, m_text.size());
    }
    return m_token;
}

qsizetype s3StringTokenizer::find(const Delimiters &delimiters, qsizetype from, Delimiters::Kind kind)
{
    if (delimiters.hasTable) {
        const auto *units = reinterpret_cast<const char16_t *>(m_text.constData());
        const qsizetype size = m_text.size();
        for (; from < size; ++from) {
            const char16_t unit = units[from];
            if (unit < delimiters.ascii.size()) {
                if ((delimiters.ascii[unit] & kind) != 0)
                    return from;
            } else if (!delimiters.isPlain()) {
                break;
            } else if (delimiters.others.contains(QChar(unit)) == (kind == Delimiters::Delimiter)) {
                return from;
            }
        }
        if (from == size)
            return -1;
    }
    const QRegularExpression &expression = kind == Delimiters::Delimiter
        ? delimiters.expressions->delimiter
        : delimiters.expressions->nonDelimiter;
    if (!expression.isValid())
        return -1;
    if (m_subject.isNull())
        m_subject = wellFormed(m_text);
    // The subject is checked already, once; a check per token would make a scan quadratic.
    return expression
        .match(m_subject, from, QRegularExpression::NormalMatch,
               QRegularExpression::DontCheckSubjectStringMatchOption)
        .capturedStart();
}

void s3StringTokenizer::setToken(qsizetype start, qsizetype end)
{
    // The buffer of the token before serves again unless somebody keeps that token.
    m_token.append(QStringView(m_text).sliced(start, end - start));
    if (m_trim)
        m_token.trimBlanks();
}

void s3StringTokenizer::clearToken()
{
    if (m_token.isDetached())
        m_token.resize(0);
    else
        m_token.clear();
}
