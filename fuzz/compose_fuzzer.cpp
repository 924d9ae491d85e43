#include "composequestions.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!questions::askBuilders({reinterpret_cast<const char *>(data), size}))
        std::abort();
    return 0;
}
