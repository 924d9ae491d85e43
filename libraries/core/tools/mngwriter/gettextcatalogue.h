#pragma once

#include "dictionarycontents.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

// One message of a compiled gettext catalogue. Of a message with plural forms these are the singular and
// its first translation; a context stands in front of the source text with U+0004 between them.
struct GettextMessage {
    QString source;
    QString translation;
};

// Reads a compiled catalogue (".mo" file, GNU gettext manual, "The Format of GNU MO Files") in either byte
// order. The header entry and messages with an empty translation are left out. False, with the reason
// in `error`, for bytes that are no catalogue, that point outside themselves, or whose charset is neither
// UTF-8 nor ASCII nor known to Qt.
[[nodiscard]] bool readGettextCatalogue(const QByteArray &bytes, QList<GettextMessage> &messages,
                                        QString &error);

// Puts the messages of one language into `contents`. A source text that is new there gets the next number.
void addGettextMessages(const QList<GettextMessage> &messages, qint32 language, DictionaryContents &contents);
