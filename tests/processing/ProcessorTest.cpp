#include "core/Image.h"
#include "sets/ImageSet.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <QColor>
#include <QImage>
#include <gtest/gtest.h>

#include <array>
#include <bitset>
#include <fstream>
#include <initializer_list>

namespace {
void Save(const Image& image, const std::string& path)
{
    std::string error;
    ASSERT_TRUE(image.SaveToDisk(path, &error)) << error;
}

// The file of every member of the set `left` belongs to, in kind order.
std::array<std::string, kImageTypeCount> MemberFiles(const std::string& left)
{
    const SuffixSet suffixes;
    const ImageSet set(left, suffixes, true);
    std::array<std::string, kImageTypeCount> names;
    for (int type = 0; type < kImageTypeCount; ++type)
        names[type] = set.GetFilenameOfType(ImageType(type), suffixes);
    return names;
}

std::bitset<kImageTypeCount> Kinds(std::initializer_list<ImageType> types)
{
    std::bitset<kImageTypeCount> kinds;
    for (const ImageType type : types)
        kinds.set(type);
    return kinds;
}
} // namespace

TEST(ImageProcessor, MissingMembersBecomeUncountedPlaceholders)
{
    TempFolder folder;
    Save(*MakeGrey(6, 4, [](int x, int) { return x / 6.0f; }), folder.File("Head_Left.png"));
    Save(*MakeGrey(6, 4, [](int, int y) { return y / 4.0f; }), folder.File("Head_Top.png"));
    std::ofstream(folder.File("Head_Right.png")) << "broken";

    ProcessorFixture f;
    const std::array<std::string, kImageTypeCount> names = MemberFiles(folder.File("Head_Left.png"));
    for (int type = 0; type < kImageTypeCount; ++type)
        f.processor.LoadImageByName(ImageType(type), names[type], false);
    EXPECT_TRUE(f.messages.empty());
    EXPECT_TRUE(f.processor.IsLoaded(ImageType::Left) && f.processor.IsLoaded(ImageType::Top));
    EXPECT_FALSE(f.processor.IsLoaded(ImageType::Right)); // unreadable
    EXPECT_FALSE(f.processor.IsLoaded(ImageType::Normal));
    for (const ImageType type :
         {ImageType::Right, ImageType::Diffuse, ImageType::Normal, ImageType::Depth, ImageType::Palette})
        ASSERT_TRUE(f.processor.GetImage(type)->HasPlanes()) << type;
    EXPECT_EQ(f.processor.GetImage(ImageType::Diffuse)->GetPixel(0, 0).GetAsString(), "(255, 255, 255, 255)");
    EXPECT_EQ(f.processor.GetImage(ImageType::Normal)->GetPixel(0, 0).GetAsString(), "(128, 128, 255, 255)");
    EXPECT_EQ(f.processor.GetImage(ImageType::Right)->GetPixel(0, 0).GetAsString(), "(0, 0, 0, 255)");
    EXPECT_FALSE(f.processor.GetImage(ImageType::Palette)->GetVerticalWrap());
    EXPECT_TRUE(f.processor.SufficientLightingProfiles() && f.processor.DoLightingProfilesMatch());
    EXPECT_EQ(f.processor.GetWidth(), 6);
    EXPECT_EQ(f.processor.GetHeight(), 4);
    // A missing normal map is not turned into normals.
    EXPECT_FALSE(f.processor.IsMemoryInitialised());

    // Replacing a generated map by its placeholder clears its flag again.
    f.processor.SetImage(new Image(6, 4), ImageType::AO);
    EXPECT_TRUE(f.processor.IsLoaded(ImageType::AO));
    f.processor.LoadDefaultImage(ImageType::AO);
    EXPECT_FALSE(f.processor.IsLoaded(ImageType::AO));
}

TEST(ImageProcessor, ProfilesSizesAndMipCounts)
{
    ProcessorFixture f;
    f.Set(ImageType::Right, MakeFlat(8, 8, 0.5f));
    EXPECT_FALSE(f.processor.SufficientLightingProfiles());
    f.Set(ImageType::Bottom, MakeFlat(8, 8, 0.5f));
    EXPECT_TRUE(f.processor.SufficientLightingProfiles() && f.processor.DoLightingProfilesMatch());
    f.Set(ImageType::Top, MakeFlat(8, 6, 0.5f));
    EXPECT_FALSE(f.processor.DoLightingProfilesMatch());
    ProcessorFixture noSides;
    noSides.Set(ImageType::Top, MakeFlat(8, 8, 0.5f));
    EXPECT_FALSE(noSides.processor.DoLightingProfilesMatch());

    // A diffuse map alone gives no working size.
    ProcessorFixture g;
    g.processor.SetImage(new Image(10, 10), ImageType::Diffuse);
    g.processor.InitialiseArrays();
    EXPECT_EQ(g.processor.GetWidth(), 0);
    EXPECT_EQ(g.processor.GetMipCount(), 0);
    const auto mips = [&](int w, int h) {
        g.processor.SetImage(new Image(w, h), ImageType::AO);
        g.processor.InitialiseArrays();
        return g.processor.GetMipCount();
    };
    EXPECT_EQ(mips(64, 64), 7);
    EXPECT_EQ(mips(100, 60), 3);
    EXPECT_EQ(mips(33, 64), 1);
    EXPECT_EQ(mips(1, 1), 1);
    EXPECT_EQ(mips(2, 2), 2);
    EXPECT_EQ(g.processor.GetAllocatedMipCount(), 2);
    EXPECT_NE(g.processor.GetNormalArray(1), nullptr);
    EXPECT_EQ(g.processor.GetNormalArray(2), nullptr);

    // Normal outranks the profiles, which outrank depth and AO.
    g.processor.SetImage(new Image(12, 8), ImageType::Depth);
    g.processor.SetImage(new Image(20, 10), ImageType::Right);
    g.processor.ComputeBestDimensions();
    EXPECT_EQ(g.processor.GetWidth(), 20);
    g.processor.SetImage(new Image(4, 2), ImageType::Normal);
    g.processor.ComputeBestDimensions();
    EXPECT_EQ(g.processor.GetWidth(), 4);
}

TEST(ImageProcessor, LoadedNormalMapsFillTheNormalPyramid)
{
    TempFolder folder;
    // Left half leans right, right half leans up.
    Save(*MakeImage(4, 4,
                    [](int x, int) { return Colour(x < 2 ? 1.0f : 0.5f, x < 2 ? 0.5f : 1.0f, 0.5f, 1.0f); }),
         folder.File("S_Normal.png"));
    ProcessorFixture f;
    f.processor.LoadImageByName(ImageType::Normal, folder.File("S_Normal.png"), false);
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::Normal));
    ASSERT_EQ(f.processor.GetMipCount(), 3);
    EXPECT_FLOAT_EQ(f.processor.GetNormalArray(0)[0].x, 1.0f);
    EXPECT_NEAR(f.processor.GetNormalArray(0)[0].y, 0.0f, 0.01f);
    // Level 1 averages 2x2 blocks: the left column leans right.
    EXPECT_NEAR(f.processor.GetNormalArray(1)[0].x, 0.97f, 0.03f);
    EXPECT_TRUE(f.log.Contains("New mip levels generated: 2"));

    ProcessorFixture flipped;
    flipped.processor.LoadImageByName(ImageType::Normal, folder.File("S_Normal.png"), true);
    EXPECT_FLOAT_EQ(flipped.processor.GetNormalArray(0)[3].y, -1.0f);

    // Without its placeholder folder the processor says so.
    Messages messages;
    ImageProcessor lost([&](std::string text, std::string title) { messages.emplace_back(text, title); },
                        "/no/such/resources/", nullptr);
    lost.LoadImageByName(ImageType::Diffuse, "/no/such/file_Diffuse.png", false);
    EXPECT_EQ(messages, (Messages{{"Error! Couldn't find one of the default (blank) textures.",
                                   "Default map not found!"}}));
    EXPECT_FALSE(lost.IsLoaded(ImageType::Diffuse));
}

// A member left undecoded still sets the working size, so the maps made from the decoded ones come out
// exactly as after a full load; releasing an image keeps its size the same way.
TEST(ImageProcessor, MeasuredMembersCountLikeDecodedOnes)
{
    TempFolder folder;
    WriteProfiles(folder.File("Head"), 12);
    // A normal map left by an earlier run at another size decides the working size of the next one.
    Save(*MakeFlat(8, 6, 0.5f), folder.File("Head_Normal.png"));
    Save(*MakeGrey(12, 12, [](int x, int y) { return (x + y) / 24.0f; }), folder.File("Head_Depth.png"));
    std::ofstream(folder.File("Head_Emissive.png")) << "not an image";

    const std::array<std::string, kImageTypeCount> names = MemberFiles(folder.File("Head_Left.png"));
    const std::bitset<kImageTypeCount> profiles =
        Kinds({ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right, ImageType::Front,
               ImageType::Diffuse});

    ProcessorFixture full;
    ProcessorFixture partial;
    full.processor.LoadImageSetByName(names, false);
    partial.processor.LoadImageSetByName(names, false, profiles);
    EXPECT_TRUE(partial.processor.IsSizedOnly(ImageType::Normal) &&
                !partial.processor.IsLoaded(ImageType::Normal));
    EXPECT_TRUE(partial.processor.IsSizedOnly(ImageType::Depth));
    // Its header cannot be read, so it was decoded after all and failed as a missing member does.
    EXPECT_FALSE(partial.processor.IsSizedOnly(ImageType::Emissive) ||
                 partial.processor.IsLoaded(ImageType::Emissive));
    EXPECT_FALSE(partial.processor.IsMemoryInitialised()) << "the normal map's pixels were not read";
    EXPECT_EQ(partial.processor.GetMemberSize(ImageType::Normal), (std::pair<int, int>{8, 6}));
    EXPECT_EQ(partial.processor.GetWidth(), 8);
    EXPECT_EQ(partial.processor.GetHeight(), 6);

    for (ProcessorFixture* f : {&full, &partial})
    {
        f->processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
        f->processor.GenerateDepthMapFromNormals(20, false, 0.5f);
    }
    for (const ImageType type :
         {ImageType::Normal, ImageType::NormalOpacity, ImageType::Depth, ImageType::NormalDepth})
        EXPECT_TRUE(SameBytes(*full.processor.GetImage(type), *partial.processor.GetImage(type))) << type;

    partial.processor.ReleaseImage(ImageType::Normal);
    partial.processor.ReleaseImage(ImageType::Left);
    partial.processor.ReleaseImage(ImageType::Silhouette); // absent: nothing to release
    EXPECT_EQ(partial.processor.GetImage(ImageType::Normal), nullptr);
    EXPECT_FALSE(partial.processor.IsLoaded(ImageType::Left));
    EXPECT_FALSE(partial.processor.IsSizedOnly(ImageType::Silhouette));
    EXPECT_EQ(partial.processor.GetMemberSize(ImageType::Left), (std::pair<int, int>{12, 12}));
    partial.processor.ComputeBestDimensions();
    EXPECT_EQ(partial.processor.GetWidth(), 8) << "the released normal map still decides";
    // A map made again replaces what was only measured.
    partial.processor.SetImage(new Image(4, 4), ImageType::Normal);
    EXPECT_FALSE(partial.processor.IsSizedOnly(ImageType::Normal));
    partial.processor.ComputeBestDimensions();
    EXPECT_EQ(partial.processor.GetWidth(), 4);
}

// A run that makes maps only from the lighting profiles keeps just their red channel. The maps must come
// out as after a full load, also where the working size is set by another member and the profiles are
// sampled to it (smaller or larger), and the profiles must still count, by their size, as profiles.
TEST(ImageProcessor, ProfilesKeptAsTheirRedChannelMakeTheSameMaps)
{
    TempFolder folder;
    // Every channel differs, so reading any but red would show.
    int seed = 0;
    for (const char* suffix : {"_Left", "_Right", "_Top", "_Bottom"})
    {
        ++seed;
        Save(*MakeImage(12, 12,
                        [seed](int x, int y) {
                            const int v = (x * 7 + y * 3 + seed * 5) % 16;
                            return Colour(v / 15.0f, (15 - v) / 15.0f, ((x * y) % 5) / 4.0f, 1.0f);
                        }),
             folder.File(std::string("Head") + suffix + ".png"));
    }
    Save(*MakeImage(12, 12, [](int x, int y) { return Colour(1, 1, 1, (x + y) % 3 == 0 ? 0.0f : 1.0f); }),
         folder.File("Head_Diffuse.png"));
    // Sixteen bits a sample: a profile the fast reader leaves to the general one.
    QImage deep(12, 12, QImage::Format_RGBX64);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 12; ++x)
            deep.setPixelColor(x, y, QColor((x * 19 + y * 5) % 256, (x * 3) % 256, y * 20));
    ASSERT_TRUE(deep.save(QString::fromStdString(folder.File("Head_Front.png"))));

    const std::array<std::string, kImageTypeCount> names = MemberFiles(folder.File("Head_Left.png"));
    const std::bitset<kImageTypeCount> profiles =
        Kinds({ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right, ImageType::Front});
    const std::bitset<kImageTypeCount> decode = profiles | Kinds({ImageType::Diffuse});

    // No normal map (the profiles' own size), a smaller one and a larger one deciding the working size.
    for (const auto& [normalWidth, normalHeight] : {std::pair{0, 0}, std::pair{8, 6}, std::pair{16, 14}})
    {
        if (normalWidth > 0)
            Save(*MakeFlat(normalWidth, normalHeight, 0.5f), folder.File("Head_Normal.png"));
        ProcessorFixture full;
        ProcessorFixture red;
        full.processor.LoadImageSetByName(names, false, decode);
        red.processor.LoadImageSetByName(names, false, decode, profiles);
        for (const ImageType type :
             {ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right, ImageType::Front})
        {
            EXPECT_TRUE(red.processor.HoldsRedOnly(type) && red.processor.IsSizedOnly(type)) << type;
            EXPECT_FALSE(red.processor.IsLoaded(type));
            EXPECT_EQ(red.processor.GetMemberSize(type), (std::pair<int, int>{12, 12}));
        }
        EXPECT_FALSE(full.processor.HoldsRedOnly(ImageType::Left));
        EXPECT_FALSE(red.processor.HoldsRedOnly(ImageType::Diffuse)) << "only the profiles were asked for";
        EXPECT_TRUE(red.processor.SufficientLightingProfiles());
        EXPECT_TRUE(red.processor.DoLightingProfilesMatch());
        EXPECT_EQ(red.processor.GetWidth(), full.processor.GetWidth());
        EXPECT_EQ(red.processor.GetHeight(), full.processor.GetHeight());

        for (ProcessorFixture* f : {&full, &red})
            f->processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
        for (const ImageType type : {ImageType::Normal, ImageType::NormalOpacity})
            EXPECT_TRUE(SameBytes(*full.processor.GetImage(type), *red.processor.GetImage(type)))
                << type << " with a " << normalWidth << " x " << normalHeight << " normal map";

        red.processor.ReleaseImage(ImageType::Left);
        EXPECT_FALSE(red.processor.HoldsRedOnly(ImageType::Left));
        EXPECT_EQ(red.processor.GetMemberSize(ImageType::Left), (std::pair<int, int>{12, 12}));
        EXPECT_TRUE(red.processor.SufficientLightingProfiles()) << "the right profile still serves";
    }

    // A profile of another size is told apart as it is after a full load.
    Save(*MakeFlat(10, 12, 0.5f), folder.File("Head_Top.png"));
    ProcessorFixture full;
    ProcessorFixture red;
    full.processor.LoadImageSetByName(names, false, decode);
    red.processor.LoadImageSetByName(names, false, decode, profiles);
    EXPECT_FALSE(full.processor.DoLightingProfilesMatch());
    EXPECT_FALSE(red.processor.DoLightingProfilesMatch());
}
