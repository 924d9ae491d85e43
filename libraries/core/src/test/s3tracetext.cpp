#include "test/s3tracetext.h"

using namespace Qt::StringLiterals;

s3TraceText::s3TraceText(const QString &function) : m_text(function + "()"_L1) { }

s3TraceText &s3TraceText::argument(const QString &name, const QVariant &value)
{
    if (value.typeId() == QMetaType::QString) {
        QString text = value.toString();
        text.replace(u'\n', "\\n"_L1).replace(u'\t', "\\t"_L1);
        m_text += u" %1=\"%2\""_s.arg(name, text);
    } else {
        m_text += u" %1=%2"_s.arg(name, value.toString());
    }
    return *this;
}

s3TraceText &s3TraceText::pointer(const QString &name, const void *value)
{
    if (value == nullptr) {
        m_text += u" %1=nullptr"_s.arg(name);
        return *this;
    }
    QString digits = u"0x%1"_s.arg(reinterpret_cast<quintptr>(value), 16, 16, QChar(u'0'));
    digits.replace("0x00000000"_L1, "0x"_L1);
    m_text += u" %1=%2"_s.arg(name, digits);
    return *this;
}

s3TraceText &s3TraceText::append(const QString &text)
{
    m_text += text;
    return *this;
}
