#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/SwapBlock.h"

// Pulls the selected part of the depth map towards the viewer (positive amount) or pushes it away,
// each pixel in proportion to its selection. Applying uses the selection as it is at that moment, not
// a copy made when the command was recorded.
class DepthEditorShift : public DepthEditorCommand
{
public:
    DepthEditorShift(int width, int height, float amount);

    float GetAmount() const { return amount; }
    std::size_t GetSizeInBytes() const override;

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    int width;
    int height;
    float amount;
    // While applied: the depths the shift replaced. Undo puts them back, not "depth - amount *
    // selection": float rounding would leave the undone map a hair off the original.
    SwapBlock<float> before;
};
