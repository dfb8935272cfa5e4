#include "core/Image.h"
#include "processing/AnisotropyKernels.h"
#include "reference/ReferenceAnisotropy.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <tuple>

namespace {
struct Fixture : ProcessorFixture
{
    const Image& Generate(const Image& flow, int expansions, int format)
    {
        processor.SetImage(new Image(flow), ImageType::Flow);
        processor.GenerateAnisotropyMap(expansions, format);
        return *processor.GetImage(ImageType::Aniso);
    }
    Vector2D At(int x, int y)
    {
        return processor.GetAnisotropyArray()[y * processor.GetImage(ImageType::Flow)->GetWidth() + x];
    }
};

std::string Pixel(const Image& image, int x, int y)
{
    return image.GetPixel(x, y).GetAsString();
}

// What a zero vector (no grain) looks like in each format.
const char* const kNoGrain[] = {"(255, 127, 0, 255)", "(127, 127, 0, 255)", "(0, 0, 0, 255)"};

std::unique_ptr<Image> Noise(std::mt19937& random, int w, int h)
{
    std::uniform_int_distribution<int> byte(0, 255);
    return MakeGrey(w, h, [&](int, int) { return byte(random) / 255.0f; });
}
} // namespace

TEST(Anisotropy, GrainRunsAcrossTheGradientWhicheverWayItRises)
{
    // Brightness changing down the image: horizontal grain, whether it rises or falls.
    Fixture down;
    Fixture up;
    const Image& downMap = down.Generate(*MakeGrey(8, 8, [](int, int y) { return y * 20 / 255.0f; }), 0, 0);
    up.Generate(*MakeGrey(8, 8, [](int, int y) { return (255 - y * 20) / 255.0f; }), 0, 0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 8; ++x)
        {
            EXPECT_NEAR(down.At(x, y).x, up.At(x, y).x, 1e-6f);
            EXPECT_NEAR(down.At(x, y).y, up.At(x, y).y, 1e-6f);
            EXPECT_NEAR(down.At(x, y).x, 40 / 255.0f, 1e-6f); // strength: two rows of 20 steps each
            EXPECT_EQ(Pixel(downMap, x, y), "(255, 127, 0, 255)");
        }

    // Brightness changing across the image: vertical grain, pointing up or down.
    const auto across = MakeGrey(8, 8, [](int x, int) { return x / 8.0f; });
    Fixture vector;
    const Image& vectorMap = vector.Generate(*across, 0, 0);
    EXPECT_LT(vector.At(3, 3).x, -0.2f);
    EXPECT_EQ(Image::ChannelToByte(vectorMap.GetPixel(3, 3).r), 127);
    EXPECT_GE(std::abs(Image::ChannelToByte(vectorMap.GetPixel(3, 3).g) - 127), 127);

    // The orientation-angle format spends its grey range on half a turn: horizontal 0, vertical near 0.25.
    Fixture angle;
    EXPECT_NEAR(angle.Generate(*across, 0, 2).GetPixel(3, 3).r, 0.25f, 2 / 255.0f);
}

TEST(Anisotropy, ExpansionAveragesAndLosesATwoPixelFrame)
{
    // A single value spreads over its 3x3 block as the mean.
    Fixture f;
    std::vector<Vector2D> impulse(81);
    impulse[4 * 9 + 4] = Vector2D(9.0f, -18.0f);
    f.processor.ExpandAnisotropyArray(impulse.data(), 9, 9);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x)
        {
            const bool inside = std::abs(x - 4) <= 1 && std::abs(y - 4) <= 1;
            EXPECT_EQ(impulse[y * 9 + x], inside ? Vector2D(1.0f, -2.0f) : Vector2D(0, 0)) << x << "," << y;
        }

    // Expansion zeroes a two-pixel frame, so four pixels across is all frame: each format's zero vector.
    std::mt19937 random(3);
    for (int format = 0; format < 3; ++format)
    {
        Fixture narrow;
        const Image& map = narrow.Generate(*Noise(random, 4, 9), 1, format);
        const std::string none = kNoGrain[format];
        for (int y = 0; y < 9; ++y)
            EXPECT_EQ(RowText(map, y), none + none + none + none) << format;
    }
}

TEST(Anisotropy, ReportsAMissingFlowMapAndLogsEachStep)
{
    Fixture f;
    f.processor.GenerateAnisotropyMap(2, 0);
    EXPECT_EQ(f.messages,
              (Messages{{"To generate an anisotropy map, you need to load a flow map.", "No flow map"}}));
    EXPECT_FALSE(f.processor.IsLoaded(ImageType::Aniso));
    EXPECT_TRUE(f.log.lines.empty());

    f.Generate(*MakeGrey(5, 5, [](int x, int) { return x / 5.0f; }), 2, 0);
    EXPECT_EQ(f.log.lines,
              (std::vector<std::string>{
                  "Beginning generation of anisotropy map...", "Initial flow analysis complete.",
                  "Anisotropy reduction complete. Expanding values...", "Expansion 1 of 2 completed.",
                  "Expansion 2 of 2 completed.", "Anisotropy map completed."}));
    EXPECT_TRUE(f.processor.IsLoaded(ImageType::Aniso));
}

TEST(AnisotropyFast, MatchesTheReferenceByteForByte)
{
    std::mt19937 random(11);
    std::uniform_int_distribution<int> byte(0, 255);
    // Concentric rings with noise, and a flat patch where the gradient vanishes.
    const auto rings = [&](int w, int h, bool wrapX, bool wrapY) {
        auto image = MakeGrey(w, h, [&](int x, int y) {
            if (x < w / 4 && y < h / 4)
                return 0.5f;
            const float r = std::hypot(x - w * 0.5f, y - h * 0.4f);
            return std::clamp(0.5f + 0.4f * std::sin(r * 0.7f) + (byte(random) - 128) / 4096.0f, 0.0f, 1.0f);
        });
        image->wrapX = wrapX;
        image->wrapY = wrapY;
        return image;
    };
    for (const int threads : {1, 2})
    {
        const ThreadCount scope(threads);
        for (const auto& [w, h, wrapX, wrapY] :
             {std::tuple{31, 17, false, false}, std::tuple{16, 24, true, false},
              std::tuple{9, 6, false, true}, std::tuple{1, 1, true, true}, std::tuple{3, 7, true, true},
              std::tuple{40, 83, false, false}, std::tuple{12, 13, true, true}})
        {
            const auto flow = rings(w, h, wrapX, wrapY);
            for (const int format : {0, 1, 2, 7})
                for (const int expansions : {0, 1, 2, 5})
                {
                    std::vector<Vector2D> expectedValues;
                    const auto expected = ReferenceAnisotropyMap(*flow, expansions, format, &expectedValues);
                    Fixture f;
                    EXPECT_TRUE(SameBytes(f.Generate(*flow, expansions, format), *expected))
                        << w << "x" << h << " format " << format << " x" << expansions << " threads "
                        << threads;
                    EXPECT_EQ(std::memcmp(f.processor.GetAnisotropyArray(), expectedValues.data(),
                                          expectedValues.size() * sizeof(Vector2D)),
                              0);
                    // A batch run keeps no array, and must not make the map any differently for it.
                    Fixture batch;
                    batch.processor.SetBatchMode(true);
                    EXPECT_TRUE(SameBytes(batch.Generate(*flow, expansions, format), *expected));
                }
        }
    }
}

TEST(AnisotropyFast, StandardFormatAgreesWithTheReferenceOnNoise)
{
    // Noise gives vectors of every direction and strength, a few hundred thousand of them, so values
    // that fall near a byte boundary, where the quick encoding must defer to the exact one, are met
    // by the thousand.
    std::mt19937 random(5);
    const auto flow = Noise(random, 400, 300);
    for (const int expansions : {0, 1})
    {
        Fixture f;
        EXPECT_TRUE(
            SameBytes(f.Generate(*flow, expansions, 0), *ReferenceAnisotropyMap(*flow, expansions, 0)))
            << expansions << " expansions";
    }
}

// A batch run reads only the red channel of the flow map, kept on its own; the map must come out as from
// the whole image, whatever the other channels hold, in every format, including the clamped last row
// and column.
TEST(Anisotropy, FlowMapKeptAsItsRedChannelGivesTheSameMap)
{
    TempFolder folder;
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    const auto flow = MakeImage(37, 23, [&](int x, int y) {
        const int v = (x * 9 + y * y * 3) % 256;
        return Colour(v / 255.0f, byte(random) / 255.0f, byte(random) / 255.0f, 1.0f);
    });
    ASSERT_TRUE(flow->SaveToDisk(folder.File("S_Flow.png")));
    for (const int format :
         {AnisotropyFormat::StandardVectorFormat, AnisotropyFormat::AngleDoubledVectorFormat,
          AnisotropyFormat::OrientationAngleFormat})
        for (const int expansions : {0, 2})
        {
            Fixture whole;
            ProcessorFixture red;
            red.processor.SetBatchMode(true);
            red.processor.LoadRedChannelByName(ImageType::Flow, folder.File("S_Flow.png"));
            ASSERT_TRUE(red.processor.HoldsRedOnly(ImageType::Flow));
            EXPECT_EQ(red.processor.GetGenerationSize(ImageType::Aniso), (std::pair<int, int>{37, 23}));
            red.processor.GenerateAnisotropyMap(expansions, format);
            EXPECT_TRUE(SameBytes(whole.Generate(*flow, expansions, format),
                                  *red.processor.GetImage(ImageType::Aniso)))
                << "format " << format << ", " << expansions << " expansions";
        }
}
