#include "composequestions.h"

#include <sanitizer/lsan_interface.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// GMime 3.2 loses an address that it has read when something that is none follows, and after a fault it goes
// on behind the next comma. The list that it gives back has an owner of its own.
extern "C" InternetAddressList *__real_internet_address_list_parse(GMimeParserOptions *, const char *);
extern "C" InternetAddressList *__wrap_internet_address_list_parse(GMimeParserOptions *options,
                                                                   const char *text)
{
    const __lsan::ScopedDisabler foreignLeaks;
    return __real_internet_address_list_parse(options, text);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!questions::askBuilders({reinterpret_cast<const char *>(data), size}))
        std::abort();
    return 0;
}
