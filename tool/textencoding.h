#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QStringConverter>
#include <QTextStream>

#include <optional>

// The encoding of a text file of unknown origin, found from all its `bytes`: a byte order mark of
// UTF-8, UTF-16 or UTF-32 decides; bytes that are valid UTF-8 to the end are UTF-8; anything else has
// the encoding called `fallbackName` (a name that QStringConverter::encodingForName knows, "Locale"
// for the system's). Nothing when that name is not known.
[[nodiscard]] std::optional<QStringConverter::Encoding> detectTextEncoding(const QByteArray &bytes,
                                                                           const char *fallbackName);

// Reads `bytes` line by line in the encoding that detectTextEncoding finds for them with the system's
// as the fallback. Lines end with LF or CR LF; the line ends are not part of the lines.
class TextLineReader
{
public:
    explicit TextLineReader(const QByteArray &bytes);

    // Puts the next line into `line`; false at the end of the text.
    [[nodiscard]] bool next(QString &line);

private:
    QString m_text;
    QTextStream m_stream;
};
