#include "erp/s3version.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// The length of a version in the product's own notation with all its parts, or with the padding.
constexpr qsizetype wholeLength = 12;

// Makes a point of the character at `index` if it is `separator`.
void replaceSeparator(QString &text, qsizetype index, QChar separator)
{
    if (text.size() > index && text.at(index) == separator)
        text[index] = u'.';
}

QString twoDigits(qint32 number)
{
    return QString::number(number).rightJustified(2, u'0');
}

}

s3Version::s3Version(qint32 majorPart, qint32 minorPart, qint32 servicePart, qint32 patchPart)
    : m_major(majorPart), m_minor(minorPart), m_service(servicePart), m_patch(patchPart)
{
}

s3Version::s3Version(const QString &dotted)
{
    const QStringList parts = dotted.split(u'.');
    const auto read = [&](qsizetype index, qint32 &part) {
        if (index < parts.size())
            part = parts.at(index).toInt();
    };
    read(0, m_major);
    read(1, m_minor);
    read(2, m_service);
    read(3, m_patch);
}

s3Version s3Version::fromZerkVersion(const QString &version)
{
    QString text = version.left(wholeLength);
    while (text.endsWith(u'-'))
        text.chop(1);
    // The places are fixed; a minor of two digits is not part of this notation.
    replaceSeparator(text, 4, u'r');
    replaceSeparator(text, 6, u'n');
    replaceSeparator(text, 9, u'p');
    return s3Version(text);
}

QString s3Version::toZerkVersion() const
{
    if (!isValid())
        return QString();
    QString text = u"%1r%2"_s.arg(QString::number(m_major), QString::number(m_minor));
    if (m_service >= 0)
        text += u'n' + twoDigits(m_service);
    if (m_patch > 0)
        text += u'p' + twoDigits(m_patch);
    return text;
}

QString s3Version::toString() const
{
    if (!isValid())
        return QString();
    QStringList parts;
    for (const qint32 number : numberList())
        parts += QString::number(number);
    return parts.join(u'.');
}

QList<qint32> s3Version::numberList() const
{
    QList<qint32> numbers{m_major, m_minor};
    if (m_service >= 0)
        numbers += m_service;
    if (m_service >= 0 && m_patch >= 0)
        numbers += m_patch;
    return numbers;
}

bool s3Version::isValid() const
{
    return *this >= s3Version(0, 0, 0, -1);
}

bool operator==(const s3Version &left, const s3Version &right)
{
    return left.numberList() == right.numberList();
}

std::strong_ordering operator<=>(const s3Version &left, const s3Version &right)
{
    const QList<qint32> leftNumbers = left.numberList();
    const QList<qint32> rightNumbers = right.numberList();
    return std::lexicographical_compare_three_way(leftNumbers.cbegin(), leftNumbers.cend(),
                                                  rightNumbers.cbegin(), rightNumbers.cend());
}

bool s3Version::isAtLeast2100(const QString &version)
{
    return fromZerkVersion(version) >= s3Version(2100, 0, -1, -1);
}

bool s3Version::isAtLeast2101r8n1(const QString &version)
{
    return fromZerkVersion(version) >= s3Version(2101, 8, 1, -1);
}

bool s3Version::isAtLeast2200(const QString &version)
{
    return fromZerkVersion(version) >= s3Version(2200, 0, -1, -1);
}

QString s3ClientVersion()
{
    return u"5.5.0"_s;
}

QString s3ClientIdentification()
{
    return s3ClientVersion().leftJustified(wholeLength, u'-') + u"=----------------2"_s;
}
