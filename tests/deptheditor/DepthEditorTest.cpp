#include "deptheditor/DepthEditor.h"
#include "core/Image.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "processing/ImageProcessor.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {
// Everything of the editor's edges a user could see: both flag arrays and the edge image's bytes.
std::string EdgeState(DepthEditor& editor)
{
    EdgeArray& edges = editor.GetEdges();
    const int size = edges.GetWidth() * edges.GetHeight();
    std::string state(edges.GetXEdges(), edges.GetXEdges() + size);
    state.append(edges.GetYEdges(), edges.GetYEdges() + size);
    const Image& image = edges.GetEdgeImage();
    for (int y = 0; y < image.GetHeight(); ++y)
        for (int x = 0; x < image.GetWidth(); ++x)
            state += image.GetPixel(x, y).GetAsString();
    return state;
}
} // namespace

TEST(DepthEditor, StartsWithNothingSelectedAndNoHistory)
{
    ImageProcessor processor(nullptr, BRONDEL_RESOURCE_DIR, nullptr);
    processor.SetImage(new Image(9, 4), Depth);
    processor.InitialiseDepthEditor();
    DepthEditor* editor = processor.GetDepthEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->GetProcessor(), &processor);
    EXPECT_EQ(editor->GetWidth(), 9);
    EXPECT_EQ(editor->GetHeight(), 4);
    EXPECT_EQ(editor->GetEdges().GetWidth(), 9);
    EXPECT_EQ(editor->GetEdges().GetHeight(), 4);
    EXPECT_EQ(editor->GetCommandCount(), 0);
    EXPECT_EQ(editor->GetCurrentCommand(), -1);
    EXPECT_FLOAT_EQ(editor->GetFalloffByDepth(), -1.0f);
    EXPECT_EQ(editor->GetMode(), DepthEditMode::SelectionPainting);
    for (int i = 0; i < 36; ++i)
    {
        EXPECT_EQ(editor->GetSelection()[i], 0.0f);
        EXPECT_FALSE(editor->GetEdges().GetXEdges()[i] || editor->GetEdges().GetYEdges()[i]);
    }
    EXPECT_EQ(editor->GetSelectionImage().GetPixel(8, 3).GetAsString(), "(0, 0, 0, 255)");

    editor->SetFalloffByDepth(0.4f);
    editor->SetPaintingIntensity(-0.5f);
    editor->SetMode(DepthEditMode::RemoveEdges);
    EXPECT_FLOAT_EQ(editor->GetFalloffByDepth(), 0.4f);
    EXPECT_FLOAT_EQ(editor->GetPaintingIntensity(), -0.5f);
    EXPECT_EQ(editor->GetMode(), DepthEditMode::RemoveEdges);
    editor->DisableFalloffByDepth();
    EXPECT_FLOAT_EQ(editor->GetFalloffByDepth(), -1.0f);
}

TEST(DepthEditor, SelectionBlocksLandClippedAndShowInTheImage)
{
    DepthEditor editor(5, 4, nullptr);
    const std::vector<float> block = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f};
    editor.CopySelectionBlock(-1, 2, 3, 2, block.data()); // the left column falls outside
    EXPECT_FLOAT_EQ(editor.GetSelection()[2 * 5 + 0], 0.2f);
    EXPECT_FLOAT_EQ(editor.GetSelection()[2 * 5 + 1], 0.3f);
    EXPECT_FLOAT_EQ(editor.GetSelection()[3 * 5 + 1], 0.6f);
    EXPECT_FLOAT_EQ(editor.GetSelection()[3 * 5 + 2], 0.0f);
    EXPECT_EQ(editor.GetSelectionImage().GetPixel(1, 3).GetAsString(), "(153, 153, 153, 255)");
    EXPECT_EQ(editor.GetSelectionImage().GetPixel(2, 3).GetAsString(), "(0, 0, 0, 255)");
}

TEST(DepthEditorEdgeSelect, KeepsOnlyTheChangedBlockAndReplaysExactly)
{
    DepthEditor editor(8, 6, nullptr);
    EdgeArray& edges = editor.GetEdges();
    edges.GetXEdges()[4 * 8 + 5] = true;
    edges.UpdateImage();
    const std::string original = EdgeState(editor);

    DepthEditorEdgeSelect command(8, 6, edges.GetXEdges(), edges.GetYEdges());
    const std::size_t recordingSize = command.GetSizeInBytes();
    EXPECT_FALSE(command.SelectPixel(0, 0, false, false)); // false stays false
    EXPECT_TRUE(command.SelectPixel(2, 1, true, true));    // false to true
    EXPECT_TRUE(command.SelectPixel(5, 4, false, true));   // true stays true
    EXPECT_TRUE(command.SelectPixel(5, 4, false, false));  // true to false
    EXPECT_FALSE(command.SelectPixel(9, 1, true, true));   // off the image
    command.Finalise();
    EXPECT_FALSE(command.SelectPixel(3, 3, true, true));
    EXPECT_FALSE(command.IsEmpty());
    EXPECT_EQ(command.GetBlockX(), 2);
    EXPECT_EQ(command.GetBlockY(), 1);
    EXPECT_EQ(command.GetBlockWidth(), 4);
    EXPECT_EQ(command.GetBlockHeight(), 4);
    EXPECT_LT(command.GetSizeInBytes(), recordingSize);
    EXPECT_EQ(EdgeState(editor), original); // recording alone changes nothing

    command.ApplyCommand(&editor);
    EXPECT_TRUE(edges.GetYEdges()[1 * 8 + 2]);
    EXPECT_FALSE(edges.GetXEdges()[4 * 8 + 5]);
    EXPECT_EQ(edges.GetEdgeImage().GetPixel(2, 1).GetAsString(), "(0, 255, 0, 255)");
    const std::string applied = EdgeState(editor);
    command.UndoCommand(&editor);
    EXPECT_EQ(EdgeState(editor), original);
    command.ApplyCommand(&editor);
    EXPECT_EQ(EdgeState(editor), applied);
}

TEST(DepthEditorEdgeSelect, ACommandThatChangedNothingIsEmptyAndInert)
{
    DepthEditor editor(4, 4, nullptr);
    editor.GetEdges().GetYEdges()[5] = true;
    editor.GetEdges().UpdateImage();
    const std::string before = EdgeState(editor);
    DepthEditorEdgeSelect command(4, 4, editor.GetEdges().GetXEdges(), editor.GetEdges().GetYEdges());
    EXPECT_TRUE(command.SelectPixel(1, 1, true, true)); // already set: reported, but no change
    command.Finalise();
    EXPECT_TRUE(command.IsEmpty());
    editor.GetEdges().GetXEdges()[0] = true; // a later change the command must not touch
    editor.GetEdges().UpdateImage();
    const std::string later = EdgeState(editor);
    command.UndoCommand(&editor);
    command.ApplyCommand(&editor);
    EXPECT_EQ(EdgeState(editor), later);
    EXPECT_NE(later, before);
}

TEST(DepthEditorEdgeSelect, UndoesSpeckRemoval)
{
    DepthEditor editor(5, 5, nullptr);
    EdgeArray& edges = editor.GetEdges();
    edges.GetXEdges()[2 * 5 + 2] = true;
    edges.UpdateImage();
    const std::string withSpeck = EdgeState(editor);
    DepthEditorEdgeSelect command(5, 5, edges.GetXEdges(), edges.GetYEdges());
    edges.RemoveSpecks(&command);
    command.Finalise();
    const std::string cleaned = EdgeState(editor);
    EXPECT_NE(cleaned, withSpeck);
    command.UndoCommand(&editor);
    EXPECT_EQ(EdgeState(editor), withSpeck);
    command.ApplyCommand(&editor);
    EXPECT_EQ(EdgeState(editor), cleaned);
}
