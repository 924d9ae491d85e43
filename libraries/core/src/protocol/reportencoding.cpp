#include "protocol/reportencoding.h"

#include <QList>

#include <algorithm>
#include <array>

namespace
{

constexpr char32_t firstTableByte = 0x80;
constexpr uchar escapeByte = 0xFF;
constexpr char32_t byteOrderMark = 0xFEFF;

// The code points of the bytes from 80 to FE. It is the client's own mixture of old character sets and
// follows none of them throughout.
constexpr std::array<char16_t, 127> table = {
    // clang-format off
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, // 80
    0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5, // 88
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9, // 90
    0x00FF, 0x00D6, 0x00DC, 0x00F8, 0x00A3, 0x00D8, 0x0130, 0x0192, // 98
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA, // A0
    0x00BF, 0x00AE, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB, // A8
    0x2591, 0x0151, 0x0171, 0x2502, 0x2524, 0x00C1, 0x00C2, 0x00C0, // B0
    0x00A9, 0x011E, 0x011F, 0x015E, 0x015F, 0x00A2, 0x00A5, 0x2510, // B8
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x00E3, 0x00C3, // C0
    0x0106, 0x0141, 0x0143, 0x015A, 0x0179, 0x017B, 0x017C, 0x00A4, // C8
    0x0105, 0x0107, 0x00CA, 0x00CB, 0x00C8, 0x0131, 0x00CD, 0x00CE, // D0
    0x00CF, 0x2518, 0x250C, 0x0119, 0x0142, 0x0104, 0x00CC, 0x0144, // D8
    0x00D3, 0x00DF, 0x00D4, 0x00D2, 0x00F5, 0x00D5, 0x00B5, 0x015B, // E0
    0x017A, 0x00DA, 0x00DB, 0x00D9, 0x00FD, 0x00DD, 0x00AF, 0x00B4, // E8
    0x0150, 0x00B1, 0x0170, 0x0118, 0x00B6, 0x00A7, 0x0153, 0x0152, // F0
    0x00B0, 0x00A8, 0x00B7, 0x00B9, 0x00B3, 0x00B2, 0x20AC, // F8
    // clang-format on
};

// How many bytes of UTF-8 the lead byte announces, 0 for one that cannot lead.
qsizetype utf8Length(uchar lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

}

QByteArray toReportEncoding(const QString &text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    const auto characters = text.toUcs4();
    for (const char32_t character : characters) {
        if (character < firstTableByte) {
            bytes.append(static_cast<char>(character));
            continue;
        }
        const auto *entry = std::find(table.begin(), table.end(), character);
        if (entry != table.end()) {
            bytes.append(static_cast<char>(firstTableByte + char32_t(entry - table.begin())));
        } else if (character != byteOrderMark) {
            bytes.append(static_cast<char>(escapeByte));
            bytes.append(QString::fromUcs4(&character, 1).toUtf8());
        }
    }
    return bytes;
}

QString fromReportEncoding(const QByteArray &bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (qsizetype position = 0; position < bytes.size(); ++position) {
        const auto byte = static_cast<uchar>(bytes.at(position));
        if (byte < firstTableByte) {
            text.append(QLatin1Char(static_cast<char>(byte)));
            continue;
        }
        if (byte != escapeByte) {
            text.append(QChar(table.at(byte - firstTableByte)));
            continue;
        }
        const QByteArray rest = bytes.mid(position + 1, 4);
        const QByteArray form = rest.left(rest.isEmpty() ? 0 : utf8Length(static_cast<uchar>(rest.front())));
        const QString character = QString::fromUtf8(form);
        const bool isWhole = !form.isEmpty() && character.toUtf8() == form;
        text.append(isWhole ? character : QString(QChar::ReplacementCharacter));
        if (isWhole)
            position += form.size();
    }
    return text;
}
