#include "parameterfile.h"

#include "s3file.h"
#include "s3string.h"
#include "textencoding.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

ParameterFile::ParameterFile(const QString &path, const QString &defaultSection)
    : m_fileName(path), m_section(defaultSection.toLower())
{
    s3File file(path);
    if (file.open(QIODevice::ReadOnly))
        read(file);
}

void ParameterFile::read(QIODevice &device)
{
    static const QRegularExpression sectionPattern(u"^\\s*\\[(.*)\\]\\s*$"_s);
    static const QRegularExpression keyPattern(u"^\\s*([^=]+)=(.*)$"_s);

    TextLineReader reader(device);
    QStringView lineInReader;
    QString sectionName;
    while (reader.next(lineInReader)) {
        if (lineInReader.isEmpty())
            continue;
        const QString line = QString::fromRawData(lineInReader.data(), lineInReader.size());
        // The character that a pattern cannot do without is looked for first: on a long line without
        // it the pattern's own search would take time in the square of the length.
        if (line.contains(u']')) {
            const QRegularExpressionMatch head = sectionPattern.match(line);
            if (head.hasMatch()) {
                sectionName = head.captured(1).toLower();
                m_sections[sectionName];
                continue;
            }
        }
        if (line.contains(u'=')) {
            const QRegularExpressionMatch entry = keyPattern.match(line);
            if (entry.hasMatch())
                m_sections[sectionName].insert(entry.captured(1).toLower(), entry.captured(2).trimmed());
        }
    }
}

bool ParameterFile::contains(const QString &key) const
{
    const auto section = m_sections.constFind(m_section);
    return section != m_sections.constEnd() && section->contains(key.toLower());
}

QString ParameterFile::value(const QString &key, const QString &defaultValue) const
{
    const auto section = m_sections.constFind(m_section);
    if (section == m_sections.constEnd())
        return defaultValue;
    return section->value(key.toLower(), defaultValue);
}

int ParameterFile::intValue(const QString &key, int defaultValue) const
{
    return value(key, QString::number(defaultValue)).toInt(nullptr, 0);
}

bool ParameterFile::boolValue(const QString &key, bool defaultValue) const
{
    return s3String(value(key, defaultValue ? u"true"_s : u"false"_s)).toBool();
}
