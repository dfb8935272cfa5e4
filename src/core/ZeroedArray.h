#pragma once
#include "core/ZeroedMemory.h"
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

// A fixed-size array of plain values that starts as all zero bytes. Sheet-sized working arrays come
// straight from the system's zeroed pages (see ZeroedMemory.h), so nothing clears them on one thread
// up front and pages never touched cost nothing; a std::vector would write every element first.
template <typename T> class ZeroedArray
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    ZeroedArray() = default;
    // Throws std::bad_alloc when the memory cannot be had or count * sizeof(T) overflows.
    explicit ZeroedArray(std::size_t count)
    {
        std::size_t bytes = 0;
        if (!ZeroedBytesFor(count, sizeof(T), bytes))
            throw std::bad_alloc();
        values = static_cast<T*>(AllocateZeroed(bytes));
        if (values == nullptr)
            throw std::bad_alloc();
        length = count;
    }
    ZeroedArray(ZeroedArray&& other) noexcept
        : values(std::exchange(other.values, nullptr)), length(std::exchange(other.length, 0))
    {}
    ZeroedArray& operator=(ZeroedArray&& other) noexcept
    {
        swap(other);
        return *this;
    }
    ZeroedArray(const ZeroedArray&) = delete;
    ZeroedArray& operator=(const ZeroedArray&) = delete;
    ~ZeroedArray() { FreeZeroed(values, length * sizeof(T)); }

    void swap(ZeroedArray& other) noexcept
    {
        std::swap(values, other.values);
        std::swap(length, other.length);
    }
    T* data() { return values; }
    const T* data() const { return values; }
    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }
    T* begin() { return values; }
    T* end() { return values + length; }
    T& operator[](std::size_t i) { return values[i]; }
    const T& operator[](std::size_t i) const { return values[i]; }

private:
    T* values = nullptr;
    std::size_t length = 0;
};
