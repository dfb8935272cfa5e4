#pragma once
#include "deptheditor/PixelRect.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

// The values of one rectangle of a row-major array that the array does not hold at the moment: the
// before values while a change is in place, the after values once it is undone. Exchanging them with
// the array is both the undo and the redo, so a command needs one copy of its block, not two, and
// replaying it can only ever put back bytes that were there.
template <typename T> class SwapBlock
{
public:
    SwapBlock() = default;
    // `values` holds rect.width * rect.height elements, row-major.
    SwapBlock(PixelRect area, std::unique_ptr<T[]> contents) : rect(area), values(std::move(contents))
    {
        if (values == nullptr)
            rect = {};
    }

    const PixelRect& GetRect() const { return rect; }
    bool IsEmpty() const { return rect.IsEmpty(); }
    const T* GetValues() const { return values.get(); }
    std::size_t GetSizeInBytes() const { return rect.Area() * sizeof(T); }

    // Exchanges the block with the same rectangle of `array`, which is `arrayWidth` elements wide and
    // must hold the rectangle.
    void SwapWith(T* array, int arrayWidth)
    {
        for (int j = 0; j < rect.height; ++j)
        {
            T* row = array + static_cast<std::size_t>(rect.y + j) * arrayWidth + rect.x;
            std::swap_ranges(row, row + rect.width, values.get() + static_cast<std::size_t>(j) * rect.width);
        }
    }

    // Copies the rectangle out of `array`.
    static SwapBlock CopyOf(const T* array, int arrayWidth, PixelRect rect)
    {
        if (rect.IsEmpty())
            return {};
        auto copy = std::make_unique_for_overwrite<T[]>(rect.Area());
        for (int j = 0; j < rect.height; ++j)
        {
            const T* row = array + static_cast<std::size_t>(rect.y + j) * arrayWidth + rect.x;
            std::copy(row, row + rect.width, copy.get() + static_cast<std::size_t>(j) * rect.width);
        }
        return SwapBlock(rect, std::move(copy));
    }

private:
    PixelRect rect;
    std::unique_ptr<T[]> values;
};
