#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/AOKernels.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessor.h"
#include "reference/ReferenceAO.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {
bool SameBits(const std::vector<float>& a, const std::vector<float>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

class ThreadCount
{
public:
    explicit ThreadCount(int n) { SetWorkerThreadCount(n); }
    ~ThreadCount() { SetWorkerThreadCount(0); }
};

struct Fixture
{
    RecordingLog log;
    std::vector<std::pair<std::string, std::string>> messages;
    ImageProcessor processor{[this](std::string m, std::string t) { messages.emplace_back(m, t); },
                             BRONDEL_RESOURCE_DIR, &log.output};

    void SetDepth(int w, int h, const std::function<float(int, int)>& depth)
    {
        processor.SetImage(MakeGrey(w, h, depth).release(), Depth);
        processor.ComputeBestDimensions();
    }
    float Brightness(int x, int y) const { return processor.GetImage(AO)->GetPixel(x, y).r; }
};
} // namespace

TEST(AOKernels, CountsMatchThePlainLoopBitForBit)
{
    std::mt19937 random(9);
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 4},  {5, 1},   {3, 2},
                                         {7, 5}, {12, 9}, {23, 31}, {121, 14}};
    const AOSettings settings[] = {
        {0.01f, 5, 1, 0.0f},  {-0.05f, 2, 1, 0.5f}, {0.03f, 1, 1, 1.0f},
        {0.01f, 0, 1, 0.0f},  {0.0f, 4, 3, 0.2f},   {0.02f, 2, 7, 0.0f}, // a step longer than the box
        {0.01f, -1, 1, 0.0f}, {0.01f, 9, 2, 0.3f},
    };
    for (const auto& [w, h] : sizes)
    {
        // Depth bytes as a map would hold them, with open sky here and there.
        std::vector<float> heights(static_cast<std::size_t>(w) * h);
        for (float& v : heights)
            v = random() % 9 == 0 ? 100.0f
                                  : 1.0f - Image::ByteToChannel(static_cast<std::uint8_t>(random() % 256));
        for (const AOSettings& s : settings)
        {
            const ReferenceAOResult expected = ReferenceAmbientOcclusion(
                heights, w, h, s.coneGradient, s.boxSize, s.stepSize, s.ambientLightFlatness);
            for (int threads = 1; threads <= 2; ++threads)
            {
                SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " box " +
                             std::to_string(s.boxSize) + " step " + std::to_string(s.stepSize) + " threads " +
                             std::to_string(threads));
                const ThreadCount scope(threads);
                std::vector<float> counts(heights.size());
                std::vector<std::string> progress;
                CountOpenProbes(heights.data(), w, h, s, counts.data(), [&](int x) {
                    progress.push_back(std::to_string(x * 100 / w) + "% finished.");
                });
                EXPECT_TRUE(SameBits(counts, expected.counts));
                EXPECT_EQ(progress, expected.progress);
                const AOExtent extent = FindAOExtent(counts.data(), counts.size());
                EXPECT_EQ(extent.minimum, expected.minimum);
                EXPECT_EQ(extent.maximum, expected.maximum);
                EXPECT_TRUE(SameBits(NormaliseAO(counts.data(), counts.size(), extent), expected.values));
            }
        }
    }
}

TEST(AOKernels, FlatGroundCountsEveryProbeButTheCentre)
{
    const std::vector<float> flat(30 * 20, 0.5f);
    std::vector<float> counts(flat.size());
    const auto countAt = [&](AOSettings s) {
        CountOpenProbes(flat.data(), 30, 20, s, counts.data(), nullptr);
        for (const float c : counts)
            if (c != counts[0])
                return -1.0f;
        return counts[0];
    };
    EXPECT_EQ(countAt({0.01f, 5, 1, 0.0f}), 120.0f);
    EXPECT_EQ(countAt({0.01f, 5, 2, 0.0f}), 36.0f); // offsets -5, -3, ..., 5 on each axis
    EXPECT_EQ(countAt({0.01f, 2, 5, 0.0f}), 1.0f);  // only (-2, -2)
    EXPECT_EQ(countAt({0.01f, 0, 1, 0.0f}), 0.0f);
    EXPECT_EQ(countAt({-0.01f, 5, 1, 0.0f}), 0.0f); // a cone pointing down sees nothing on the flat
}

TEST(AO, FlatDepthIsAllWhiteAboveAHundredProbesAndUndefinedBelow)
{
    Fixture f;
    f.SetDepth(20, 20, [](int, int) { return 0.5f; });
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f); // 120 open probes everywhere
    ASSERT_TRUE(f.processor.IsLoaded(AO));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(f.processor.GetImage(AO)->GetPixel(x, y).GetAsString(), "(255, 255, 255, 255)");

    // 48 probes: minimum and maximum are both 48 and the 0 / 0 is stored as black.
    f.processor.GenerateAOFromDepth(0.01f, 3, 1, 0.0f);
    EXPECT_EQ(f.processor.GetImage(AO)->GetPixel(7, 7).GetAsString(), "(0, 0, 0, 255)");
}

TEST(AO, CreasesAreDarkerThanRidgesAndFlats)
{
    Fixture f;
    // A V-shaped valley (furthest from the viewer at x = 10), a ridge at x = 30 and flat ground beyond.
    f.SetDepth(60, 20, [](int x, int) {
        if (x <= 20)
            return 0.3f + 0.03f * std::abs(x - 10);
        if (x <= 40)
            return 0.6f - 0.03f * std::abs(x - 30);
        return 0.3f;
    });
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
    EXPECT_LT(f.Brightness(10, 10), f.Brightness(50, 10));
    EXPECT_LT(f.Brightness(10, 10), f.Brightness(30, 10));
    EXPECT_EQ(f.Brightness(10, 10), f.Brightness(10, 3)); // the same along the valley
}

TEST(AO, FullyTransparentDiffusePixelsAreOpenSky)
{
    // Flat ground seen through a cone pointing down: nothing is open, except toward the hole.
    const auto run = [](Image* diffuse) {
        auto f = std::make_unique<Fixture>();
        f->SetDepth(40, 10, [](int, int) { return 0.5f; });
        if (diffuse)
            f->processor.SetImage(diffuse, Diffuse);
        f->processor.GenerateAOFromDepth(-0.01f, 5, 1, 0.0f);
        return f;
    };
    const auto hole = [](float alpha) {
        return MakeImage(40, 10, [=](int x, int) { return Colour(1, 1, 1, x < 10 ? alpha : 1.0f); })
            .release();
    };
    const auto withHole = run(hole(0.0f));
    EXPECT_GT(withHole->Brightness(12, 5), 0.0f);
    EXPECT_GT(withHole->Brightness(12, 5), withHole->Brightness(14, 5));
    EXPECT_EQ(withHole->Brightness(25, 5), 0.0f); // out of reach of the hole
    EXPECT_GT(withHole->Brightness(38, 5), 0.0f); // reaches it across the right border

    // Partly transparent pixels are solid, and a diffuse map of another size is ignored.
    const auto reference = run(nullptr);
    for (Image* diffuse : {hole(Image::ByteToChannel(1)), new Image(39, 10)})
    {
        const auto other = run(diffuse);
        EXPECT_TRUE(SameBytes(*other->processor.GetImage(AO), *reference->processor.GetImage(AO)));
    }
}

TEST(AO, ReportsProgressAndMatchesThePlainLoopEndToEnd)
{
    Fixture f;
    std::mt19937 random(4);
    f.SetDepth(120, 9,
               [&](int, int) { return Image::ByteToChannel(static_cast<std::uint8_t>(random() % 256)); });
    f.processor.SetImage(
        MakeImage(120, 9, [&](int, int) { return Colour(1, 1, 1, random() % 5 == 0 ? 0.0f : 1.0f); })
            .release(),
        Diffuse);
    f.processor.GenerateAOFromDepth(0.02f, 3, 1, 0.25f);
    EXPECT_EQ(f.log.lines, (std::vector<std::string>{"Generating AO map...", "Precalculations complete.",
                                                     "0% finished.", "41% finished.", "83% finished.",
                                                     "Ambient occlusion map complete."}));

    const std::vector<float> red = ReadChannel(*f.processor.GetImage(Depth), Channel::Red, 120, 9);
    const std::vector<std::uint8_t> alpha =
        ReadChannelBytes(*f.processor.GetImage(Diffuse), Channel::Alpha, 120, 9);
    const ReferenceAOResult expected =
        ReferenceAmbientOcclusion(ReferenceAOHeights(red, &alpha), 120, 9, 0.02f, 3, 1, 0.25f);
    std::unique_ptr<Image> expectedImage(MakeGreyImage(expected.values.data(), 120, 9));
    EXPECT_TRUE(SameBytes(*f.processor.GetImage(AO), *expectedImage));
}

TEST(AO, WithoutADepthMapTheUserIsToldAndNothingChanges)
{
    Fixture f;
    f.processor.SetImage(MakeGrey(8, 8, [](int, int) { return 0.5f; }).release(), Left);
    f.processor.ComputeBestDimensions();
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
    ASSERT_EQ(f.messages.size(), 1u);
    EXPECT_EQ(f.messages[0].first,
              "To generate ambient occlusion, you must have generated or loaded a depth map.");
    EXPECT_EQ(f.messages[0].second, "No depth map");
    EXPECT_TRUE(f.log.lines.empty());
    EXPECT_EQ(f.processor.GetImage(AO), nullptr);

    f.processor.SetMessageCallback(nullptr);
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f); // silently
    EXPECT_EQ(f.processor.GetImage(AO), nullptr);
}
