#include "s3translate.h"

#include "languageobjects.h"
#include "processobjects.h"
#include "s3language.h"
#include "s3whitelabel.h"

using namespace Qt::StringLiterals;

namespace
{

// What a reader sees of a text: under a brand its product name stands for ours.
QString branded(const QString &text)
{
    return s3WhiteLabelInstance()->replaceProductName(text);
}

} // namespace

bool s3OpenDictionaries(QString &error)
{
    languageObjects().guiDictionary.open();
    return languageObjects().messageDictionary.open(error);
}

qint32 s3GuiTextCount()
{
    return languageObjects().guiDictionary.textCount();
}

QString s3Translate(const QString &sourceText)
{
    return branded(languageObjects().guiDictionary.translateText(sourceText, s3CurrentLanguage()));
}

QString s3GuiSourceText(qint32 number)
{
    return languageObjects().guiDictionary.sourceText(number);
}

QString s3GuiText(qint32 number, qint32 language)
{
    return branded(languageObjects().guiDictionary.text(number, language));
}

bool s3GuiHasText(qint32 number, qint32 language)
{
    return languageObjects().guiDictionary.hasText(number, language);
}

QString s3Message(qint32 number)
{
    return s3Message(number, s3CurrentLanguage());
}

QString s3Message(qint32 number, qint32 language)
{
    QString text = languageObjects().messageDictionary.text(number, language);
    return branded(text.replace("zerk ERP"_L1, "Zerk"_L1));
}

QString s3MessageKey(qint32 number)
{
    return languageObjects().messageDictionary.textKey(number);
}

QString s3MissingTextMark(qint32 number)
{
    return u"*** %1 ***"_s.arg(number);
}

const QSet<QString> &s3UnknownTexts()
{
    return languageObjects().unknownTexts;
}
