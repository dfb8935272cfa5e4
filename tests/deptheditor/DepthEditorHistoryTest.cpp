#include "EditedSet.h"
#include "deptheditor/DepthEditor.h"
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/DepthEditorExpand.h"
#include "deptheditor/DepthEditorShift.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {
// A set with a lumpy depth map (values whose sums round in float) and a little of everything on it.
struct BusySet : EditedSet
{
    BusySet() : EditedSet(40, 30, [](int x, int y) { return 0.37f * static_cast<float>(x % 7) + 0.013f * y; })
    {
        editor->SetSolidPaintingRadius(4);
        editor->SetPaintingFalloffDistance(5);
        editor->SetPaintingIntensity(0.8f);
        Drag({{10.5f, 10.5f}, {14.5f, 12.5f}});
        editor->SetMode(DepthEditMode::AddEdges);
        Drag({{20.5f, 20.8f}, {21.5f, 20.8f}, {22.9f, 20.5f}});
        editor->SetMode(DepthEditMode::SelectionPainting);
        editor->GetEdges().GetXEdges()[3 * 40 + 3] = true; // a speck
        editor->GetEdges().UpdateImage();
    }
};
} // namespace

TEST(DepthEditorHistory, EveryCommandUndoesAndRedoesToTheSameBytes)
{
    const std::vector<std::pair<std::string, std::function<void(BusySet&)>>> steps = {
        {"paint",
         [](BusySet& s) {
             s.Drag({{30.5f, 5.5f}, {33.5f, 9.5f}});
         }},
        {"remove",
         [](BusySet& s) {
             s.editor->SetPaintingIntensity(-0.7f);
             s.Dab(12, 11);
         }},
        {"edges",
         [](BusySet& s) {
             s.editor->SetMode(DepthEditMode::RemoveEdges);
             s.Drag({{21.5f, 20.8f}, {5.9f, 5.5f}});
         }},
        {"clear", [](BusySet& s) { s.editor->ClearSelection(); }},
        {"grow", [](BusySet& s) { s.editor->ExpandSelection(0.05f); }},
        {"shift", [](BusySet& s) { s.editor->ShiftSelection(3.7f); }},
        {"back", [](BusySet& s) { s.editor->ShiftSelection(-0.9f); }},
        {"detect",
         [](BusySet& s) {
             auto silhouette =
                 MakeGrey(40, 30, [](int x, int y) { return (x / 5 + y / 4) % 2 ? 1.0f : 0.0f; });
             s.editor->FindSilhouetteEdges(silhouette.get(), 0.5f, true);
         }},
        {"clear edges", [](BusySet& s) { s.editor->ClearAllEdges(); }},
        {"specks", [](BusySet& s) { s.editor->RemoveSpecks(); }},
    };
    for (const auto& [name, step] : steps)
    {
        BusySet set;
        const std::string before = set.State();
        step(set);
        const std::string after = set.State();
        EXPECT_NE(after, before) << name;
        set.editor->Undo();
        EXPECT_EQ(set.State(), before) << name;
        set.editor->Redo();
        EXPECT_EQ(set.State(), after) << name;
        set.editor->Undo();
        set.editor->Redo();
        EXPECT_EQ(set.State(), after) << name;
    }
}

TEST(DepthEditorHistory, UndoAfterAPaintThenAShiftStepsOverTheUndonePaint)
{
    EditedSet set(24, 16, [](int x, int) { return 0.1f * static_cast<float>(x); });
    DepthEditor& editor = *set.editor;
    editor.SetSolidPaintingRadius(2);
    editor.SetPaintingFalloffDistance(0);
    const std::string untouched = set.State();
    set.Dab(5, 5);
    const std::string paintedA = set.State();
    set.Dab(15, 8);
    editor.Undo(); // B undone
    editor.ShiftSelection(2.0f);
    // The shift sits behind the undone paint, which stays in the list.
    ASSERT_EQ(editor.GetCommandCount(), 3);
    EXPECT_EQ(editor.GetCurrentCommand(), 2);
    EXPECT_FLOAT_EQ(set.Depth()[5 * 24 + 5], 2.5f);
    EXPECT_FLOAT_EQ(set.Depth()[8 * 24 + 15], 1.5f);

    editor.Undo(); // the shift
    EXPECT_EQ(set.State(), paintedA);
    editor.Undo(); // B again: already undone, nothing happens
    EXPECT_EQ(set.State(), paintedA);
    EXPECT_EQ(editor.GetCurrentCommand(), 0);
    editor.Undo(); // A
    EXPECT_EQ(set.State(), untouched);
    editor.Undo(); // nothing left
    EXPECT_EQ(editor.GetCurrentCommand(), -1);
    EXPECT_EQ(set.State(), untouched);

    // Redone in order, the shift moves what is selected by then: both dabs.
    editor.Redo();
    editor.Redo();
    editor.Redo();
    EXPECT_FLOAT_EQ(set.Depth()[5 * 24 + 5], 2.5f);
    EXPECT_FLOAT_EQ(set.Depth()[8 * 24 + 15], 3.5f);
    const std::string end = set.State();
    editor.Redo();
    EXPECT_EQ(set.State(), end);
    EXPECT_EQ(editor.GetCurrentCommand(), 2);
}

TEST(DepthEditorHistory, ADragDiscardsTheRedoTailOtherCommandsKeepIt)
{
    EditedSet set(16, 16);
    DepthEditor& editor = *set.editor;
    editor.Undo(); // an empty history: nothing to do
    editor.Redo();
    EXPECT_EQ(editor.GetCommandCount(), 0);
    EXPECT_EQ(editor.GetCurrentCommand(), -1);

    // A click and release with no painting still records a step, which undoes to nothing.
    editor.LeftMouseClick(editor.PositionFromPixel(3, 3));
    editor.LeftMouseRelease();
    ASSERT_EQ(editor.GetCommandCount(), 1);
    const std::string empty = set.State();
    editor.Undo();
    EXPECT_EQ(set.State(), empty);
    editor.Redo();

    set.Dab(4, 4);
    set.Dab(10, 10);
    editor.Undo();
    editor.Undo();
    editor.ClearSelection(); // appended behind the two undone dabs
    EXPECT_EQ(editor.GetCommandCount(), 4);
    editor.Undo();
    editor.Undo(); // steps over the undone dabs
    editor.Undo();
    EXPECT_EQ(editor.GetCurrentCommand(), 0);
    set.Dab(8, 8); // drops everything after the empty drag
    EXPECT_EQ(editor.GetCommandCount(), 2);
    EXPECT_EQ(editor.GetCurrentCommand(), 1);

    // A command given mid-drag records the drag first.
    editor.LeftMouseClick(editor.PositionFromPixel(2.5f, 12.5f));
    editor.ReceiveMousePosition(editor.PositionFromPixel(2.5f, 12.5f));
    editor.ShiftSelection(1.0f);
    EXPECT_FALSE(editor.IsDragging());
    EXPECT_EQ(editor.GetCommandCount(), 4);
    editor.LeftMouseRelease(); // the late release does nothing
    EXPECT_EQ(editor.GetCommandCount(), 4);
}

TEST(DepthEditorHistory, GrowSpreadsOneRingAndRespectsEdges)
{
    EditedSet set(9, 9);
    DepthEditor& editor = *set.editor;
    std::vector<float> seed(81, 0.0f);
    seed[4 * 9 + 4] = 1.0f;
    seed[0] = 0.1f; // too weak to spread at this drop-off
    editor.CopySelectionBlock(0, 0, 9, 9, seed.data());
    editor.GetEdges().GetXEdges()[4 * 9 + 4] = true; // between (4, 4) and (5, 4)

    editor.ExpandSelection(0.25f);
    EXPECT_FLOAT_EQ(set.Selection(3, 4), 0.75f);
    EXPECT_FLOAT_EQ(set.Selection(4, 3), 0.75f);
    EXPECT_FLOAT_EQ(set.Selection(4, 5), 0.75f);
    EXPECT_EQ(set.Selection(5, 4), 0.0f); // across the edge
    EXPECT_EQ(set.Selection(3, 3), 0.0f); // diagonal: the next ring
    EXPECT_EQ(set.Selection(2, 4), 0.0f);
    EXPECT_EQ(set.Selection(1, 0), 0.0f);
    const auto* grow = static_cast<const DepthEditorExpand*>(editor.GetCommand(0));
    EXPECT_EQ(grow->GetBlock(), (PixelRect{3, 3, 2, 3}));

    editor.ExpandSelection(0.25f);
    EXPECT_FLOAT_EQ(set.Selection(3, 3), 0.5f);
    EXPECT_FLOAT_EQ(set.Selection(2, 4), 0.5f);
    EXPECT_FLOAT_EQ(set.Selection(5, 5), 0.5f); // round the edge's end
    EXPECT_FLOAT_EQ(set.Selection(4, 4), 1.0f);

    // A drop-off that leaves nothing to offer records nothing.
    editor.ExpandSelection(1.0f);
    EXPECT_EQ(editor.GetCommandCount(), 2);

    // Several rings at once, as the command allows, equal as many single rings.
    EditedSet single(9, 9);
    single.editor->CopySelectionBlock(0, 0, 9, 9, seed.data());
    EditedSet triple(9, 9);
    triple.editor->CopySelectionBlock(0, 0, 9, 9, seed.data());
    for (int i = 0; i < 3; ++i)
        single.editor->ExpandSelection(0.2f);
    DepthEditorExpand rings(9, 9, seed.data(), nullptr, nullptr, 3, 0.2f);
    rings.ApplyCommand(triple.editor);
    EXPECT_EQ(triple.State(), single.State());
}

TEST(DepthEditorHistory, EdgeDetectionAddsToPaintedEdgesAsOneStep)
{
    EditedSet set(12, 8);
    DepthEditor& editor = *set.editor;
    editor.SetMode(DepthEditMode::AddEdges);
    set.Drag({{3.5f, 2.8f}});
    const std::string painted = set.State();
    auto diffuse =
        MakeImage(12, 8, [](int x, int) { return x < 6 ? Colour(1, 0, 0, 1) : Colour(0, 0, 1, 1); });
    editor.FindDiffuseEdges(diffuse.get(), 0.5f, false);
    const EdgeArray& edges = editor.GetEdges();
    EXPECT_TRUE(edges.GetYEdges()[2 * 12 + 3]);
    for (int y = 0; y < 8; ++y)
        EXPECT_TRUE(edges.GetXEdges()[y * 12 + 5]) << y;
    EXPECT_EQ(editor.GetCommandCount(), 2);
    editor.Undo();
    EXPECT_EQ(set.State(), painted);

    // Limited to an empty selection, or fed a map of another size, detection adds nothing but is
    // still a step of the history.
    editor.FindDiffuseEdges(diffuse.get(), 0.5f, true);
    auto other = MakeImage(7, 5, [](int x, int) { return Colour(x % 2, 0, 0, 1); });
    editor.FindDiffuseEdges(other.get(), 0.5f, false);
    editor.FindNormalEdges(nullptr, 0.5f, false);
    EXPECT_EQ(set.State(), painted);
    EXPECT_EQ(editor.GetCommandCount(), 5); // behind the undone detection, which stays in the list
}

TEST(DepthEditorHistory, CommandsCheckTheirState)
{
    EditedSet set(8, 8, [](int x, int) { return static_cast<float>(x); });
    set.editor->CopySelectionBlock(2, 2, 1, 1, std::vector<float>{1.0f}.data());
    const std::string before = set.State();
    DepthEditorShift shift(8, 8, 1.0f);
    EXPECT_DEBUG_DEATH(shift.UndoCommand(set.editor), "without being applied");
    EXPECT_EQ(set.State(), before);
    shift.ApplyCommand(set.editor);
    const std::string after = set.State();
    EXPECT_NE(after, before);
    EXPECT_DEBUG_DEATH(shift.ApplyCommand(set.editor), "applied twice");
    EXPECT_EQ(set.State(), after);
}

TEST(DepthEditorHistory, KeepsOnlyChangedBlocksAndStaysUnderItsMemoryLimit)
{
    // A small dab on a big sheet costs a few tiles while it is drawn and its block once recorded.
    EditedSet big(1024, 1024);
    big.editor->SetSolidPaintingRadius(3);
    big.editor->SetPaintingFalloffDistance(2);
    big.editor->LeftMouseClick(big.editor->PositionFromPixel(100.5f, 100.5f));
    big.editor->ReceiveMousePosition(big.editor->PositionFromPixel(100.5f, 100.5f));
    big.editor->ReceiveMousePosition(big.editor->PositionFromPixel(900.5f, 900.5f));
    big.editor->LeftMouseRelease();
    const std::size_t stroke = big.editor->GetHistorySizeInBytes();
    EXPECT_GT(stroke, 2 * 9 * 9 * sizeof(float));
    EXPECT_LT(stroke, 4096u); // not the 4 MB selection, nor the block spanning both dabs

    // Each full-sheet shift keeps a 64 KB block of depths; the limit holds three.
    EditedSet set(128, 128, [](int x, int y) { return 0.01f * static_cast<float>(x * y); });
    std::vector<float> all(128 * 128, 1.0f);
    set.editor->CopySelectionBlock(0, 0, 128, 128, all.data());
    set.editor->SetHistoryLimit(3 * 128 * 128 * sizeof(float) + 1024);
    for (int i = 0; i < 5; ++i)
        set.editor->ShiftSelection(1.0f);
    EXPECT_EQ(set.editor->GetCommandCount(), 3);
    EXPECT_LE(set.editor->GetHistorySizeInBytes(), set.editor->GetHistoryLimit());
    EXPECT_EQ(
        set.log.Count("Depth editing history is over its 0.2 MB limit: forgot the oldest 1 step (0.1 MB)."),
        2);
    // What was forgotten stays done: undoing everything left brings back the depths after two shifts.
    for (int i = 0; i < 5; ++i)
        set.editor->Undo();
    EXPECT_FLOAT_EQ(set.Depth()[10 * 128 + 10], 1.0f + 2.0f);
}

TEST(DepthEditorHistory, DirtyRectanglesCoverWhatChangedSinceTheLastLook)
{
    EditedSet set(64, 48);
    DepthEditor& editor = *set.editor;
    EXPECT_EQ(editor.TakeSelectionDirtyRect(), (PixelRect{0, 0, 64, 48})); // a new editor uploads everything
    EXPECT_EQ(editor.TakeEdgeDirtyRect(), (PixelRect{0, 0, 64, 48}));
    EXPECT_TRUE(editor.TakeSelectionDirtyRect().IsEmpty());

    editor.SetSolidPaintingRadius(2);
    editor.SetPaintingFalloffDistance(1);
    set.Drag({{10.5f, 10.5f}, {20.5f, 12.5f}});
    EXPECT_EQ(editor.TakeSelectionDirtyRect(), PixelRect::FromCorners(7, 7, 23, 15));
    EXPECT_TRUE(editor.TakeEdgeDirtyRect().IsEmpty());
    editor.Undo();
    EXPECT_EQ(editor.TakeSelectionDirtyRect(), PixelRect::FromCorners(8, 8, 22, 14)); // the changed block

    editor.SetMode(DepthEditMode::AddEdges);
    set.Drag({{30.5f, 40.8f}});
    EXPECT_EQ(editor.TakeEdgeDirtyRect(), PixelRect::FromCorners(29, 39, 30, 40));
    EXPECT_TRUE(editor.TakeSelectionDirtyRect().IsEmpty());
}
