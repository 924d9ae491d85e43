#pragma once

#include "mapitypes.h"

#include <cstddef>

// ASCII literals as the platform's 16-bit text: "DLLPath"_w is a `const WCHAR *` that ends with a null
// and lives for the whole process. u"" and L"" each fit one platform only.

template <std::size_t size> struct WideLiteral {
    WCHAR units[size]{};

    // NOLINTNEXTLINE(google-explicit-constructor): a template argument is converted implicitly
    consteval WideLiteral(const char (&ascii)[size])
    {
        for (std::size_t index = 0; index < size; ++index)
            units[index] = static_cast<WCHAR>(ascii[index]);
    }
};

template <WideLiteral literal> consteval const WCHAR *operator""_w()
{
    return literal.units;
}
