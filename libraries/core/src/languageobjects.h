#pragma once

#include "s3dictionary.h"
#include "s3guidictionary.h"

#include <QMap>
#include <QSet>
#include <QString>

// What the languages and dictionaries keep for the life of the process; languageObjects() of
// processobjects.h gives the one set of them. The members are constructed in this order and destroyed in
// the reverse one.
struct LanguageObjects {
    LanguageObjects();

    // Closed until s3OpenDictionaries.
    s3GuiDictionary guiDictionary;
    s3Dictionary messageDictionary;

    // Letters of the individual languages to their names and to their ISO names. A letter is individual
    // exactly if it has a name, so the first map never loses a key.
    QMap<QString, QString> individualNames;
    QMap<QString, QString> individualIsoNames;

    // Source texts that the GUI dictionary was asked for and does not have.
    QSet<QString> unknownTexts;
};
