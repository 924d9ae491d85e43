#include "s3language.h"

bool s3IsRightToLeft()
{
    return false;
}
