#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/ImageProcessor.h"
#include "reference/ReferenceAnisotropy.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {
struct Fixture
{
    RecordingLog log;
    std::vector<std::pair<std::string, std::string>> messages;
    ImageProcessor processor{
        [this](std::string text, std::string title) { messages.emplace_back(text, title); },
        BRONDEL_RESOURCE_DIR, &log.output};

    const Image& Generate(const Image& flow, int expansions, int format)
    {
        processor.SetImage(new Image(flow), Flow);
        processor.GenerateAnisotropyMap(expansions, format);
        return *processor.GetImage(Aniso);
    }
    Vector2D At(int x, int y)
    {
        return processor.GetAnisotropyArray()[y * processor.GetImage(Flow)->GetWidth() + x];
    }
};

std::array<int, 4> Bytes(const Image& image, int x, int y)
{
    const Colour c = image.GetPixel(x, y);
    return {static_cast<int>(std::lround(c.r * 255)), static_cast<int>(std::lround(c.g * 255)),
            static_cast<int>(std::lround(c.b * 255)), static_cast<int>(std::lround(c.a * 255))};
}

// What a zero vector (no grain) looks like in each format.
const std::array<std::array<int, 4>, 3> kNoGrain = {{{255, 127, 0, 255}, {127, 127, 0, 255}, {0, 0, 0, 255}}};

std::unique_ptr<Image> Noise(std::mt19937& random, int w, int h)
{
    std::uniform_int_distribution<int> byte(0, 255);
    return MakeGrey(w, h, [&](int, int) { return byte(random) / 255.0f; });
}
} // namespace

TEST(Anisotropy, AFlatFlowMapHasNoGrainInAnyFormat)
{
    const auto flat = MakeGrey(6, 5, [](int, int) { return 0.3f; });
    for (int format = 0; format < 3; ++format)
        for (const int expansions : {0, 1})
        {
            Fixture f;
            const Image& map = f.Generate(*flat, expansions, format);
            ASSERT_EQ(map.GetWidth(), 6);
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 6; ++x)
                {
                    EXPECT_EQ(f.At(x, y), Vector2D(0, 0));
                    EXPECT_EQ(Bytes(map, x, y), kNoGrain[format]) << format << " at " << x << "," << y;
                }
        }
}

TEST(Anisotropy, GrainRunsAcrossTheGradientWhicheverWayItRises)
{
    // Brightness changing down the image: horizontal grain, whether it rises or falls.
    Fixture down;
    Fixture up;
    const auto rampDown = MakeGrey(8, 8, [](int, int y) { return y * 20 / 255.0f; });
    const auto rampUp = MakeGrey(8, 8, [](int, int y) { return (255 - y * 20) / 255.0f; });
    const Image& downMap = down.Generate(*rampDown, 0, 0);
    up.Generate(*rampUp, 0, 0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 8; ++x)
        {
            EXPECT_NEAR(down.At(x, y).x, up.At(x, y).x, 1e-6f);
            EXPECT_NEAR(down.At(x, y).y, up.At(x, y).y, 1e-6f);
            EXPECT_NEAR(down.At(x, y).x, 40 / 255.0f, 1e-6f); // strength: two rows of 20 steps each
            EXPECT_EQ(Bytes(downMap, x, y)[0], 255);
            EXPECT_EQ(Bytes(downMap, x, y)[1], 127);
        }

    // Brightness changing across the image: vertical grain, pointing up or down.
    Fixture across;
    const Image& acrossMap = across.Generate(*MakeGrey(8, 8, [](int x, int) { return x / 8.0f; }), 0, 0);
    EXPECT_LT(across.At(3, 3).x, -0.2f);
    EXPECT_EQ(Bytes(acrossMap, 3, 3)[0], 127);
    EXPECT_GE(std::abs(Bytes(acrossMap, 3, 3)[1] - 127), 127);

    // The orientation-angle format spends its grey range on half a turn: horizontal 0, vertical near 0.25.
    Fixture angle;
    const Image& angleMap = angle.Generate(*MakeGrey(8, 8, [](int x, int) { return x / 8.0f; }), 0, 2);
    EXPECT_NEAR(angleMap.GetPixel(3, 3).r, 0.25f, 2 / 255.0f);
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

    std::mt19937 random(3);
    const auto noise = Noise(random, 12, 10);
    for (int format = 0; format < 3; ++format)
        for (const int expansions : {1, 3})
        {
            Fixture g;
            const Image& map = g.Generate(*noise, expansions, format);
            bool interiorHasGrain = false;
            for (int y = 0; y < 10; ++y)
                for (int x = 0; x < 12; ++x)
                {
                    const bool frame = x < 2 || y < 2 || x >= 10 || y >= 8;
                    if (frame)
                        EXPECT_EQ(Bytes(map, x, y), kNoGrain[format]) << x << "," << y;
                    else
                        interiorHasGrain |= Bytes(map, x, y) != kNoGrain[format];
                }
            EXPECT_TRUE(interiorHasGrain);
        }

    // Four pixels across is all frame.
    Fixture narrow;
    const Image& map = narrow.Generate(*Noise(random, 4, 9), 1, 1);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(Bytes(map, x, y), kNoGrain[1]);
}

TEST(Anisotropy, OnlyTheAngleDoubledFormatNormalisesTheArray)
{
    std::mt19937 random(5);
    const auto noise = Noise(random, 16, 16);
    Fixture doubled;
    doubled.Generate(*noise, 2, 1);
    Fixture standard;
    standard.Generate(*noise, 2, 0);
    int normalised = 0;
    int untouched = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
        {
            const float length = doubled.At(x, y).GetMagnitude();
            if (length > 0.001f)
            {
                EXPECT_NEAR(length, 1.0f, 1e-5f);
                ++normalised;
            }
            if (std::abs(standard.At(x, y).GetMagnitude() - 1.0f) > 0.01f)
                ++untouched;
        }
    EXPECT_GT(normalised, 100);
    EXPECT_GT(untouched, 100);
}

TEST(Anisotropy, ReportsAMissingFlowMapAndLogsEachStep)
{
    Fixture f;
    f.processor.GenerateAnisotropyMap(2, 0);
    ASSERT_EQ(f.messages.size(), 1u);
    EXPECT_EQ(f.messages[0].first, "To generate an anisotropy map, you need to load a flow map.");
    EXPECT_EQ(f.messages[0].second, "No flow map");
    EXPECT_FALSE(f.processor.IsLoaded(Aniso));
    EXPECT_TRUE(f.log.lines.empty());

    f.Generate(*MakeGrey(5, 5, [](int x, int) { return x / 5.0f; }), 2, 0);
    const std::vector<std::string> expected = {"Beginning generation of anisotropy map...",
                                               "Initial flow analysis complete.",
                                               "Anisotropy reduction complete. Expanding values...",
                                               "Expansion 1 of 2 completed.",
                                               "Expansion 2 of 2 completed.",
                                               "Anisotropy map completed."};
    EXPECT_EQ(f.log.lines, expected);
    EXPECT_TRUE(f.processor.IsLoaded(Aniso));
}

TEST(AnisotropyFast, MatchesTheReferenceByteForByte)
{
    std::mt19937 random(11);
    std::uniform_int_distribution<int> byte(0, 255);
    const auto rings = [&](int w, int h, bool wrapX, bool wrapY) {
        // Concentric rings with noise, and a flat patch where the gradient vanishes.
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
        SetWorkerThreadCount(threads);
        for (const auto& [w, h, wrapX, wrapY] :
             {std::tuple{31, 17, false, false}, std::tuple{16, 24, true, false},
              std::tuple{9, 6, false, true}, std::tuple{1, 1, true, true}, std::tuple{3, 7, true, true}})
        {
            const auto flow = rings(w, h, wrapX, wrapY);
            for (const int format : {0, 1, 2, 7})
                for (const int expansions : {0, 1, 2})
                {
                    std::vector<Vector2D> expectedValues;
                    const auto expected = ReferenceAnisotropyMap(*flow, expansions, format, &expectedValues);
                    Fixture f;
                    const Image& map = f.Generate(*flow, expansions, format);
                    EXPECT_TRUE(SameBytes(map, *expected)) << w << "x" << h << " format " << format << " x"
                                                           << expansions << " threads " << threads;
                    EXPECT_EQ(std::memcmp(f.processor.GetAnisotropyArray(), expectedValues.data(),
                                          expectedValues.size() * sizeof(Vector2D)),
                              0);
                }
        }
    }
    SetWorkerThreadCount(0);
}
