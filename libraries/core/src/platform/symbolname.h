#pragma once

#include <QString>

namespace platform
{

// The name of a symbol as in the source: a C++ name is decoded and loses its parameters and, where it has
// one, its result ("void f<int>(int)" is "f<int>"); any other name stays as it is. Any thread.
[[nodiscard]] QString symbolName(const char *symbol);

}
