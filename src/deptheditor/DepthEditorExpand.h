#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"

#include <vector>

// Grows the selection by rings of one pixel, each ring selected `dropoff` less than the pixel it grew
// from, never across an edge. Keeps only the changed pixels, one block per 64 x 64 tile a ring crosses.
class DepthEditorExpand : public DepthEditorCommand
{
public:
    // Works the growth out from the selection and edges as they are now (width * height each,
    // row-major; edges may be null); not applied yet. Empty when nothing would grow.
    DepthEditorExpand(int width, int height, const float* selection, const bool* xEdges, const bool* yEdges,
                      int steps, float dropoff);

    std::size_t GetSizeInBytes() const override;
    bool IsEmpty() const { return blocks.empty(); }
    // The rectangle spanning every changed pixel.
    const PixelRect& GetBlock() const { return changed; }

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    PixelRect changed;
    std::vector<SwapBlock<float>> blocks;
};
