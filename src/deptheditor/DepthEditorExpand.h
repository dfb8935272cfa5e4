#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"

// Grows the selection by rings of one pixel, each ring selected `dropoff` less than the pixel it grew
// from, never across an edge. Keeps the changed block only.
class DepthEditorExpand : public DepthEditorCommand
{
public:
    // Works the growth out from the selection and edges as they are now (width * height each,
    // row-major; edges may be null); not applied yet. Empty when nothing would grow.
    DepthEditorExpand(int width, int height, const float* selection, const bool* xEdges, const bool* yEdges,
                      int steps, float dropoff);

    std::size_t GetSizeInBytes() const override;
    bool IsEmpty() const { return block.IsEmpty(); }
    const PixelRect& GetBlock() const { return block.GetRect(); }

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    SwapBlock<float> block;
};
