#include "composeroute.h"

namespace mapi
{

bool composeInMailClient(const Mail &)
{
    return false;
}

}
