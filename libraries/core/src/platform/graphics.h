#pragma once

#include <QVariant>

namespace platform
{

// What Qt's platform plugin for Windows tells about the graphics adapters: a QVariantList of QVariantMaps,
// the text for a reader under the key "printable". Invalid with every other plugin, on Linux, and without a
// GUI application. On the crash path any thread.
[[nodiscard]] QVariant gpuList();

}
