#pragma once

#include <QString>

// One variable of the process's environment with the value to restore.
//
// The environment is the process's: changes belong to one thread (platform/environment.h). On Linux,
// texts pass through the locale's encoding, so a value with bytes that are no text there is restored as
// that text.
class s3EnvironmentVariable
{
public:
    // Reads the variable `name` and keeps what it reads as the value to restore. An empty name stands for
    // no variable: nothing is read or set.
    explicit s3EnvironmentVariable(const QString &name);

    // Reads the variable again; empty when it is not set.
    QString &read();

    // Sets the variable, then reads it. An empty `newValue` removes it.
    void set(const QString &newValue);

    // Read the variable again: whether it is set, be it to an empty text, and whether its text is empty.
    [[nodiscard]] bool isSet();
    [[nodiscard]] bool isEmpty();

    // Removes the variable when it has a text.
    void clear();

    // Sets the variable to what it was at construction, so removes it when it was not set or empty.
    void restore();

    [[nodiscard]] const QString &name() const { return m_name; }
    // What was last read; the environment is not asked again.
    [[nodiscard]] const QString &value() const { return m_value; }
    [[nodiscard]] const QString &savedValue() const { return m_savedValue; }

private:
    QString m_name;
    QString m_value;
    QString m_savedValue;
};
