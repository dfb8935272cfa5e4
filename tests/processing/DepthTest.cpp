#include "core/Image.h"
#include "deptheditor/EdgeArray.h"
#include "processing/DepthKernels.h"
#include "processing/ImageBuffers.h"
#include "reference/ReferenceDepth.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {
// Unit-ish normals with the awkward cases mixed in: straight out (rises of -0), lying flat and
// unnormalised ones.
std::vector<Vector3D> RandomNormals(std::mt19937& random, std::size_t n)
{
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    std::vector<Vector3D> normals(n);
    for (Vector3D& v : normals)
    {
        const unsigned kind = random() % 6;
        v = kind == 0   ? Vector3D(0.0f, 0.0f, 1.0f)
            : kind == 1 ? Vector3D(unit(random), -0.0f, 0.0f)
                        : Vector3D(unit(random), unit(random), std::fabs(unit(random)) + 0.1f);
    }
    return normals;
}

std::vector<float> RandomDepth(std::mt19937& random, std::size_t n)
{
    std::uniform_real_distribution<float> value(-3.0f, 3.0f);
    std::vector<float> depth(n);
    for (float& d : depth)
        d = random() % 7 == 0 ? -0.0f : value(random);
    return depth;
}

// The normal map of a ball of the given radius centred in a size x size image: x right, y up.
std::unique_ptr<Image> BallNormalMap(int size, float radius)
{
    return MakeImage(size, size, [&](int x, int y) {
        const float c = (size - 1) / 2.0f;
        const float dx = (x - c) / radius;
        const float dy = (c - y) / radius;
        const float r2 = dx * dx + dy * dy;
        Colour colour;
        colour.SetFromNormal(r2 < 1.0f ? Vector3D(dx, dy, std::sqrt(1.0f - r2)) : Vector3D(0.0f, 0.0f, 1.0f));
        return colour;
    });
}

struct Fixture : ProcessorFixture
{
    // A working resolution of w x h with every array allocated.
    void Allocate(int w, int h)
    {
        processor.SetImage(new Image(w, h), ImageType::Normal);
        processor.InitialiseArrays();
    }
    void LoadBall(int size, float radius)
    {
        Set(ImageType::Normal, BallNormalMap(size, radius));
        processor.PopulateNormalArrayFromMap(false);
    }
    std::vector<float> DepthLevel(int level)
    {
        const float* d = processor.GetDepthArray(level);
        return {d, d + processor.MipWidth(level) * processor.MipHeight(level)};
    }
    std::vector<Vector3D> NormalLevel(int level)
    {
        const Vector3D* n = processor.GetNormalArray(level);
        return {n, n + processor.MipWidth(level) * processor.MipHeight(level)};
    }
};
} // namespace

TEST(DepthKernels, RelaxationMatchesTheLinkWalkBitForBit)
{
    // Single rows and columns, sizes below, at and across the tile size (whose margins wrap around
    // small grids many times), with and without cut links, on one and two threads.
    std::mt19937 random(7);
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 5}, {6, 1},   {2, 2},    {3, 2},
                                         {2, 9}, {5, 7}, {31, 17}, {600, 40}, {90, 300}};
    for (const auto& [w, h] : sizes)
        for (int cuts = 0; cuts < 4; ++cuts) // none, right only, below only, both
            for (const int passes : {1, 3, 9})
                for (int threads = 1; threads <= 2; ++threads)
                {
                    SCOPED_TRACE(testing::Message() << w << "x" << h << " cuts " << cuts << " passes "
                                                    << passes << " threads " << threads);
                    const ThreadCount scope(threads);
                    const std::size_t n = static_cast<std::size_t>(w) * h;
                    const std::vector<Vector3D> normals = RandomNormals(random, n);
                    std::unique_ptr<bool[]> right(new bool[n]), below(new bool[n]);
                    for (std::size_t i = 0; i < n; ++i)
                    {
                        right[i] = random() % 3 == 0;
                        below[i] = random() % 3 == 0;
                    }
                    const bool* xEdges = cuts & 1 ? right.get() : nullptr;
                    const bool* yEdges = cuts & 2 ? below.get() : nullptr;

                    std::vector<float> expected = RandomDepth(random, n);
                    std::vector<float> actual = expected;
                    ReferenceRefineDepth(expected, normals, w, h, passes + 1, xEdges, yEdges);
                    std::vector<float> riseX(n), riseY(n), scratch(n);
                    ComputeRises(normals.data(), w, h, riseX.data(), riseY.data());
                    RelaxDepth({w, h, riseX.data(), riseY.data(), xEdges, yEdges}, actual.data(),
                               scratch.data(), passes);
                    EXPECT_TRUE(SameBits(expected, actual));
                }
}

TEST(Depth, RefinementKeepsAllButTheLastStepAndReportsProgress)
{
    Fixture f;
    f.Allocate(9, 7); // odd: one level
    std::mt19937 random(3);
    const std::vector<Vector3D> normals = RandomNormals(random, 63);
    const std::vector<float> start = RandomDepth(random, 63);
    std::copy(normals.begin(), normals.end(), f.processor.GetNormalArray(0));
    for (const int steps : {-1, 0, 1, 101})
    {
        f.log.lines.clear();
        std::copy(start.begin(), start.end(), f.processor.GetDepthArray(0));
        f.processor.RefineDepthFromNormal(steps, 0, nullptr, false);
        EXPECT_TRUE(steps > 1 || SameBits(f.DepthLevel(0), start)) << steps << " steps changed the level";
    }
    std::vector<float> expected = start;
    std::vector<std::string> progress;
    ReferenceRefineDepth(expected, normals, 9, 7, 101, nullptr, nullptr, &progress);
    EXPECT_TRUE(SameBits(f.DepthLevel(0), expected));
    progress.insert(progress.begin(), "Refining depth mip 0...");
    progress.push_back("Depth refinement completed.");
    EXPECT_EQ(f.log.lines, progress);
    EXPECT_EQ(progress[3], "Finished refine step 100 of 101.");
}

TEST(Depth, RisesFollowTheNormalsAndLinksWrapAroundBothBorders)
{
    Fixture f;
    f.Allocate(3, 3);
    Vector3D* normals = f.processor.GetNormalArray(0);
    std::fill(normals, normals + 9, Vector3D(0.0f, 0.0f, 1.0f));
    normals[1 * 3 + 2] = Vector3D(0.6f, 0.0f, 0.8f); // (2, 1): last column
    normals[2 * 3 + 1] = Vector3D(0.0f, 0.6f, 0.8f); // (1, 2): last row
    normals[0] = Vector3D(0.5f, -0.5f, 0.5f);
    EXPECT_EQ(f.processor.GetRise(2, 1, 0), Vector2D(-0.6f, 0.0f));
    EXPECT_FLOAT_EQ(f.processor.GetRise(1, 2, 0).y, 0.6f);
    // Not the slope -nx / nz (which would be -1 and +1 here).
    EXPECT_FLOAT_EQ(f.processor.GetRise(0, 0, 0).x, -0.5f * std::sqrt(0.5f));
    EXPECT_FLOAT_EQ(f.processor.GetRise(0, 0, 0).y, -0.5f * std::sqrt(0.5f));
    normals[0] = Vector3D(0.0f, 0.0f, 1.0f);

    f.processor.ClearDepthMap();
    f.processor.RefineDepthFromNormal(2, 0, nullptr, false);
    // The last column's right-hand neighbour is the first column, the last row's lower one the first row.
    const std::vector<float> d = f.DepthLevel(0);
    EXPECT_FLOAT_EQ(d[1 * 3 + 2], 0.15f);
    EXPECT_FLOAT_EQ(d[1 * 3 + 0], -0.15f);
    EXPECT_FLOAT_EQ(d[2 * 3 + 1], -0.15f);
    EXPECT_FLOAT_EQ(d[0 * 3 + 1], 0.15f);
    EXPECT_FLOAT_EQ(d[1 * 3 + 1], 0.0f);
}

TEST(Depth, ABallIntegratesToADomeMatchingThePlainChain)
{
    constexpr int kSize = 64;
    Fixture f;
    f.LoadBall(kSize, 24.0f);
    // Transparent outside a 30-pixel circle: those pixels are black and take no part in the range.
    f.Set(ImageType::Diffuse, MakeImage(kSize, kSize, [](int x, int y) {
              return Colour(1.0f, 1.0f, 1.0f, std::hypot(x - 31.5f, y - 31.5f) < 30.0f ? 1.0f : 0.0f);
          }));
    f.log.lines.clear();
    f.processor.GenerateDepthMapFromNormals(50, true, 0.5f);
    ASSERT_EQ(f.processor.GetMipCount(), 7);
    EXPECT_EQ(f.log.Count("Expanding depth mip..."), 6);
    EXPECT_EQ(f.log.lines[1], "Refining depth mip 6...");
    EXPECT_TRUE(f.log.Contains("Depth map completed."));
    EXPECT_NE(f.processor.GetDepthEditor(), nullptr);

    // The same chain, level by level, written plainly.
    std::vector<std::vector<Vector3D>> levels;
    for (int l = 0; l < f.processor.GetMipCount(); ++l)
        levels.push_back(f.NormalLevel(l));
    const std::vector<std::uint8_t> alpha =
        Plain(ReadChannelBytes(*f.processor.GetImage(ImageType::Diffuse), Channel::Alpha, kSize, kSize));
    const ReferenceDepthMap expected = ReferenceNormaliseDepth(
        ReferenceDepthFromNormals(levels, kSize, kSize, 50, 0.5f), kSize, kSize, &alpha);
    const Image* depth = f.processor.GetImage(ImageType::Depth);
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::Depth));
    EXPECT_TRUE(
        SameBytes(*depth, *std::unique_ptr<Image>(MakeGreyImage(expected.values.data(), kSize, kSize))));
    EXPECT_EQ(f.processor.GetDepthMin(), expected.minimum);
    EXPECT_EQ(f.processor.GetDepthRange(), expected.range);

    // A dome: brightest in the middle, falling toward the rim in every direction.
    const auto red = [&](int x, int y) { return depth->GetPixel(x, y).r; };
    EXPECT_GT(red(32, 32), 0.9f);
    for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
    {
        EXPECT_GT(red(32, 32), red(32 + 10 * dx, 32 + 10 * dy));
        EXPECT_GT(red(32 + 10 * dx, 32 + 10 * dy), red(32 + 20 * dx, 32 + 20 * dy));
    }
    EXPECT_EQ(depth->GetPixel(1, 1).GetAsString(), "(0, 0, 0, 255)");

    // Normals with depth in alpha.
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::NormalDepth));
    for (const auto& [x, y] : {std::pair{32, 32}, {20, 40}, {0, 0}, {63, 10}})
    {
        const Colour n = f.processor.GetImage(ImageType::Normal)->GetPixel(x, y);
        EXPECT_EQ(f.processor.GetImage(ImageType::NormalDepth)->GetPixel(x, y).GetAsString(),
                  Colour(n.r, n.g, n.b, red(x, y)).GetAsString());
    }

    // A single step leaves the map flat: the range is 0 and the undefined result is written black.
    f.processor.GenerateDepthMapFromNormals(1, false, 0.2f);
    EXPECT_EQ(f.processor.GetDepthRange(), 0.0f);
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x)
            ASSERT_EQ(f.processor.GetImage(ImageType::Depth)->GetPixel(x, y).GetAsString(), "(0, 0, 0, 255)");
}

TEST(Depth, InflationReplacesTheFinerLevelBlockByBlock)
{
    Fixture f;
    f.Allocate(4, 2);
    ASSERT_EQ(f.processor.GetMipCount(), 2);
    std::fill(f.processor.GetDepthArray(0), f.processor.GetDepthArray(0) + 8, 9.0f);
    f.processor.GetDepthArray(1)[0] = 2.0f;
    f.processor.GetDepthArray(1)[1] = -4.0f;
    f.processor.InflateDepthMip(1, 0.5f);
    EXPECT_EQ(f.DepthLevel(0), (std::vector<float>{1, 1, -2, -2, 1, 1, -2, -2}));
    f.processor.InflateDepthMip(0, 0.5f); // level 0 has nothing finer
    EXPECT_EQ(f.DepthLevel(0), (std::vector<float>{1, 1, -2, -2, 1, 1, -2, -2}));
    EXPECT_EQ(f.log.Count("Expanding depth mip..."), 2);
    EXPECT_EQ(f.log.Count("Depth mip expansion finished."), 1);
}

TEST(Depth, LoadedMapsAreReadBackAndSampled)
{
    Fixture f;
    // Without normals the user is told and nothing else happens.
    f.processor.GenerateDepthMapFromNormals(10, false, 0.2f);
    EXPECT_EQ(f.messages,
              (Messages{{"To generate a depth map, you must have generated or loaded a normal map.",
                         "No normal map"}}));
    EXPECT_TRUE(f.log.lines.empty());
    EXPECT_EQ(f.processor.GetImage(ImageType::Depth), nullptr);

    f.Set(ImageType::Depth,
          MakeGrey(5, 4, [](int x, int y) { return Image::ByteToChannel(std::uint8_t(x + 5 * y)); }));
    EXPECT_EQ(f.processor.GetDepthAt(0.5f, 0.5f), 0.0f); // no arrays yet
    f.processor.PopulateDepthArrayFromMap();
    ASSERT_NE(f.processor.GetDepthArray(0), nullptr);
    EXPECT_FLOAT_EQ(f.processor.GetDepthArray(0)[7], 2.55f * Image::ByteToChannel(7));
    EXPECT_EQ(f.processor.GetDepthMax(), 2.55f);
    EXPECT_EQ(f.processor.GetDepthRange(), 2.55f);
    EXPECT_NE(f.processor.GetDepthEditor(), nullptr);

    const float* d = f.processor.GetDepthArray(0);
    EXPECT_EQ(f.processor.GetDepthAt(1.0f, 1.0f), 0.1f * d[19]); // the last pixel
    EXPECT_EQ(f.processor.GetDepthAt(0.0f, 0.0f), 0.1f * d[0]);
    EXPECT_EQ(f.processor.GetDepthAt(0.6f, 0.5f), 0.1f * d[1 * 5 + 2]);
    EXPECT_EQ(f.processor.GetDepthAt(1.3f, 0.5f), 0.0f);
    EXPECT_EQ(f.processor.GetDepthAt(0.5f, std::numeric_limits<float>::quiet_NaN()), 0.0f);
}

TEST(Depth, TheWrittenRangeIgnoresTransparentPixelsButStartsFromTheFirst)
{
    Fixture f;
    f.Allocate(4, 3);
    const std::vector<float> depth = {5.0f, 1.0f, 2.0f, 100.0f, 1.5f, 1.5f,
                                      1.5f, 1.5f, 3.0f, 1.5f,   1.5f, 1.5f};
    std::copy(depth.begin(), depth.end(), f.processor.GetDepthArray(0));
    // Pixels 0 and 3 transparent.
    f.Set(ImageType::Diffuse,
          MakeImage(4, 3, [](int x, int y) { return Colour(1, 1, 1, y == 0 && x % 3 == 0 ? 0.0f : 0.5f); }));
    f.processor.PopulateDepthMapFromArray();
    EXPECT_EQ(f.processor.GetDepthMin(), 1.0f);
    EXPECT_EQ(f.processor.GetDepthMax(), 5.0f); // seeded by the transparent first pixel, not 100
    const Image* map = f.processor.GetImage(ImageType::Depth);
    for (const int x : {0, 1, 3})
        EXPECT_EQ(map->GetPixel(x, 0).GetAsString(), "(0, 0, 0, 255)") << x;
    EXPECT_EQ(map->GetPixel(0, 2).GetAsString(), "(127, 127, 127, 255)");

    // A diffuse map of another size masks nothing.
    f.processor.SetImage(new Image(3, 3), ImageType::Diffuse);
    f.processor.PopulateDepthMapFromArray();
    EXPECT_EQ(f.processor.GetDepthMax(), 100.0f);
}

// Edge flags are set through the arrays EdgeArray hands out.
TEST(Depth, EdgesCutLinksOnlyAtFullResolutionAndWhenAsked)
{
    Fixture f;
    f.Allocate(6, 4);
    ASSERT_EQ(f.processor.GetMipCount(), 2);
    EdgeArray edges(6, 4);
    std::mt19937 random(11);
    for (int i = 0; i < 24; ++i)
    {
        edges.GetXEdges()[i] = random() % 3 == 0;
        edges.GetYEdges()[i] = random() % 3 == 0;
    }
    for (int level = 0; level < 2; ++level)
    {
        const std::vector<Vector3D> normals = RandomNormals(random, f.NormalLevel(level).size());
        std::copy(normals.begin(), normals.end(), f.processor.GetNormalArray(level));
    }
    std::vector<float> cut(24, 0.0f), uncut(24, 0.0f);
    ReferenceRefineDepth(cut, f.NormalLevel(0), 6, 4, 4, edges.GetXEdges(), edges.GetYEdges());
    ReferenceRefineDepth(uncut, f.NormalLevel(0), 6, 4, 4, nullptr, nullptr);
    ASSERT_FALSE(SameBits(cut, uncut));
    for (const bool respect : {true, false})
    {
        f.processor.ClearDepthMap();
        f.processor.RefineDepthFromNormal(4, 0, &edges, respect);
        EXPECT_TRUE(SameBits(f.DepthLevel(0), respect ? cut : uncut)) << respect;
    }

    // Below full resolution the same call ignores them (a 3 x 2 level cannot use 6 x 4 flags anyway,
    // so give it flags of its own size).
    EdgeArray small(3, 2);
    std::fill(small.GetXEdges(), small.GetXEdges() + 6, true);
    std::vector<float> expected1(6, 0.0f);
    ReferenceRefineDepth(expected1, f.NormalLevel(1), 3, 2, 4, nullptr, nullptr);
    f.processor.ClearDepthMap();
    f.processor.RefineDepthFromNormal(4, 1, &small, true);
    EXPECT_TRUE(SameBits(f.DepthLevel(1), expected1));
}
