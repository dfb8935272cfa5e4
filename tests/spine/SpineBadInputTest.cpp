// Damaged files: the reader refuses or skips the damaged part with a message, and whatever loads can
// be posed without a crash.
#include "SpineTestSkeletons.h"

#include "spine/runtime/SpineAnimationState.h"

namespace {
// Poses every animation at a few times and computes every slot's vertices.
void PoseEverything(const SpineSkeletonData& data)
{
    SpineSkeleton skeleton(data);
    SpineAnimationState state(data);
    for (const SpineAnimation& animation : data.animations)
    {
        state.SetAnimation(&animation, true);
        for (float step : {0.0f, 0.3f, 1.7f, -5.0f})
        {
            state.Update(step);
            state.Apply(skeleton);
            skeleton.UpdateWorldTransform();
            std::vector<float> vertices;
            for (const SpineSlot& slot : skeleton.slotList)
                skeleton.ComputeWorldVertices(slot, vertices);
        }
    }
}

bool Mentions(const std::vector<std::string>& lines, const std::string& text)
{
    for (const std::string& line : lines)
    {
        if (line.find(text) != std::string::npos)
            return true;
    }
    return false;
}

const char* Complete = R"({"skeleton":{"spine":"3.8.99"},
    "bones":[{"name":"root"},{"name":"a","parent":"root","length":5},{"name":"b","parent":"a","x":5,"length":5},
             {"name":"t","parent":"root","x":3,"y":3}],
    "slots":[{"name":"s","bone":"b","attachment":"m"},{"name":"r","bone":"a","attachment":"r"}],
    "ik":[{"name":"ik","bones":["a","b"],"target":"t"}],
    "transform":[{"name":"tc","bones":["t"],"target":"root","rotateMix":0.5}],
    "skins":[{"name":"default","attachments":{"s":{"m":{"type":"mesh","uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
        "vertices":[1,1,0,0,1, 2,1,1,0,0.5,2,1,0,0.5, 1,2,0,1,1]}},"r":{"r":{"width":4,"height":4}}}}],
    "animations":{"walk":{"bones":{"a":{"rotate":[{"angle":0,"curve":0.2,"c2":0.1},{"time":1,"angle":90}]}},
        "deform":{"default":{"s":{"m":[{"vertices":[1,2,3,4]},{"time":0.5,"offset":2,"vertices":[1]}]}}},
        "drawOrder":[{"time":0.2,"offsets":[{"slot":"r","offset":-1}]}]}}})";
} // namespace

TEST(SpineBadInput, UnreadableFilesAreRefusedWithAReason)
{
    SpineJsonReader reader;
    EXPECT_FALSE(reader.ReadFile("/nonexistent/hero.json"));
    EXPECT_NE(reader.error.find("hero.json"), std::string::npos);
    EXPECT_FALSE(reader.Read(QByteArray("{\"bones\": [")));
    EXPECT_NE(reader.error.find("Invalid skeleton JSON"), std::string::npos);
    EXPECT_FALSE(reader.Read(QByteArray("\x02\x00skeleton", 10)));
    EXPECT_NE(reader.error.find("binary"), std::string::npos);
    EXPECT_FALSE(reader.Read(QByteArray("[]")));
    EXPECT_FALSE(reader.Read(QByteArray(R"({"bones":[{"name":"a","parent":"nobody"}]})")));
    EXPECT_NE(reader.error.find("nobody"), std::string::npos);

    std::string error;
    EXPECT_FALSE(SpineAtlas::Load("/nonexistent/hero.atlas", nullptr, ReadSpineFileFromDisk, error));
    EXPECT_NE(error.find("hero.atlas"), std::string::npos);
    EXPECT_FALSE(SpineAtlas::Parse(QByteArray("\n\n"), error));
}

// Every prefix of a valid file: each either loads or is refused, and what loads can be posed.
TEST(SpineBadInput, TruncatedFilesNeverCrash)
{
    const QByteArray json(Complete);
    const auto whole = ReadSkeleton(Complete);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->animations.size(), 1u);
    PoseEverything(*whole);
    for (qsizetype length = 0; length < json.size(); ++length)
    {
        SpineJsonReader reader;
        const auto data = reader.Read(json.left(length));
        EXPECT_FALSE(data) << length;
        EXPECT_FALSE(reader.error.empty());
    }
}

TEST(SpineBadInput, DamagedPartsAreSkippedAndTheRestLoads)
{
    std::vector<std::string> warnings;
    const auto data = ReadSkeleton(R"({"skeleton":{"spine":"4.2.0"},
        "bones":[{"name":"root","x":1e300,"rotation":"twelve"},{"name":"a","parent":"root","y":-1e20}],
        "slots":[{"name":"lost","bone":"nobody"},{"name":"s","bone":"a","attachment":"m","dark":"ffffff"},
                 {"name":"t","bone":"a","attachment":"x","color":"zz"}],
        "ik":[{"name":"bad","bones":["a","ghost"],"target":"root"}],
        "transform":[{"name":"self","bones":["a"],"target":"a"}],
        "path":[{"name":"p","bones":["a"],"target":"s"}],
        "physics":[{"name":"ph","bone":"a"}],
        "skins":[{"name":"default","attachments":{
            "s":{"m":{"type":"mesh","uvs":[0,0,1,0,0,1],"triangles":[0,1,7],"vertices":[0,0,1,0,0,1]},
                 "w":{"type":"mesh","uvs":[0,0,1,0],"triangles":[],"vertices":[1,9,0,0,1,1,0,0,0,1]},
                 "short":{"type":"mesh","uvs":[0,0,1,0],"triangles":[],"vertices":[2,0,0,0,1]},
                 "clip":{"type":"clipping","end":"t","vertexCount":3,"vertices":[0,0,1,0,0,1]},
                 "odd":{"type":"hologram"},
                 "link":{"type":"linkedmesh","parent":"missing"}},
            "t":{"x":{"width":2,"height":2}},
            "ghost":{"g":{"width":1,"height":1}}}}],
        "animations":{"a":{"bones":{"ghost":{"rotate":[{"value":1}]},"a":{"wobble":[{"value":1}],
                "rotate":[{"time":2,"value":1},{"time":1,"value":2}]}},
            "slots":{"t":{"rgba2":[{"light":"ffffffff","dark":"000000"}]}},
            "ik":{"missing":[{"mix":0.5}]},
            "attachments":{"default":{"t":{"x":{"deform":[{"vertices":[1,2]}]}},
                                      "s":{"nothing":{"deform":[{"vertices":[1,2]}]}}}},
            "drawOrder":[{"offsets":[{"slot":"ghost","offset":1}]}]}}})",
                                   nullptr, &warnings);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->bones[0].x, 0.0f);
    EXPECT_EQ(data->bones[0].rotation, 0.0f);
    EXPECT_EQ(data->slotList.size(), 2u);
    EXPECT_TRUE(data->ikConstraints.empty());
    EXPECT_TRUE(data->transformConstraints.empty());
    const SpineSkin& skin = *data->defaultSkin;
    EXPECT_FALSE(skin.Find(0, "m"));
    EXPECT_FALSE(skin.Find(0, "w"));
    EXPECT_FALSE(skin.Find(0, "short"));
    EXPECT_FALSE(skin.Find(0, "odd"));
    EXPECT_FALSE(skin.Find(0, "link"));
    EXPECT_TRUE(skin.Find(0, "clip"));
    EXPECT_TRUE(skin.Find(1, "x"));
    for (const char* expected :
         {"out of range", "not a number", "nobody", "Two-colour", "ghost", "Path constraints", "Physics",
          "Clipping", "hologram", "missing", "wobble", "rgba2", "back in time", "RRGGBBAA", "draw order"})
        EXPECT_TRUE(Mentions(warnings, expected)) << expected;
    PoseEverything(*data);
}

// A chain of 100 000 bones, each the child of the one before: loading and posing it neither
// overflows the stack nor takes quadratic time.
TEST(SpineBadInput, VeryDeepHierarchiesLoadAndPose)
{
    std::string json = R"({"bones":[{"name":"b0"})";
    constexpr int Count = 100000;
    for (int i = 1; i < Count; ++i)
    {
        json += R"(,{"name":"b)";
        json += std::to_string(i);
        json += R"(","parent":"b)";
        json += std::to_string(i - 1);
        json += R"(","x":1,"rotation":0.001})";
    }
    json += R"(],"ik":[{"name":"ik","bones":["b99998","b99999"],"target":"b5"}]})";
    const auto data = ReadSkeleton(json);
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    skeleton.UpdateWorldTransform();
    EXPECT_TRUE(std::isfinite(skeleton.bones.back().worldX));
}
