#pragma once

#include "mapiplatform.h"

#include <cstddef>
#include <memory>

// What MapiPlatform hands out, given back at the end of the scope. Each may hold nothing.

// A registry key.
class MapiRegistryKey
{
public:
    explicit MapiRegistryKey(MapiPlatform &platform, HKEY key = nullptr)
        : m_platform(platform), m_key(key) { }
    ~MapiRegistryKey()
    {
        if (m_key != nullptr)
            m_platform.closeKey(m_key);
    }
    MapiRegistryKey(const MapiRegistryKey &) = delete;
    MapiRegistryKey &operator=(const MapiRegistryKey &) = delete;
    MapiRegistryKey(MapiRegistryKey &&) = delete;
    MapiRegistryKey &operator=(MapiRegistryKey &&) = delete;

    // Where a call that opens a key puts it; only while nothing is held.
    [[nodiscard]] HKEY &out() { return m_key; }
    [[nodiscard]] HKEY get() const { return m_key; }

private:
    MapiPlatform &m_platform;
    HKEY m_key;
};

// A loaded library.
class MapiLibrary
{
public:
    explicit MapiLibrary(MapiPlatform &platform, HMODULE library) : m_platform(platform), m_library(library)
    {
    }
    ~MapiLibrary()
    {
        if (m_library != nullptr)
            m_platform.freeLibrary(m_library);
    }
    MapiLibrary(const MapiLibrary &) = delete;
    MapiLibrary &operator=(const MapiLibrary &) = delete;
    MapiLibrary(MapiLibrary &&) = delete;
    MapiLibrary &operator=(MapiLibrary &&) = delete;

    [[nodiscard]] HMODULE get() const { return m_library; }

    // The entry `name` as a pointer of the type `Function`; null if there is none.
    template <typename Function> [[nodiscard]] Function entry(const char *name) const
    {
        return reinterpret_cast<Function>(m_platform.symbol(m_library, name));
    }

private:
    MapiPlatform &m_platform;
    HMODULE m_library;
};

// Zeroed memory of the process heap.
struct MapiMemoryRelease {
    MapiPlatform *platform;
    void operator()(void *memory) const { platform->release(memory); }
};
template <typename T> using MapiMemory = std::unique_ptr<T[], MapiMemoryRelease>;

// Room for `count` objects of a plain type. Null without memory.
template <typename T>
[[nodiscard]] MapiMemory<T> allocateMapiMemory(MapiPlatform &platform, std::size_t count)
{
    return MapiMemory<T>(static_cast<T *>(platform.allocate(count * sizeof(T))),
                         MapiMemoryRelease{&platform});
}
