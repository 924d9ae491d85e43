#pragma once

#include <QString>
#include <QVariant>

// The text of one trace line: a function's qualified name, "()", then its arguments, each behind a
// blank. Built only where a trace site speaks.
class s3TraceText
{
public:
    // Starts with `function` and "()".
    explicit s3TraceText(const QString &function);

    // Appends ` name=value`; the form of the value depends on the type the variant holds: a text stands
    // in double quotes with line feed and tab written as \n and \t, a character in single quotes,
    // string lists, geometry values, model indexes and colours in the forms of s3String, anything
    // else as QVariant::toString gives it.
    s3TraceText &argument(const QString &name, const QVariant &value);

    // Appends ` name=0x...` with 16 hexadecimal digits (8 when the upper half is zero), or
    // ` name=nullptr`.
    s3TraceText &pointer(const QString &name, const void *value);

    // Appends `text` as it is.
    s3TraceText &append(const QString &text);

    [[nodiscard]] QString text() const { return m_text; }

private:
    QString m_text;
};
