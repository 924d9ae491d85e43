#include "dictionarywriter.h"

#include "s3dictionaryformat.h"
#include "s3language.h"
#include "s3translate.h"

#include <QIODevice>
#include <QSaveFile>
#include <QtEndian>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;
using namespace s3DictionaryFormat;

namespace
{

constexpr qint64 maximumAreaSize = std::numeric_limits<quint32>::max();

QString checkTexts(const DictionaryContents &contents)
{
    for (auto text = contents.texts.cbegin(); text != contents.texts.cend(); ++text) {
        const qint32 number = text.key();
        if (number < 1 || number > maximumTextCount)
            return u"Text number %1 is not between 1 and %2."_s.arg(number).arg(maximumTextCount);
        bool hasNull = text->key.contains(QChar::Null) || text->source.contains(QChar::Null);
        for (auto wording = text->translations.cbegin(); wording != text->translations.cend(); ++wording) {
            if (wording.key() < 0 || wording.key() > contents.columnCount - 2) {
                return u"Text %1 has a wording for language index %2, for which there is no column."_s
                    .arg(number)
                    .arg(wording.key());
            }
            hasNull = hasNull || wording->contains(QChar::Null);
        }
        if (hasNull)
            return u"Text %1 contains a null character."_s.arg(number);
    }
    return {};
}

QString check(const DictionaryContents &contents)
{
    const auto minimum = qint32(s3Languages().size());
    if (contents.columnCount < minimum || contents.columnCount > maximumLanguageCount) {
        return u"%1 columns are not between %2 and %3."_s.arg(contents.columnCount)
            .arg(minimum)
            .arg(maximumLanguageCount);
    }
    return checkTexts(contents);
}

void appendNumber(QByteArray &bytes, quint32 number)
{
    char field[cellSize];
    qToBigEndian(number, field);
    bytes.append(field, cellSize);
}

QByteArray decimal(qint32 number, qint64 digits)
{
    return QByteArray::number(number).rightJustified(digits, '0');
}

// An area of zero-terminated texts that grows at its end.
class Area
{
public:
    // Puts `bytes` at the end and gives their offset.
    quint32 add(const QByteArray &bytes)
    {
        const qint64 offset = m_bytes.size();
        m_fits = m_fits && offset <= maximumAreaSize;
        m_bytes += bytes;
        return quint32(offset);
    }

    [[nodiscard]] bool fits() const { return m_fits && m_bytes.size() <= maximumAreaSize; }
    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
    bool m_fits = true;
};

class Tables
{
public:
    explicit Tables(const DictionaryContents &contents)
        : m_contents(contents), m_textCount(contents.texts.isEmpty() ? 0 : contents.texts.lastKey())
    {
        m_matrix.reserve(matrixSize(contents.columnCount, m_textCount));
        m_records.reserve(recordsSize(m_textCount, fieldsPerText));
        appendRow(0);
        for (qint32 number = 1; number <= m_textCount; ++number) {
            const DictionaryText text = contents.texts.value(number);
            appendTextRow(number, text);
            m_records.append(QByteArray((fieldsPerText - 1) * fieldSize + recordTailSize, '\0'));
            appendNumber(m_records, m_keys.add(text.key.toUtf8() + '\0'));
        }
    }

    [[nodiscard]] bool fit() const { return m_texts.fits() && m_keys.fits(); }

    [[nodiscard]] bool write(QIODevice &device) const
    {
        QByteArray header = version + decimal(m_contents.columnCount, languageCountDigits)
            + decimal(m_textCount, textCountDigits) + unicodeCharset;
        appendNumber(header, quint32(m_texts.bytes().size()));
        appendNumber(header, 0);
        for (const QByteArray *part :
             {&std::as_const(header), &m_matrix, &m_records, &m_texts.bytes(), &m_keys.bytes()}) {
            if (device.write(*part) != part->size())
                return false;
        }
        return true;
    }

private:
    void appendRow(quint32 offset)
    {
        for (qint32 column = 0; column < m_contents.columnCount; ++column)
            appendNumber(m_matrix, offset);
    }

    void appendTextRow(qint32 number, const DictionaryText &text)
    {
        const quint32 source = addText(text.source.isNull() ? s3MissingTextMark(number) : text.source);
        const qint32 germanLanguage = s3LanguageIndex(u"D"_s);
        const auto offsetOf = [&](qint32 language, quint32 otherwise) {
            const auto wording = text.translations.constFind(language);
            return wording == text.translations.cend() ? otherwise : addText(*wording);
        };
        const quint32 german = offsetOf(germanLanguage, source);
        appendNumber(m_matrix, source);
        for (qint32 language = 0; language < m_contents.columnCount - 1; ++language)
            appendNumber(m_matrix, language == germanLanguage ? german : offsetOf(language, german));
    }

    // The byte order is the machine's, like that of the reader.
    quint32 addText(const QString &text)
    {
        return m_texts.add(QByteArray(reinterpret_cast<const char *>(text.utf16()),
                                      (text.size() + 1) * qsizetype(sizeof(char16_t))));
    }

    const DictionaryContents &m_contents;
    qint32 m_textCount;
    QByteArray m_matrix;
    QByteArray m_records;
    Area m_texts;
    Area m_keys;
};

} // namespace

bool writeDictionary(const DictionaryContents &contents, QIODevice &device, QString &error)
{
    error = check(contents);
    if (!error.isEmpty())
        return false;
    const Tables tables(contents);
    if (!tables.fit())
        error = u"The texts or keys do not fit into 4 GiB."_s;
    else if (!tables.write(device))
        error = device.errorString();
    return error.isEmpty();
}

bool writeDictionaryFile(const DictionaryContents &contents, const QString &filePath, QString &error)
{
    QSaveFile file(filePath);
    error.clear();
    if (!file.open(QIODevice::WriteOnly)) {
        error = file.errorString();
        return false;
    }
    if (!writeDictionary(contents, file, error)) {
        file.cancelWriting();
        return false;
    }
    if (!file.commit())
        error = file.errorString();
    return error.isEmpty();
}
