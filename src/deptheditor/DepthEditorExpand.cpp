#include "deptheditor/DepthEditorExpand.h"

#include "deptheditor/DepthEditor.h"
#include "deptheditor/SelectionKernels.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

DepthEditorExpand::DepthEditorExpand(int width, int height, const float* selection, const bool* xEdges,
                                     const bool* yEdges, int steps, float dropoff)
    : DepthEditorCommand(State::NotApplied)
{
    if (selection == nullptr || width <= 0 || height <= 0 || steps <= 0)
        return;
    if (steps == 1)
    {
        // The usual single ring needs no copy of the selection: find what changes, then work out
        // just that block.
        const PixelRect changed = FindGrowthRect(selection, xEdges, yEdges, width, height, dropoff);
        if (changed.IsEmpty())
            return;
        auto grown = std::make_unique_for_overwrite<float[]>(changed.Area());
        GrowSelection(selection, xEdges, yEdges, width, height, dropoff, changed, grown.get());
        block = SwapBlock<float>(changed, std::move(grown));
        return;
    }
    // Later rings grow from earlier ones, so they run on a working copy.
    std::vector<float> current(selection, selection + static_cast<std::size_t>(width) * height);
    PixelRect changed;
    for (int step = 0; step < steps; ++step)
    {
        const PixelRect ring = FindGrowthRect(current.data(), xEdges, yEdges, width, height, dropoff);
        if (ring.IsEmpty())
            break;
        std::vector<float> grown(ring.Area());
        GrowSelection(current.data(), xEdges, yEdges, width, height, dropoff, ring, grown.data());
        for (int j = 0; j < ring.height; ++j)
            std::copy_n(grown.begin() + static_cast<std::ptrdiff_t>(j) * ring.width, ring.width,
                        current.begin() + static_cast<std::ptrdiff_t>(ring.y + j) * width + ring.x);
        changed = changed.United(ring);
    }
    if (changed.IsEmpty())
        return;
    block = SwapBlock<float>::CopyOf(current.data(), width, changed);
}

void DepthEditorExpand::Apply(DepthEditor& editor)
{
    editor.SwapSelectionBlock(block);
}

void DepthEditorExpand::Undo(DepthEditor& editor)
{
    editor.SwapSelectionBlock(block);
}

std::size_t DepthEditorExpand::GetSizeInBytes() const
{
    return sizeof(*this) + block.GetSizeInBytes();
}
