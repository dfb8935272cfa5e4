#include "deptheditor/DepthEditor.h"
#include "core/Image.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "processing/ImageProcessor.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(std::tuple(command.GetBlockX(), command.GetBlockY(), command.GetBlockWidth(),
                         command.GetBlockHeight()),
              std::tuple(2, 1, 4, 4));
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

TEST(DepthEditorEdgeSelect, EmptyCommandsAreInertAndSpeckRemovalIsUndone)
{
    DepthEditor editor(5, 5, nullptr);
    EdgeArray& edges = editor.GetEdges();
    edges.GetYEdges()[6] = true;
    edges.UpdateImage();
    const std::string before = EdgeState(editor);
    DepthEditorEdgeSelect nothing(5, 5, edges.GetXEdges(), edges.GetYEdges());
    EXPECT_TRUE(nothing.SelectPixel(1, 1, true, true)); // already set: reported, but no change
    nothing.Finalise();
    EXPECT_TRUE(nothing.IsEmpty());
    edges.GetXEdges()[2 * 5 + 2] = true; // a later change the command must not touch
    edges.UpdateImage();
    const std::string withSpeck = EdgeState(editor);
    nothing.UndoCommand(&editor);
    nothing.ApplyCommand(&editor);
    EXPECT_EQ(EdgeState(editor), withSpeck);
    EXPECT_NE(withSpeck, before);

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
