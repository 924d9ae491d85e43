#pragma once

#include "mapitypes.h"

#include <windows.h>

// The system's own types and constants, and the type of the one entry that is only fetched at run time:
// MsiProvideQualifiedComponentW of the installer's library.

using MsiProvideQualifiedComponentFunction
    = UINT(WINAPI *)(const WCHAR *category, const WCHAR *qualifier, DWORD installMode, WCHAR *path,
                     DWORD *pathLength);
