#include "s3dictionary.h"

#include "coreutil.h"
#include "s3dictionaryformat.h"
#include "s3file.h"
#include "s3fileinfo.h"
#include "s3language.h"
#include "s3translate.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cstring>

using namespace Qt::StringLiterals;
using namespace s3DictionaryFormat;

namespace
{

// Absolute value without the overflow of the lowest number, which then is in no dictionary.
quint32 absolute(qint32 number)
{
    return number < 0 ? 0U - quint32(number) : quint32(number);
}

// The number of code units from `start` up to the first zero unit, or else up to `end`. Texts lie at odd
// addresses, so the units are copied out, four at a time.
qsizetype textLength(const uchar *start, const uchar *end)
{
    constexpr quint64 ones = 0x0001'0001'0001'0001;
    constexpr quint64 highBits = 0x8000'8000'8000'8000;
    constexpr qsizetype unitBits = 16;
    const uchar *position = start;
    while (end - position >= qptrdiff(sizeof(quint64))) {
        // The first unit in the file becomes the lowest one.
        const auto units = qFromLittleEndian<quint64>(position);
        // The lowest of these bits is that of the first zero unit; those above it may be wrong.
        const quint64 zeros = (units - ones) & ~units & highBits;
        if (zeros != 0)
            return (position - start) / qsizetype(sizeof(char16_t)) + std::countr_zero(zeros) / unitBits;
        position += sizeof(quint64);
    }
    while (end - position >= qptrdiff(sizeof(char16_t)) && qFromUnaligned<char16_t>(position) != 0)
        position += sizeof(char16_t);
    return (position - start) / qsizetype(sizeof(char16_t));
}

QString toText(QByteArrayView units)
{
    if (units.isEmpty())
        return {};
    QString text(units.size() / qsizetype(sizeof(char16_t)), Qt::Uninitialized);
    std::memcpy(text.data(), units.data(), size_t(units.size()));
    return text;
}

} // namespace

s3Dictionary::s3Dictionary(const QString &filePath)
    : m_filePath(filePath)
    , m_fieldsPerText(s3DictionaryFormat::fieldsPerText)
    , m_germanLanguage(s3LanguageIndex(u"D"_s))
    , m_americanLanguage(s3LanguageIndex(u"A"_s))
{
}

s3Dictionary::~s3Dictionary()
{
    close();
}

bool s3Dictionary::open(QString &error)
{
    error.clear();
    if (m_file)
        return true;
    m_file = std::make_unique<s3File>(m_filePath);
    if (m_file->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        error = checkHeader();
        // The mapping lives as long as the file object.
        m_file->close();
    } else {
        const QString reason = s3LastErrorText();
        error = u"Cannot open file"_s;
        if (!reason.endsWith("(0)"_L1))
            error += "\n\n"_L1 + reason;
    }
    if (error.isEmpty())
        return true;
    error = s3FileInfo(m_filePath).absoluteFilePath() + ":\n\n"_L1 + error;
    close();
    return false;
}

bool s3Dictionary::open()
{
    QString error;
    return open(error);
}

void s3Dictionary::close()
{
    m_file.reset();
    m_languageCount = 0;
    m_textCount = 0;
    m_textOffsets = nullptr;
    m_texts = nullptr;
    m_records = nullptr;
    m_keys = nullptr;
    m_end = nullptr;
}

QString s3Dictionary::checkHeader()
{
    const qint64 fileSize = m_file->size();
    const uchar *base = m_file->map(0, fileSize);
    if (base == nullptr)
        return u"Cannot map dictionary into memory!"_s;

    // Reading costs less than the first touch of the mapping, which for a large file brings in many pages.
    // A header that is cut off is filled up with zeros, as the system fills up the last page of a mapping.
    char header[headerSize] = {};
    m_file->read(header, headerSize);
    const auto decimal = [&](qint64 offset, qint64 digits) {
        return qint32(QByteArray(header + offset, digits).toUInt());
    };
    const auto blockSize = [&](qint64 offset) {
        return qint64(qFromBigEndian<quint32>(header + offset));
    };

    if (std::memcmp(header, version, languageCountOffset) != 0) {
        return u"Wrong dictionary version!\n\n'%1' is expected instead of '%2'."_s.arg(
            QString::fromLatin1(version), QString::fromUtf8(header, std::min(fileSize, languageCountOffset)));
    }
    if (header[charsetOffset] != unicodeCharset)
        return u"Wrong CHSET format in dictionary"_s;
    const qint32 languageCount = decimal(languageCountOffset, languageCountDigits);
    const auto letterCount = qint32(s3Languages().size());
    if (languageCount < letterCount) {
        return u"Wrong language count in dictionary!\n\n'%1' is expected instead of '%2'."_s.arg(
            QString::number(letterCount), QString::number(languageCount));
    }

    m_languageCount = languageCount;
    m_textCount = decimal(textCountOffset, textCountDigits);
    m_end = base + fileSize;
    const qint64 records = headerSize + matrixSize(m_languageCount, m_textCount);
    const qint64 texts = records + recordsSize(m_textCount, m_fieldsPerText);
    const qint64 keys = texts + blockSize(firstBlockSizeOffset) + blockSize(secondBlockSizeOffset);
    m_textOffsets = address(base, headerSize, 0);
    m_records = address(base, records, 0);
    m_texts = address(base, texts, 0);
    m_keys = address(base, keys, 0);
    return {};
}

const uchar *s3Dictionary::address(const uchar *area, qint64 offset, qint64 size) const
{
    return area != nullptr && offset + size <= m_end - area ? area + offset : nullptr;
}

const uchar *s3Dictionary::cell(qint32 number, qint32 language) const
{
    const quint32 row = absolute(number);
    const qint64 column = qint64(language) + 1;
    if (row < 1 || row > quint32(m_textCount) || column < 0 || column >= m_languageCount)
        return nullptr;
    const uchar *value
        = address(m_textOffsets, cellSize * (qint64(row) * m_languageCount + column), cellSize);
    return value == nullptr ? nullptr
                            : address(m_texts, qFromBigEndian<quint32>(value), qint64(sizeof(char16_t)));
}

QByteArrayView s3Dictionary::unitsAt(const uchar *start) const
{
    if (start == nullptr)
        return {};
    return {start, textLength(start, m_end) * qsizetype(sizeof(char16_t))};
}

bool s3Dictionary::isUnfilled(const uchar *start, qint32 number) const
{
    return qFromUnaligned<char16_t>(start) == u'*'
        && toText(unitsAt(start)) == s3MissingTextMark(qint32(absolute(number)));
}

QString s3Dictionary::text(qint32 number, qint32 language) const
{
    const uchar *start = cell(number, language);
    return start == nullptr ? s3MissingTextMark(number) : toText(unitsAt(start));
}

QByteArrayView s3Dictionary::sourceUnits(qint32 number) const
{
    const uchar *start = cell(number, -1);
    return start == nullptr || isUnfilled(start, number) ? QByteArrayView() : unitsAt(start);
}

QString s3Dictionary::sourceText(qint32 number) const
{
    return toText(sourceUnits(number));
}

bool s3Dictionary::hasText(qint32 number, qint32 language) const
{
    const uchar *start = cell(number, language);
    if (start == nullptr || isUnfilled(start, number))
        return false;
    if (language == m_germanLanguage)
        return true;
    if (start == cell(number, m_germanLanguage))
        return false;
    return language == m_americanLanguage || start != cell(number, m_americanLanguage);
}

QString s3Dictionary::textKey(qint32 number) const
{
    const quint32 row = absolute(number);
    if (row < 1 || row > quint32(m_textCount))
        return {};
    const qint64 field = recordTailSize * row + fieldSize * (qint64(row) * m_fieldsPerText - 1);
    const uchar *value = address(m_records, field, fieldSize);
    const uchar *key = value == nullptr ? nullptr : address(m_keys, qFromBigEndian<quint32>(value), 1);
    if (key == nullptr)
        return {};
    const auto *utf8 = reinterpret_cast<const char *>(key);
    return QString::fromUtf8(utf8, qsizetype(qstrnlen(utf8, size_t(m_end - key))));
}
