#include "s3char.h"

int s3Char::compare(QChar a, QChar b, Qt::CaseSensitivity cs) noexcept
{
    if (cs == Qt::CaseInsensitive)
        return int(a.toCaseFolded().unicode()) - int(b.toCaseFolded().unicode());
    return int(a.unicode()) - int(b.unicode());
}

bool s3Char::isWordCharacter() const noexcept
{
    return isLetterOrNumber() || isMark() || unicode() == u'_';
}

bool s3Char::isInvalidControl() const noexcept
{
    if (isNull() || isPrint() || unicode() >= 32)
        return false;
    switch (unicode()) {
    case 9:
    case 10:
    case 11:
    case 13:
    case 16:
    case 19:
    case 24:
    case 31:
        return false;
    default:
        return true;
    }
}
