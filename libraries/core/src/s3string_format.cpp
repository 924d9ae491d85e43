#include "s3string.h"

#include <QAbstractItemModel>
#include <QColor>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <cmath>

using namespace Qt::StringLiterals;

QString s3String::fromBool(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

QString s3String::fromInt(int value, int base)
{
    return QString::number(value, base);
}

QString s3String::fromHex(quint64 value, int width, bool prefix)
{
    const QString digits = QString::number(value, 16).rightJustified(width == 0 ? 16 : width, u'0');
    return prefix ? u"0x"_s + digits : digits;
}

QString s3String::fromPair(int first, int second, const QString &format)
{
    return arg(format, fromInt(first), fromInt(second));
}

QString s3String::fromPoint(QPoint point)
{
    return fromPair(point.x(), point.y(), u"(%1, %2)"_s);
}

QString s3String::fromSize(QSize size)
{
    return fromPair(size.width(), size.height(), u"(%1 x %2)"_s);
}

QString s3String::fromRect(const QRect &rect)
{
    return arg(u"(%1, %2, %3)"_s, fromPoint(rect.topLeft()), fromPoint(rect.bottomRight()),
               fromSize(rect.size()));
}

QString s3String::fromModelIndex(const QModelIndex &index)
{
    return fromPair(index.row(), index.column(), u"(%1, %2)"_s);
}

QString s3String::fromColor(const QColor &color)
{
    if (!color.isValid())
        return u"invalid"_s;
    if (color == QColor(0, 0, 0, 0))
        return QString();
    if (color.alpha() == 255)
        return color.name();
    return color.name() + u", "_s + fromHex(quint64(color.alpha()), 2, true);
}

QString s3String::fromStringList(const QStringList &list)
{
    if (list.isEmpty())
        return u"{ }"_s;
    return u"{ \""_s + list.join(u"\", \""_s) + u"\" }"_s;
}

QString s3String::fromDouble(double value, int decimals, const QString &decimalSeparator,
                             const QString &groupSeparator)
{
    static constexpr double shift = 1e-10;
    static constexpr int groupSize = 3;
    QString text = QString::number(value >= 0 ? value + shift : value - shift, 'f', decimals);
    if (decimals > 0) {
        qsizetype length = text.size();
        while (length > 0 && text.at(length - 1) == u'0')
            --length;
        if (length > 0 && text.at(length - 1) == u'.')
            --length;
        text.truncate(length);
    }
    const qsizetype point = text.indexOf(u'.');
    const qsizetype integerLength = point < 0 ? text.size() : point;
    if (point >= 0)
        text.replace(point, 1, decimalSeparator);
    if (groupSeparator.isEmpty() || std::abs(value) < 1000)
        return text;
    for (qsizetype pos = integerLength - groupSize; pos >= 1; pos -= groupSize) {
        if (pos != 1 || text.front() != u'-')
            text.insert(pos, groupSeparator);
    }
    return text;
}

QString s3String::fromBytesHex(const QByteArray &bytes)
{
    QStringList items;
    items.reserve(bytes.size());
    for (const char byte : bytes)
        items += fromHex(static_cast<unsigned char>(byte), 2, true);
    return items.join(u", "_s);
}

QString s3String::toHexList() const
{
    QStringList items;
    items.reserve(size());
    for (const QChar ch : *this)
        items += fromHex(ch.unicode(), 4, true);
    return items.join(u", "_s);
}
