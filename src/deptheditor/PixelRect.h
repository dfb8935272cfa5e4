#pragma once
#include <algorithm>
#include <cstddef>

// A rectangle of whole pixels: columns x .. x + width - 1, rows y .. y + height - 1. Empty when either
// side is not positive. Used for the blocks commands keep and for the part of a display image that
// changed since the preview last uploaded it.
struct PixelRect
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool IsEmpty() const { return width <= 0 || height <= 0; }
    std::size_t Area() const { return IsEmpty() ? 0 : static_cast<std::size_t>(width) * height; }
    bool operator==(const PixelRect&) const = default;

    // From inclusive corners; an inverted pair gives an empty rectangle.
    static PixelRect FromCorners(int minX, int minY, int maxX, int maxY)
    {
        if (minX > maxX || minY > maxY)
            return {};
        return {minX, minY, maxX - minX + 1, maxY - minY + 1};
    }

    // The smallest rectangle holding both.
    PixelRect United(const PixelRect& other) const
    {
        if (IsEmpty())
            return other;
        if (other.IsEmpty())
            return *this;
        return FromCorners(std::min(x, other.x), std::min(y, other.y),
                           std::max(x + width, other.x + other.width) - 1,
                           std::max(y + height, other.y + other.height) - 1);
    }

    // The part inside a width x height image.
    PixelRect ClippedTo(int imageWidth, int imageHeight) const
    {
        if (IsEmpty())
            return {};
        return FromCorners(std::max(x, 0), std::max(y, 0), std::min(x + width, imageWidth) - 1,
                           std::min(y + height, imageHeight) - 1);
    }
};
