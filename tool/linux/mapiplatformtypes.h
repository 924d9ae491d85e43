#pragma once

#include "mapitypes.h"

#include <cstdint>

// The types and constants of the Windows system headers that the way to a Simple MAPI provider is told
// in, for a system that has no such headers: same names, widths and values. Only the names that the
// port (mapiplatform.h) and its users need.

using BOOL = std::int32_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using LONG = std::int32_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using HRESULT = LONG;

// Handles are opaque; nothing here looks behind them.
struct RegistryKeyHandle;
using HKEY = RegistryKeyHandle *;
struct ModuleHandle;
using HMODULE = ModuleHandle *;

inline const auto HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
inline const auto HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});
inline constexpr DWORD KEY_READ = 0x20019;

inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_NOT_SUPPORTED = 50;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;
inline constexpr LONG ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr LONG ERROR_UNKNOWN_COMPONENT = 1611;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;

inline constexpr WORD VER_SUITE_TERMINAL = 0x10;
inline constexpr DWORD VER_SUITENAME = 0x40;
inline constexpr BYTE VER_AND = 6;

// MsiProvideQualifiedComponentW of the installer's library.
using MsiProvideQualifiedComponentFunction = UINT (*)(const WCHAR *category, const WCHAR *qualifier,
                                                      DWORD installMode, WCHAR *path, DWORD *pathLength);
