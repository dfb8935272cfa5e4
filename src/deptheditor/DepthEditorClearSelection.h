#pragma once
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"

// Deselects everything. Only the block that holds selection is kept: zeros until applied, the
// cleared values after.
class DepthEditorClearSelection : public DepthEditorCommand
{
public:
    // Made from the selection (width * height, row-major) as it is now; not applied yet.
    DepthEditorClearSelection(int width, int height, const float* selection);

    std::size_t GetSizeInBytes() const override;
    bool IsEmpty() const { return block.IsEmpty(); }
    const PixelRect& GetBlock() const { return block.GetRect(); }

protected:
    void Apply(DepthEditor& editor) override;
    void Undo(DepthEditor& editor) override;

private:
    SwapBlock<float> block;
};
