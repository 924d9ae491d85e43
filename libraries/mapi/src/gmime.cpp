#include "gmime.h"

#include <mutex>

namespace mapi
{

void initialiseGMime()
{
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

}
