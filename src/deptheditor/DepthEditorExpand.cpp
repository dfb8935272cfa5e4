#include "deptheditor/DepthEditorExpand.h"

#include "core/Parallel.h"
#include "deptheditor/DepthEditor.h"
#include "deptheditor/SelectionKernels.h"
#include "deptheditor/TileRecorder.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {
// The grown values of each rectangle, worked out from `selection` on the worker threads.
std::vector<SwapBlock<float>> Grow(const float* selection, const bool* xEdges, const bool* yEdges, int width,
                                   int height, float dropoff, const std::vector<PixelRect>& rects)
{
    std::vector<std::unique_ptr<float[]>> values(rects.size());
    for (std::size_t i = 0; i < rects.size(); ++i)
        values[i] = std::make_unique_for_overwrite<float[]>(rects[i].Area());
    ParallelFor(0, static_cast<int>(rects.size()), [&](int from, int to) {
        for (int i = from; i < to; ++i)
            GrowSelection(selection, xEdges, yEdges, width, height, dropoff,
                          rects[static_cast<std::size_t>(i)], values[static_cast<std::size_t>(i)].get());
    });
    std::vector<SwapBlock<float>> blocks;
    blocks.reserve(rects.size());
    for (std::size_t i = 0; i < rects.size(); ++i)
        blocks.emplace_back(rects[i], std::move(values[i]));
    return blocks;
}
} // namespace

DepthEditorExpand::DepthEditorExpand(int width, int height, const float* selection, const bool* xEdges,
                                     const bool* yEdges, int steps, float dropoff)
    : DepthEditorCommand(State::NotApplied)
{
    if (selection == nullptr || width <= 0 || height <= 0 || steps <= 0)
        return;
    if (steps == 1)
    {
        // The usual single ring needs no copy of the selection.
        blocks = Grow(selection, xEdges, yEdges, width, height, dropoff,
                      FindGrowthBlocks(selection, xEdges, yEdges, width, height, dropoff));
    }
    else
    {
        // Later rings grow from earlier ones, so they run on a working copy, and each tile keeps the
        // rectangle every ring changed in it.
        std::vector<float> current(selection, selection + static_cast<std::size_t>(width) * height);
        const int tilesAcross = (width + kGrowthTileSize - 1) / kGrowthTileSize;
        const int tilesDown = (height + kGrowthTileSize - 1) / kGrowthTileSize;
        std::vector<PixelRect> tiles(static_cast<std::size_t>(tilesAcross) * tilesDown);
        for (int step = 0; step < steps; ++step)
        {
            const std::vector<PixelRect> ring =
                FindGrowthBlocks(current.data(), xEdges, yEdges, width, height, dropoff);
            if (ring.empty())
                break;
            std::vector<SwapBlock<float>> grown =
                Grow(current.data(), xEdges, yEdges, width, height, dropoff, ring);
            for (SwapBlock<float>& block : grown)
            {
                block.SwapWith(current.data(), width);
                const PixelRect& rect = block.GetRect();
                PixelRect& tile = tiles[static_cast<std::size_t>(rect.y / kGrowthTileSize) * tilesAcross +
                                        static_cast<std::size_t>(rect.x / kGrowthTileSize)];
                tile = tile.United(rect);
            }
        }
        for (const PixelRect& tile : tiles)
            if (!tile.IsEmpty())
                blocks.push_back(SwapBlock<float>::CopyOf(current.data(), width, tile));
    }
    for (const SwapBlock<float>& block : blocks)
        changed = changed.United(block.GetRect());
}

void DepthEditorExpand::Apply(DepthEditor& editor)
{
    editor.SwapSelectionBlocks(blocks);
}

void DepthEditorExpand::Undo(DepthEditor& editor)
{
    editor.SwapSelectionBlocks(blocks);
}

std::size_t DepthEditorExpand::GetSizeInBytes() const
{
    return sizeof(*this) + SizeOfBlocks(blocks);
}
