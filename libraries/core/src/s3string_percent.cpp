#include "s3string.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

using ByteSet = std::array<bool, 256>;

// The unreserved characters of RFC 3986, 2.3, and those of `others`.
constexpr ByteSet unreservedAnd(std::string_view others)
{
    ByteSet set{};
    for (unsigned char byte = '0'; byte <= '9'; ++byte)
        set[byte] = true;
    for (unsigned char byte = 'a'; byte <= 'z'; ++byte)
        set[byte] = set[byte - 'a' + 'A'] = true;
    for (const std::string_view list : {std::string_view("-._~"), others}) {
        for (const char byte : list)
            set[static_cast<unsigned char>(byte)] = true;
    }
    return set;
}

// The bytes that percent coding leaves as they are, without and with the exceptions. QByteArray has no
// such exception for the percent sign, and looks every byte up in its lists.
constexpr ByteSet keptByFull = unreservedAnd("");
constexpr ByteSet keptBySparing = unreservedAnd("!/()*':%");

QString encoded(const QString &text, const ByteSet &kept)
{
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    static constexpr int codeLength = 3;
    const QByteArray bytes = text.toUtf8();
    const auto isKept = [&](char byte) {
        return kept[static_cast<unsigned char>(byte)];
    };
    const qsizetype coded = bytes.size() - std::count_if(bytes.cbegin(), bytes.cend(), isKept);
    if (coded == 0)
        return text;
    QString result(bytes.size() + coded * (codeLength - 1), Qt::Uninitialized);
    QChar *out = result.data();
    for (const char byte : bytes) {
        if (isKept(byte)) {
            *out++ = QLatin1Char(byte);
        } else {
            const auto code = static_cast<unsigned char>(byte);
            *out++ = u'%';
            *out++ = digits[code >> 4];
            *out++ = digits[code & 0xf];
        }
    }
    return result;
}

constexpr int notHexadecimal = -1;

int hexadecimalDigit(char byte)
{
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return notHexadecimal;
}

// The value of two bytes as QByteArray::toInt reads them in base 16, so a sign or white space may stand
// in the first place and white space in the second. False when they are no number.
bool readCode(const char *pair, int &value)
{
    const int high = hexadecimalDigit(pair[0]);
    const int low = hexadecimalDigit(pair[1]);
    if (high != notHexadecimal && low != notHexadecimal) {
        value = high * 16 + low;
        return true;
    }
    bool ok = false;
    value = QByteArray(pair, 2).toInt(&ok, 16);
    return ok;
}

}

s3String s3String::toPercentEncoded() const
{
    return encoded(*this, keptBySparing);
}

s3String s3String::toPercentEncodedAll() const
{
    return encoded(*this, keptByFull);
}

s3String s3String::fromPercentEncoded() const
{
    if (!contains(u'%') && !contains(u'+'))
        return *this;
    QByteArray bytes = toUtf8();
    const char *in = bytes.constData();
    const char *const end = in + bytes.size();
    char *const begin = bytes.data();
    char *out = begin;
    bool changed = false;
    while (in != end) {
        const char byte = *in++;
        int value = 0;
        if (byte == '+') {
            *out++ = ' ';
            changed = true;
        } else if (byte == '%' && end - in >= 2 && readCode(in, value)) {
            *out++ = char(value);
            in += 2;
            changed = true;
        } else {
            *out++ = byte;
        }
    }
    if (!changed)
        return *this;
    const auto decoded = QByteArrayView(begin, out);
    const qsizetype null = decoded.indexOf('\0');
    return QString::fromUtf8(null < 0 ? decoded : decoded.first(null));
}
