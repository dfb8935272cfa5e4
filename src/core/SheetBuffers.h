#pragma once
#include "core/ZeroedMemory.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <vector>

// A std::vector whose storage comes from the sheet-sized block pool (ZeroedMemory.h): the temporaries a
// generator makes and drops, one per channel or pass, reuse the pages of the previous ones instead of
// faulting in fresh ones, and count against the memory ceiling like the working arrays do.
template <typename T> struct SheetAllocator
{
    using value_type = T;

    SheetAllocator() = default;
    template <typename U> SheetAllocator(const SheetAllocator<U>&) noexcept {}

    T* allocate(std::size_t count)
    {
        std::size_t bytes = 0;
        void* memory = ZeroedBytesFor(count, sizeof(T), bytes) ? AllocateScratch(bytes) : nullptr;
        if (memory == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t count) noexcept { FreeZeroed(memory, count * sizeof(T)); }

    template <typename U> bool operator==(const SheetAllocator<U>&) const noexcept { return true; }
};

template <typename T> using SheetVector = std::vector<T, SheetAllocator<T>>;

// A fixed-size array from the same pool whose elements start unspecified, for buffers every element
// of which is written before it is read.
template <typename T> class ScratchArray
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    explicit ScratchArray(std::size_t count) : values(SheetAllocator<T>().allocate(count)), length(count) {}
    ScratchArray(const ScratchArray&) = delete;
    ScratchArray& operator=(const ScratchArray&) = delete;
    ~ScratchArray() { SheetAllocator<T>().deallocate(values, length); }

    T* data() const { return values; }
    std::size_t size() const { return length; }

private:
    T* values;
    std::size_t length;
};
