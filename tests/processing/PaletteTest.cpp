#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/ImageProcessor.h"
#include "reference/ReferencePalette.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>

namespace {
struct Fixture
{
    RecordingLog log;
    std::vector<std::pair<std::string, std::string>> messages;
    ImageProcessor processor{
        [this](std::string text, std::string title) { messages.emplace_back(text, title); },
        BRONDEL_RESOURCE_DIR, &log.output};
};

int Byte(float channel)
{
    return static_cast<int>(std::lround(channel * 255.0f));
}

Colour FromBytes(int r, int g, int b, float a = 1.0f)
{
    return {r / 255.0f, g / 255.0f, b / 255.0f, a};
}

void ExpectBytes(const Image& image, int x, int y, int r, int g, int b, int a = 255)
{
    const Colour c = image.GetPixel(x, y);
    EXPECT_EQ(Byte(c.r), r) << "at " << x << "," << y;
    EXPECT_EQ(Byte(c.g), g) << "at " << x << "," << y;
    EXPECT_EQ(Byte(c.b), b) << "at " << x << "," << y;
    EXPECT_EQ(Byte(c.a), a) << "at " << x << "," << y;
}

// n colours far enough apart never to be merged: 17 steps in two channels, then blue for the rest.
Colour Distinct(int i)
{
    return FromBytes(i % 16 * 17, i / 16 % 16 * 17, i / 256 * 255);
}
} // namespace

TEST(Palette, ThreeColoursGiveAFourWidePaletteAndCentredCodes)
{
    Fixture f;
    const Colour mid = FromBytes(127, 51, 51);
    const Colour dark = FromBytes(25, 25, 76);
    const Colour light = FromBytes(229, 204, 25);
    f.processor.SetImage(MakeImage(3, 2,
                                   [&](int x, int y) {
                                       if (y == 0)
                                           return x == 0 ? mid : x == 1 ? dark : light;
                                       // Partly and fully transparent copies: the palette ignores alpha.
                                       Colour c = x == 0 ? light : dark;
                                       c.a = x == 0 ? 0.5f : 0.0f;
                                       return x == 2 ? mid : c;
                                   })
                             .release(),
                         Diffuse);
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(4, false));
    EXPECT_TRUE(f.log.Contains("Found 3 unique colours in diffuse map."));

    const Image& palette = *f.processor.GetImage(Palette);
    ASSERT_EQ(palette.GetWidth(), 4);
    ASSERT_EQ(palette.GetHeight(), 4);
    EXPECT_FALSE(palette.GetVerticalWrap());
    for (int y = 0; y < 4; ++y)
    {
        ExpectBytes(palette, 0, y, 25, 25, 76); // darkest first
        ExpectBytes(palette, 1, y, 127, 51, 51);
        ExpectBytes(palette, 2, y, 229, 204, 25);
        ExpectBytes(palette, 3, y, 0, 0, 0); // opaque black filler
    }

    f.processor.GeneratePaletteIndex();
    ASSERT_TRUE(f.processor.IsLoaded(Index));
    const Image& index = *f.processor.GetImage(Index);
    ExpectBytes(index, 0, 0, 95, 95, 95);
    ExpectBytes(index, 1, 0, 31, 31, 31);
    ExpectBytes(index, 2, 0, 159, 159, 159);
    ExpectBytes(index, 2, 1, 95, 95, 95);
    ExpectBytes(index, 0, 1, 0, 0, 0); // half transparent: matches no opaque palette colour
    ExpectBytes(index, 1, 1, 0, 0, 0);
    EXPECT_TRUE(f.messages.empty());
}

TEST(Palette, AtMost256ColoursAreAccepted)
{
    Fixture f;
    f.processor.SetImage(MakeImage(16, 16, [](int x, int y) { return Distinct(y * 16 + x); }).release(),
                         Diffuse);
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(2, false));
    const Image* accepted = f.processor.GetImage(Palette);
    EXPECT_EQ(accepted->GetWidth(), 256);

    // One more colour is refused, and the palette already made stays.
    f.processor.SetImage(MakeImage(257, 1, [](int x, int) { return Distinct(x); }).release(), Diffuse);
    EXPECT_FALSE(f.processor.CreatePaletteFromDiffuseMap(2, false));
    ASSERT_EQ(f.messages.size(), 1u);
    EXPECT_EQ(f.messages[0].first, "Found 257 unique colours in this image. Max is 256.");
    EXPECT_EQ(f.messages[0].second, "Too many colours");
    EXPECT_TRUE(f.log.Contains("Found 257 unique colours in diffuse map."));
    EXPECT_FALSE(f.log.Contains("No palette generated - max palette colour count is 256."));
    EXPECT_EQ(f.processor.GetImage(Palette), accepted);

    // With nobody to show a message to, the refusal goes to the log.
    RecordingLog log;
    ImageProcessor batch(nullptr, BRONDEL_RESOURCE_DIR, &log.output);
    batch.SetImage(MakeImage(257, 1, [](int x, int) { return Distinct(x); }).release(), Diffuse);
    EXPECT_FALSE(batch.CreatePaletteFromDiffuseMap(2, false));
    EXPECT_TRUE(log.Contains("No palette generated - max palette colour count is 256."));
    EXPECT_FALSE(batch.IsLoaded(Palette));
}

TEST(Palette, SampleLightingFadesFromWhiteThroughTheColourToBlack)
{
    const Colour c = FromBytes(102, 51, 153);
    const auto paletteOf = [&](int height) {
        Fixture f;
        f.processor.SetImage(MakeImage(2, 2, [&](int, int) { return c; }).release(), Diffuse);
        EXPECT_TRUE(f.processor.CreatePaletteFromDiffuseMap(height, true));
        return Image(*f.processor.GetImage(Palette));
    };

    const Image tall = paletteOf(8);
    ASSERT_EQ(tall.GetWidth(), 1);
    ExpectBytes(tall, 0, 0, 255, 255, 255);
    ExpectBytes(tall, 0, 3, 102, 51, 153); // the two middle rows hold the colour itself
    ExpectBytes(tall, 0, 4, 102, 51, 153);
    ExpectBytes(tall, 0, 7, 0, 0, 0);
    for (int y = 1; y < 8; ++y)
    {
        EXPECT_LE(tall.GetPixel(0, y).GetBrightness(), tall.GetPixel(0, y - 1).GetBrightness()) << y;
        EXPECT_FLOAT_EQ(tall.GetPixel(0, y).a, 1.0f);
    }
    EXPECT_GT(Byte(tall.GetPixel(0, 1).b), 153);
    EXPECT_LT(Byte(tall.GetPixel(0, 1).b), 255);
    EXPECT_GT(Byte(tall.GetPixel(0, 6).b), 0);
    EXPECT_LT(Byte(tall.GetPixel(0, 6).b), 153);

    // Too short to hold a white row: one or two rows are the colour, a third is already black.
    ExpectBytes(paletteOf(1), 0, 0, 102, 51, 153);
    const Image two = paletteOf(2);
    ExpectBytes(two, 0, 0, 102, 51, 153);
    ExpectBytes(two, 0, 1, 102, 51, 153);
    const Image three = paletteOf(3);
    ExpectBytes(three, 0, 1, 102, 51, 153);
    ExpectBytes(three, 0, 2, 0, 0, 0);
}

TEST(Palette, CloseColoursMergeOnlyWithTheSameHashAndTheFirstMetWins)
{
    const Colour grey = FromBytes(100, 100, 100);
    const Colour a = FromBytes(101, 100, 100);
    const Colour b = FromBytes(102, 100, 100);
    // All three are within the equality tolerance of their neighbour; only a and b share a hash.
    ASSERT_TRUE(a == b && grey == a);
    ASSERT_EQ(ColourHash()(a), ColourHash()(b));
    ASSERT_NE(ColourHash()(grey), ColourHash()(a));

    // Column by column, b (below grey) is met before a (right of grey).
    Fixture f;
    f.processor.SetImage(
        MakeImage(2, 2, [&](int x, int y) { return x == 0 ? (y == 0 ? grey : b) : (y == 0 ? a : grey); })
            .release(),
        Diffuse);
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(1, false));
    const Image& palette = *f.processor.GetImage(Palette);
    ASSERT_EQ(palette.GetWidth(), 2);
    ExpectBytes(palette, 0, 0, 100, 100, 100);
    ExpectBytes(palette, 1, 0, 102, 100, 100);

    // The index search ignores hashes and takes the first equal column: a and even b land on grey's.
    f.processor.GeneratePaletteIndex();
    const Image& index = *f.processor.GetImage(Index);
    ExpectBytes(index, 1, 0, 63, 63, 63);
    ExpectBytes(index, 0, 1, 63, 63, 63);
}

TEST(Palette, IndexReadsTheRowAboveTheMiddleOfAnyPalette)
{
    Fixture f;
    f.processor.GeneratePaletteIndex();
    EXPECT_FALSE(f.processor.CreatePaletteFromDiffuseMap(4, false));
    ASSERT_EQ(f.messages.size(), 2u);
    EXPECT_EQ(f.messages[0], std::make_pair(std::string("To generate an index map, you have to have both a "
                                                        "palette and a diffuse map loaded."),
                                            std::string("Missing palette or diffuse map")));
    EXPECT_EQ(f.messages[1],
              std::make_pair(std::string("You need to load a diffuse map in order to generate a "
                                         "palette map."),
                             std::string("No diffuse map")));
    EXPECT_FALSE(f.processor.IsLoaded(Index));

    // A hand-made palette five rows high: row 1 holds the plain colours, the others decoys.
    const Colour red = FromBytes(200, 0, 0);
    const Colour green = FromBytes(0, 200, 0);
    const Colour decoy = FromBytes(0, 0, 200);
    f.processor.SetImage(
        MakeImage(2, 5, [&](int x, int y) { return y == 1 ? (x == 0 ? red : green) : decoy; }).release(),
        Palette);
    f.processor.SetImage(
        MakeImage(3, 1, [&](int x, int) { return x == 0   ? green
                                                 : x == 1 ? red
                                                          : decoy; }).release(),
        Diffuse);
    f.processor.GeneratePaletteIndex();
    ExpectBytes(*f.processor.GetImage(Index), 0, 0, 191, 191, 191);
    ExpectBytes(*f.processor.GetImage(Index), 1, 0, 63, 63, 63);
    ExpectBytes(*f.processor.GetImage(Index), 2, 0, 0, 0, 0);

    // One row high: the row above the middle is row -1, which lands on row 0.
    for (const bool wrap : {false, true})
    {
        auto flat = MakeImage(2, 1, [&](int x, int) { return x == 0 ? red : green; });
        flat->wrapY = wrap;
        f.processor.SetImage(flat.release(), Palette);
        f.processor.GeneratePaletteIndex();
        ExpectBytes(*f.processor.GetImage(Index), 0, 0, 191, 191, 191);
        ExpectBytes(*f.processor.GetImage(Index), 1, 0, 63, 63, 63);
    }
}

TEST(PaletteFast, MatchesTheReferenceByteForByte)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> nudge(-2, 2);
    std::vector<Colour> bases;
    for (int i = 0; i < 40; ++i)
        bases.push_back(FromBytes(byte(random), byte(random), byte(random)));
    // Near-duplicates of a few base colours, so the tolerance and the walk order both matter; alpha varies.
    const auto nearBases = [&](int w, int h) {
        return MakeImage(w, h, [&](int, int) {
            const Colour c = bases[static_cast<std::size_t>(byte(random)) % bases.size()];
            const float a = byte(random) < 40 ? 0.5f : 1.0f;
            return FromBytes(std::clamp(Byte(c.r) + nudge(random), 0, 255), Byte(c.g), Byte(c.b), a);
        });
    };

    for (const int threads : {1, 2})
    {
        SetWorkerThreadCount(threads);
        for (const auto& [w, h, height, sample] : {std::tuple{37, 23, 16, true}, std::tuple{64, 9, 7, false},
                                                   std::tuple{1, 1, 3, true}, std::tuple{200, 150, 32, true}})
        {
            Fixture f;
            auto diffuse = nearBases(w, h);
            int referenceCount = 0;
            const auto expected = ReferenceCreatePalette(*diffuse, height, sample, &referenceCount);
            f.processor.SetImage(new Image(*diffuse), Diffuse);
            ASSERT_EQ(f.processor.CreatePaletteFromDiffuseMap(height, sample), expected != nullptr);
            EXPECT_TRUE(f.log.Contains("Found " + std::to_string(referenceCount) +
                                       " unique colours in diffuse map."));
            if (!expected)
                continue;
            EXPECT_TRUE(SameBytes(*f.processor.GetImage(Palette), *expected))
                << w << "x" << h << " " << threads;

            f.processor.GeneratePaletteIndex();
            EXPECT_TRUE(SameBytes(*f.processor.GetImage(Index), *ReferencePaletteIndex(*diffuse, *expected)));
        }

        // Noise has thousands of colours, many within the tolerance of each other: the count must agree.
        Fixture noisy;
        auto noise = MakeImage(
            96, 80, [&](int, int) { return FromBytes(byte(random), byte(random), byte(random) / 8); });
        int referenceCount = 0;
        EXPECT_EQ(ReferenceCreatePalette(*noise, 4, false, &referenceCount), nullptr);
        noisy.processor.SetImage(noise.release(), Diffuse);
        EXPECT_FALSE(noisy.processor.CreatePaletteFromDiffuseMap(4, false));
        EXPECT_TRUE(noisy.log.Contains("Found " + std::to_string(referenceCount) +
                                       " unique colours in diffuse map."));

        // A loaded palette wider than 256 columns, with pixels both on and off it.
        auto widePalette =
            MakeImage(300, 3, [&](int, int) { return FromBytes(byte(random), byte(random), 9); });
        auto diffuse = MakeImage(50, 40, [&](int, int) {
            if (byte(random) < 60)
                return FromBytes(byte(random), byte(random), 9, byte(random) < 128 ? 1.0f : 0.996f);
            return widePalette->GetPixel(byte(random) % 300, 0);
        });
        Fixture loaded;
        loaded.processor.SetImage(new Image(*widePalette), Palette);
        loaded.processor.SetImage(new Image(*diffuse), Diffuse);
        loaded.processor.GeneratePaletteIndex();
        EXPECT_TRUE(
            SameBytes(*loaded.processor.GetImage(Index), *ReferencePaletteIndex(*diffuse, *widePalette)));
    }
    SetWorkerThreadCount(0);
}
