#pragma once

#include "s3code.h"

#include <QString>

// How the ERP server writes numbers: a decimal point and a group separator of its own, and a second pair
// for fields whose numbers follow the user's language. A value; thread-safe as any value is.
class s3NumberFormat
{
public:
    s3NumberFormat() = default;
    s3NumberFormat(QString decimalPoint, QString groupSeparator, QString alternativeDecimalPoint,
                   QString alternativeGroupSeparator);

    [[nodiscard]] QString decimalPoint() const { return m_decimalPoint; }
    [[nodiscard]] QString groupSeparator() const { return m_groupSeparator; }
    [[nodiscard]] QString alternativeDecimalPoint() const { return m_alternativeDecimalPoint; }
    [[nodiscard]] QString alternativeGroupSeparator() const { return m_alternativeGroupSeparator; }

    // Whether the server sent a format: both decimal points are there.
    [[nodiscard]] bool isPresent() const
    {
        return !m_decimalPoint.isEmpty() && !m_alternativeDecimalPoint.isEmpty();
    }

    // The decimal point of a number of the given class (s3NumberClass): empty for all but reals, "." for
    // language-independent ones, else the language's or the server's.
    [[nodiscard]] QString decimalPoint(s3NumberClassFlags flags) const;

    // The group separator of a number of the given class: empty for what is no number, for
    // language-independent ones, and for reals with the language's decimal point but without its groups.
    [[nodiscard]] QString groupSeparator(s3NumberClassFlags flags) const;

    // The group separator that fits the decimal point: the language's if both decimal points are the
    // same, that of the C locale if only its decimal point is used, else the server's.
    [[nodiscard]] QString effectiveGroupSeparator() const;

    // The four texts for diagnosis: {"1", "2", "3", "4"}. Nothing is escaped.
    [[nodiscard]] QString toString() const;

    friend bool operator==(const s3NumberFormat &, const s3NumberFormat &) = default;

private:
    QString m_decimalPoint;
    QString m_groupSeparator;
    QString m_alternativeDecimalPoint;
    QString m_alternativeGroupSeparator;
};
