#include "deptheditor/EdgeArray.h"
#include "core/Image.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <string>

namespace {
bool X(const EdgeArray& e, int x, int y)
{
    return e.GetXEdges()[y * e.GetWidth() + x];
}
bool Y(const EdgeArray& e, int x, int y)
{
    return e.GetYEdges()[y * e.GetWidth() + x];
}
void SetX(EdgeArray& e, int x, int y)
{
    e.GetXEdges()[y * e.GetWidth() + x] = true;
}
void SetY(EdgeArray& e, int x, int y)
{
    e.GetYEdges()[y * e.GetWidth() + x] = true;
}

// The flags as text, one row per line: '|' right edge, '_' lower edge, 'L' both, '.' none.
std::string Picture(const EdgeArray& e)
{
    std::string out;
    for (int y = 0; y < e.GetHeight(); ++y)
    {
        for (int x = 0; x < e.GetWidth(); ++x)
            out += X(e, x, y) ? (Y(e, x, y) ? 'L' : '|') : (Y(e, x, y) ? '_' : '.');
        out += '\n';
    }
    return out;
}
} // namespace

TEST(EdgeArray, DetectorsOnlyAddEdgesWhereTheSelectionAllows)
{
    // Red on the left half, blue on the right; a lower edge painted by hand beforehand.
    auto diffuse =
        MakeImage(6, 4, [](int x, int) { return x < 3 ? Colour(1, 0, 0, 1) : Colour(0, 0, 1, 1); });
    EdgeArray edges(6, 4);
    SetY(edges, 0, 0);
    edges.CreateFromDiffuseMap(diffuse.get(), 0.5f, nullptr);
    EXPECT_EQ(Picture(edges), "_.|...\n"
                              "..|...\n"
                              "..|...\n"
                              "..|...\n");

    // Only pixels selected above 0.01 are looked at.
    EdgeArray selected(6, 4);
    std::vector<float> selection(24, 0.0f);
    for (int x = 0; x < 6; ++x)
    {
        selection[0 * 6 + x] = 1.0f;
        selection[1 * 6 + x] = 0.02f;
        selection[2 * 6 + x] = 0.01f;
    }
    selected.CreateFromDiffuseMap(diffuse.get(), 0.5f, selection.data());
    EXPECT_EQ(Picture(selected), "..|...\n"
                                 "..|...\n"
                                 "......\n"
                                 "......\n");
    std::fill(selection.begin(), selection.end(), 0.0f);
    EdgeArray none(6, 4);
    none.CreateFromDiffuseMap(diffuse.get(), 0.0f, selection.data());
    EXPECT_EQ(Picture(none), "......\n......\n......\n......\n");

    // Colours are compared premultiplied, so what hides under zero alpha makes no edge.
    auto hidden = MakeImage(6, 4, [](int x, int y) { return Colour(x / 5.0f, y / 3.0f, 1, 0); });
    EdgeArray invisible(6, 4);
    invisible.CreateFromDiffuseMap(hidden.get(), 0.0f, nullptr);
    EXPECT_EQ(Picture(invisible), Picture(none));

    // A source of another size starts the array afresh at that size.
    auto larger = MakeGrey(7, 5, [](int x, int) { return x == 3 ? 1.0f : 0.0f; });
    edges.CreateFromSilhouette(larger.get(), 0.5f, nullptr);
    ASSERT_EQ(edges.GetWidth(), 7);
    ASSERT_EQ(edges.GetHeight(), 5);
    EXPECT_EQ(Picture(edges), "..||...\n..||...\n..||...\n..||...\n..||...\n");
}

TEST(EdgeArray, TheLastColumnAndRowWrapOrClampWithTheSource)
{
    // Column 0 and row 0 bright, the rest dark: only a wrapping read sees a step at the far border.
    auto silhouette = MakeGrey(4, 3, [](int x, int y) { return x == 0 || y == 0 ? 1.0f : 0.0f; });
    EdgeArray clamped(4, 3);
    clamped.CreateFromSilhouette(silhouette.get(), 0.5f, nullptr);
    EXPECT_EQ(Picture(clamped), ".___\n|...\n|...\n");

    silhouette->wrapX = true;
    silhouette->wrapY = true;
    EdgeArray wrapped(4, 3);
    wrapped.CreateFromSilhouette(silhouette.get(), 0.5f, nullptr);
    EXPECT_EQ(Picture(wrapped), ".___\n|..|\n|__L\n");

    // With a threshold above 1 even identical normals count, so clamped borders are flagged too.
    auto normals = MakeImage(
        2, 2, [](int x, int) { return x == 0 ? Colour(1, 0.5f, 0.5f, 1) : Colour(0.5f, 0.5f, 1, 1); });
    EdgeArray sharp(2, 2);
    sharp.CreateFromNormalMap(normals.get(), 0.5f, nullptr);
    EXPECT_EQ(Picture(sharp), "|.\n|.\n");
    EdgeArray strict(2, 2);
    strict.CreateFromNormalMap(normals.get(), -0.5f, nullptr);
    EXPECT_EQ(Picture(strict), "..\n..\n");
    EdgeArray everything(2, 2);
    everything.CreateFromNormalMap(normals.get(), 1.5f, nullptr);
    EXPECT_EQ(Picture(everything), "LL\nLL\n");
}

TEST(EdgeArray, AlphaEdgesSeparateOnlyFullyTransparentFromVisible)
{
    const float alphas[] = {0.0f, 0.0f, 0.5f, 0.3f, 1.0f, 0.0f};
    auto diffuse = MakeImage(6, 1, [&](int x, int) { return Colour(0.2f, 0.2f, 0.2f, alphas[x]); });
    EdgeArray edges(6, 1);
    edges.CreateFromDiffuseMapAlpha(diffuse.get(), nullptr);
    EXPECT_EQ(Picture(edges), ".|..|.\n");
}

TEST(EdgeArray, MergingAndTheEdgeImage)
{
    EdgeArray a(3, 1);
    EdgeArray b(3, 1);
    SetX(a, 0, 0);
    SetY(b, 1, 0);
    SetX(b, 2, 0);
    SetY(b, 2, 0);
    a.AddOtherEdgeArray(&b);
    EXPECT_EQ(Picture(a), "|_L\n");
    const Image& image = a.GetEdgeImage();
    EXPECT_EQ(image.GetPixel(0, 0).GetAsString(), "(255, 0, 0, 255)");
    EXPECT_EQ(image.GetPixel(1, 0).GetAsString(), "(0, 255, 0, 255)");
    EXPECT_EQ(image.GetPixel(2, 0).GetAsString(), "(255, 255, 0, 255)");

    a.ClearEdges();
    EXPECT_EQ(Picture(a), "...\n");
    EXPECT_EQ(a.GetEdgeImage().GetPixel(2, 0).GetAsString(), "(0, 0, 0, 255)");
}

TEST(EdgeArray, SpeckRemovalTakesOnlySegmentsTouchingNothing)
{
    EdgeArray edges(6, 6);
    SetX(edges, 1, 1); // alone: goes
    SetY(edges, 4, 4); // alone: goes
    SetX(edges, 3, 0); // two segments in a line: stay
    SetX(edges, 3, 1);
    SetX(edges, 0, 3); // a corner with the lower edge of its right neighbour: both stay
    SetY(edges, 1, 3);
    SetX(edges, 5, 5); // last column, alone even across the wrap: goes
    SetX(edges, 5, 2); // last column, touching column 0's lower edge through the wrap: stays
    SetY(edges, 0, 2);
    DepthEditorEdgeSelect record(6, 6, edges.GetXEdges(), edges.GetYEdges());
    edges.RemoveSpecks(&record);
    EXPECT_EQ(Picture(edges), "...|..\n"
                              "...|..\n"
                              "_....|\n"
                              "|_....\n"
                              "......\n"
                              "......\n");
    EXPECT_EQ(edges.GetEdgeImage().GetPixel(1, 1).GetAsString(), "(0, 0, 0, 255)");

    // Every removal was reported: the record's block spans them.
    record.Finalise();
    EXPECT_EQ(record.GetBlockX(), 1);
    EXPECT_EQ(record.GetBlockY(), 1);
    EXPECT_EQ(record.GetBlockWidth(), 5);
    EXPECT_EQ(record.GetBlockHeight(), 5);

    // Two flags of one pixel meet at its corner and are never specks.
    EdgeArray corner(3, 3);
    SetX(corner, 1, 1);
    SetY(corner, 1, 1);
    corner.RemoveSpecks(nullptr);
    EXPECT_EQ(Picture(corner), "...\n.L.\n...\n");
}
