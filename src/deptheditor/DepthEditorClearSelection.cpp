#include "deptheditor/DepthEditorClearSelection.h"

#include "deptheditor/DepthEditor.h"
#include "deptheditor/SelectionKernels.h"

#include <memory>

DepthEditorClearSelection::DepthEditorClearSelection(int width, int height, const float* selection)
    : DepthEditorCommand(State::NotApplied)
{
    const PixelRect selected = FindSelectionRect(selection, width, height);
    if (!selected.IsEmpty())
        block = SwapBlock<float>(selected, std::make_unique<float[]>(selected.Area()));
}

void DepthEditorClearSelection::Apply(DepthEditor& editor)
{
    editor.SwapSelectionBlock(block);
}

void DepthEditorClearSelection::Undo(DepthEditor& editor)
{
    editor.SwapSelectionBlock(block);
}

std::size_t DepthEditorClearSelection::GetSizeInBytes() const
{
    return sizeof(*this) + block.GetSizeInBytes();
}
