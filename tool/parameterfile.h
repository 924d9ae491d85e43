#pragma once

#include <QHash>
#include <QString>

class QIODevice;

// A small text file of sections and keys, read whole at construction and never written.
//
// "[name]" opens a section, "key=value" sets a key in it, every other line is ignored. Names of
// sections and keys are compared without case; a key keeps white space in front of its equals sign as
// part of its name; values are trimmed. Two heads of one section add to it, a repeated key keeps its
// last value, keys in front of the first head stand in the section with the empty name.
class ParameterFile
{
public:
    // Reads the file at `path`; its getters ask the section `defaultSection`. A file that cannot be
    // opened gives an object without sections, which answers with every default.
    ParameterFile(const QString &path, const QString &defaultSection);

    // The path as given to the constructor.
    [[nodiscard]] QString fileName() const { return m_fileName; }

    // Whether `key` is in the section.
    [[nodiscard]] bool contains(const QString &key) const;

    // The value of `key`, or `defaultValue` when the section or the key is missing. A key with an
    // empty value gives the empty value.
    [[nodiscard]] QString value(const QString &key, const QString &defaultValue) const;

    // The value as an integer in C notation ("0x10" is 16, "010" is 8), 0 for text that is no number.
    [[nodiscard]] int intValue(const QString &key, int defaultValue) const;

    // The value by the rule of s3String::toBool.
    [[nodiscard]] bool boolValue(const QString &key, bool defaultValue) const;

private:
    using Section = QHash<QString, QString>;

    void read(QIODevice &device);

    QString m_fileName;
    QString m_section;
    QHash<QString, Section> m_sections;
};
