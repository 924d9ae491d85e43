#include "textencoding.h"

std::optional<QStringConverter::Encoding> detectTextEncoding(const QByteArray &bytes,
                                                             const char *fallbackName)
{
    if (const auto marked = QStringConverter::encodingForData(bytes, 0))
        return marked;
    if (bytes.isValidUtf8())
        return QStringConverter::Utf8;
    return QStringConverter::encodingForName(fallbackName);
}

// Decoded at once: reading bytes, the stream lets its buffer grow in steps until it holds a line, and where
// the heap cannot extend a block in place each step copies what is there.
TextLineReader::TextLineReader(const QByteArray &bytes)
    : m_text(QStringDecoder(detectTextEncoding(bytes, "Locale").value_or(QStringConverter::Utf8))(bytes))
    , m_stream(&m_text, QIODevice::ReadOnly)
{
}

bool TextLineReader::next(QString &line)
{
    return m_stream.readLineInto(&line);
}
