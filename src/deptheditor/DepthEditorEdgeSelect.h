#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"
#include "deptheditor/TileRecorder.h"

#include <vector>

// A change to the edge flags (painted by hand, detected or cleared), kept as the flags of the changed
// pixels that the arrays do not hold right now, in one block per 64 x 64 tile touched.
class DepthEditorEdgeSelect : public DepthEditorCommand
{
public:
    // Starts recording a change about to be made to these flag arrays (width * height each,
    // row-major). They are only read, and only until Finalise: report each flag through SelectPixel
    // before writing it.
    DepthEditorEdgeSelect(int width, int height, const bool* xEdges, const bool* yEdges);

    // Records a flag's new value: the lower edge (yEdges) when lowerEdge, else the right edge (xEdges).
    // Returns true unless the flag was false and stays false; false off the image or once finalised.
    bool SelectPixel(int x, int y, bool lowerEdge, bool value);
    // Ends recording, keeping only the block of changed pixels; with no change the command is empty.
    // The command is then applied: the change is in the arrays.
    void Finalise();

    std::size_t GetSizeInBytes() const override;
    bool IsFinalised() const { return GetState() != State::Recording; }
    bool IsEmpty() const { return IsFinalised() && block.IsEmpty(); }
    // The rectangle spanning every changed pixel.
    const PixelRect& GetBlock() const { return block; }
    int GetBlockX() const { return block.x; }
    int GetBlockY() const { return block.y; }
    int GetBlockWidth() const { return block.width; }
    int GetBlockHeight() const { return block.height; }

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    int width;
    int height;
    const bool* liveX;
    const bool* liveY;
    TileRecorder<bool> recordX;
    TileRecorder<bool> recordY;
    PixelRect block;
    std::vector<SwapBlock<bool>> blocksX;
    std::vector<SwapBlock<bool>> blocksY;
};
