#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"
#include "deptheditor/TileRecorder.h"

#include <vector>

// One drag of the selection brush: decides what each brushed pixel's selection becomes, and keeps the
// values of the changed pixels that the selection does not hold right now, tile by tile, for undo and
// redo.
class DepthEditorSelect : public DepthEditorCommand
{
public:
    // Starts recording a drag over `selection` (width * height, row-major), which is only read, and
    // only until Finalise. A depth band above 0 limits the brush to depths near clickDepth.
    DepthEditorSelect(int width, int height, const float* selection, float falloffByDepth, float clickDepth);

    // The value pixel (x, y) takes under a brush of this strength (negative removes); the caller
    // writes it. Brushing never takes a pixel past the brush's own strength, however often it passes.
    // Returns 0 and changes nothing once finalised.
    float SelectPixel(int x, int y, float strength, float pixelDepth);
    // Ends recording, keeping only the block of changed pixels; with no change the command is empty.
    void Finalise();

    std::size_t GetSizeInBytes() const override;
    bool IsEmpty() const { return GetState() != State::Recording && blocks.empty(); }
    // The rectangle spanning every changed pixel.
    const PixelRect& GetBlock() const { return changed; }

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    int width;
    int height;
    const float* live;
    float falloffByDepth;
    float clickDepth;
    TileRecorder<float> record;
    PixelRect changed;
    // Per tile touched, the changed pixels' selection values the editor does not hold right now.
    std::vector<SwapBlock<float>> blocks;
};
