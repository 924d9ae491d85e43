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
    AllocationCounter() : m_start(total) { }
    AllocationCounter(const AllocationCounter &) = delete;
    AllocationCounter &operator=(const AllocationCounter &) = delete;

    // The allocations since the counter was made.
    [[nodiscard]] int allocations() const { return total - m_start; }

    static inline int total = 0;

private:
    int m_start;
};

void *operator new(std::size_t size)
{
    ++AllocationCounter::total;
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
