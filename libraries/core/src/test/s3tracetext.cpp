#include "test/s3tracetext.h"

#include "s3string.h"

#include <QColor>
#include <QModelIndex>
#include <QPoint>
#include <QRect>
#include <QSize>

using namespace Qt::StringLiterals;

namespace
{

// A value in the form that the trace gives to its type.
QString valueText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QChar:
        return u"'%1'"_s.arg(value.toChar());
    case QMetaType::QString:
        return u'"' + value.toString().replace(u'\n', "\\n"_L1).replace(u'\t', "\\t"_L1) + u'"';
    case QMetaType::QStringList:
        return s3String::fromStringList(value.toStringList());
    case QMetaType::QPoint:
        return s3String::fromPoint(value.toPoint());
    case QMetaType::QSize:
        return s3String::fromSize(value.toSize());
    case QMetaType::QRect:
        return s3String::fromRect(value.toRect());
    case QMetaType::QModelIndex:
        return s3String::fromModelIndex(value.toModelIndex());
    case QMetaType::QColor:
        return s3String::fromColor(value.value<QColor>());
    default:
        return value.toString();
    }
}

}

s3TraceText::s3TraceText(const QString &function) : m_text(function + "()"_L1) { }

s3TraceText &s3TraceText::argument(const QString &name, const QVariant &value)
{
    return append(u" %1=%2"_s.arg(name, valueText(value)));
}

s3TraceText &s3TraceText::pointer(const QString &name, const void *value)
{
    if (value == nullptr)
        return append(u" %1=nullptr"_s.arg(name));
    // A value below 2^32 shows 8 digits.
    const QString digits
        = s3String::fromHex(reinterpret_cast<quintptr>(value)).replace("0x00000000"_L1, "0x"_L1);
    return append(u" %1=%2"_s.arg(name, digits));
}

s3TraceText &s3TraceText::append(const QString &text)
{
    m_text += text;
    return *this;
}
