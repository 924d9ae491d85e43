#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

// Counts the calls of operator new in this program, which is replaced for that; include it in one
// translation unit of a program only. What libraries get from malloc without operator new is not seen.
// Belongs to one thread.
class AllocationCounter
{
public:
    AllocationCounter() : m_start(total), m_startBytes(totalBytes) { }
    AllocationCounter(const AllocationCounter &) = delete;
    AllocationCounter &operator=(const AllocationCounter &) = delete;

    // The allocations since the counter was made.
    [[nodiscard]] int allocations() const { return total - m_start; }

    // The sizes of these allocations; what has been freed since is not subtracted.
    [[nodiscard]] std::size_t bytes() const { return totalBytes - m_startBytes; }

    static inline int total = 0;
    static inline std::size_t totalBytes = 0;

private:
    int m_start;
    std::size_t m_startBytes;
};

void *operator new(std::size_t size)
{
    ++AllocationCounter::total;
    AllocationCounter::totalBytes += size;
    if (void *memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}
