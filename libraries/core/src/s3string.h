#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <concepts>
#include <type_traits>
#include <utility>

class QColor;
class QModelIndex;
class QPoint;
class QRect;
class QSize;

// The library's string type: a QString with the operations that its code wants everywhere and that
// Qt does not offer in that form. It adds no data, converts freely from and to QString, and like
// QString is a value: one object belongs to one thread at a time.
//
// Operations that return `s3String &` or bool and are not const change the string in place; the
// others give a new text. Positions and lengths count UTF-16 code units. `cs` defaults to case-sensitive.
class s3String : public QString
{
public:
    using QString::QString;
    s3String() = default;
    s3String(const QString &text) : QString(text) { }
    s3String(QString &&text) noexcept : QString(std::move(text)) { }

    // One Latin-1 character. Constrained, as an ordinary char parameter would also take char16_t.
    template <std::same_as<char> Char> s3String(Char ch) : QString(QLatin1Char(ch)) { }

    // The text of a variant that holds a QString; empty for every other type, no conversion takes
    // place. Constrained, as QVariant itself converts from nearly everything.
    template <std::same_as<QVariant> Variant> s3String(const Variant &value) : QString(textOf(value)) { }

    s3String(const s3String &) = default;
    s3String(s3String &&) noexcept = default;
    s3String &operator=(const s3String &) = default;
    s3String &operator=(s3String &&) noexcept = default;
    ~s3String() = default;

    s3String &operator=(const QString &text)
    {
        QString::operator=(text);
        return *this;
    }
    s3String &operator=(QString &&text) noexcept
    {
        QString::operator=(std::move(text));
        return *this;
    }
    s3String &operator=(QLatin1String text)
    {
        QString::operator=(text);
        return *this;
    }
    s3String &operator=(QChar ch)
    {
        QString::operator=(ch);
        return *this;
    }
    template <std::same_as<char> Char> s3String &operator=(Char ch) { return *this = QChar(QLatin1Char(ch)); }
    template <std::same_as<QVariant> Variant> s3String &operator=(const Variant &value)
    {
        return *this = textOf(value);
    }

    using QString::append;
    s3String &append(const QString &text)
    {
        QString::append(text);
        return *this;
    }
    s3String &append(QChar ch)
    {
        QString::append(ch);
        return *this;
    }
    template <std::same_as<char> Char> s3String &append(Char ch) { return append(QChar(QLatin1Char(ch))); }

    // Compares with UTF-8 text; a null pointer equals the empty string.
    [[nodiscard]] friend bool operator==(const s3String &text, const char *utf8)
    {
        return text.equalsUtf8(utf8);
    }

    // A 32-bit hash of the code units, the same on every platform and in every run. It is not QHash's.
    // For an odd length the terminating null takes part as one more unit: stored hashes depend on it.
    [[nodiscard]] quint32 hash() const;

    // Whether every character is a space (QChar::isSpace); true for the empty string.
    [[nodiscard]] bool isBlank() const;

    // A copy in which each code unit that is neither printable nor tab, line feed or carriage return
    // is a backslash and its decimal code of at least three digits. Halves of surrogate pairs count as
    // not printable. A string without such a unit is returned as it is and shares its data.
    [[nodiscard]] s3String escapeNonPrintable() const;

    // UTF-8 in percent encoding that keeps letters, digits, "-._~", "!/()*':" and percent signs, so
    // that text which is encoded already can go through again. A literal percent sign therefore cannot
    // be told from an encoded one.
    [[nodiscard]] s3String toPercentEncoded() const;

    // UTF-8 in percent encoding that keeps only letters, digits and "-._~" (RFC 3986, 2.3).
    [[nodiscard]] s3String toPercentEncodedAll() const;

    // Decodes "+" to a blank and "%xx" to a byte of UTF-8. A percent sign without a number behind it
    // stays. Where anything was decoded the text ends at the first null byte.
    [[nodiscard]] s3String fromPercentEncoded() const;

    // A copy with the short product name: each "zerk ERP" is "Zerk".
    [[nodiscard]] s3String shortProductName() const;

    // Removes each carriage return and then puts `replacement` in place of each line feed.
    s3String &replaceLineEnds(const QString &replacement);

    // Copies with "\r\n", "\n" and ";" for line ends, see replaceLineEnds.
    [[nodiscard]] s3String toCrLf() const;
    [[nodiscard]] s3String toLf() const;
    [[nodiscard]] s3String toSemicolonLines() const;

    // Removes `prefix` where the string begins with it and says whether it did. False for an empty prefix.
    bool removePrefix(const QString &prefix, Qt::CaseSensitivity cs = Qt::CaseSensitive);
    bool removePrefix(QChar prefix, Qt::CaseSensitivity cs = Qt::CaseSensitive);
    template <std::same_as<char> Char>
    bool removePrefix(Char prefix, Qt::CaseSensitivity cs = Qt::CaseSensitive)
    {
        return removePrefix(QChar(QLatin1Char(prefix)), cs);
    }

    // Whether the string begins with one of `prefixes`.
    [[nodiscard]] bool startsWithAny(const QStringList &prefixes,
                                     Qt::CaseSensitivity cs = Qt::CaseSensitive) const;

    // Remove each `ch` at the beginning, at the end, at both.
    s3String &trimLeading(QChar ch);
    s3String &trimTrailing(QChar ch);
    s3String &trim(QChar ch);

    // Removes blanks at both ends. Only U+0020: tabs and other spaces stay, unlike QString::trimmed.
    s3String &trimBlanks();

    // The text in parentheses, and in double quotes; nothing inside is escaped.
    [[nodiscard]] s3String inParentheses() const;
    [[nodiscard]] s3String quoted() const;

    // The part between a double quote in the first and one in the last place; otherwise the string.
    [[nodiscard]] s3String unquoted() const;

    // Removes one line feed at the very end with the carriage returns before it and the ASCII white
    // space behind it. Of several line ends the others stay.
    s3String &removeTrailingLineEnd();

    // Removes the mnemonic marks of a menu text: each "&" but a last one; "&&" leaves one.
    s3String &removeMnemonics();

    // The character behind the last single "&", a null QChar when there is none. The last one, as it
    // is the one that a menu with several marks reacts to.
    [[nodiscard]] QChar mnemonic() const;

    // The number of line feeds plus 1; 0 for the empty string.
    [[nodiscard]] qint64 lineCount() const;

    // The length of the longest line; line ends do not count.
    [[nodiscard]] qint64 longestLineLength() const;

    // Lines `first` to `last`, counted from 1, with line feeds as line ends. `keepLineEnd` closes a
    // result that is not empty with a line feed. Empty when `last` is below `first`. A `first` beyond
    // the last line gives the text from its start: callers page through texts of unknown length with it.
    [[nodiscard]] s3String lines(int first, int last, bool keepLineEnd = false) const;

    // Copies in which each slash is a backslash, each backslash is a slash, each backslash is doubled.
    [[nodiscard]] s3String toBackslashes() const;
    [[nodiscard]] s3String toForwardSlashes() const;
    [[nodiscard]] s3String doubleBackslashes() const;

    // The text cut to `maxLength` units with "..." for what is left out: at the end of a plain file
    // name, in the middle of a path. Below 4 units there is no room for the dots; 0 or less cuts nothing.
    [[nodiscard]] s3String elide(int maxLength) const;

    // The position of the `n`-th `ch` at or behind `from`, counted from 1; -1 when there is none.
    [[nodiscard]] qint64 indexOfNth(QChar ch, int n, int from = 0,
                                    Qt::CaseSensitivity cs = Qt::CaseSensitive) const;

    // Field `index`, counted from 0, of a text separated by `separator`; empty where there is no such
    // field. QString::section, which this hides, counts a range and from both ends.
    [[nodiscard]] s3String section(QChar separator, int index,
                                   Qt::CaseSensitivity cs = Qt::CaseSensitive) const;

    // The position of `word` at or behind `from`, -1 when there is none. `wholeWord` passes over hits
    // with a word character (s3Char::isWordCharacter) on either side, except for a hit on the last
    // character of the string: nothing is left to search behind it, and it is the result as it is.
    [[nodiscard]] qint64 indexOfWord(const QString &word, qint64 from = 0, bool caseSensitive = true,
                                     bool wholeWord = false) const;

    using QString::replace;
    // Replaces each `before` by one character.
    s3String &replace(const QString &before, QChar after, Qt::CaseSensitivity cs = Qt::CaseSensitive);

    // The parts between runs of ASCII white space; no part is empty.
    [[nodiscard]] QStringList splitWords() const;

    // Whether the text is the word "true" in any case with white space around it allowed, or a decimal
    // number of 32 bits other than 0.
    [[nodiscard]] bool toBool() const;

    using QString::toDouble;
    // The number in a text with its own separators; 0 when it is none. Empty separators are left out.
    [[nodiscard]] double toDouble(const QString &decimalSeparator, const QString &groupSeparator) const;

    // Whether no byte of `text` is above 127. False for a null pointer.
    [[nodiscard]] static bool isAscii(const char *text);

    // Resolves "%NAME%" and then "${NAME}" from a snapshot of the process's environment. A name is at
    // least one character and compares like the system's names; an unknown one stays as written, marks
    // included. Each form is applied once to the text as it is then: one reference after the other, each
    // time wherever it stands. So what "%NAME%" brings in passes through the "${NAME}" form only, and
    // what that brings in stays.
    // Test flag 277 switches the expansion off: the text stays as it is. Flag 276 traces it.
    s3String &expandEnvironmentStrings();

    // Resolves references to numbered messages, "Xmsg(12)" or "Xmsg(12, further text)", and gives their
    // number. A message's text stands in with `withText`, otherwise its key in parentheses (s3Message,
    // s3MessageKey). Text behind the comma is dropped; a double quote in it lets the reference run on to
    // the first quote with a parenthesis behind it. What is no number, or 0, stays and does not count.
    // Precondition: each "Xmsg(" has a ")" somewhere behind it. For an unclosed one the search finds the
    // same place again and again, and the call does not return.
    int expandMessageReferences(bool withText);

    using QString::arg;
    // `format` with its placeholders %1 to %9 filled by one to nine texts, all at once: a "%" in a text
    // is never taken for a placeholder. On an object this means the same, so `text.arg(a, b)` with two
    // texts takes `a` for the format; the forms with one value or a number are QString's own.
    template <class Format, class... Values>
    requires(sizeof...(Values) >= 1 && sizeof...(Values) <= 9
             && std::is_convertible_v<Format, QString> && (std::is_convertible_v<Values, QString> && ...))
        [[nodiscard]] static QString arg(Format &&format, Values &&...values)
    {
        const QString pattern(std::forward<Format>(format));
        if constexpr (sizeof...(Values) == 1)
            return pattern.arg(QString(std::forward<Values>(values))..., 0, QChar(u' '));
        else
            return pattern.arg(QString(std::forward<Values>(values))...);
    }

    // The text forms of values that trace, reports and settings share.

    // "true" or "false".
    [[nodiscard]] static QString fromBool(bool value);
    // As QString::number.
    [[nodiscard]] static QString fromInt(int value, int base = 10);
    // Lower-case hexadecimal, filled with zeros to `width` digits (0 means 16) and never cut, behind
    // "0x" where `prefix` is set.
    [[nodiscard]] static QString fromHex(quint64 value, int width = 0, bool prefix = true);
    // `format` with `first` for %1 and `second` for %2.
    [[nodiscard]] static QString fromPair(int first, int second, const QString &format);
    // "(x, y)", "(width x height)", "((left, top), (right, bottom), (width x height))", "(row, column)".
    [[nodiscard]] static QString fromPoint(QPoint point);
    [[nodiscard]] static QString fromSize(QSize size);
    [[nodiscard]] static QString fromRect(const QRect &rect);
    [[nodiscard]] static QString fromModelIndex(const QModelIndex &index);
    // QColor::name and, unless it is opaque, ", 0x" and the alpha. "invalid" for an invalid colour and
    // empty for transparent black, the usual "nothing".
    [[nodiscard]] static QString fromColor(const QColor &color);
    // `{ "a", "b" }`, or "{ }". Double quotes inside an item are not escaped.
    [[nodiscard]] static QString fromStringList(const QStringList &list);
    // At most `decimals` decimals, without zeros at their end, and with `groupSeparator`, when it is
    // not empty, at the thousands from 1000 on. The value is moved away from zero by 1e-10 first so
    // that decimal halves round up.
    [[nodiscard]] static QString fromDouble(double value, int decimals, const QString &decimalSeparator,
                                            const QString &groupSeparator);
    // The bytes as "0xnn", joined by ", ".
    [[nodiscard]] static QString fromBytesHex(const QByteArray &bytes);
    // The code units of this string as "0xnnnn", joined by ", ".
    [[nodiscard]] QString toHexList() const;

private:
    [[nodiscard]] static QString textOf(const QVariant &value);
    [[nodiscard]] bool equalsUtf8(const char *utf8) const;
};

Q_DECLARE_TYPEINFO(s3String, Q_RELOCATABLE_TYPE);
