#include "s3settingsprivate.h"

#include "s3file.h"
#include "s3settingsprivate_p.h"
#include "s3string.h"
#include "test/s3trace.h"

#include <QByteArray>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QStringView>
#include <QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 traceFlag = 120;

QString functionName()
{
    return u"s3SettingsPrivate::updateFormat"_s;
}

const QRegularExpression &keyLinePattern()
{
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(u"^([^;\\[][^=]*)=(.*)$"_s));
    return pattern;
}

bool hasListCharacter(QStringView value)
{
    return value.contains(u',') || value.contains(u';') || value.contains(u'=');
}

// Whether a value stands in quotes, which are no part of its text.
bool isQuoted(QStringView value)
{
    return value.size() > 1 && value.startsWith(u'"') && value.endsWith(u'"');
}

// Whether encodedValue() would leave a trimmed value as it is, without making that text: decoding takes one
// backslash of each pair and the one in front of a quote, and encoding puts them back, so there must be an
// odd number in front of a quote and an even one elsewhere. What was not decoded must have neither.
bool staysAsItIs(QStringView value, bool alreadyConverted)
{
    const bool quoted = isQuoted(value);
    bool isOdd = false; // the number of backslashes in front of the character
    for (const QChar c : quoted ? value.sliced(1, value.size() - 2) : value) {
        switch (c.unicode()) {
        case u'\\':
            if (!alreadyConverted)
                return false;
            isOdd = !isOdd;
            continue;
        case u'"':
            if (!isOdd)
                return false;
            break;
        case u',':
        case u';':
        case u'=':
            if (!quoted || isOdd)
                return false;
            break;
        default:
            if (isOdd)
                return false;
            break;
        }
        isOdd = false;
    }
    return !isOdd;
}

// Where the first equals sign of a trimmed line divides it as the key line pattern does; -1 where nothing
// does.
qsizetype equalsSignOf(QStringView line)
{
    if (line.isEmpty() || line.front() == u';' || line.front() == u'[')
        return -1;
    return line.indexOf(u'=', 1);
}

// Whether a line that equalsSignOf() divides is a key line. The pattern costs more than all the rest, and
// only text that is no valid UTF-16, which no pattern matches, needs it.
bool isKeyLine(QStringView line)
{
    return std::none_of(line.cbegin(), line.cend(), [](QChar c) { return c.isSurrogate(); })
        || keyLinePattern().match(line.toString()).hasMatch();
}

// The text of a value that is not empty in the form of generation 2.
QString encodedValue(QString value, bool alreadyConverted)
{
    const bool quoted = isQuoted(value);
    if (quoted)
        value = value.sliced(1, value.size() - 2);
    if (alreadyConverted) {
        value.replace(u"\\\""_s, u"\""_s);
        value.replace(u"\\\\"_s, u"\\"_s);
    }
    // Backslashes first: those that come in with the quotes must not be doubled.
    if (value.contains(u'\\'))
        value.replace(u"\\"_s, u"\\\\"_s);
    if (value.contains(u'"'))
        value.replace(u"\""_s, u"\\\""_s);
    if (quoted || hasListCharacter(value))
        value = u'"' + value + u'"';
    return value;
}

// Gathers lines as UTF-8. The text is encoded in small pieces: a large one would be moved about in memory
// while it grows, at twice the size.
class Utf8Lines
{
public:
    void append(QStringView line)
    {
        m_piece += line;
        m_piece += u'\n';
        if (m_piece.size() >= pieceSize)
            encodePiece();
    }
    void append(QStringView key, const QString &value)
    {
        m_piece += key;
        m_piece += u'=';
        append(value);
    }

    [[nodiscard]] const QByteArray &bytes()
    {
        encodePiece();
        return m_bytes;
    }

private:
    static constexpr qsizetype pieceSize = 16384;

    void encodePiece()
    {
        const QByteArray encoded = m_encoder(m_piece);
        m_bytes += encoded;
        m_piece.resize(0);
    }

    QStringEncoder m_encoder{QStringEncoder::Utf8};
    QString m_piece;
    QByteArray m_bytes;
};

// Reads `file`, which is open, into `lines` (left empty with `checkOnly`). False when a line changed, or
// with `checkOnly` when it would.
bool scan(s3File &file, bool checkOnly, bool alreadyConverted, Utf8Lines &lines,
          QString &errorStringFileAccess)
{
    bool formatOk = true;
    QTextStream stream(&file);
    stream.setEncoding(QStringConverter::Utf8);
    QString text;
    while (!stream.atEnd()) {
        stream.readLineInto(&text);
        if (file.error() != QFileDevice::NoError || stream.status() != QTextStream::Ok) {
            errorStringFileAccess = file.errorText(QFileDevice::ReadError);
            break;
        }
        const QStringView line = QStringView(text).trimmed();
        const qsizetype equalsSign = equalsSignOf(line);
        const QStringView valueView = equalsSign > 0 ? line.sliced(equalsSign + 1).trimmed() : QStringView();
        if (!staysAsItIs(valueView, alreadyConverted) && isKeyLine(line)) {
            formatOk = false;
            const QStringView key = line.first(equalsSign).trimmed();
            const QString valueOrig = valueView.toString();
            const QString value = encodedValue(valueOrig, alreadyConverted);
            s3Trace(traceFlag, [&] {
                return functionName()
                    + s3String::arg(u"(key='%1' value='%2' valueOrig='%3')"_s, key.toString(), value,
                                    valueOrig);
            });
            if (checkOnly)
                break;
            lines.append(key, value);
            continue;
        }
        if (!checkOnly)
            lines.append(line);
    }
    return formatOk;
}

bool rewrite(s3File &file, const QByteArray &bytes, QString &errorStringFileAccess)
{
    file.makeWritable(); // where that fails, opening tells why
    if (!file.open(QIODevice::Text | QIODevice::WriteOnly | QIODevice::Truncate)) {
        errorStringFileAccess = file.errorText(QFileDevice::OpenError);
        return false;
    }
    // A device that becomes full takes a part, and tells why it takes no more at the next attempt. The last
    // bytes are written by the flush.
    qint64 size = 0;
    while (size < bytes.size()) {
        const qint64 part = file.write(bytes.constData() + size, bytes.size() - size);
        if (part <= 0)
            break;
        size += part;
    }
    const bool written = size == bytes.size() && file.flush();
    if (!written)
        errorStringFileAccess = file.errorText(QFileDevice::WriteError);
    file.close();
    return written;
}

}

int s3SettingsPrivate::currentFormat()
{
    return 2;
}

bool s3SettingsPrivate::updateFormat(const QString &fileName, bool checkOnly, bool alreadyConverted,
                                     bool *formatOk, QString *errorStringFileAccess)
{
    const bool isCheckOnly = checkOnly || alreadyConverted;
    bool isFormatOk = false;
    QString error;
    s3File file(fileName);
    const bool result = s3UpdateSettingsFormat(file, isCheckOnly, alreadyConverted, isFormatOk, error);
    s3Trace(traceFlag, [&] {
        return functionName()
            + s3String::arg(u"(fileName='%1', checkOnly=%2): %3 [formatOk=%4 errorStringFileAccess=%5]"_s,
                            fileName, s3String::fromBool(isCheckOnly), s3String::fromBool(result),
                            s3String::fromBool(isFormatOk), error);
    });
    if (formatOk != nullptr)
        *formatOk = isFormatOk;
    if (errorStringFileAccess != nullptr)
        *errorStringFileAccess = error;
    return result;
}

bool s3UpdateSettingsFormat(s3File &file, bool checkOnly, bool alreadyConverted, bool &formatOk,
                            QString &errorStringFileAccess)
{
    formatOk = false;
    errorStringFileAccess.clear();
    if (!file.open(QIODevice::ReadOnly)) {
        errorStringFileAccess = file.errorText(QFileDevice::OpenError);
        return false;
    }
    Utf8Lines lines;
    formatOk = scan(file, checkOnly, alreadyConverted, lines, errorStringFileAccess);
    file.close();
    if (formatOk || checkOnly)
        return false;
    formatOk = rewrite(file, lines.bytes(), errorStringFileAccess);
    return formatOk;
}
