#include "deptheditor/EdgeArray.h"
#include "core/Image.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "deptheditor/EdgeSensitivity.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {
// Which flag of a pixel to set: its right edge or its lower edge.
constexpr bool RightEdge = true;
constexpr bool LowerEdge = false;

void SetEdge(EdgeArray& e, bool right, int x, int y)
{
    (right ? e.GetXEdges() : e.GetYEdges())[y * e.GetWidth() + x] = true;
}

// The flags as text, one row per line: '|' right edge, '_' lower edge, 'L' both, '.' none.
std::string Picture(const EdgeArray& e)
{
    std::string out;
    for (int y = 0; y < e.GetHeight(); ++y)
    {
        for (int x = 0; x < e.GetWidth(); ++x)
        {
            const int i = y * e.GetWidth() + x;
            out += e.GetXEdges()[i] ? (e.GetYEdges()[i] ? 'L' : '|') : (e.GetYEdges()[i] ? '_' : '.');
        }
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
    SetEdge(edges, LowerEdge, 0, 0);
    edges.CreateFromDiffuseMap(diffuse.get(), 0.5f, nullptr);
    EXPECT_EQ(Picture(edges), "_.|...\n..|...\n..|...\n..|...\n");

    // Only pixels selected above 0.01 are looked at.
    EdgeArray selected(6, 4);
    std::vector<float> selection(24, 0.0f);
    std::fill(selection.begin(), selection.begin() + 6, 1.0f);
    std::fill(selection.begin() + 6, selection.begin() + 12, 0.02f);
    std::fill(selection.begin() + 12, selection.begin() + 18, 0.01f);
    selected.CreateFromDiffuseMap(diffuse.get(), 0.5f, selection.data());
    EXPECT_EQ(Picture(selected), "..|...\n..|...\n......\n......\n");
    std::fill(selection.begin(), selection.end(), 0.0f);
    EdgeArray none(6, 4);
    none.CreateFromDiffuseMap(diffuse.get(), 0.0f, selection.data());
    EXPECT_EQ(Picture(none), "......\n......\n......\n......\n");

    // Colours are compared premultiplied, so what hides under zero alpha makes no edge.
    auto hidden = MakeImage(6, 4, [](int x, int y) { return Colour(x / 5.0f, y / 3.0f, 1, 0); });
    EdgeArray invisible(6, 4);
    invisible.CreateFromDiffuseMap(hidden.get(), 0.0f, nullptr);
    EXPECT_EQ(Picture(invisible), Picture(none));

    // Alpha edges separate only fully transparent pixels from visible ones.
    const float alphas[] = {0.0f, 0.0f, 0.5f, 0.3f, 1.0f, 0.0f};
    EdgeArray alpha(6, 1);
    alpha.CreateFromDiffuseMapAlpha(
        MakeImage(6, 1, [&](int x, int) { return Colour(0.2f, 0.2f, 0.2f, alphas[x]); }).get(), nullptr);
    EXPECT_EQ(Picture(alpha), ".|..|.\n");

    // A source of another size starts the array afresh at that size.
    edges.CreateFromSilhouette(MakeGrey(7, 5, [](int x, int) { return x == 3 ? 1.0f : 0.0f; }).get(), 0.5f,
                               nullptr);
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
    for (const auto& [threshold, picture] :
         {std::tuple{0.5f, "|.\n|.\n"}, {-0.5f, "..\n..\n"}, {1.5f, "LL\nLL\n"}})
    {
        EdgeArray edges(2, 2);
        edges.CreateFromNormalMap(normals.get(), threshold, nullptr);
        EXPECT_EQ(Picture(edges), picture) << threshold;
    }
}

TEST(EdgeArray, MergingAndTheEdgeImage)
{
    EdgeArray a(3, 1);
    EdgeArray b(3, 1);
    SetEdge(a, RightEdge, 0, 0);
    SetEdge(b, LowerEdge, 1, 0);
    SetEdge(b, RightEdge, 2, 0);
    SetEdge(b, LowerEdge, 2, 0);
    a.AddOtherEdgeArray(&b);
    EXPECT_EQ(Picture(a), "|_L\n");
    EXPECT_EQ(RowText(a.GetEdgeImage(), 0), "(255, 0, 0, 255)(0, 255, 0, 255)(255, 255, 0, 255)");
    a.ClearEdges();
    EXPECT_EQ(Picture(a), "...\n");
    EXPECT_EQ(a.GetEdgeImage().GetPixel(2, 0).GetAsString(), "(0, 0, 0, 255)");
}

TEST(EdgeArray, SpeckRemovalTakesOnlySegmentsTouchingNothing)
{
    EdgeArray edges(6, 6);
    SetEdge(edges, RightEdge, 1, 1); // alone: goes
    SetEdge(edges, LowerEdge, 4, 4); // alone: goes
    SetEdge(edges, RightEdge, 3, 0); // two segments in a line: stay
    SetEdge(edges, RightEdge, 3, 1);
    SetEdge(edges, RightEdge, 0, 3); // a corner with the lower edge of its right neighbour: both stay
    SetEdge(edges, LowerEdge, 1, 3);
    SetEdge(edges, RightEdge, 5, 5); // last column, alone even across the wrap: goes
    SetEdge(edges, RightEdge, 5, 2); // last column, touching column 0's lower edge through the wrap: stays
    SetEdge(edges, LowerEdge, 0, 2);
    DepthEditorEdgeSelect record(6, 6, edges.GetXEdges(), edges.GetYEdges());
    edges.RemoveSpecks(&record);
    EXPECT_EQ(Picture(edges), "...|..\n...|..\n_....|\n|_....\n......\n......\n");
    EXPECT_EQ(edges.GetEdgeImage().GetPixel(1, 1).GetAsString(), "(0, 0, 0, 255)");

    // Every removal was reported: the record's block spans them.
    record.Finalise();
    EXPECT_EQ(
        std::tuple(record.GetBlockX(), record.GetBlockY(), record.GetBlockWidth(), record.GetBlockHeight()),
        std::tuple(1, 1, 5, 5));

    // Two flags of one pixel meet at its corner and are never specks.
    EdgeArray corner(3, 3);
    SetEdge(corner, RightEdge, 1, 1);
    SetEdge(corner, LowerEdge, 1, 1);
    corner.RemoveSpecks(nullptr);
    EXPECT_EQ(Picture(corner), "...\n.L.\n...\n");
}

TEST(EdgeArray, SensitivitySlidersFindMoreEdgesAsTheyGoUp)
{
    EXPECT_FLOAT_EQ(NormalEdgeThreshold(0), 0.0f);
    EXPECT_FLOAT_EQ(NormalEdgeThreshold(30), 1.5f);
    EXPECT_FLOAT_EQ(DiffuseEdgeThreshold(0), 3.0f);
    EXPECT_NEAR(DiffuseEdgeThreshold(255), 0.0f, 1e-6f);
    EXPECT_FLOAT_EQ(DiffuseEdgeThreshold(85), 2.0f);
    EXPECT_FLOAT_EQ(SilhouetteEdgeThreshold(51), 0.8f);
    EXPECT_FLOAT_EQ(SilhouetteEdgeThreshold(255), 0.0f);
}
