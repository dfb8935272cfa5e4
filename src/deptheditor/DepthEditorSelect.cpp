#include "deptheditor/DepthEditorSelect.h"

#include "deptheditor/DepthEditor.h"

#include <algorithm>
#include <cmath>

DepthEditorSelect::DepthEditorSelect(int selectionWidth, int selectionHeight, const float* selection,
                                     float band, float depthAtClick)
    : DepthEditorCommand(State::Recording), width(std::max(0, selectionWidth)),
      height(std::max(0, selectionHeight)), live(selection), falloffByDepth(band), clickDepth(depthAtClick),
      record(width, height, selection)
{}

float DepthEditorSelect::SelectPixel(int x, int y, float strength, float pixelDepth)
{
    if (!CheckRecording() || x < 0 || y < 0 || x >= width || y >= height || live == nullptr)
        return 0.0f;
    const float current = live[static_cast<std::size_t>(y) * width + x];
    const bool removing = strength < 0.0f;
    // Removal aims at what is left once the brush has taken its share.
    float target = removing ? strength + 1.0f : strength;
    if (falloffByDepth > 0.0f)
    {
        const float difference = std::fabs(pixelDepth - clickDepth);
        if (difference > falloffByDepth)
            return current;
        target *= 1.0f - difference / falloffByDepth;
    }
    // Only ever towards the brush's own strength, so going over a pixel again adds nothing.
    if (removing ? !(target < current) : !(target > current))
        return current;
    record.Keep(x, y);
    return target;
}

void DepthEditorSelect::Finalise()
{
    if (!CheckRecording())
        return;
    changed = record.GetChangedRect();
    blocks = record.Before();
    record.Release();
    live = nullptr;
    EndRecording();
}

void DepthEditorSelect::Apply(DepthEditor& editor)
{
    editor.SwapSelectionBlocks(blocks);
}

void DepthEditorSelect::Undo(DepthEditor& editor)
{
    editor.SwapSelectionBlocks(blocks);
}

std::size_t DepthEditorSelect::GetSizeInBytes() const
{
    return sizeof(*this) + record.GetSizeInBytes() + SizeOfBlocks(blocks);
}
