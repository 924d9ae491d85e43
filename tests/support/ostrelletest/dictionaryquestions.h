#pragma once

#include "s3dictionary.h"
#include "s3guidictionary.h"
#include "s3translate.h"

#include <ostrelletest/memoryresource.h>

#include <QByteArray>
#include <QString>

#include <algorithm>

// Opens `bytes` as a dictionary and as a GUI dictionary and asks all the questions that there are, for the
// fuzz target and for the suite that replays its findings. False when an answer contradicts another one;
// reads outside of the bytes are for a sanitizer to see.
inline bool askDictionary(const QByteArray &bytes)
{
    const QString path = QStringLiteral(":/fuzz/dictionary.dat");
    const MemoryResource resource(path, bytes);
    s3GuiDictionary dictionary(path, path);
    QString error;
    if (!dictionary.open(error))
        return !error.isEmpty() && dictionary.textCount() == 0;

    bool isConsistent = error.isEmpty();
    const qint32 last = dictionary.textCount();
    // The ends of the range, and what a short file can hold of it.
    for (const qint32 first : {0, std::max(last - 2, 0)}) {
        for (qint32 number = first; number <= std::min(first + 40, last + 1); ++number) {
            const QString source = dictionary.sourceText(number);
            isConsistent = isConsistent && dictionary.textKey(number) == dictionary.textKey(-number);
            for (const qint32 language : {-2, -1, 0, 1, 10, 13, 30, 31, 97, 98}) {
                const QString text = dictionary.text(number, language);
                if (dictionary.hasText(number, language))
                    isConsistent = isConsistent && text != s3MissingTextMark(number);
                const bool isOutside = number < 1 || number > last || language < -1;
                isConsistent = isConsistent && (!isOutside || text == s3MissingTextMark(number));
            }
            static_cast<void>(dictionary.translateText(source, 31));
        }
    }
    dictionary.close();
    return isConsistent && dictionary.textCount() == 0;
}
