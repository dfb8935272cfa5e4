#include "deptheditor/DepthEditorEdgeSelect.h"

#include "deptheditor/DepthEditor.h"

#include <algorithm>

DepthEditorEdgeSelect::DepthEditorEdgeSelect(int arrayWidth, int arrayHeight, const bool* xEdges,
                                             const bool* yEdges)
    : DepthEditorCommand(State::Recording), width(std::max(0, arrayWidth)), height(std::max(0, arrayHeight)),
      liveX(xEdges), liveY(yEdges), recordX(width, height, xEdges), recordY(width, height, yEdges)
{}

bool DepthEditorEdgeSelect::SelectPixel(int x, int y, bool lowerEdge, bool value)
{
    if (!CheckRecording() || x < 0 || y < 0 || x >= width || y >= height)
        return false;
    const bool* live = lowerEdge ? liveY : liveX;
    const bool current = live != nullptr && live[static_cast<std::size_t>(y) * width + x];
    if (!current && !value)
        return false;
    if (current != value)
        (lowerEdge ? recordY : recordX).Keep(x, y);
    return true;
}

void DepthEditorEdgeSelect::Finalise()
{
    if (!CheckRecording())
        return;
    block = recordX.GetChangedRect().United(recordY.GetChangedRect());
    blocksX = recordX.Before();
    blocksY = recordY.Before();
    recordX.Release();
    recordY.Release();
    liveX = nullptr;
    liveY = nullptr;
    EndRecording();
}

void DepthEditorEdgeSelect::Apply(DepthEditor& editor)
{
    editor.SwapEdgeBlocks(blocksX, blocksY);
}

void DepthEditorEdgeSelect::Undo(DepthEditor& editor)
{
    editor.SwapEdgeBlocks(blocksX, blocksY);
}

std::size_t DepthEditorEdgeSelect::GetSizeInBytes() const
{
    return sizeof(*this) + recordX.GetSizeInBytes() + recordY.GetSizeInBytes() + SizeOfBlocks(blocksX) +
           SizeOfBlocks(blocksY);
}
