#include "platform/standarderror.h"

#include <QByteArray>

#include <cstdio>

namespace platform
{

QString terminalText(const QString &text)
{
    QString result = text;
    result.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (QChar &character : result) {
        if (character.category() == QChar::Other_Control && character != u'\n' && character != u'\t')
            character = QChar::ReplacementCharacter;
    }
    return result;
}

void writeToStandardError(const QString &text)
{
    const QByteArray bytes = (terminalText(text) + u'\n').toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

}
