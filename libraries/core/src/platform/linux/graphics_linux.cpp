#include "platform/graphics.h"

namespace platform
{

QVariant gpuList()
{
    return QVariant();
}

}
