#pragma once
#include <cstddef>

class DepthEditor;

// One undoable step of depth editing. A command holds what it needs to redo and undo itself on the
// editor it was recorded for, never more than the block it changed, and no pointer into the editor.
//
// A command is recording (a drag or an edge operation is changing the editor and telling it what it
// changes), applied, or not applied. ApplyCommand and UndoCommand check that state before calling the
// subclass: applying an applied command, undoing one that is not applied, or either while it still
// records is a bug in the caller. It stops a debug build on an assertion and does nothing in a
// release build, so a confused history can never write stale blocks over the artist's work.
class DepthEditorCommand
{
public:
    enum class State
    {
        Recording,
        Applied,
        NotApplied
    };

    virtual ~DepthEditorCommand() = default;
    DepthEditorCommand(const DepthEditorCommand&) = delete;
    DepthEditorCommand& operator=(const DepthEditorCommand&) = delete;

    void ApplyCommand(DepthEditor* editor);
    void UndoCommand(DepthEditor* editor);

    State GetState() const { return state; }
    bool IsApplied() const { return state == State::Applied; }
    // Memory the command keeps alive, in bytes, so the history can be held to a budget.
    virtual std::size_t GetSizeInBytes() const = 0;

protected:
    explicit DepthEditorCommand(State initial) : state(initial) {}

    // Called only in the right state, with a real editor.
    virtual void Apply(DepthEditor& editor) = 0;
    virtual void Undo(DepthEditor& editor) = 0;

    // For commands that record a change already made: true while recording is allowed. Asserts in a
    // debug build when it is not.
    bool CheckRecording() const;
    // Recording is over; the change it describes is in place.
    void EndRecording();

private:
    State state;
};
