#pragma once

#include "s3dictionary.h"
#include "s3textindex.h"

#include <QHash>
#include <QString>

// A dictionary in which a source text is the key of its translation, with a second file behind it, the
// fallback, for translations that the first one lacks.
//
// The index over all source texts is built by `open`, so that a translation costs one hash lookup; every
// answer is kept. While the dictionary is closed every source text is its own translation.
//
// Test flag 460 traces each translation, flags 460 and 400 each source text that is not found.
//
// Threads: one thread at a time, since each translation may change the cache.
class s3GuiDictionary : public s3Dictionary
{
public:
    // Closed dictionaries on two file or resource paths. The files are not touched.
    s3GuiDictionary(const QString &filePath, const QString &fallbackFilePath);

    // Opens both files and builds the index. A missing or bad fallback is no failure.
    using s3Dictionary::open;
    [[nodiscard]] bool open(QString &error) override;

    // The wording of `sourceText` in a language, and `sourceText` itself where it is not in the dictionary.
    // An ellipsis of three points is no part of a key: "Datei ..." is looked up as it stands and then as
    // "Datei", and the points are put behind the answer without the blank.
    [[nodiscard]] QString translateText(const QString &sourceText, qint32 language);

    // The text of a number, from the fallback where this dictionary has no translation of its own and both
    // have the same source text; a fallback of another release may give the number another meaning. For an
    // individual language the fallback wins, and for "D", "A" and "E" it is not asked.
    // The feature "forceFallbackDictionary" prefers the fallback for all languages, and switching off
    // "useFallbackDictionary" leaves it out (s3features.h). A fallback with a single text is none.
    [[nodiscard]] QString textWithFallback(qint32 number, qint32 language) const;

private:
    // Enters all source texts; of equal ones the highest number stays.
    void buildIndex();
    // The answer for a text that is in the dictionary exactly so; false for any other.
    [[nodiscard]] bool findTranslation(const QString &sourceText, qint32 language, QString &translation);
    [[nodiscard]] bool hasSameSourceInFallback(qint32 number) const;
    [[nodiscard]] bool isGoodText(qint32 number, qint32 language) const;

    s3TextIndex m_textNumbers;
    // The key has the text number, which needs 17 bits, in its lower 24 bits and the language index above.
    QHash<quint32, QString> m_translationCache;
    s3Dictionary m_fallback;
};
