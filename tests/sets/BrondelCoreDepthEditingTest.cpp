#include "sets/BrondelCore.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "processing/ImageProcessor.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <vector>

TEST(BrondelCoreDepthEditing, ForwardsToTheCurrentEditorAndRefreshesTheDepthMap)
{
    BrondelCore core(BRONDEL_RESOURCE_DIR);
    RecordingLog log;
    core.SetLog(log.output);
    std::vector<ImageType> changed;
    core.SetImageChangedCallback([&changed](ImageType type) { changed.push_back(type); });

    // Without an editor every operation is ignored.
    EXPECT_FALSE(core.HasDepthEditor());
    core.SetDepthEditingState(true);
    core.ShiftSelectionForward(1.0f);
    core.DepthEditorMouseDown(1, 1);
    core.UndoDepthCommand();
    EXPECT_TRUE(changed.empty());
    core.SetDepthEditingState(false);

    ImageProcessor& processor = *core.GetCurrentProcessor();
    processor.SetImage(new Image(16, 16), ImageType::Depth);
    processor.PopulateDepthArrayFromMap();
    ASSERT_TRUE(core.HasDepthEditor());
    const DepthEditor& editor = *processor.GetDepthEditor();
    const float* depth = processor.GetDepthArray(0);

    core.SetSolidPaintingRadius(2);
    core.SetPaintingFalloffDistance(1);
    core.SetPaintingIntensity(-0.5f);
    core.SetFalloffByDepth(0.3f);
    core.SetDepthEditorMode(DepthEditMode::AddEdges);
    EXPECT_EQ(editor.GetSolidPaintingRadius(), 2);
    EXPECT_EQ(editor.GetPaintingFalloffDistance(), 1);
    EXPECT_FLOAT_EQ(editor.GetPaintingIntensity(), -0.5f);
    EXPECT_FLOAT_EQ(editor.GetFalloffByDepth(), 0.3f);
    EXPECT_EQ(editor.GetMode(), DepthEditMode::AddEdges);
    core.DisableFalloffByDepth();
    EXPECT_FLOAT_EQ(editor.GetFalloffByDepth(), -1.0f);
    core.SetDepthEditorMode(DepthEditMode::SelectionPainting);
    core.SetPaintingIntensity(1.0f);

    // The mouse paints only while depth editing is on; a press marks the depth map as edited.
    const auto stroke = [&core] {
        core.DepthEditorMouseDown(5.5f, 5.5f);
        core.DepthEditorMouseMove(5.5f, 5.5f);
        core.DepthEditorMouseUp();
    };
    stroke();
    EXPECT_EQ(editor.GetCommandCount(), 0);
    EXPECT_FALSE(core.HasDepthBeenEdited());
    core.SetDepthEditingState(true);
    EXPECT_TRUE(core.IsDepthEditing());
    stroke();
    EXPECT_FLOAT_EQ(editor.GetSelection()[5 * 16 + 5], 1.0f);
    EXPECT_TRUE(core.HasDepthBeenEdited());

    // Both buttons take a positive amount; back pushes the other way.
    core.ShiftSelectionForward(2.0f);
    EXPECT_FLOAT_EQ(depth[5 * 16 + 5], 2.0f);
    core.ShiftSelectionBack(0.5f);
    EXPECT_FLOAT_EQ(depth[5 * 16 + 5], 1.5f);
    EXPECT_EQ(changed, (std::vector<ImageType>{ImageType::Depth, ImageType::Depth}));
    core.UndoDepthCommand();
    EXPECT_FLOAT_EQ(depth[5 * 16 + 5], 2.0f);
    EXPECT_EQ(changed.size(), 3u);

    // Undo and redo wait for depth editing; steps that move no depths refresh nothing.
    core.SetDepthEditingState(false);
    core.UndoDepthCommand();
    EXPECT_FLOAT_EQ(depth[5 * 16 + 5], 2.0f);
    core.SetDepthEditingState(true);
    core.RedoDepthCommand();
    EXPECT_FLOAT_EQ(depth[5 * 16 + 5], 1.5f);
    core.ExpandSelection(0.25f);
    EXPECT_FLOAT_EQ(editor.GetSelection()[5 * 16 + 8], 0.75f);
    core.ClearSelection();
    EXPECT_EQ(editor.GetSelection()[5 * 16 + 5], 0.0f);
    core.UndoDepthCommand();
    core.UndoDepthCommand();
    EXPECT_EQ(changed.size(), 4u);

    // Edges come from the current set's own maps.
    processor.SetImage(
        MakeImage(16, 16, [](int x, int) { return Colour(1, 1, 1, x < 8 ? 1.0f : 0.0f); }).release(),
        ImageType::Diffuse);
    core.GetEdgesFromDiffuseAlpha(false);
    EXPECT_TRUE(editor.GetEdges().GetXEdges()[3 * 16 + 7]);
    core.ClearAllEdges();
    EXPECT_FALSE(editor.GetEdges().GetXEdges()[3 * 16 + 7]);
}
