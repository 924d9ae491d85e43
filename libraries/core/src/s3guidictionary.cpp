#include "s3guidictionary.h"

#include "languageobjects.h"
#include "processobjects.h"
#include "s3features.h"
#include "s3language.h"
#include "test/s3trace.h"

#include <QElapsedTimer>
#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint32 translationTestFlag = 460;
constexpr qint32 dictionaryTestFlag = 400;

// The source texts of these numbers are also found under the product's present name.
constexpr std::array<qint32, 4> renamedTexts{896, 931, 938, 939};

constexpr auto ellipsis = "..."_L1;

quint32 cacheKey(qint32 number, qint32 language)
{
    return quint32(number) | (quint32(language) << 24);
}

// The languages in which the texts are written first, so that theirs are always good.
bool isOriginalLanguage(qint32 language)
{
    static const QSet<qint32> languages{s3LanguageIndex(u"D"_s), s3LanguageIndex(u"A"_s),
                                        s3LanguageIndex(u"E"_s)};
    return languages.contains(language);
}

bool isFallbackForced()
{
    static const QString feature = u"forceFallbackDictionary"_s;
    return s3ExperimentalFeaturesInstance()->contains(feature);
}

bool isFallbackDisabled()
{
    static const QString feature = u"useFallbackDictionary"_s;
    return s3DisabledFeaturesInstance()->contains(feature);
}

} // namespace

s3GuiDictionary::s3GuiDictionary(const QString &filePath, const QString &fallbackFilePath)
    : s3Dictionary(filePath), m_fallback(fallbackFilePath)
{
}

bool s3GuiDictionary::open(QString &error)
{
    m_fallback.open();
    const bool isIndexed = isOpen();
    if (!s3Dictionary::open(error))
        return false;
    if (!isIndexed)
        buildIndex();
    return true;
}

void s3GuiDictionary::buildIndex()
{
    m_textNumbers.reserve(textCount() + qsizetype(renamedTexts.size()));
    for (qint32 number = 1; number <= textCount(); ++number) {
        const QByteArrayView units = sourceUnits(number);
        if (units.isEmpty())
            continue;
        m_textNumbers.insert(units, number);
        if (std::ranges::binary_search(renamedTexts, number)) {
            const QString renamed = sourceText(number).replace("zerk ERP"_L1, "Zerk"_L1);
            m_textNumbers.insert({reinterpret_cast<const char *>(renamed.utf16()),
                                  renamed.size() * qsizetype(sizeof(char16_t))},
                                 number);
        }
    }
}

QString s3GuiDictionary::translateText(const QString &sourceText, qint32 language)
{
    QString translation;
    if (findTranslation(sourceText, language, translation))
        return translation;

    // Each ellipsis that is split off leaves a text that is looked up anew.
    QString text = sourceText;
    QString ellipses;
    while (text.endsWith(ellipsis)) {
        text.chop(ellipsis.size());
        text = text.trimmed();
        ellipses += ellipsis;
        if (findTranslation(text, language, translation))
            return translation + ellipses;
    }

    languageObjects().unknownTexts.insert(text);
    const auto *flags = s3TestFlagsInstance();
    s3Trace(flags->contains(translationTestFlag) ? translationTestFlag : dictionaryTestFlag, [&] {
        return s3TraceText(u"s3GuiDictionary::translateText"_s)
                   .argument(u"m_filePath"_s, filePath())
                   .argument(u"sourceText"_s, text)
                   .text()
            + " not in dictionary"_L1;
    });
    return text + ellipses;
}

bool s3GuiDictionary::findTranslation(const QString &sourceText, qint32 language, QString &translation)
{
    // Only the trace asks for the time, and asking the clock costs more than all the rest.
    QElapsedTimer timer;
    if (s3TestFlagsInstance()->contains(translationTestFlag))
        timer.start();
    const qint32 number = m_textNumbers.number(sourceText);
    if (number == 0)
        return false;
    const quint32 key = cacheKey(number, language);
    translation = m_translationCache.value(key);
    const bool foundInCache = !translation.isEmpty();
    if (!foundInCache) {
        translation = textWithFallback(number, language);
        m_translationCache.insert(key, translation);
    }
    s3Trace(translationTestFlag, [&] {
        return s3TraceText(u"s3GuiDictionary::translateText"_s)
            .argument(u"sourceText"_s, sourceText)
            .argument(u"textNumber"_s, number)
            .argument(u"languageText"_s, translation)
            .argument(u"foundInCache"_s, foundInCache)
            .argument(u"elapsed"_s, u"%1 µs"_s.arg(timer.nsecsElapsed() / 1000));
    });
    return true;
}

QString s3GuiDictionary::textWithFallback(qint32 number, qint32 language) const
{
    if (m_fallback.textCount() > 1) {
        if (isFallbackForced())
            return hasSameSourceInFallback(number) ? m_fallback.text(number, language)
                                                   : text(number, language);
        if (!isFallbackDisabled() && !isGoodText(number, language) && hasSameSourceInFallback(number)
            && m_fallback.hasText(number, language)) {
            QString fallbackText = m_fallback.text(number, language);
            s3Trace(translationTestFlag, [&] {
                return s3TraceText(u"s3GuiDictionary::textWithFallback"_s)
                    .argument(u"textNumber"_s, number)
                    .argument(u"languageISO"_s, s3LanguageIso(language))
                    .argument(u"sourceText"_s, sourceText(number))
                    .argument(u"fallbackText"_s, fallbackText);
            });
            return fallbackText;
        }
    }
    return text(number, language);
}

bool s3GuiDictionary::hasSameSourceInFallback(qint32 number) const
{
    return m_fallback.sourceText(number) == sourceText(number);
}

bool s3GuiDictionary::isGoodText(qint32 number, qint32 language) const
{
    if (isOriginalLanguage(language))
        return true;
    return !s3IsIndividualLanguage(language) && hasText(number, language);
}
