#include "AllocationMeter.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t largest = 0;
}

void* operator new(std::size_t size)
{
    largest = std::max(largest, size);
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

AllocationMeter::AllocationMeter()
{
    largest = 0;
}

std::size_t AllocationMeter::Largest() const
{
    return largest;
}
