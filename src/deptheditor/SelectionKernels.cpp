#include "deptheditor/SelectionKernels.h"

#include "core/Parallel.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

void WalkBrushDistances(const bool* xEdges, const bool* yEdges, int width, PixelRect box, int centreX,
                        int centreY, int passes, float* distances)
{
    if (box.IsEmpty())
        return;
    const int w = box.width;
    const std::size_t size = box.Area();
    // Step counts start far beyond any brush, so an unreached pixel falls outside the falloff ring.
    constexpr int kUnreached = 1000;
    std::vector<int> stepsX(size, kUnreached);
    std::vector<int> stepsY(size, kUnreached);
    std::vector<int> frontier;
    std::vector<int> next;
    const int centre = (centreY - box.y) * w + (centreX - box.x);
    stepsX[static_cast<std::size_t>(centre)] = 0;
    stepsY[static_cast<std::size_t>(centre)] = 0;
    frontier.push_back(centre);

    const auto edgeAt = [width](const bool* flags, int x, int y) {
        return flags != nullptr && flags[static_cast<std::size_t>(y) * width + x];
    };
    for (int pass = 0; pass < passes && !frontier.empty(); ++pass)
    {
        next.clear();
        for (const int from : frontier)
        {
            const int bx = from % w;
            const int by = from / w;
            const int x = box.x + bx;
            const int y = box.y + by;
            const int sx = stepsX[static_cast<std::size_t>(from)];
            const int sy = stepsY[static_cast<std::size_t>(from)];
            const auto offer = [&](int to, int toX, int toY) {
                const std::size_t t = static_cast<std::size_t>(to);
                if (sx + sy + 1 < stepsX[t] + stepsY[t])
                {
                    stepsX[t] = toX;
                    stepsY[t] = toY;
                    next.push_back(to);
                }
            };
            if (bx > 0 && !edgeAt(xEdges, x - 1, y))
                offer(from - 1, sx + 1, sy);
            if (bx + 1 < w && !edgeAt(xEdges, x, y))
                offer(from + 1, sx + 1, sy);
            if (by > 0 && !edgeAt(yEdges, x, y - 1))
                offer(from - w, sx, sy + 1);
            if (by + 1 < box.height && !edgeAt(yEdges, x, y))
                offer(from + w, sx, sy + 1);
        }
        frontier.swap(next);
    }
    for (std::size_t i = 0; i < size; ++i)
        distances[i] = std::sqrt(static_cast<float>(stepsX[i] * stepsX[i] + stepsY[i] * stepsY[i]));
}

namespace {
// What pixel (x, y) holds after one step of growth.
inline float GrownValue(const float* selection, const bool* xEdges, const bool* yEdges, int width, int height,
                        int x, int y, float dropoff)
{
    const std::size_t i = static_cast<std::size_t>(y) * width + x;
    float best = selection[i];
    const auto offer = [&](std::size_t from, bool cut) {
        const float value = selection[from];
        if (!cut && value > 0.0f && value - dropoff > best)
            best = value - dropoff;
    };
    if (x > 0)
        offer(i - 1, xEdges != nullptr && xEdges[i - 1]);
    if (x + 1 < width)
        offer(i + 1, xEdges != nullptr && xEdges[i]);
    if (y > 0)
        offer(i - width, yEdges != nullptr && yEdges[i - width]);
    if (y + 1 < height)
        offer(i + width, yEdges != nullptr && yEdges[i]);
    return best;
}

// Asks rowBounds for the first and last column of interest in every row, on the worker threads, and
// unites what they find.
template <typename RowBounds> PixelRect UniteRows(int height, RowBounds rowBounds)
{
    std::mutex lock;
    PixelRect united;
    ParallelFor(0, height, [&](int from, int to) {
        int minX = INT_MAX;
        int maxX = -1;
        int minY = INT_MAX;
        int maxY = -1;
        for (int y = from; y < to; ++y)
        {
            int first = 0;
            int last = -1;
            rowBounds(y, first, last);
            if (first > last)
                continue;
            minX = std::min(minX, first);
            maxX = std::max(maxX, last);
            minY = std::min(minY, y);
            maxY = y;
        }
        const PixelRect band = PixelRect::FromCorners(minX, minY, maxX, maxY);
        const std::lock_guard<std::mutex> guard(lock);
        united = united.United(band);
    });
    return united;
}
} // namespace

std::vector<PixelRect> FindGrowthBlocks(const float* selection, const bool* xEdges, const bool* yEdges,
                                        int width, int height, float dropoff)
{
    if (selection == nullptr || width <= 0 || height <= 0)
        return {};
    const int tilesAcross = (width + kGrowthTileSize - 1) / kGrowthTileSize;
    const int tilesDown = (height + kGrowthTileSize - 1) / kGrowthTileSize;
    // Each band of tile rows is one thread's, and each tile's slot is written by that thread alone.
    std::vector<PixelRect> tiles(static_cast<std::size_t>(tilesAcross) * tilesDown);
    ParallelFor(0, tilesDown, [&](int from, int to) {
        for (int tileRow = from; tileRow < to; ++tileRow)
        {
            const int y0 = tileRow * kGrowthTileSize;
            const int y1 = std::min(height, y0 + kGrowthTileSize);
            for (int y = y0; y < y1; ++y)
            {
                const float* row = selection + static_cast<std::size_t>(y) * width;
                for (int x = 0; x < width; ++x)
                    if (GrownValue(selection, xEdges, yEdges, width, height, x, y, dropoff) != row[x])
                    {
                        PixelRect& tile = tiles[static_cast<std::size_t>(tileRow) * tilesAcross +
                                                static_cast<std::size_t>(x / kGrowthTileSize)];
                        tile = tile.United({x, y, 1, 1});
                    }
            }
        }
    });
    std::erase_if(tiles, [](const PixelRect& tile) { return tile.IsEmpty(); });
    return tiles;
}

void GrowSelection(const float* selection, const bool* xEdges, const bool* yEdges, int width, int height,
                   float dropoff, PixelRect rect, float* grown)
{
    rect = rect.ClippedTo(width, height);
    if (selection == nullptr || rect.IsEmpty())
        return;
    for (int j = 0; j < rect.height; ++j)
        for (int i = 0; i < rect.width; ++i)
            grown[static_cast<std::size_t>(j) * rect.width + i] =
                GrownValue(selection, xEdges, yEdges, width, height, rect.x + i, rect.y + j, dropoff);
}

PixelRect FindSelectionRect(const float* selection, int width, int height)
{
    if (selection == nullptr || width <= 0 || height <= 0)
        return {};
    return UniteRows(height, [&](int y, int& first, int& last) {
        const float* row = selection + static_cast<std::size_t>(y) * width;
        int x = 0;
        while (x < width && row[x] == 0.0f)
            ++x;
        if (x == width)
            return;
        first = x;
        last = width - 1;
        while (row[last] == 0.0f)
            --last;
    });
}

void ShiftDepth(float* depth, const float* selection, int width, PixelRect rect, float amount)
{
    if (depth == nullptr || selection == nullptr || rect.IsEmpty())
        return;
    ParallelFor(0, rect.height, [&](int from, int to) {
        for (int j = from; j < to; ++j)
        {
            const std::size_t start = static_cast<std::size_t>(rect.y + j) * width + rect.x;
            for (std::size_t i = start; i < start + static_cast<std::size_t>(rect.width); ++i)
                depth[i] += amount * selection[i];
        }
    });
}
