#include "core/Image.h"
#include "reference/ReferencePalette.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <tuple>

namespace {
Colour FromBytes(int r, int g, int b, float a = 1.0f)
{
    return {r / 255.0f, g / 255.0f, b / 255.0f, a};
}

std::string Pixel(const Image& image, int x, int y)
{
    return image.GetPixel(x, y).GetAsString();
}

// n colours far enough apart never to be merged: 17 steps in two channels, then blue for the rest.
Colour Distinct(int i)
{
    return FromBytes(i % 16 * 17, i / 16 % 16 * 17, i / 256 * 255);
}
} // namespace

TEST(Palette, ThreeColoursGiveAFourWidePaletteAndCentredCodes)
{
    ProcessorFixture f;
    const Colour mid = FromBytes(127, 51, 51);
    const Colour dark = FromBytes(25, 25, 76);
    const Colour light = FromBytes(229, 204, 25);
    // Below them partly and fully transparent copies: the palette ignores alpha.
    f.Set(ImageType::Diffuse, MakeImage(3, 2, [&](int x, int y) {
              const Colour row0[] = {mid, dark, light};
              const Colour row1[] = {FromBytes(229, 204, 25, 0.5f), FromBytes(25, 25, 76, 0.0f), mid};
              return y == 0 ? row0[x] : row1[x];
          }));
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(4, false));
    EXPECT_TRUE(f.log.Contains("Found 3 unique colours in diffuse map."));
    const Image* palette = f.processor.GetImage(ImageType::Palette);
    ASSERT_EQ(palette->GetHeight(), 4);
    EXPECT_FALSE(palette->GetVerticalWrap());
    // Darkest first, then opaque black filler.
    for (int y = 0; y < 4; ++y)
        EXPECT_EQ(RowText(*palette, y),
                  "(25, 25, 76, 255)(127, 51, 51, 255)(229, 204, 25, 255)(0, 0, 0, 255)");

    f.processor.GeneratePaletteIndex();
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::Index));
    EXPECT_EQ(RowText(*f.processor.GetImage(ImageType::Index), 0),
              "(95, 95, 95, 255)(31, 31, 31, 255)(159, 159, 159, 255)");
    // Half transparent pixels match no opaque palette colour.
    EXPECT_EQ(RowText(*f.processor.GetImage(ImageType::Index), 1),
              "(0, 0, 0, 255)(0, 0, 0, 255)(95, 95, 95, 255)");
    EXPECT_TRUE(f.messages.empty());
}

TEST(Palette, AtMost256ColoursAreAccepted)
{
    ProcessorFixture f;
    f.Set(ImageType::Diffuse, MakeImage(16, 16, [](int x, int y) { return Distinct(y * 16 + x); }));
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(2, false));
    const Image* accepted = f.processor.GetImage(ImageType::Palette);
    EXPECT_EQ(accepted->GetWidth(), 256);

    // One more colour is refused, and the palette already made stays.
    f.Set(ImageType::Diffuse, MakeImage(257, 1, [](int x, int) { return Distinct(x); }));
    EXPECT_FALSE(f.processor.CreatePaletteFromDiffuseMap(2, false));
    EXPECT_EQ(f.messages,
              (Messages{{"Found 257 unique colours in this image. Max is 256.", "Too many colours"}}));
    EXPECT_TRUE(f.log.Contains("Found 257 unique colours in diffuse map."));
    EXPECT_FALSE(f.log.Contains("No palette generated - max palette colour count is 256."));
    EXPECT_EQ(f.processor.GetImage(ImageType::Palette), accepted);

    // With nobody to show a message to, the refusal goes to the log.
    ProcessorFixture batch;
    batch.processor.SetMessageCallback(nullptr);
    batch.Set(ImageType::Diffuse, MakeImage(257, 1, [](int x, int) { return Distinct(x); }));
    EXPECT_FALSE(batch.processor.CreatePaletteFromDiffuseMap(2, false));
    EXPECT_TRUE(batch.log.Contains("No palette generated - max palette colour count is 256."));
    EXPECT_FALSE(batch.processor.IsLoaded(ImageType::Palette));
}

TEST(Palette, SampleLightingFadesFromWhiteThroughTheColourToBlack)
{
    const Colour c = FromBytes(102, 51, 153);
    const auto paletteOf = [&](int height) {
        ProcessorFixture f;
        f.Set(ImageType::Diffuse, MakeImage(2, 2, [&](int, int) { return c; }));
        EXPECT_TRUE(f.processor.CreatePaletteFromDiffuseMap(height, true));
        return Image(*f.processor.GetImage(ImageType::Palette));
    };
    const Image tall = paletteOf(8);
    ASSERT_EQ(tall.GetWidth(), 1);
    EXPECT_EQ(Pixel(tall, 0, 0), "(255, 255, 255, 255)");
    EXPECT_EQ(Pixel(tall, 0, 3), "(102, 51, 153, 255)"); // the two middle rows hold the colour itself
    EXPECT_EQ(Pixel(tall, 0, 4), "(102, 51, 153, 255)");
    EXPECT_EQ(Pixel(tall, 0, 7), "(0, 0, 0, 255)");
    // Too short to hold a white row: one or two rows are the colour, a third is already black.
    EXPECT_EQ(Pixel(paletteOf(1), 0, 0), "(102, 51, 153, 255)");
    const Image two = paletteOf(2);
    EXPECT_EQ(Pixel(two, 0, 0) + Pixel(two, 0, 1), "(102, 51, 153, 255)(102, 51, 153, 255)");
    const Image three = paletteOf(3);
    EXPECT_EQ(Pixel(three, 0, 1) + Pixel(three, 0, 2), "(102, 51, 153, 255)(0, 0, 0, 255)");
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
    ProcessorFixture f;
    f.Set(ImageType::Diffuse,
          MakeImage(2, 2, [&](int x, int y) { return x == 0 ? (y == 0 ? grey : b) : (y == 0 ? a : grey); }));
    ASSERT_TRUE(f.processor.CreatePaletteFromDiffuseMap(1, false));
    EXPECT_EQ(RowText(*f.processor.GetImage(ImageType::Palette), 0),
              "(100, 100, 100, 255)(102, 100, 100, 255)");

    // The index search ignores hashes and takes the first equal column: a and even b land on grey's.
    f.processor.GeneratePaletteIndex();
    EXPECT_EQ(Pixel(*f.processor.GetImage(ImageType::Index), 1, 0), "(63, 63, 63, 255)");
    EXPECT_EQ(Pixel(*f.processor.GetImage(ImageType::Index), 0, 1), "(63, 63, 63, 255)");
}

TEST(Palette, IndexReadsTheRowAboveTheMiddleOfAnyPalette)
{
    ProcessorFixture f;
    f.processor.GeneratePaletteIndex();
    EXPECT_FALSE(f.processor.CreatePaletteFromDiffuseMap(4, false));
    EXPECT_EQ(
        f.messages,
        (Messages{{"To generate an index map, you have to have both a palette and a diffuse map loaded.",
                   "Missing palette or diffuse map"},
                  {"You need to load a diffuse map in order to generate a palette map.", "No diffuse map"}}));
    EXPECT_FALSE(f.processor.IsLoaded(ImageType::Index));

    // A hand-made palette five rows high: row 1 holds the plain colours, the others decoys.
    const Colour red = FromBytes(200, 0, 0);
    const Colour green = FromBytes(0, 200, 0);
    const Colour decoy = FromBytes(0, 0, 200);
    f.Set(ImageType::Palette,
          MakeImage(2, 5, [&](int x, int y) { return y == 1 ? (x == 0 ? red : green) : decoy; }));
    f.Set(ImageType::Diffuse, MakeImage(3, 1, [&](int x, int) {
              return x == 0 ? green : x == 1 ? red : decoy;
          }));
    f.processor.GeneratePaletteIndex();
    EXPECT_EQ(RowText(*f.processor.GetImage(ImageType::Index), 0),
              "(191, 191, 191, 255)(63, 63, 63, 255)(0, 0, 0, 255)");

    // One row high: the row above the middle is row -1, which lands on row 0.
    for (const bool wrap : {false, true})
    {
        auto flat = MakeImage(2, 1, [&](int x, int) { return x == 0 ? red : green; });
        flat->wrapY = wrap;
        f.Set(ImageType::Palette, std::move(flat));
        f.processor.GeneratePaletteIndex();
        EXPECT_EQ(RowText(*f.processor.GetImage(ImageType::Index), 0),
                  "(191, 191, 191, 255)(63, 63, 63, 255)(0, 0, 0, 255)");
    }
}

TEST(PaletteFast, MatchesTheReferenceByteForByte)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> nudge(-2, 2);
    std::vector<std::array<int, 3>> bases(40);
    for (auto& base : bases)
        base = {byte(random), byte(random), byte(random)};
    // Near-duplicates of a few base colours, so the tolerance and the walk order both matter; alpha varies.
    const auto nearBases = [&](int w, int h) {
        return MakeImage(w, h, [&](int, int) {
            const auto& [r, g, b] = bases[static_cast<std::size_t>(byte(random)) % bases.size()];
            const float a = byte(random) < 40 ? 0.5f : 1.0f;
            return FromBytes(std::clamp(r + nudge(random), 0, 255), g, b, a);
        });
    };
    const auto foundLine = [](int count) {
        return "Found " + std::to_string(count) + " unique colours in diffuse map.";
    };

    for (const int threads : {1, 2})
    {
        const ThreadCount scope(threads);
        for (const auto& [w, h, height, sample] : {std::tuple{37, 23, 16, true}, std::tuple{64, 9, 7, false},
                                                   std::tuple{1, 1, 3, true}, std::tuple{200, 150, 32, true}})
        {
            ProcessorFixture f;
            auto diffuse = nearBases(w, h);
            int referenceCount = 0;
            const auto expected = ReferenceCreatePalette(*diffuse, height, sample, &referenceCount);
            f.processor.SetImage(new Image(*diffuse), ImageType::Diffuse);
            ASSERT_EQ(f.processor.CreatePaletteFromDiffuseMap(height, sample), expected != nullptr);
            EXPECT_TRUE(f.log.Contains(foundLine(referenceCount)));
            if (!expected)
                continue;
            EXPECT_TRUE(SameBytes(*f.processor.GetImage(ImageType::Palette), *expected))
                << w << "x" << h << " " << threads;
            f.processor.GeneratePaletteIndex();
            EXPECT_TRUE(SameBytes(*f.processor.GetImage(ImageType::Index),
                                  *ReferencePaletteIndex(*diffuse, *expected)));
        }

        // Noise has thousands of colours, many within the tolerance of each other: the count must agree.
        ProcessorFixture noisy;
        auto noise = MakeImage(
            96, 80, [&](int, int) { return FromBytes(byte(random), byte(random), byte(random) / 8); });
        int referenceCount = 0;
        EXPECT_EQ(ReferenceCreatePalette(*noise, 4, false, &referenceCount), nullptr);
        noisy.Set(ImageType::Diffuse, std::move(noise));
        EXPECT_FALSE(noisy.processor.CreatePaletteFromDiffuseMap(4, false));
        EXPECT_TRUE(noisy.log.Contains(foundLine(referenceCount)));

        // A loaded palette wider than 256 columns, with pixels both on and off it.
        auto widePalette =
            MakeImage(300, 3, [&](int, int) { return FromBytes(byte(random), byte(random), 9); });
        auto diffuse = MakeImage(50, 40, [&](int, int) {
            if (byte(random) < 60)
                return FromBytes(byte(random), byte(random), 9, byte(random) < 128 ? 1.0f : 0.996f);
            return widePalette->GetPixel(byte(random) % 300, 0);
        });
        ProcessorFixture loaded;
        loaded.processor.SetImage(new Image(*widePalette), ImageType::Palette);
        loaded.processor.SetImage(new Image(*diffuse), ImageType::Diffuse);
        loaded.processor.GeneratePaletteIndex();
        EXPECT_TRUE(SameBytes(*loaded.processor.GetImage(ImageType::Index),
                              *ReferencePaletteIndex(*diffuse, *widePalette)));
    }
}
