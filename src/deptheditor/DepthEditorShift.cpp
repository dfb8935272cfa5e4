#include "deptheditor/DepthEditorShift.h"

#include "deptheditor/DepthEditor.h"
#include "deptheditor/SelectionKernels.h"

DepthEditorShift::DepthEditorShift(int depthWidth, int depthHeight, float shiftAmount)
    : DepthEditorCommand(State::NotApplied), width(depthWidth), height(depthHeight), amount(shiftAmount)
{}

void DepthEditorShift::Apply(DepthEditor& editor)
{
    float* depth = editor.GetDepthArray();
    const float* selection = editor.GetSelection();
    if (depth == nullptr || editor.GetWidth() != width || editor.GetHeight() != height)
        return;
    const PixelRect selected = FindSelectionRect(selection, width, height);
    if (selected.IsEmpty())
        return;
    before = SwapBlock<float>::CopyOf(depth, width, selected);
    ShiftDepth(depth, selection, width, selected, amount);
    editor.DepthArrayChanged();
}

void DepthEditorShift::Undo(DepthEditor& editor)
{
    float* depth = editor.GetDepthArray();
    if (depth == nullptr || before.IsEmpty())
        return;
    before.SwapWith(depth, width);
    // A redo works from the selection of its own moment, so the shifted values are not worth keeping.
    before = {};
    editor.DepthArrayChanged();
}

std::size_t DepthEditorShift::GetSizeInBytes() const
{
    return sizeof(*this) + before.GetSizeInBytes();
}
