#include "deptheditor/DepthEditor.h"
#include "EditedSet.h"
#include "core/Image.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "deptheditor/DepthEditorSelect.h"
#include "processing/ImageProcessor.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>

#include <string>
#include <tuple>
#include <vector>

namespace {
// Everything of the editor's edges a user could see: both flag arrays and the edge image's bytes.
std::string EdgeState(DepthEditor& editor)
{
    EdgeArray& edges = editor.GetEdges();
    const int size = edges.GetWidth() * edges.GetHeight();
    std::string state(edges.GetXEdges(), edges.GetXEdges() + size);
    state.append(edges.GetYEdges(), edges.GetYEdges() + size);
    for (int y = 0; y < edges.GetHeight(); ++y)
        state += RowText(edges.GetEdgeImage(), y);
    return state;
}
} // namespace

TEST(DepthEditor, StartsEmptyAndTakesClippedSelectionBlocks)
{
    ImageProcessor processor(nullptr, BRONDEL_RESOURCE_DIR, nullptr);
    processor.SetImage(new Image(9, 4), ImageType::Depth);
    processor.InitialiseDepthEditor();
    DepthEditor* editor = processor.GetDepthEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->GetProcessor(), &processor);
    const EdgeArray& edges = editor->GetEdges();
    EXPECT_EQ(std::tuple(editor->GetWidth(), editor->GetHeight(), edges.GetWidth(), edges.GetHeight()),
              std::tuple(9, 4, 9, 4));
    EXPECT_EQ(editor->GetCommandCount(), 0);
    EXPECT_EQ(editor->GetCurrentCommand(), -1);
    EXPECT_FLOAT_EQ(editor->GetFalloffByDepth(), -1.0f);
    EXPECT_EQ(editor->GetMode(), DepthEditMode::SelectionPainting);
    for (int i = 0; i < 36; ++i)
        EXPECT_FALSE(editor->GetSelection()[i] != 0.0f || edges.GetXEdges()[i] || edges.GetYEdges()[i]) << i;
    EXPECT_EQ(editor->GetSelectionImage().GetPixel(8, 3).GetAsString(), "(0, 0, 0, 255)");

    DepthEditor small(5, 4, nullptr);
    const std::vector<float> block = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f};
    small.CopySelectionBlock(-1, 2, 3, 2, block.data()); // the left column falls outside
    EXPECT_EQ(std::vector<float>(small.GetSelection() + 10, small.GetSelection() + 20),
              (std::vector<float>{0.2f, 0.3f, 0, 0, 0, 0.5f, 0.6f, 0, 0, 0}));
    EXPECT_EQ(RowText(small.GetSelectionImage(), 3),
              "(127, 127, 127, 255)(153, 153, 153, 255)(0, 0, 0, 255)(0, 0, 0, 255)(0, 0, 0, 255)");
}

TEST(DepthEditorEdgeSelect, KeepsOnlyTheChangedBlockAndChecksItsState)
{
    DepthEditor editor(8, 6, nullptr);
    EdgeArray& edges = editor.GetEdges();
    edges.GetXEdges()[4 * 8 + 5] = true;
    edges.UpdateImage();
    const std::string original = EdgeState(editor);

    // Flags are reported before they are written, as the editor's own operations do.
    DepthEditorEdgeSelect command(8, 6, edges.GetXEdges(), edges.GetYEdges());
    const auto set = [&](int x, int y, bool lower, bool value) {
        const bool reported = command.SelectPixel(x, y, lower, value);
        if (x < 8 && y < 6)
            (lower ? edges.GetYEdges() : edges.GetXEdges())[y * 8 + x] = value;
        return reported;
    };
    EXPECT_FALSE(set(0, 0, false, false));               // false stays false
    EXPECT_TRUE(set(2, 1, true, true));                  // false to true
    EXPECT_TRUE(set(5, 4, false, true));                 // true stays true
    EXPECT_TRUE(set(5, 4, false, false));                // true to false
    EXPECT_FALSE(command.SelectPixel(9, 1, true, true)); // off the image
    command.Finalise();
    edges.UpdateImage();
    EXPECT_EQ(command.GetState(), DepthEditorCommand::State::Applied);
    EXPECT_EQ(command.GetBlock(), (PixelRect{2, 1, 4, 4}));
    // Two flag blocks of 16 bytes, not copies of the whole arrays.
    EXPECT_LT(command.GetSizeInBytes(), sizeof(command) + 64);
    const std::string changed = EdgeState(editor);

    command.UndoCommand(&editor);
    EXPECT_EQ(EdgeState(editor), original);
    command.ApplyCommand(&editor);
    EXPECT_EQ(EdgeState(editor), changed);

    // Misuse stops a debug build and is ignored by a release build.
    EXPECT_DEBUG_DEATH(command.ApplyCommand(&editor), "applied twice");
    EXPECT_DEBUG_DEATH(EXPECT_FALSE(command.SelectPixel(3, 3, true, true)), "after it was finalised");
    EXPECT_EQ(EdgeState(editor), changed);
    command.UndoCommand(&editor);
    EXPECT_DEBUG_DEATH(command.UndoCommand(&editor), "without being applied");
    EXPECT_EQ(EdgeState(editor), original);
}

TEST(DepthEditorPainting, RepeatedPassesStayAtTheBrushStrength)
{
    EditedSet set(32, 32);
    DepthEditor& editor = *set.editor;
    editor.SetSolidPaintingRadius(3);
    editor.SetPaintingFalloffDistance(4);
    editor.SetPaintingIntensity(0.6f);
    set.Drag({{16.5f, 16.5f}, {16.5f, 17.5f}, {16.5f, 16.5f}});
    // Full strength inside the solid radius, falling off linearly to nothing at 3 + 4.
    EXPECT_FLOAT_EQ(set.Selection(16, 16), 0.6f);
    EXPECT_FLOAT_EQ(set.Selection(18, 16), 0.6f);
    EXPECT_FLOAT_EQ(set.Selection(21, 16), 0.3f);
    EXPECT_FLOAT_EQ(set.Selection(16, 11), 0.3f);
    EXPECT_EQ(set.Selection(23, 16), 0.0f);
    EXPECT_EQ(set.Selection(21, 11), 0.0f); // about 7.07 away
    EXPECT_EQ(editor.GetSelectionImage().GetPixel(16, 16).GetAsString(), "(153, 153, 153, 255)");

    const std::string once = set.State();
    set.Dab(16, 16);
    editor.SetPaintingIntensity(0.3f);
    set.Dab(16, 16);
    EXPECT_EQ(set.State(), once);
    EXPECT_EQ(editor.GetCommandCount(), 3);
    EXPECT_TRUE(static_cast<const DepthEditorSelect*>(editor.GetCommand(2))->IsEmpty());

    // Removing at full strength clears the solid disc; the ring keeps what was above its own target.
    editor.SetPaintingIntensity(-1.0f);
    set.Dab(16, 16);
    EXPECT_EQ(set.Selection(16, 16), 0.0f);
    EXPECT_EQ(set.Selection(18, 16), 0.0f);
    EXPECT_FLOAT_EQ(set.Selection(21, 16), 0.3f);
    EXPECT_EQ(editor.GetSelectionImage().GetPixel(16, 16).GetAsString(), "(0, 0, 0, 255)");
}

TEST(DepthEditorPainting, TheDepthBandHalvesAtHalfItsWidthAndStopsBeyond)
{
    EditedSet set(40, 8, [](int x, int) { return 0.1f * static_cast<float>(x); });
    DepthEditor& editor = *set.editor;
    editor.SetSolidPaintingRadius(40);
    editor.SetPaintingFalloffDistance(0);
    editor.SetFalloffByDepth(1.0f);
    set.Dab(10, 4); // clicked depth 1.0
    EXPECT_FLOAT_EQ(set.Selection(10, 4), 1.0f);
    EXPECT_NEAR(set.Selection(15, 2), 0.5f, 1e-5f);
    EXPECT_NEAR(set.Selection(5, 7), 0.5f, 1e-5f);
    for (const int x : {0, 21, 25, 39})
        EXPECT_EQ(set.Selection(x, 4), 0.0f) << x;

    // Without the band the same brush takes everything.
    editor.DisableFalloffByDepth();
    set.Dab(10, 4);
    EXPECT_FLOAT_EQ(set.Selection(39, 7), 1.0f);

    // The clicked depth is read from a row clamped by the width: on a sheet taller than wide, a click
    // on row 9 of a 4-wide sheet reads row 3.
    EditedSet tall(4, 12, [](int, int y) { return static_cast<float>(y); });
    tall.editor->SetSolidPaintingRadius(30);
    tall.editor->SetFalloffByDepth(0.5f);
    tall.Dab(1, 9);
    EXPECT_FLOAT_EQ(tall.Selection(1, 3), 1.0f);
    EXPECT_EQ(tall.Selection(1, 9), 0.0f);
}

TEST(DepthEditorPainting, AClosedLoopOfEdgesKeepsTheBrushOut)
{
    // A 4 x 4 room at columns 12..15, rows 8..11, walled on all four sides.
    const auto build = [](EditedSet& set, bool closed) {
        EdgeArray& edges = set.editor->GetEdges();
        for (int i = 0; i < 4; ++i)
        {
            edges.GetXEdges()[(8 + i) * 20 + 11] = closed || i != 3; // left wall, a gap at the bottom
            edges.GetXEdges()[(8 + i) * 20 + 15] = true;             // right wall
            edges.GetYEdges()[7 * 20 + 12 + i] = true;               // top wall
            edges.GetYEdges()[11 * 20 + 12 + i] = true;              // bottom wall
        }
        set.editor->SetSolidPaintingRadius(6);
        set.editor->SetPaintingFalloffDistance(3);
        set.Dab(9, 9);
    };
    EditedSet closed(20, 20);
    build(closed, true);
    EXPECT_FLOAT_EQ(closed.Selection(11, 9), 1.0f);
    EXPECT_GT(closed.Selection(16, 9), 0.0f); // round the room is within reach
    for (int y = 8; y < 12; ++y)
        for (int x = 12; x < 16; ++x)
            EXPECT_EQ(closed.Selection(x, y), 0.0f) << x << "," << y;

    // Through a gap the walk goes in, and pixels it reaches by a detour count that detour.
    EditedSet open(20, 20);
    build(open, false);
    EXPECT_FLOAT_EQ(open.Selection(12, 11), 1.0f);
    // 6.1 away in a straight line, but (6, 5) steps round through the gap: 7.8, in the falloff ring.
    EXPECT_NEAR(open.Selection(15, 8), 1.0f - (std::sqrt(61.0f) - 6.0f) / 3.0f, 1e-5f);
}

TEST(DepthEditorPainting, EdgesAreDrawnOnTheNearestSideButNeverNearCorners)
{
    EditedSet set(10, 10);
    DepthEditor& editor = *set.editor;
    const EdgeArray& edges = editor.GetEdges();
    const auto x = [&](int px, int py) { return edges.GetXEdges()[py * 10 + px]; };
    const auto y = [&](int px, int py) { return edges.GetYEdges()[py * 10 + px]; };
    editor.SetMode(DepthEditMode::AddEdges);
    set.Drag({{5.5f, 5.8f}}); // lower side
    set.Drag({{5.9f, 5.5f}}); // right side
    set.Drag({{3.5f, 5.2f}}); // upper side: the lower edge of the pixel above
    set.Drag({{3.1f, 7.5f}}); // left side: the right edge of the pixel to the left
    EXPECT_TRUE(y(5, 5) && x(5, 5) && y(3, 4) && x(2, 7));
    EXPECT_EQ(edges.GetEdgeImage().GetPixel(5, 5).GetAsString(), "(255, 255, 0, 255)");

    // Near a corner nothing is added; next to the first row or column nothing is drawn at all.
    set.Drag({{7.9f, 7.9f}, {7.1f, 7.1f}});
    set.Drag({{4.5f, 1.2f}, {1.2f, 4.5f}});
    EXPECT_FALSE(x(7, 7) || y(7, 7) || y(7, 6) || x(6, 7));
    EXPECT_FALSE(y(4, 0) || x(0, 4));
    // The drags that did nothing are still steps of the history.
    EXPECT_EQ(editor.GetCommandCount(), 6);

    // Removing has no corner rule.
    editor.SetMode(DepthEditMode::RemoveEdges);
    set.Drag({{5.9f, 5.9f}});
    EXPECT_FALSE(y(5, 5) || x(5, 5));
    EXPECT_EQ(edges.GetEdgeImage().GetPixel(5, 5).GetAsString(), "(0, 0, 0, 255)");
    editor.Undo();
    EXPECT_TRUE(y(5, 5) && x(5, 5));
}

TEST(DepthEditorPainting, MousePositionsMapOntoTheSpriteAndClampAtItsBorders)
{
    DepthEditor editor(40, 20, nullptr); // aspect 2
    EXPECT_NEAR(editor.PixelFromPosition({-2.0f, 1.0f}).x, 0.0f, 1e-5f);
    EXPECT_NEAR(editor.PixelFromPosition({2.0f, -1.0f}).y, 20.0f, 1e-5f);
    const Vector2D middle = editor.PixelFromPosition(editor.PositionFromPixel(12.25f, 7.5f));
    EXPECT_NEAR(middle.x, 12.25f, 1e-4f);
    EXPECT_NEAR(middle.y, 7.5f, 1e-4f);

    // A brush dragged off the sprite paints at the nearest border pixel.
    editor.SetSolidPaintingRadius(1);
    editor.SetPaintingFalloffDistance(0);
    editor.LeftMouseClick({5.0f, -3.0f});
    editor.ReceiveMousePosition({5.0f, -3.0f});
    editor.LeftMouseRelease();
    EXPECT_FLOAT_EQ(editor.GetSelection()[19 * 40 + 39], 1.0f);
    // Positions outside a drag are ignored.
    editor.ReceiveMousePosition({0.0f, 0.0f});
    EXPECT_EQ(editor.GetSelection()[10 * 40 + 20], 0.0f);
}
