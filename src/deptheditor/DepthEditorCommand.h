#pragma once
#include <cstddef>

class DepthEditor;

// One undoable step of depth editing. A command holds what it needs to redo and undo itself on the
// editor it was recorded for, never more than the block it changed.
class DepthEditorCommand
{
public:
    virtual ~DepthEditorCommand() = default;
    virtual void ApplyCommand(DepthEditor* editor) = 0;
    virtual void UndoCommand(DepthEditor* editor) = 0;
    // Memory the command keeps alive, in bytes, so the history's cost can be watched.
    virtual std::size_t GetSizeInBytes() const = 0;
};
