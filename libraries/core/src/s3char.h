#pragma once

#include <QChar>

// A QChar with the library's character classes. It adds no data and converts freely from and to QChar.
class s3Char : public QChar
{
public:
    using QChar::QChar;
    constexpr s3Char() noexcept = default;
    constexpr s3Char(QChar ch) noexcept : QChar(ch) { }

    // The difference of the code units of `a` and `b`, of their case-folded forms when case is ignored.
    [[nodiscard]] static int compare(QChar a, QChar b, Qt::CaseSensitivity cs = Qt::CaseSensitive) noexcept;

    // Whether the character is a letter, a number, a mark or "_".
    [[nodiscard]] bool isWordCharacter() const noexcept;

    // Whether the character is a control code (below 32) that text must not hold. The null, the codes
    // that lay out text and those that the ERP server uses as marks (9, 10, 11, 13, 16, 19, 24, 31)
    // are none.
    [[nodiscard]] bool isInvalidControl() const noexcept;
};
