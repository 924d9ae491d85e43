#include <ostrelletest/settingsquestions.h>

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!askSettingsFormat(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size))))
        std::abort();
    return 0;
}
