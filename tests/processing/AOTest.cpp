#include "core/Image.h"
#include "processing/AOKernels.h"
#include "processing/ImageBuffers.h"
#include "reference/ReferenceAO.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {
struct Fixture : ProcessorFixture
{
    void SetDepth(int w, int h, const std::function<float(int, int)>& depth)
    {
        Set(ImageType::Depth, MakeGrey(w, h, depth));
        processor.ComputeBestDimensions();
    }
    float Brightness(int x, int y) const { return processor.GetImage(ImageType::AO)->GetPixel(x, y).r; }
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
                SCOPED_TRACE(testing::Message() << w << "x" << h << " box " << s.boxSize << " step "
                                                << s.stepSize << " threads " << threads);
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

TEST(AO, FlatGroundCountsEveryProbeButTheCentre)
{
    const std::vector<float> flat(30 * 20, 0.5f);
    std::vector<float> counts(flat.size());
    const auto countAt = [&](AOSettings s) {
        CountOpenProbes(flat.data(), 30, 20, s, counts.data(), nullptr);
        const bool uniform =
            std::all_of(counts.begin(), counts.end(), [&](float c) { return c == counts[0]; });
        return uniform ? counts[0] : -1.0f;
    };
    EXPECT_EQ(countAt({0.01f, 5, 1, 0.0f}), 120.0f);
    EXPECT_EQ(countAt({0.01f, 5, 2, 0.0f}), 36.0f); // offsets -5, -3, ..., 5 on each axis
    EXPECT_EQ(countAt({0.01f, 2, 5, 0.0f}), 1.0f);  // only (-2, -2)
    EXPECT_EQ(countAt({0.01f, 0, 1, 0.0f}), 0.0f);
    EXPECT_EQ(countAt({-0.01f, 5, 1, 0.0f}), 0.0f); // a cone pointing down sees nothing on the flat

    // Through the processor, 120 open probes everywhere is all white, while 48 everywhere makes the
    // minimum equal the maximum and the 0 / 0 is stored as black.
    Fixture f;
    f.SetDepth(20, 20, [](int, int) { return 0.5f; });
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::AO));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(f.processor.GetImage(ImageType::AO)->GetPixel(x, y).GetAsString(),
                      "(255, 255, 255, 255)");
    f.processor.GenerateAOFromDepth(0.01f, 3, 1, 0.0f);
    EXPECT_EQ(f.processor.GetImage(ImageType::AO)->GetPixel(7, 7).GetAsString(), "(0, 0, 0, 255)");
}

TEST(AO, CreasesAreDarkerThanRidgesAndFlats)
{
    Fixture f;
    // A V-shaped valley (furthest from the viewer at x = 10), a ridge at x = 30 and flat ground beyond.
    f.SetDepth(60, 20, [](int x, int) {
        return x <= 20 ? 0.3f + 0.03f * std::abs(x - 10) : x <= 40 ? 0.6f - 0.03f * std::abs(x - 30) : 0.3f;
    });
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
    EXPECT_LT(f.Brightness(10, 10), f.Brightness(50, 10));
    EXPECT_LT(f.Brightness(10, 10), f.Brightness(30, 10));
    EXPECT_EQ(f.Brightness(10, 10), f.Brightness(10, 3)); // the same along the valley
}

TEST(AO, ReportsProgressAndMatchesThePlainLoopEndToEnd)
{
    Fixture f;
    f.Set(ImageType::Left, MakeFlat(120, 9, 0.5f));
    f.processor.ComputeBestDimensions();
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
    EXPECT_EQ(f.messages,
              (Messages{{"To generate ambient occlusion, you must have generated or loaded a depth map.",
                         "No depth map"}}));
    EXPECT_TRUE(f.log.lines.empty());
    EXPECT_EQ(f.processor.GetImage(ImageType::AO), nullptr);
    f.processor.SetMessageCallback(nullptr);
    f.processor.GenerateAOFromDepth(0.01f, 5, 1, 0.0f); // silently
    EXPECT_EQ(f.processor.GetImage(ImageType::AO), nullptr);

    // Transparent pixels are open sky; one step above transparent is already solid.
    std::mt19937 random(4);
    f.SetDepth(120, 9,
               [&](int, int) { return Image::ByteToChannel(static_cast<std::uint8_t>(random() % 256)); });
    f.Set(ImageType::Diffuse, MakeImage(120, 9, [&](int, int) {
              const unsigned kind = random() % 5;
              return Colour(1, 1, 1, kind == 0 ? 0.0f : kind == 1 ? Image::ByteToChannel(1) : 1.0f);
          }));
    f.processor.GenerateAOFromDepth(0.02f, 3, 1, 0.25f);
    EXPECT_EQ(f.log.lines, (std::vector<std::string>{"Generating AO map...", "Precalculations complete.",
                                                     "0% finished.", "41% finished.", "83% finished.",
                                                     "Ambient occlusion map complete."}));
    const std::vector<float> red =
        Plain(ReadChannel(*f.processor.GetImage(ImageType::Depth), Channel::Red, 120, 9));
    const auto expect = [&](const std::vector<std::uint8_t>* alpha) {
        const ReferenceAOResult expected =
            ReferenceAmbientOcclusion(ReferenceAOHeights(red, alpha), 120, 9, 0.02f, 3, 1, 0.25f);
        return std::unique_ptr<Image>(MakeGreyImage(expected.values.data(), 120, 9));
    };
    const std::vector<std::uint8_t> alpha =
        Plain(ReadChannelBytes(*f.processor.GetImage(ImageType::Diffuse), Channel::Alpha, 120, 9));
    EXPECT_TRUE(SameBytes(*f.processor.GetImage(ImageType::AO), *expect(&alpha)));

    // A diffuse map of another size masks nothing.
    f.processor.SetImage(new Image(119, 9), ImageType::Diffuse);
    f.processor.GenerateAOFromDepth(0.02f, 3, 1, 0.25f);
    EXPECT_TRUE(SameBytes(*f.processor.GetImage(ImageType::AO), *expect(nullptr)));
}
