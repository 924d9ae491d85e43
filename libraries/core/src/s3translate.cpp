#include "s3translate.h"

using namespace Qt::StringLiterals;

QString s3Translate(const QString &sourceText)
{
    return sourceText;
}

QString s3Message(qint32 number)
{
    return s3MissingTextMark(number);
}

QString s3MessageKey(qint32)
{
    return {};
}

QString s3MissingTextMark(qint32 number)
{
    return u"*** %1 ***"_s.arg(number);
}
