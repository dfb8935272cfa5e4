#include "deptheditor/DepthEditorCommand.h"

#include <cassert>

void DepthEditorCommand::ApplyCommand(DepthEditor* editor)
{
    assert(state == State::NotApplied && "a depth editing command was applied twice or while recording");
    if (state != State::NotApplied || editor == nullptr)
        return;
    Apply(*editor);
    state = State::Applied;
}

void DepthEditorCommand::UndoCommand(DepthEditor* editor)
{
    assert(state == State::Applied && "a depth editing command was undone without being applied");
    if (state != State::Applied || editor == nullptr)
        return;
    Undo(*editor);
    state = State::NotApplied;
}

bool DepthEditorCommand::CheckRecording() const
{
    assert(state == State::Recording && "a depth editing command was recorded into after it was finalised");
    return state == State::Recording;
}

void DepthEditorCommand::EndRecording()
{
    if (CheckRecording())
        state = State::Applied;
}
