#include "s3whitelabel.h"

s3WhiteLabel *s3WhiteLabelInstance()
{
    return s3WhiteLabel::singletonInstance();
}
