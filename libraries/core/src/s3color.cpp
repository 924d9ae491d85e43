#include "s3color.h"

#include "s3colortables.h"

#include <QHash>
#include <QLocale>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 invalidInteger = -1;
constexpr qint32 noChangeInteger = -2;

// The form "#rrggbb".
constexpr qsizetype hexadecimalLength = 7;

// Values of QLocale::Language, in the order of the attempts.
constexpr auto apostropheLanguage = QLocale::Language(276);
constexpr std::array numberLanguages{QLocale::Language(94), QLocale::Language(85), QLocale::Language(1)};

QString toString(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

const QHash<QString, QColor> &brandColors()
{
    static const QHash<QString, QColor> table = [] {
        QHash<QString, QColor> colors;
        colors.reserve(2 * qsizetype(s3BrandColors.size()));
        for (const s3BrandColor &row : s3BrandColors) {
            colors.insert(toString(row.german), QColor(row.rgb));
            colors.insert(toString(row.english), QColor(row.rgb));
        }
        return colors;
    }();
    return table;
}

QColor germanColor(const QString &name)
{
    static const QHash<QString, QColor> table = [] {
        QHash<QString, QColor> colors;
        for (const s3GermanColorWord &row : s3GermanColorWords)
            colors.insert(toString(row.german), QColor::fromString(toString(row.english)));
        return colors;
    }();
    return table.value(name);
}

bool isNegative(QLocale::Language language, const QString &text)
{
    return QLocale(language).toDouble(text) < 0;
}

}

QColor s3ColorFromName(const QString &name)
{
    if (name.isEmpty())
        return {};
    const bool hexadecimal = name.front() == u'#';
    if (hexadecimal && name.size() == hexadecimalLength) {
        if (const QColor color = QColor::fromString(name); color.isValid())
            return color;
    }
    const QHash<QString, QColor> &brands = brandColors();
    if (const auto brand = brands.constFind(name); brand != brands.cend())
        return *brand;
    if (hexadecimal)
        return {};
    const QColor color = QColor::fromString(name);
    return color.isValid() ? color : germanColor(name);
}

QString s3ColorName(const QColor &color)
{
    if (!color.isValid())
        return u"invalid"_s;
    if (s3IsNoChangeColor(color))
        return u"nochange"_s;
    return color.name(color.alpha() != 255 ? QColor::HexArgb : QColor::HexRgb);
}

QColor s3ColorFromVariant(const QVariant &value)
{
    // Not QVariant::canConvert: a text that names a colour is no colour.
    return value.typeId() == QMetaType::QColor ? value.value<QColor>() : QColor();
}

QColor s3ColorFromInt(qint32 value)
{
    if (value == noChangeInteger)
        return s3NoChangeColor();
    if (value == invalidInteger)
        return {};
    const auto bytes = static_cast<quint32>(value);
    return QColor(int(bytes & 0xFF), int(bytes >> 8 & 0xFF), int(bytes >> 16 & 0xFF));
}

qint32 s3ColorToInt(const QColor &color)
{
    return color.isValid() ? color.red() | color.green() << 8 | color.blue() << 16 : invalidInteger;
}

QColor s3NoChangeColor()
{
    static const QColor color(0, 0, 0, 0);
    return color;
}

bool s3IsNoChangeColor(const QColor &color)
{
    return color == s3NoChangeColor();
}

QColor s3DarkerColor(const QColor &color, qint32 step)
{
    if (!color.isValid())
        return color;
    const auto darker = [step](int part) {
        return int(std::clamp<qint64>(qint64(part) - step, 0, 255));
    };
    return QColor(darker(color.red()), darker(color.green()), darker(color.blue()));
}

bool s3ColorLess(const QColor &left, const QColor &right)
{
    if (!right.isValid())
        return false;
    return !left.isValid() || left.rgba() < right.rgba();
}

QColor s3NegativeNumberColor(const QString &text)
{
    if (!text.contains(u'-'))
        return {};
    bool negative = false;
    if (text.contains(u'\'')) {
        QString number = text;
        number.replace(u'\'', QLocale(apostropheLanguage).groupSeparator());
        negative = isNegative(apostropheLanguage, number);
    } else {
        negative = std::ranges::any_of(
            numberLanguages, [&text](QLocale::Language language) { return isNegative(language, text); });
    }
    return negative ? QColor(Qt::red) : QColor();
}
