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

TextLineReader::TextLineReader(const QByteArray &bytes) : m_stream(bytes, QIODevice::ReadOnly)
{
    if (const auto encoding = detectTextEncoding(bytes, "Locale"))
        m_stream.setEncoding(*encoding);
}

bool TextLineReader::next(QString &line)
{
    return m_stream.readLineInto(&line);
}
