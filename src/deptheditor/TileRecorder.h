#pragma once
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

// Remembers what a row-major array held before a drag changed it, without copying the whole array
// when the drag starts: the first time a pixel of a 64 x 64 tile is about to change, that tile is
// copied. What is kept in the end is, per tile touched, the block of pixels that changed in it, so a
// long diagonal stroke on a big sheet costs memory in proportion to the area it painted, not to the
// rectangle spanning it. The recorder only reads the array, and only until it is released.
template <typename T> class TileRecorder
{
public:
    static constexpr int kTileSize = 64;

    TileRecorder() = default;
    TileRecorder(int arrayWidth, int arrayHeight, const T* array)
        : width(std::max(0, arrayWidth)), height(std::max(0, arrayHeight)),
          tilesAcross((width + kTileSize - 1) / kTileSize), live(array),
          tiles(static_cast<std::size_t>(tilesAcross) * ((height + kTileSize - 1) / kTileSize))
    {}

    // Call before (x, y) is written: keeps its tile as it is now, unless already kept, and counts the
    // pixel as changed.
    void Keep(int x, int y)
    {
        if (live == nullptr || x < 0 || y < 0 || x >= width || y >= height)
            return;
        Tile& tile = tiles[static_cast<std::size_t>(y / kTileSize) * tilesAcross + x / kTileSize];
        if (tile.values == nullptr)
        {
            const int x0 = x / kTileSize * kTileSize;
            const int y0 = y / kTileSize * kTileSize;
            const PixelRect area = PixelRect{x0, y0, kTileSize, kTileSize}.ClippedTo(width, height);
            tile.values =
                std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(kTileSize) * kTileSize);
            for (int j = 0; j < area.height; ++j)
            {
                const T* row = live + static_cast<std::size_t>(y0 + j) * width + x0;
                std::copy(row, row + area.width, tile.values.get() + static_cast<std::size_t>(j) * kTileSize);
            }
            tile.changed = {x, y, 1, 1};
            ++keptTiles;
        }
        else
            tile.changed = tile.changed.United({x, y, 1, 1});
        changed = changed.United({x, y, 1, 1});
    }

    // The smallest rectangle holding every changed pixel.
    const PixelRect& GetChangedRect() const { return changed; }

    // The values as they were before recording: one block per tile touched, covering what changed in it.
    std::vector<SwapBlock<T>> Before() const
    {
        std::vector<SwapBlock<T>> blocks;
        for (const Tile& tile : tiles)
        {
            if (tile.values == nullptr)
                continue;
            const PixelRect& rect = tile.changed;
            auto block = std::make_unique_for_overwrite<T[]>(rect.Area());
            for (int j = 0; j < rect.height; ++j)
            {
                const T* row = tile.values.get() +
                               static_cast<std::size_t>((rect.y + j) % kTileSize) * kTileSize +
                               rect.x % kTileSize;
                std::copy(row, row + rect.width, block.get() + static_cast<std::size_t>(j) * rect.width);
            }
            blocks.emplace_back(rect, std::move(block));
        }
        return blocks;
    }

    // Frees the tiles and forgets the array.
    void Release()
    {
        tiles.clear();
        tiles.shrink_to_fit();
        keptTiles = 0;
        live = nullptr;
    }

    std::size_t GetSizeInBytes() const
    {
        return keptTiles * static_cast<std::size_t>(kTileSize) * kTileSize * sizeof(T) +
               tiles.capacity() * sizeof(Tile);
    }

private:
    struct Tile
    {
        std::unique_ptr<T[]> values; // kTileSize x kTileSize, of which the part inside the array is used
        PixelRect changed;
    };

    int width = 0;
    int height = 0;
    int tilesAcross = 0;
    const T* live = nullptr;
    std::vector<Tile> tiles;
    std::size_t keptTiles = 0;
    PixelRect changed;
};

// Memory held by a list of blocks.
template <typename T> std::size_t SizeOfBlocks(const std::vector<SwapBlock<T>>& blocks)
{
    std::size_t total = blocks.capacity() * sizeof(SwapBlock<T>);
    for (const SwapBlock<T>& block : blocks)
        total += block.GetSizeInBytes();
    return total;
}
