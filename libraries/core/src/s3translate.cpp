#include "s3translate.h"

QString s3Translate(const QString &sourceText)
{
    return sourceText;
}
