#pragma once

#include <QLocale>
#include <QString>
#include <QStringList>

// The languages of the system. Each is known in three ways: by a one-character letter (in settings,
// command lines, directory names), by a language index (the letter's place in a fixed alphabet, 0 to 31,
// which is also its place among the columns of a dictionary file), and by an ISO name (for QLocale and
// HTTP servers).
//
// The letters "1", "2" and "3" are individual languages: slots that an installation fills with a language
// and a name of its own.
//
// An unknown letter is no failure: it gives -1, an empty string or false.
//
// Threads: the tables are read-only. The current language, the names of the individual languages and the
// cached name of the current language are unguarded and belong to the start-up on the main thread.

// The 32 letters in the order of their language indexes.
[[nodiscard]] QStringList s3Languages();

// The language index of a letter in either case, -1 if there is no such language.
[[nodiscard]] qint32 s3LanguageIndex(const QString &letter);

// The letter at a language index, empty outside the alphabet.
[[nodiscard]] QString s3LanguageLetter(qint32 index);

// The language of this process, "D" (index 0) until s3SetLanguage.
[[nodiscard]] qint32 s3CurrentLanguage();
[[nodiscard]] QString s3CurrentLanguageLetter();
[[nodiscard]] QString s3CurrentLanguageIso();

// The ISO name, like "de" or "en-US", of a letter in either case or of an index. An individual language
// without an ISO name of its own has its letter as ISO name.
[[nodiscard]] QString s3LanguageIso(const QString &letter);
[[nodiscard]] QString s3LanguageIso(qint32 index);

// The name of the current language's QLocale, like "de_DE".
[[nodiscard]] QString s3CurrentLocaleName();

// The name of a language in the current language: the given name of an individual language, otherwise
// message text 950 + index.
[[nodiscard]] QString s3LanguageName(const QString &letter);

// s3LanguageName of the current letter, looked up again only when the letter has changed.
[[nodiscard]] QString s3CurrentLanguageName();

// The part of a path that selects a language, like "E/". It is empty for "D", whose files lie in the
// common directory, unless the flag gives "D" a directory of its own too. The flag is false at start.
[[nodiscard]] QString s3LanguageDirectory(const QString &letter);
[[nodiscard]] QString s3CurrentLanguageDirectory();
void s3SetLanguageDirectoryFlag(bool on);
[[nodiscard]] bool s3LanguageDirectoryFlag();

// Sets the language for a start of the program: the first of `explicitLetter`, `secondLetter`, the
// language found by `name` or else by `locale`, "A" and "D" that is a language. American English comes
// before German: who has named no language and is not found is more likely to read English.
// The result is what the caller should offer for a choice: nothing when a letter was given explicitly,
// otherwise the found language, if any, and "D".
QStringList s3ChooseLanguage(const QString &explicitLetter, const QString &secondLetter, const QString &name,
                             const QLocale &locale);

// Makes `letter` the current language and sets up the default QLocale and the layout direction for it;
// `isoName`, which may be empty, is kept for an individual language. False, and nothing changes, when
// there is no such language. A locale name that Qt does not know leaves the default QLocale alone.
// For a program with a QGuiApplication.
bool s3SetLanguage(const QString &letter, const QString &isoName);

// The letter of the language with this letter, ISO name or name in any language (case does not matter),
// or of the language of a locale; empty when there is none and for QLocale::C.
[[nodiscard]] QString s3FindLanguage(const QString &name);
[[nodiscard]] QString s3FindLanguage(const QLocale &locale);

// s3FindLanguage of each word of `text` in order, without the words that name no language.
[[nodiscard]] QStringList s3FindLanguages(const QString &text);

// Whether a language is one of the slots "1", "2" and "3".
[[nodiscard]] bool s3IsIndividualLanguage(const QString &letter);
[[nodiscard]] bool s3IsIndividualLanguage(qint32 index);
[[nodiscard]] bool s3CurrentLanguageIsIndividual();

// The name of an individual language, "Individ.1" and so on at start; empty for any other letter.
[[nodiscard]] QString s3IndividualLanguageName(const QString &letter);

// Name an individual language. False, and nothing changes, for an empty name or any other letter.
bool s3SetIndividualLanguageName(const QString &letter, const QString &name);
bool s3SetIndividualLanguageIso(const QString &letter, const QString &isoName);

// Whether the current language is written from right to left. Test flag 229 says yes for all languages,
// so that a layout can be tried in one that the tester reads.
[[nodiscard]] bool s3IsRightToLeft();

// The script of the current language: the value of QFontDatabase::WritingSystem, its name in the
// settings of fonts ("Latin", "SimplifiedChinese"), and the value and name of the charset of Windows
// fonts (238, "EASTEUROPE_CHARSET"). An individual language may be in any script: 0, empty, 1 (which is
// DEFAULT_CHARSET) and empty.
[[nodiscard]] qint32 s3WritingSystem();
[[nodiscard]] QString s3WritingSystemName();
[[nodiscard]] qint32 s3CharsetValue();
[[nodiscard]] QString s3CharsetName();

// The words for yes and no (messages 531 and 532). Each is kept from its first use on, so a later change
// of the language does not change it.
[[nodiscard]] QString s3YesNoText(bool yes);

// Whether `text` is exactly the word for yes.
[[nodiscard]] bool s3IsYesText(const QString &text);

// The value of an HTTP Accept-Language header (RFC 9110, 12.5.4): the current language, then American
// and British English with falling weights.
[[nodiscard]] QString s3AcceptLanguage();
