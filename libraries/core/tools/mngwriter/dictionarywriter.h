#pragma once

#include "dictionarycontents.h"

class QIODevice;

// Writes a dictionary file, as s3Dictionary reads it, to an open device. All texts go into the first text
// block. Every wording gets a place of its own, so that a translation which happens to read like the
// German text still counts as one; only missing translations share a place.
//
// False, with the reason in `error`, for contents that the format cannot hold (32 to 99 columns, numbers 1
// to 99999, 4 GiB of texts and of keys each, no U+0000) and for a device that does not take all bytes.
// Contents are checked before the first byte is written.
[[nodiscard]] bool writeDictionary(const DictionaryContents &contents, QIODevice &device, QString &error);

// The same into a file, which is replaced only when all has been written.
[[nodiscard]] bool writeDictionaryFile(const DictionaryContents &contents, const QString &filePath,
                                       QString &error);
