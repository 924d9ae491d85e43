#pragma once

#include "dictionarycontents.h"

class QIODevice;

// Reads the contents of a dictionary from UTF-8 text with one line per dictionary text and tabs between
// the fields. The first line names the columns in any order: "number", "key", "source" and language
// letters; only "number" must be there. An empty field is a wording that is missing, "\e" alone one that
// is empty. In a field, "\n", "\t", "\r" and "\\" stand for the characters that they stand for in C. Empty
// lines and lines that begin with "#" are left out.
//
// False, with the line and the reason in `error`, for a line that does not follow this; a number may come
// only once.
[[nodiscard]] bool readTabSeparated(QIODevice &device, DictionaryContents &contents, QString &error);
