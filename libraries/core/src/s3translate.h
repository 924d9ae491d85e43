#pragma once

#include <QSet>
#include <QString>

// The front end of the dictionaries: all texts that a user reads pass through here.
//
// Two dictionaries live as long as the process: the GUI dictionary, in which a source text is the key of
// its translation, and the message dictionary, whose texts have numbers. Both are closed until
// s3OpenDictionaries, and a program that never calls it, like the mail tool, shows its source texts.
//
// While a brand is in force (s3whitelabel.h), its product name stands for "Zerk" in what s3Translate,
// s3GuiText and s3Message give.
//
// Text numbers run from 1; a negative number means the same text as the positive one. A language is a
// language index (s3language.h); -1 is the column of the source texts.
//
// Threads: everything here belongs to one thread at a time, since translations are cached.

// Opens the GUI dictionary (":/dictionary/mng.dat.0" with the fallback "data/mng.dat.0") and the message
// dictionary ("data/msg.dat.0"). Only the message dictionary decides about the result and `error`, which
// is cleared on success: without the GUI dictionary the source texts stand in. A second call finds open
// what the first one opened and tries the rest again.
bool s3OpenDictionaries(QString &error);

// The highest text number of the GUI dictionary, 0 while it is closed.
[[nodiscard]] qint32 s3GuiTextCount();

// The current language's wording of a German source text; the text itself where the dictionary has none.
[[nodiscard]] QString s3Translate(const QString &sourceText);

// The source text of a number of the GUI dictionary; empty where there is none.
[[nodiscard]] QString s3GuiSourceText(qint32 number);

// The text of a number of the GUI dictionary, not of its fallback; s3MissingTextMark where there is none.
[[nodiscard]] QString s3GuiText(qint32 number, qint32 language);

// Whether the GUI dictionary has a translation of its own there, not only the German or American wording.
[[nodiscard]] bool s3GuiHasText(qint32 number, qint32 language);

// A numbered message in the current language or in `language`; s3MissingTextMark where there is none,
// so always while the message dictionary is closed.
[[nodiscard]] QString s3Message(qint32 number);
[[nodiscard]] QString s3Message(qint32 number, qint32 language);

// The short identifier of a numbered message; empty where there is none.
[[nodiscard]] QString s3MessageKey(qint32 number);

// What stands in place of a text that does not exist: "*** 12 ***", with the number as given.
[[nodiscard]] QString s3MissingTextMark(qint32 number);

// All source texts that s3Translate could not find so far, for diagnosis. It only grows.
[[nodiscard]] const QSet<QString> &s3UnknownTexts();
