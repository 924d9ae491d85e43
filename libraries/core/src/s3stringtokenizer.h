#pragma once

#include "s3string.h"

#include <QRegularExpression>

#include <array>
#include <optional>

// Cuts a text into tokens at the characters of a delimiter list. Runs of delimiters count as one, so
// no token is empty and an empty token ends a scan:
//
//     s3StringTokenizer tokens(text, u"\r\n"_s, false);
//     while (!tokens.next().isEmpty())
//         use(tokens.token());
//
// The list stands as it is inside the brackets of a regular expression: ranges ("a-z"), a leading "^"
// and escapes have their meaning there. A list that is no valid class gives no token.
class s3StringTokenizer
{
public:
    // `trim` removes blanks (U+0020) at both ends of each token. A token of blanks alone then is empty
    // and ends a scan like the end of the text.
    s3StringTokenizer(const QString &text, const QString &delimiters, bool trim = false);

    // The next token; with `delimiters` that are not empty these count for this one call. The reference
    // stays valid as long as the tokenizer; its text until the next call.
    QString &next(const QString &delimiters = QString());

    // Everything from the next character that is not a delimiter to the end, as the token. A further
    // next() goes on from where the last one ended.
    QString &rest();

    // The current token.
    [[nodiscard]] QString &token() { return m_token; }

private:
    // A delimiter list. Most lists name plain characters only; those are looked up in a table, which
    // gives the same answer as the expressions without a matching engine. For a list that is one class of
    // characters, the table of its ASCII part can be asked from the expressions beforehand.
    struct Delimiters {
        explicit Delimiters(const QString &list);
        [[nodiscard]] bool isPlain() const { return !expressions.has_value(); }
        void tabulateExpressions();

        enum Kind : quint8 { Other = 1, Delimiter = 2 };
        struct Expressions {
            QRegularExpression nonDelimiter;
            QRegularExpression delimiter;
            bool isOneClass;
        };
        // The kinds of each ASCII character as flags. With a "^" at the begin it may be both or none.
        std::array<quint8, 128> ascii{};
        QString others;
        std::optional<Expressions> expressions;
        bool hasTable = false;
    };

    // The first position at or behind `from` with a character of that kind; -1 when there is none.
    [[nodiscard]] qsizetype find(const Delimiters &delimiters, qsizetype from, Delimiters::Kind kind);
    void clearToken();
    // Appends the units from `start` to `end` to the cleared token.
    void setToken(qsizetype start, qsizetype end);

    QString m_text;
    QString m_subject;
    s3String m_token;
    qint64 m_position = 0;
    bool m_trim;
    Delimiters m_delimiters;
};
