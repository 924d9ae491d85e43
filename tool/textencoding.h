#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QStringConverter>
#include <QStringDecoder>
#include <QStringView>

#include <optional>

// The encoding of a text file of unknown origin, found from all its `bytes`: a byte order mark of
// UTF-8, UTF-16 or UTF-32 decides; bytes that are valid UTF-8 to the end are UTF-8; anything else has
// the encoding called `fallbackName` (a name that QStringConverter::encodingForName knows, "Locale"
// for the system's). Nothing when that name is not known.
[[nodiscard]] std::optional<QStringConverter::Encoding> detectTextEncoding(const QByteArray &bytes,
                                                                           const char *fallbackName);

// The same for the bytes from the position of `device` to its end. Reads no further than it must.
[[nodiscard]] std::optional<QStringConverter::Encoding> detectTextEncoding(QIODevice &device,
                                                                           const char *fallbackName);

// Reads the rest of a device line by line in the encoding that detectTextEncoding finds for it with the
// system's as the fallback. Lines end with LF or CR LF; the line ends are not part of the lines. They are
// the lines of a QTextStream on the bytes. The device is read twice, in pieces, so that neither its bytes
// nor its text are ever in memory as a whole; only of a sequential device a copy is made.
class TextLineReader
{
public:
    // The device is open for reading and outlives this object.
    explicit TextLineReader(QIODevice &device);

    // Puts the next line into `line`, where it is valid until the next call; false at the end of the text.
    [[nodiscard]] bool next(QStringView &line);

private:
    // Decodes on until there is text in m_pieceRest; false at the end.
    [[nodiscard]] bool decodePiece();

    QBuffer m_copy;
    QIODevice *m_device;
    QStringDecoder m_decoder;
    QString m_piece;
    QStringView m_pieceRest;
    // What earlier pieces have of the present line.
    QString m_longLine;
};
