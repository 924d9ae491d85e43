#include "s3string.h"

#include "s3char.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <bit>

using namespace Qt::StringLiterals;

namespace
{

// What \s means in the library's expressions, which take no Unicode properties into account.
bool isAsciiSpace(QChar ch)
{
    return ch == u' ' || (ch >= u'\t' && ch <= u'\r');
}

}

QString s3String::textOf(const QVariant &value)
{
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

bool s3String::equalsUtf8(const char *utf8) const
{
    return QString::compare(QString::fromUtf8(utf8)) == 0;
}

quint32 s3String::hash() const
{
    const auto add = [](quint32 hash, quint32 unit) {
        return std::rotl(hash, 5) ^ unit;
    };
    const QChar *units = constData();
    const qsizetype words = size() / 2;
    auto hash = quint32(size());
    for (qsizetype i = 0; i < words; ++i, units += 2)
        hash = add(hash, quint32(units[0].unicode()) | quint32(units[1].unicode()) << 16);
    if (size() % 2 != 0) {
        hash = add(hash, units[0].unicode());
        // The terminating null, which raw data need not have.
        hash = add(hash, 0);
    }
    return hash;
}

bool s3String::isBlank() const
{
    return std::all_of(cbegin(), cend(), [](QChar ch) { return ch.isSpace(); });
}

s3String s3String::escapeNonPrintable() const
{
    const auto stays = [](QChar ch) {
        const char16_t unit = ch.unicode();
        if (unit < 0x7f)
            return unit >= 0x20 || unit == u'\t' || unit == u'\n' || unit == u'\r';
        return ch.isPrint();
    };
    const QChar *const end = cend();
    const QChar *run = cbegin();
    const QChar *bad = std::find_if_not(run, end, stays);
    if (bad == end)
        return *this;
    QString result;
    result.reserve(size() + 16);
    while (bad != end) {
        result.append(run, bad - run);
        result += u'\\' + QString::number(bad->unicode()).rightJustified(3, u'0');
        run = bad + 1;
        bad = std::find_if_not(run, end, stays);
    }
    result.append(run, end - run);
    return result;
}

s3String s3String::shortProductName() const
{
    s3String result = *this;
    result.replace(u"zerk ERP"_s, u"Zerk"_s);
    return result;
}

bool s3String::removePrefix(const QString &prefix, Qt::CaseSensitivity cs)
{
    if (prefix.isEmpty() || !startsWith(prefix, cs))
        return false;
    remove(0, prefix.size());
    return true;
}

bool s3String::removePrefix(QChar prefix, Qt::CaseSensitivity cs)
{
    if (!startsWith(prefix, cs))
        return false;
    remove(0, 1);
    return true;
}

bool s3String::startsWithAny(const QStringList &prefixes, Qt::CaseSensitivity cs) const
{
    return std::any_of(prefixes.cbegin(), prefixes.cend(),
                       [&](const QString &prefix) { return startsWith(prefix, cs); });
}

s3String &s3String::trimLeading(QChar ch)
{
    const auto end = std::find_if(cbegin(), cend(), [ch](QChar other) { return other != ch; });
    remove(0, end - cbegin());
    return *this;
}

s3String &s3String::trimTrailing(QChar ch)
{
    qsizetype length = size();
    while (length > 0 && at(length - 1) == ch)
        --length;
    truncate(length);
    return *this;
}

s3String &s3String::trim(QChar ch)
{
    return trimTrailing(ch).trimLeading(ch);
}

s3String &s3String::trimBlanks()
{
    return trim(u' ');
}

s3String s3String::inParentheses() const
{
    return u'(' + *this + u')';
}

s3String s3String::quoted() const
{
    return u'"' + *this + u'"';
}

s3String s3String::unquoted() const
{
    if (size() > 1 && front() == u'"' && back() == u'"')
        return sliced(1, size() - 2);
    return *this;
}

s3String &s3String::removeMnemonics()
{
    qsizetype mark = indexOf(u'&');
    if (mark < 0 || mark == size() - 1)
        return *this;
    QString result;
    result.reserve(size());
    qsizetype copied = 0;
    // The character behind a removed mark is passed over, so that "&&" leaves one.
    for (; mark >= 0 && mark < size() - 1; mark = indexOf(u'&', mark + 2)) {
        result.append(constData() + copied, mark - copied);
        copied = mark + 1;
    }
    result.append(constData() + copied, size() - copied);
    return *this = std::move(result);
}

QChar s3String::mnemonic() const
{
    QChar result;
    for (qsizetype pos = indexOf(u'&'); pos >= 0 && pos < size() - 1; pos = indexOf(u'&', pos + 2)) {
        if (at(pos + 1) != u'&')
            result = at(pos + 1);
    }
    return result;
}

s3String s3String::toBackslashes() const
{
    s3String result = *this;
    result.replace(u'/', u'\\');
    return result;
}

s3String s3String::toForwardSlashes() const
{
    s3String result = *this;
    result.replace(u'\\', u'/');
    return result;
}

s3String s3String::doubleBackslashes() const
{
    s3String result = *this;
    result.replace(u"\\"_s, u"\\\\"_s);
    return result;
}

s3String s3String::elide(int maxLength) const
{
    static constexpr auto dots = "..."_L1;
    if (maxLength <= 0 || size() <= maxLength)
        return *this;
    if (maxLength < 4)
        return first(maxLength);
    const qsizetype room = maxLength - dots.size();
    if (*this == QFileInfo(*this).fileName())
        return first(room) + dots;
    return first((room + 1) / 2) + dots + last(room / 2);
}

qint64 s3String::indexOfNth(QChar ch, int n, int from, Qt::CaseSensitivity cs) const
{
    if (n < 1)
        return -1;
    qsizetype pos = indexOf(ch, from, cs);
    for (int hit = 1; hit < n && pos >= 0; ++hit)
        pos = indexOf(ch, pos + 1, cs);
    return pos;
}

s3String s3String::section(QChar separator, int index, Qt::CaseSensitivity cs) const
{
    if (index < 0)
        return {};
    qsizetype start = 0;
    if (index > 0) {
        const qint64 before = indexOfNth(separator, index, 0, cs);
        if (before < 0)
            return {};
        start = before + 1;
    }
    const qsizetype end = indexOf(separator, start, cs);
    return sliced(start, (end < 0 ? size() : end) - start);
}

qint64 s3String::indexOfWord(const QString &word, qint64 from, bool caseSensitive, bool wholeWord) const
{
    if (isEmpty() || word.isEmpty())
        return -1;
    const Qt::CaseSensitivity cs = caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    const auto isWordCharacterAt = [this](qsizetype pos) {
        return pos >= 0 && pos < size() && s3Char(at(pos)).isWordCharacter();
    };
    qsizetype start = from;
    while (true) {
        const qsizetype hit = indexOf(word, start, cs);
        if (hit < 0 || !wholeWord || (!isWordCharacterAt(hit - 1) && !isWordCharacterAt(hit + word.size())))
            return hit;
        start = hit + 1;
        if (start >= size())
            return hit;
    }
}

s3String &s3String::replace(const QString &before, QChar after, Qt::CaseSensitivity cs)
{
    QString::replace(before.constData(), before.size(), &after, 1, cs);
    return *this;
}

QStringList s3String::splitWords() const
{
    static const QRegularExpression space(u"\\s+"_s);
    return split(space, Qt::SkipEmptyParts);
}

bool s3String::toBool() const
{
    // The expression "^\s*true\s*$" without regard to case, by hand: an engine costs more than the text.
    const auto firstOther = [](const QChar *from, const QChar *to) {
        return std::find_if_not(from, to, isAsciiSpace);
    };
    const QChar *const end = cend();
    const QChar *const word = firstOther(cbegin(), end);
    if (end - word >= 4 && (word[0] == u't' || word[0] == u'T')
        && QStringView(word, 4).compare("true"_L1, Qt::CaseInsensitive) == 0
        && firstOther(word + 4, end) == end)
        return true;
    // No decimal number begins with a letter, whatever other space may stand before it.
    const QChar *const number = std::find_if_not(word, end, [](QChar ch) { return ch.isSpace(); });
    if (number == end || (number->unicode() < 128 && number->isLetter()))
        return false;
    return toInt() != 0;
}

double s3String::toDouble(const QString &decimalSeparator, const QString &groupSeparator) const
{
    QString number = *this;
    if (!groupSeparator.isEmpty())
        number.remove(groupSeparator);
    if (!decimalSeparator.isEmpty())
        number.replace(decimalSeparator, u"."_s);
    return number.toDouble();
}

bool s3String::isAscii(const char *text)
{
    if (text == nullptr)
        return false;
    while (*text != '\0') {
        if (static_cast<unsigned char>(*text++) >= 128)
            return false;
    }
    return true;
}
