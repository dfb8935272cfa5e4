// The preview's skeleton object without a display: loading and its messages, the page hook, playback
// and the geometry handed to the renderer.
#include "spine/SpineData.h"
#include "spine/SpineImageSetLoader.h"
#include "spine/runtime/SpineAnimationState.h"
#include "spine/runtime/SpineAtlas.h"
#include "spine/runtime/SpineSkeleton.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
class RecordingImageSets : public SpineImageSetLoader
{
public:
    std::vector<std::string> names;
    void LoadImageSets(const std::vector<std::string>& filenames) override
    {
        names.insert(names.end(), filenames.begin(), filenames.end());
    }
};

void Write(const QString& path, const char* text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// A two-slot skeleton (a region in front of a mesh in the setup order) with a 64 x 32 page whose atlas
// declares 32 x 32, and one animation turning the root a quarter turn in a second.
class SpineDataTest : public ::testing::Test
{
protected:
    QTemporaryDir folder;
    std::string json;

    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        json = folder.filePath(QStringLiteral("hero.json")).toStdString();
        ASSERT_TRUE(
            QImage(64, 32, QImage::Format_ARGB32).save(folder.filePath(QStringLiteral("page_Diffuse.png"))));
        Write(
            folder.filePath(QStringLiteral("hero.atlas")),
            "page.png\nsize: 32,32\nfilter: Linear,Linear\nbox\n  xy: 0, 0\n  size: 32, 16\n  orig: 32, 16\n"
            "  offset: 0, 0\n  rotate: false\n");
        Write(QString::fromStdString(json), R"({"skeleton":{"spine":"3.8.99"},
            "bones":[{"name":"root"},{"name":"arm","parent":"root","x":1000}],
            "slots":[{"name":"mesh","bone":"arm","attachment":"box","color":"ffffff80"},
                     {"name":"quad","bone":"root","attachment":"box","blend":"additive"}],
            "skins":[{"name":"default","attachments":{"quad":{"box":{"width":2000,"height":1000}},
                "mesh":{"box":{"type":"mesh","uvs":[0,0,1,0,1,1,0,1],"triangles":[0,1,2,2,3,0],
                "vertices":[0,0,1000,0,1000,1000,0,1000],"color":"ff0000ff"}}}},{"name":"alt","attachments":{}}],
            "animations":{"turn":{"bones":{"root":{"rotate":[{"angle":0},{"time":1,"angle":90}]}}},
                          "still":{}}})");
    }
};
} // namespace

TEST(SpineDataNames, AtlasNameReplacesTheLastFourCharacters)
{
    EXPECT_EQ(SpineData::AtlasNameFor("art/hero.json"), "art/hero.atlas");
    EXPECT_EQ(SpineData::AtlasNameFor("abcd"), "atlas");
    EXPECT_EQ(SpineData::AtlasNameFor("ab"), "abatlas");
    EXPECT_EQ(SpineData::AtlasNameFor(""), "atlas");
}

TEST_F(SpineDataTest, LoadingPrintsItsMessagesAndLoadsThePageAsAnImageSet)
{
    RecordingImageSets imageSets;
    testing::internal::CaptureStdout();
    SpineData spine(json, &imageSets);
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string dir = folder.path().toStdString();
    EXPECT_NE(out.find("Attempting to load a spine file with the filename: " + json + "\n"),
              std::string::npos);
    EXPECT_NE(out.find("Atlas name is " + dir + "/hero.atlas\n"), std::string::npos);
    EXPECT_NE(out.find("Trying to load image from " + dir + "/page.png as part of Spine stuff.\n"),
              std::string::npos);
    EXPECT_NE(out.find("Loaded a spine thing with 2 bones!\n"), std::string::npos);
    EXPECT_EQ(imageSets.names, std::vector<std::string>{dir + "/page_Diffuse.png"});
    ASSERT_TRUE(spine.IsLoaded());
    EXPECT_EQ(spine.GetAtlas()->pages[0].width, 64);
    EXPECT_EQ(spine.GetSkinNames(), (std::vector<std::string>{"default", "alt"}));
    // In the file's order, not Qt's sorted one: the first animation written is the one that plays.
    EXPECT_EQ(spine.GetAnimationNames(), (std::vector<std::string>{"turn", "still"}));
    EXPECT_EQ(spine.GetAnimationState()->Current()->name, "turn");
    EXPECT_FLOAT_EQ(spine.GetPlaybackSpeed(), 0.001f);
    ASSERT_NE(spine.GetAnimationState()->Current(), nullptr);
}

TEST_F(SpineDataTest, AFailedLoadLeavesAHarmlessEmptyObject)
{
    testing::internal::CaptureStdout();
    SpineData spine(folder.filePath(QStringLiteral("missing.json")).toStdString());
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("missing.json"), std::string::npos);
    EXPECT_EQ(out.find("Loaded a spine thing"), std::string::npos);
    EXPECT_FALSE(spine.IsLoaded());
    EXPECT_FLOAT_EQ(spine.GetPlaybackSpeed(), 1.0f);
    spine.Update(16.0f);
    spine.SetSkin("alt");
    spine.SetAnimation("turn");
    EXPECT_TRUE(spine.BuildDrawList().empty());
    EXPECT_TRUE(spine.GetSkinNames().empty());
    EXPECT_TRUE(spine.GetAnimationNames().empty());
}

// Frame times arrive in milliseconds times the playback speed (0.001 per unit of speed): 250 ms at
// speed 1 is a quarter of the animation, and backwards runs the clock the other way.
TEST_F(SpineDataTest, PlaybackSpeedAndDirectionScaleTheAnimationClock)
{
    testing::internal::CaptureStdout();
    SpineData spine(json);
    spine.SetAnimation("turn");
    spine.SetPlaybackSpeed(1.0f);
    EXPECT_FLOAT_EQ(spine.GetPlaybackSpeed(), 0.001f);
    spine.Update(250.0f);
    EXPECT_NEAR(spine.GetSkeleton()->bones[0].rotation, 22.5f, 1e-3f);
    EXPECT_FLOAT_EQ(spine.GetSkeleton()->time, 250.0f);
    spine.SetPlayingBackwards(true);
    spine.Update(500.0f);
    EXPECT_NEAR(spine.GetAnimationState()->AnimationTime(), 0.75f, 1e-5f);
    EXPECT_NEAR(spine.GetSkeleton()->bones[0].rotation, 67.5f, 1e-3f);
    spine.SetPlaybackSpeed(2.0f);
    spine.Update(100.0f);
    EXPECT_NEAR(spine.GetAnimationState()->AnimationTime(), 0.55f, 1e-5f);
    spine.SetAnimation("nothing such");
    spine.SetSkin("nothing such");
    testing::internal::GetCapturedStdout();
}

// Slots are drawn from the last in the draw order to the first: the quad, then the mesh, in
// preview units (a thousandth of a skeleton unit), with page UVs from the real 64 x 32 page.
TEST_F(SpineDataTest, DrawListHoldsQuadsAndTrianglesInReverseDrawOrder)
{
    testing::internal::CaptureStdout();
    SpineData spine(json);
    testing::internal::GetCapturedStdout();
    const std::vector<SpineDrawItem> items = spine.BuildDrawList();
    ASSERT_EQ(items.size(), 2u);

    const SpineDrawItem& quad = items[0];
    EXPECT_EQ(quad.primitive, SpineDrawItem::Primitive::Quads);
    EXPECT_EQ(quad.blend, SpineBlendMode::Additive);
    EXPECT_EQ(quad.page, 0);
    const std::vector<float> corners = {-1, -0.5f, 1, -0.5f, 1, 0.5f, -1, 0.5f};
    ASSERT_EQ(quad.positions.size(), 8u);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(quad.positions[i], corners[i], 1e-6f);
    const std::vector<float> uvs = {0, 0.5f, 0.5f, 0.5f, 0.5f, 0, 0, 0};
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(quad.uvs[i], uvs[i], 1e-6f);

    const SpineDrawItem& mesh = items[1];
    EXPECT_EQ(mesh.primitive, SpineDrawItem::Primitive::Triangles);
    ASSERT_EQ(mesh.positions.size(), 12u);
    ASSERT_EQ(mesh.uvs.size(), 12u);
    // Third index of the first triangle is vertex 2: (1000, 1000) on a bone at x = 1000.
    EXPECT_NEAR(mesh.positions[4], 2.0f, 1e-6f);
    EXPECT_NEAR(mesh.positions[5], 1.0f, 1e-6f);
    EXPECT_NEAR(mesh.uvs[4], 0.5f, 1e-6f);
    EXPECT_NEAR(mesh.uvs[5], 0.5f, 1e-6f);
    EXPECT_FLOAT_EQ(mesh.colour.r, 1.0f);
    EXPECT_FLOAT_EQ(mesh.colour.g, 0.0f);
    EXPECT_NEAR(mesh.colour.a, 128.0f / 255.0f, 1e-6f);
}

TEST_F(SpineDataTest, ASkeletonWithoutAnimationsShowsTheSetupPose)
{
    Write(QString::fromStdString(json), R"({"bones":[{"name":"root","rotation":30}],
        "slots":[{"name":"quad","bone":"root","attachment":"box"}],
        "skins":{"default":{"quad":{"box":{"width":2,"height":2}}}}})");
    Write(folder.filePath(QStringLiteral("hero.atlas")), "");
    testing::internal::CaptureStdout();
    SpineData spine(json);
    spine.Update(100.0f);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("drawn without textures"), std::string::npos);
    ASSERT_TRUE(spine.IsLoaded());
    EXPECT_EQ(spine.GetAnimationState()->Current(), nullptr);
    EXPECT_NEAR(spine.GetSkeleton()->bones[0].c, 0.5f, 1e-6f);
    const auto items = spine.BuildDrawList();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].page, -1);
}
