#include "s3testflags.h"

s3TestFlagsGUI *s3TestFlagsInstance()
{
    return s3TestFlagsGUI::singletonInstance();
}
