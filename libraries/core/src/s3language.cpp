#include "s3language.h"

#include "languageobjects.h"
#include "processobjects.h"
#include "s3languagetables.h"
#include "s3testflags.h"
#include "s3translate.h"

#include <QGuiApplication>
#include <QMap>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// Message numbers: the languages' names begin here, in the order of the language indexes.
constexpr qint32 firstLanguageNameNumber = 950;
constexpr qint32 yesNumber = 531;
constexpr qint32 noNumber = 532;

constexpr qint32 arabicWritingSystem = 6;
constexpr qint32 rightToLeftTestFlag = 229;

// What stands for the script of an individual language, which nobody knows.
constexpr s3CharsetRow unknownCharset{{}, 1, {}, 0};

constinit qint32 currentLanguage = 0;
constinit bool languageDirectoryFlag = false;

QString toString(std::u16string_view text)
{
    return QStringView(text).toString();
}

const QStringList &languageLetters()
{
    static const QStringList letters = [] {
        QStringList result;
        result.reserve(qsizetype(s3LanguageTable.size()));
        for (const s3LanguageRow &row : s3LanguageTable)
            result += QString(QChar(row.letter));
        return result;
    }();
    return letters;
}

bool isSameName(const QString &left, const QString &right)
{
    return left.compare(right, Qt::CaseInsensitive) == 0;
}

// An index or row outside its table stands for the first row.
const s3CharsetRow &currentCharset()
{
    if (s3CurrentLanguageIsIndividual())
        return unknownCharset;
    const auto language = size_t(s3CurrentLanguage());
    const qint32 row = language < s3LanguageTable.size() ? s3LanguageTable[language].charsetRow : 0;
    return s3CharsetTable[size_t(row) < s3CharsetTable.size() ? size_t(row) : 0];
}

bool setIndividual(QMap<QString, QString> &map, const QString &letter, const QString &value)
{
    if (value.isEmpty() || !s3IsIndividualLanguage(letter))
        return false;
    map.insert(letter, value);
    return true;
}

// Whether `name` is what the language with this index is called in any language.
bool isNameInAnyLanguage(const QString &name, qint32 index)
{
    for (qint32 language = 0; language < qint32(s3LanguageTable.size()); ++language) {
        if (isSameName(name, s3Message(firstLanguageNameNumber + index, language)))
            return true;
    }
    return false;
}

} // namespace

QStringList s3Languages()
{
    return languageLetters();
}

qint32 s3LanguageIndex(const QString &letter)
{
    return qint32(languageLetters().indexOf(letter.toUpper()));
}

QString s3LanguageLetter(qint32 index)
{
    return languageLetters().value(index);
}

qint32 s3CurrentLanguage()
{
    return currentLanguage;
}

QString s3CurrentLanguageLetter()
{
    return s3LanguageLetter(s3CurrentLanguage());
}

QString s3CurrentLanguageIso()
{
    return s3LanguageIso(s3CurrentLanguageLetter());
}

QString s3LanguageIso(const QString &letter)
{
    if (s3IsIndividualLanguage(letter))
        return languageObjects().individualIsoNames.value(letter, letter);
    const qint32 index = s3LanguageIndex(letter);
    return index < 0 ? QString() : toString(s3LanguageTable[size_t(index)].isoName);
}

QString s3LanguageIso(qint32 index)
{
    return s3LanguageIso(s3LanguageLetter(index));
}

QString s3CurrentLocaleName()
{
    const QString isoName = s3CurrentLanguageIso();
    const auto row = std::ranges::find_if(s3LocaleTable, [&](const s3LocaleRow &candidate) {
        return QStringView(candidate.isoName) == isoName;
    });
    QString name = row != s3LocaleTable.end() ? toString(row->localeName) : isoName;
    name.replace(u'-', u'_');
    if (name.size() == 2)
        name += u'_' + name.toUpper();
    return name;
}

QString s3LanguageName(const QString &letter)
{
    if (letter.isEmpty())
        return {};
    QString name = s3IndividualLanguageName(letter);
    if (!name.isEmpty())
        return name;
    const qint32 index = s3LanguageIndex(letter);
    return index < 0 ? QString() : s3Message(firstLanguageNameNumber + index);
}

QString s3CurrentLanguageName()
{
    static QString cachedLetter;
    static QString cachedName;
    const QString letter = s3CurrentLanguageLetter();
    if (letter != cachedLetter) {
        cachedName = s3LanguageName(letter);
        cachedLetter = letter;
    }
    return cachedName;
}

QString s3LanguageDirectory(const QString &letter)
{
    return letter == "D"_L1 && !languageDirectoryFlag ? QString() : letter + u'/';
}

QString s3CurrentLanguageDirectory()
{
    return s3LanguageDirectory(s3CurrentLanguageLetter());
}

void s3SetLanguageDirectoryFlag(bool on)
{
    languageDirectoryFlag = on;
}

bool s3LanguageDirectoryFlag()
{
    return languageDirectoryFlag;
}

QStringList s3ChooseLanguage(const QString &explicitLetter, const QString &secondLetter, const QString &name,
                             const QLocale &locale)
{
    QString found = s3FindLanguage(name);
    if (found.isEmpty())
        found = s3FindLanguage(locale);
    for (const QString &candidate : {explicitLetter, secondLetter, found, u"A"_s, u"D"_s}) {
        if (s3SetLanguage(candidate, QString()))
            break;
    }
    if (!explicitLetter.isEmpty())
        return {};
    QStringList offered{u"D"_s};
    if (!found.isEmpty() && !offered.contains(found))
        offered.prepend(found);
    return offered;
}

bool s3SetLanguage(const QString &letter, const QString &isoName)
{
    const qint32 index = s3LanguageIndex(letter);
    if (letter.isEmpty() || index == -1)
        return false;
    currentLanguage = index;
    s3SetIndividualLanguageIso(letter, isoName);
    const QLocale locale(s3CurrentLocaleName());
    if (locale.language() != QLocale::C)
        QLocale::setDefault(locale);
    QGuiApplication::setLayoutDirection(s3IsRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    return true;
}

QString s3FindLanguage(const QString &name)
{
    if (name.isEmpty())
        return {};
    for (const QString &letter : languageLetters()) {
        if (isSameName(name, letter) || isSameName(name, s3LanguageIso(letter)))
            return letter;
    }
    for (const QString &letter : languageLetters()) {
        if (isSameName(name, s3IndividualLanguageName(letter))
            || isNameInAnyLanguage(name, s3LanguageIndex(letter))) {
            return letter;
        }
    }
    return {};
}

QString s3FindLanguage(const QLocale &locale)
{
    if (locale.language() == QLocale::C)
        return {};
    const QString name = locale.name().replace(u'_', u'-');
    const QString letter = s3FindLanguage(name);
    return letter.isEmpty() ? s3FindLanguage(name.section(u'-', 0, 0)) : letter;
}

QStringList s3FindLanguages(const QString &text)
{
    static const QRegularExpression whiteSpace(u"\\s+"_s);
    QStringList letters;
    for (const QString &name : text.split(whiteSpace, Qt::SkipEmptyParts)) {
        const QString letter = s3FindLanguage(name);
        if (!letter.isEmpty())
            letters += letter;
    }
    return letters;
}

bool s3IsIndividualLanguage(const QString &letter)
{
    return languageObjects().individualNames.contains(letter);
}

bool s3IsIndividualLanguage(qint32 index)
{
    return s3IsIndividualLanguage(s3LanguageLetter(index));
}

bool s3CurrentLanguageIsIndividual()
{
    return s3IsIndividualLanguage(s3CurrentLanguage());
}

QString s3IndividualLanguageName(const QString &letter)
{
    return languageObjects().individualNames.value(letter);
}

bool s3SetIndividualLanguageName(const QString &letter, const QString &name)
{
    return setIndividual(languageObjects().individualNames, letter, name);
}

bool s3SetIndividualLanguageIso(const QString &letter, const QString &isoName)
{
    return setIndividual(languageObjects().individualIsoNames, letter, isoName);
}

bool s3IsRightToLeft()
{
    return s3TestFlagsInstance()->contains(rightToLeftTestFlag) || s3WritingSystem() == arabicWritingSystem;
}

qint32 s3WritingSystem()
{
    return currentCharset().writingSystem;
}

QString s3WritingSystemName()
{
    return toString(currentCharset().scriptName);
}

qint32 s3CharsetValue()
{
    return currentCharset().charsetValue;
}

QString s3CharsetName()
{
    return toString(currentCharset().charsetName);
}

QString s3YesNoText(bool yes)
{
    if (yes) {
        static const QString text = s3Message(yesNumber);
        return text;
    }
    static const QString text = s3Message(noNumber);
    return text;
}

bool s3IsYesText(const QString &text)
{
    return text == s3YesNoText(true);
}

QString s3AcceptLanguage()
{
    const QString isoName = s3CurrentLanguageIso();
    QString result = isoName;
    double weight = 0.9;
    for (const QString &english : {u"en-US"_s, u"en"_s}) {
        if (isoName == english)
            continue;
        result += u",%1;q=%2"_s.arg(english, QString::number(weight, 'g', 6));
        weight -= 0.1;
    }
    return result;
}
