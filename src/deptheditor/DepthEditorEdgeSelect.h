#pragma once
#include "deptheditor/DepthEditorCommand.h"

#include <memory>

// A change to the edge flags (painted by hand, detected or cleared), kept as the before and after
// values of both flag arrays over the smallest block holding every changed pixel.
class DepthEditorEdgeSelect : public DepthEditorCommand
{
public:
    // Starts recording with copies of both flag arrays (width * height each, row-major).
    DepthEditorEdgeSelect(int width, int height, const bool* xEdges, const bool* yEdges);

    // Records a flag's new value: the lower edge (yEdges) when lowerEdge, else the right edge (xEdges).
    // Returns true unless the flag was false and stays false; false once finalised or off the image.
    bool SelectPixel(int x, int y, bool lowerEdge, bool value);
    // Ends recording, keeping only the block of changed pixels; with no change the command is empty.
    void Finalise();

    // Copy the recorded block's after or before values into the editor's edges. Nothing happens for an
    // empty command or one still recording.
    void ApplyCommand(DepthEditor* editor) override;
    void UndoCommand(DepthEditor* editor) override;
    std::size_t GetSizeInBytes() const override;

    bool IsFinalised() const { return finalised; }
    bool IsEmpty() const { return empty; }
    int GetBlockX() const { return x0; }
    int GetBlockY() const { return y0; }
    int GetBlockWidth() const { return blockWidth; }
    int GetBlockHeight() const { return blockHeight; }

private:
    int width;
    int height;
    int x0 = 0;
    int y0 = 0;
    int blockWidth = 0;
    int blockHeight = 0;
    int minX;
    int maxX = 0;
    int minY;
    int maxY = 0;
    bool finalised = false;
    bool empty = false;
    // Whole-image while recording, the changed block once finalised.
    std::unique_ptr<bool[]> beforeX;
    std::unique_ptr<bool[]> beforeY;
    std::unique_ptr<bool[]> afterX;
    std::unique_ptr<bool[]> afterY;
};
