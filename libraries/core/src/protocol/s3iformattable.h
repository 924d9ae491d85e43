#pragma once

#include <QString>

// An event that can tell its arguments to the event protocol.
class s3IFormattable
{
public:
    virtual ~s3IFormattable() = default;

    // The arguments as one readable text, empty for none.
    [[nodiscard]] virtual QString argumentsText() const = 0;

protected:
    s3IFormattable() = default;
    s3IFormattable(const s3IFormattable &) = default;
    s3IFormattable &operator=(const s3IFormattable &) = default;
};
