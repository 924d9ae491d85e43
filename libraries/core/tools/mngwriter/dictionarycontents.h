#pragma once

#include <QHash>
#include <QMap>
#include <QString>

// One text of a dictionary in all languages.
struct DictionaryText {
    // Short identifier; may be empty. No U+0000.
    QString key;

    // The text by which the program's code knows it. Null, in the sense of QString::isNull, leaves the
    // cell unfilled. No U+0000.
    QString source;

    // Language index to wording, which may be empty. A language that is missing here has no translation
    // of its own: its cell is that of German, and German without a wording is the source text.
    QHash<qint32, QString> translations;
};

// What goes into a dictionary file: the texts by their numbers, from 1 on. A number that is left out
// becomes an unfilled row.
struct DictionaryContents {
    // Columns of the file, the source column included; 33 serve all 32 languages.
    qint32 columnCount = 33;
    QMap<qint32, DictionaryText> texts;
};
