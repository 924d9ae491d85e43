#include "textencoding.h"

#include <algorithm>

namespace
{

// The size of QTextStream's pieces, so that bytes that are invalid in the encoding become the same
// characters as there.
constexpr qsizetype pieceSize = 16384;

// CR LF ends a line as LF does, and a CR at the end of the text belongs to no line either.
QStringView withoutCarriageReturn(QStringView line)
{
    return line.endsWith(u'\r') ? line.chopped(1) : line;
}

// The place of the last character of UTF-8 that may be cut off at the end of `bytes`; their size when
// there is none.
qsizetype startOfCutCharacter(QByteArrayView bytes)
{
    constexpr uchar firstLeadByte = 0xC0;
    constexpr qsizetype longestCut = 3;
    const qsizetype size = bytes.size();
    for (qsizetype start = size - 1; start >= std::max(size - longestCut, qsizetype(0)); --start) {
        if (uchar(bytes[start]) >= firstLeadByte)
            return start;
    }
    return size;
}

// The encoding of bytes without a mark.
std::optional<QStringConverter::Encoding> encodingWithoutMark(const QByteArray &bytes,
                                                              const char *fallbackName)
{
    return bytes.isValidUtf8() ? QStringConverter::Utf8 : QStringConverter::encodingForName(fallbackName);
}

}

std::optional<QStringConverter::Encoding> detectTextEncoding(const QByteArray &bytes,
                                                             const char *fallbackName)
{
    if (const auto marked = QStringConverter::encodingForData(bytes, 0))
        return marked;
    return encodingWithoutMark(bytes, fallbackName);
}

std::optional<QStringConverter::Encoding> detectTextEncoding(QIODevice &device, const char *fallbackName)
{
    QByteArray piece = device.read(pieceSize);
    if (const auto marked = QStringConverter::encodingForData(piece, 0))
        return marked;
    for (;;) {
        const QByteArray following = device.read(pieceSize);
        if (following.isEmpty())
            return encodingWithoutMark(piece, fallbackName);
        const QByteArrayView whole = QByteArrayView(piece).first(startOfCutCharacter(piece));
        if (!whole.isValidUtf8())
            return QStringConverter::encodingForName(fallbackName);
        piece = piece.sliced(whole.size()) + following;
    }
}

TextLineReader::TextLineReader(QIODevice &device) : m_device(&device)
{
    if (device.isSequential()) {
        m_copy.setData(device.readAll());
        m_copy.open(QIODevice::ReadOnly);
        m_device = &m_copy;
    }
    const qint64 start = m_device->pos();
    m_decoder = QStringDecoder(detectTextEncoding(*m_device, "Locale").value_or(QStringConverter::Utf8));
    m_device->seek(start);
}

bool TextLineReader::next(QStringView &line)
{
    m_longLine.resize(0);
    for (;;) {
        if (m_pieceRest.isEmpty() && !decodePiece()) {
            line = withoutCarriageReturn(m_longLine);
            return !m_longLine.isEmpty();
        }
        const qsizetype end = m_pieceRest.indexOf(u'\n');
        if (end >= 0) {
            line = m_pieceRest.first(end);
            m_pieceRest = m_pieceRest.sliced(end + 1);
            if (!m_longLine.isEmpty()) {
                m_longLine += line;
                line = m_longLine;
            }
            line = withoutCarriageReturn(line);
            return true;
        }
        m_longLine += m_pieceRest;
        m_pieceRest = {};
    }
}

bool TextLineReader::decodePiece()
{
    char bytes[pieceSize];
    while (m_pieceRest.isEmpty()) {
        const qint64 size = m_device->read(bytes, pieceSize);
        if (size <= 0)
            return false;
        m_piece = m_decoder(QByteArrayView(bytes, size));
        m_pieceRest = m_piece;
    }
    return true;
}
