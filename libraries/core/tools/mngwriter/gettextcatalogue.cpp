#include "gettextcatalogue.h"

#include <QStringDecoder>
#include <QtEndian>

#include <optional>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 magicNumber = 0x950412de;

// Bytes of the file's head, and of one entry of the tables of texts: length, then offset.
constexpr qsizetype headSize = 28;
constexpr qsizetype entrySize = 8;

class Catalogue
{
public:
    explicit Catalogue(const QByteArray &bytes) : m_bytes(bytes) { }

    [[nodiscard]] bool isCatalogue()
    {
        if (m_bytes.size() < headSize)
            return false;
        m_isLittleEndian = qFromLittleEndian<quint32>(m_bytes.constData()) == magicNumber;
        return m_isLittleEndian || qFromBigEndian<quint32>(m_bytes.constData()) == magicNumber;
    }

    [[nodiscard]] quint32 count() const { return number(8).value_or(0); }
    [[nodiscard]] std::optional<QByteArray> source(quint32 index) const { return entry(12, index); }
    [[nodiscard]] std::optional<QByteArray> translation(quint32 index) const { return entry(16, index); }

private:
    [[nodiscard]] std::optional<quint32> number(qint64 offset) const
    {
        if (offset + qint64(sizeof(quint32)) > m_bytes.size())
            return std::nullopt;
        const char *address = m_bytes.constData() + offset;
        return m_isLittleEndian ? qFromLittleEndian<quint32>(address) : qFromBigEndian<quint32>(address);
    }

    // The text of an entry up to its first zero byte, so the singular of one with plural forms.
    [[nodiscard]] std::optional<QByteArray> entry(qint64 tableField, quint32 index) const
    {
        const std::optional<quint32> table = number(tableField);
        if (!table)
            return std::nullopt;
        const qint64 position = qint64(*table) + entrySize * qint64(index);
        const std::optional<quint32> length = number(position);
        const std::optional<quint32> offset = number(position + qint64(sizeof(quint32)));
        if (!length || !offset || qint64(*offset) + *length > m_bytes.size())
            return std::nullopt;
        const QByteArray text = m_bytes.mid(*offset, *length);
        return text.left(qsizetype(qstrnlen(text.constData(), size_t(text.size()))));
    }

    const QByteArray &m_bytes;
    bool m_isLittleEndian = true;
};

// The charset that a catalogue's header entry names in "Content-Type: text/plain; charset=UTF-8".
QByteArray charset(const QByteArray &header)
{
    constexpr QByteArrayView mark("charset=");
    const qsizetype begin = header.indexOf(mark);
    if (begin < 0)
        return "UTF-8";
    const QByteArray rest = header.mid(begin + mark.size());
    const QByteArray name = rest.left(rest.indexOf('\n')).trimmed();
    return name.compare("ASCII", Qt::CaseInsensitive) == 0
            || name.compare("US-ASCII", Qt::CaseInsensitive) == 0
        ? QByteArray("UTF-8")
        : name;
}

} // namespace

bool readGettextCatalogue(const QByteArray &bytes, QList<GettextMessage> &messages, QString &error)
{
    error.clear();
    messages.clear();
    Catalogue catalogue(bytes);
    if (!catalogue.isCatalogue()) {
        error = u"This is no compiled gettext catalogue."_s;
        return false;
    }
    QByteArray charsetName("UTF-8");
    for (quint32 index = 0; index < catalogue.count(); ++index) {
        const std::optional<QByteArray> source = catalogue.source(index);
        const std::optional<QByteArray> translation = catalogue.translation(index);
        if (!source || !translation) {
            error = u"Message %1 lies outside the catalogue."_s.arg(index);
            return false;
        }
        // Messages are sorted, so the header with its empty source text is the first.
        if (source->isEmpty()) {
            charsetName = charset(*translation);
            continue;
        }
        QStringDecoder decodeSource(charsetName.constData());
        QStringDecoder decodeTranslation(charsetName.constData());
        if (!decodeSource.isValid()) {
            error = u"The charset \"%1\" is not known."_s.arg(QString::fromUtf8(charsetName));
            return false;
        }
        const GettextMessage message{decodeSource(*source), decodeTranslation(*translation)};
        if (decodeSource.hasError() || decodeTranslation.hasError()) {
            error = u"Message %1 is not in the charset of the catalogue."_s.arg(index);
            return false;
        }
        if (!message.translation.isEmpty())
            messages += message;
    }
    return true;
}

void addGettextMessages(const QList<GettextMessage> &messages, qint32 language, DictionaryContents &contents)
{
    QHash<QString, qint32> numbers;
    for (auto text = contents.texts.cbegin(); text != contents.texts.cend(); ++text)
        numbers.insert(text->source, text.key());
    qint32 last = contents.texts.isEmpty() ? 0 : contents.texts.lastKey();
    for (const GettextMessage &message : messages) {
        qint32 number = numbers.value(message.source, 0);
        if (number == 0) {
            number = ++last;
            numbers.insert(message.source, number);
            contents.texts[number].source = message.source;
        }
        contents.texts[number].translations.insert(language, message.translation);
    }
}
