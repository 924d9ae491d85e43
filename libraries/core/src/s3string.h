#pragma once

#include <QString>

// The library's string type: a QString with the operations that its code wants everywhere.
// It adds no data and converts freely from and to QString.
class s3String : public QString
{
public:
    using QString::QString;
    s3String() = default;
    s3String(const QString &text) : QString(text) { }
    s3String(QString &&text) noexcept : QString(std::move(text)) { }

    // A copy in which each slash is a backslash, and the other way round.
    [[nodiscard]] s3String toBackslashes() const;
    [[nodiscard]] s3String toForwardSlashes() const;

    // Whether the text is the word "true" in any case with blanks around it allowed, or a number other
    // than 0.
    [[nodiscard]] bool toBool() const;

    // Resolves "%NAME%" and then "${NAME}" from the process's environment, in place. Each form is
    // applied once; an unknown name stays as written.
    s3String &expandEnvironmentStrings();
};
