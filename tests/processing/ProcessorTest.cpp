#include "core/Image.h"
#include "processing/ImageProcessor.h"
#include "sets/ImageSet.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {
struct Message
{
    std::string text;
    std::string title;
};

// A processor that reads placeholders from the source tree and records what it reports.
struct Fixture
{
    RecordingLog log;
    std::vector<Message> messages;
    ImageProcessor processor{[this](std::string text, std::string title) {
                                 messages.push_back({text, title});
                             },
                             BRONDEL_RESOURCE_DIR, &log.output};

    void LoadSet(const std::string& anyMember)
    {
        const SuffixSet suffixes;
        const ImageSet set(anyMember, suffixes, true);
        for (int type = 0; type < kImageTypeCount; ++type)
            processor.LoadImageByName(static_cast<ImageType>(type),
                                      set.GetFilenameOfType(static_cast<ImageType>(type), suffixes), false);
    }
};

void Save(const Image& image, const std::string& path)
{
    std::string error;
    ASSERT_TRUE(image.SaveToDisk(path, &error)) << error;
}
} // namespace

TEST(ImageProcessor, MissingMembersBecomeUncountedPlaceholders)
{
    TempFolder folder;
    Save(*MakeGrey(6, 4, [](int x, int) { return x / 6.0f; }), folder.File("Head_Left.png"));
    Save(*MakeGrey(6, 4, [](int, int y) { return y / 4.0f; }), folder.File("Head_Top.png"));
    std::ofstream(folder.File("Head_Right.png")) << "broken";

    Fixture f;
    f.LoadSet(folder.File("Head_Left.png"));
    EXPECT_TRUE(f.messages.empty());
    EXPECT_TRUE(f.processor.IsLoaded(Left));
    EXPECT_TRUE(f.processor.IsLoaded(Top));
    EXPECT_FALSE(f.processor.IsLoaded(Right)); // unreadable
    EXPECT_FALSE(f.processor.IsLoaded(Normal));
    for (const ImageType type : {Right, Diffuse, Normal, Depth, Palette})
        ASSERT_TRUE(f.processor.GetImage(type)->HasPlanes()) << type;
    EXPECT_EQ(f.processor.GetImage(Diffuse)->GetPixel(0, 0).GetAsString(), "(255, 255, 255, 255)");
    EXPECT_EQ(f.processor.GetImage(Normal)->GetPixel(0, 0).GetAsString(), "(128, 128, 255, 255)");
    EXPECT_EQ(f.processor.GetImage(Right)->GetPixel(0, 0).GetAsString(), "(0, 0, 0, 255)");
    EXPECT_FALSE(f.processor.GetImage(Palette)->GetVerticalWrap());
    EXPECT_TRUE(f.processor.SufficientLightingProfiles());
    EXPECT_TRUE(f.processor.DoLightingProfilesMatch());
    EXPECT_EQ(f.processor.GetWidth(), 6);
    EXPECT_EQ(f.processor.GetHeight(), 4);
    // A missing normal map is not turned into normals.
    EXPECT_FALSE(f.processor.IsMemoryInitialised());

    // Replacing a generated map by its placeholder clears its flag again.
    f.processor.SetImage(new Image(6, 4), AO);
    EXPECT_TRUE(f.processor.IsLoaded(AO));
    f.processor.LoadDefaultImage(AO);
    EXPECT_FALSE(f.processor.IsLoaded(AO));
}

TEST(ImageProcessor, ProfilesMustShareOneResolution)
{
    Fixture f;
    f.processor.SetImage(MakeGrey(8, 8, [](int, int) { return 0.5f; }).release(), Right);
    EXPECT_FALSE(f.processor.SufficientLightingProfiles());
    f.processor.SetImage(MakeGrey(8, 8, [](int, int) { return 0.5f; }).release(), Bottom);
    EXPECT_TRUE(f.processor.SufficientLightingProfiles());
    EXPECT_TRUE(f.processor.DoLightingProfilesMatch());
    f.processor.SetImage(MakeGrey(8, 6, [](int, int) { return 0.5f; }).release(), Top);
    EXPECT_FALSE(f.processor.DoLightingProfilesMatch());

    Fixture noSides;
    noSides.processor.SetImage(MakeGrey(8, 8, [](int, int) { return 0.5f; }).release(), Top);
    EXPECT_FALSE(noSides.processor.DoLightingProfilesMatch());
}

TEST(ImageProcessor, WorkingSizeAndMipCounts)
{
    Fixture f;
    f.processor.SetImage(new Image(10, 10), Diffuse);
    f.processor.InitialiseArrays();
    EXPECT_EQ(f.processor.GetWidth(), 0);
    EXPECT_EQ(f.processor.GetMipCount(), 0);

    const auto mips = [&](int w, int h) {
        f.processor.SetImage(new Image(w, h), AO);
        f.processor.InitialiseArrays();
        return f.processor.GetMipCount();
    };
    EXPECT_EQ(mips(64, 64), 7);
    EXPECT_EQ(mips(100, 60), 3);
    EXPECT_EQ(mips(33, 64), 1);
    EXPECT_EQ(mips(1, 1), 1);
    EXPECT_EQ(mips(2, 2), 2);
    EXPECT_EQ(f.processor.GetAllocatedMipCount(), 2);
    EXPECT_NE(f.processor.GetNormalArray(1), nullptr);
    EXPECT_EQ(f.processor.GetNormalArray(2), nullptr);

    // Normal outranks the profiles, which outrank depth and AO.
    f.processor.SetImage(new Image(12, 8), Depth);
    f.processor.SetImage(new Image(20, 10), Right);
    f.processor.ComputeBestDimensions();
    EXPECT_EQ(f.processor.GetWidth(), 20);
    f.processor.SetImage(new Image(4, 2), Normal);
    f.processor.ComputeBestDimensions();
    EXPECT_EQ(f.processor.GetWidth(), 4);
}

TEST(ImageProcessor, LoadedNormalMapsFillTheNormalPyramid)
{
    TempFolder folder;
    // Left half leans right, right half leans up.
    Save(*MakeImage(4, 4,
                    [](int x, int) {
                        return x < 2 ? Colour(1.0f, 0.5f, 0.5f, 1.0f) : Colour(0.5f, 1.0f, 0.5f, 1.0f);
                    }),
         folder.File("S_Normal.png"));
    Fixture f;
    f.processor.LoadImageByName(Normal, folder.File("S_Normal.png"), false);
    ASSERT_TRUE(f.processor.IsLoaded(Normal));
    ASSERT_EQ(f.processor.GetMipCount(), 3);
    const Vector3D n = f.processor.GetNormalArray(0)[0];
    EXPECT_FLOAT_EQ(n.x, 1.0f);
    EXPECT_NEAR(n.y, 0.0f, 0.01f);
    // Level 1 averages 2x2 blocks: the left column leans right.
    EXPECT_NEAR(f.processor.GetNormalArray(1)[0].x, 0.97f, 0.03f);
    EXPECT_TRUE(f.log.Contains("New mip levels generated: 2"));

    Fixture flipped;
    flipped.processor.LoadImageByName(Normal, folder.File("S_Normal.png"), true);
    EXPECT_FLOAT_EQ(flipped.processor.GetNormalArray(0)[3].y, -1.0f);
}

TEST(ImageProcessor, MissingPlaceholdersAreReported)
{
    std::vector<Message> messages;
    ImageProcessor processor(
        [&](std::string text, std::string title) {
            messages.push_back({text, title});
        },
        "/no/such/resources/", nullptr);
    processor.LoadImageByName(Diffuse, "/no/such/file_Diffuse.png", false);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, "Error! Couldn't find one of the default (blank) textures.");
    EXPECT_EQ(messages[0].title, "Default map not found!");
    EXPECT_FALSE(processor.IsLoaded(Diffuse));
}
