#include "s3string.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

s3String s3String::toBackslashes() const
{
    QString result = *this;
    return result.replace(u'/', u'\\');
}

s3String s3String::toForwardSlashes() const
{
    QString result = *this;
    return result.replace(u'\\', u'/');
}

bool s3String::toBool() const
{
    static const QRegularExpression word(u"^\\s*true\\s*$"_s, QRegularExpression::CaseInsensitiveOption);
    return word.match(*this).hasMatch() || toInt() != 0;
}
