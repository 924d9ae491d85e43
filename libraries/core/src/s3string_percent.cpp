#include "s3string.h"

#include <QByteArray>

using namespace Qt::StringLiterals;

s3String s3String::toPercentEncoded() const
{
    QByteArray bytes = toUtf8().toPercentEncoding("!/()*':"_ba);
    bytes.replace("%25"_ba, "%"_ba);
    return QString::fromLatin1(bytes);
}

s3String s3String::toPercentEncodedAll() const
{
    return QString::fromLatin1(toUtf8().toPercentEncoding());
}

s3String s3String::fromPercentEncoded() const
{
    QByteArray bytes = toUtf8();
    bool changed = false;
    qsizetype out = 0;
    for (qsizetype in = 0; in < bytes.size(); ++in) {
        char byte = bytes.at(in);
        if (byte == '+') {
            byte = ' ';
            changed = true;
        } else if (byte == '%' && in + 2 < bytes.size()) {
            bool ok = false;
            const int value = bytes.sliced(in + 1, 2).toInt(&ok, 16);
            if (ok) {
                byte = char(value);
                in += 2;
                changed = true;
            }
        }
        bytes[out++] = byte;
    }
    if (!changed)
        return *this;
    bytes.truncate(out);
    return QString::fromUtf8(bytes.constData());
}
