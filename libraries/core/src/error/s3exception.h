#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// What a failed assertion throws when test flag 191 is on, so that a developer's harness can catch it.
// Nothing else in the library throws it.
class s3Exception : public std::exception
{
public:
    explicit s3Exception(const QString &text);

    // The text in UTF-8. It lives as long as this object.
    [[nodiscard]] const char *what() const noexcept override;

private:
    QByteArray message;
};
