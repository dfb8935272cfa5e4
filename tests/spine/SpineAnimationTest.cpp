// Timelines of every version family: curve encodings, rotation wrapping, deform keys in their three
// homes, draw order, attachment keys, skins and the looping track.
#include "SpineTestSkeletons.h"

#include "spine/runtime/SpineAnimationState.h"

namespace {
float BoneRotation(const std::string& json, float time)
{
    const auto data = ReadSkeleton(json);
    if (!data || data->animations.empty())
        return NAN;
    SpineSkeleton skeleton(*data);
    data->animations[0].Apply(skeleton, time);
    return skeleton.bones[1].rotation;
}

std::string RotateSkeleton(const std::string& version, const std::string& keys)
{
    return R"({"skeleton":{"spine":")" + version +
           R"("},"bones":[{"name":"root"},{"name":"b","parent":"root"}],
        "animations":{"a":{"bones":{"b":{"rotate":[)" +
           keys + "]}}}}}";
}
} // namespace

// The ease-in-out curve with handles (0.25, 0) and (0.75, 1), written in each encoding. At a tenth of
// the way it reads 4.2553 of 100 on the ten-segment polyline through the curve points at u = 0.1 and
// u = 0.2, (0.082, 0.028) and (0.176, 0.104); solving the cubic exactly would give about 3.94.
TEST(SpineAnimation, EveryCurveEncodingIsReadThroughTenSegments)
{
    const std::string normalised =
        RotateSkeleton("3.7.94", R"({"time":0,"angle":0,"curve":[0.25,0,0.75,1]},{"time":1,"angle":100})");
    const std::string flattened =
        RotateSkeleton("3.8.99", R"({"angle":0,"curve":0.25,"c3":0.75},{"time":1,"angle":100})");
    const std::string absolute =
        RotateSkeleton("4.1.23", R"({"value":0,"curve":[0.25,0,0.75,100]},{"time":1,"value":100})");
    for (const std::string& json : {normalised, flattened, absolute})
    {
        EXPECT_NEAR(BoneRotation(json, 0.1f), 4.2553f, 2e-3f);
        EXPECT_NEAR(BoneRotation(json, 0.5f), 50.0f, 1e-3f);
        EXPECT_NEAR(BoneRotation(json, 0.9f), 100.0f - 4.2553f, 2e-3f); // the curve is symmetric
        EXPECT_NEAR(BoneRotation(json, 2.0f), 100.0f, 1e-4f) << "holds the last key";
    }
    // Stepped and linear keys, and a first key later than 0 leaving the setup pose before it.
    const std::string stepped = RotateSkeleton(
        "4.2.0", R"({"time":0.5,"value":10,"curve":"stepped"},{"time":1,"value":30},{"time":2,"value":50})");
    EXPECT_NEAR(BoneRotation(stepped, 0.25f), 0.0f, 1e-6f);
    EXPECT_NEAR(BoneRotation(stepped, 0.99f), 10.0f, 1e-6f);
    EXPECT_NEAR(BoneRotation(stepped, 1.5f), 40.0f, 1e-4f);
}

// Up to 3.8 a turn from 170 to -170 degrees takes the short way through 180; from 4.0 the values are
// interpolated as written, through 0.
TEST(SpineAnimation, RotationWrapsOnlyBeforeFourZero)
{
    const std::string keys = R"({"time":0,"angle":170,"value":170},{"time":1,"angle":-170,"value":-170})";
    EXPECT_NEAR(std::fmod(BoneRotation(RotateSkeleton("3.8.99", keys), 0.5f) + 360.0f, 360.0f), 180.0f,
                1e-3f);
    EXPECT_NEAR(BoneRotation(RotateSkeleton("4.0.64", keys), 0.5f), 0.0f, 1e-3f);
}

// 4.0 splits translate into per-axis timelines with one curve per value (8 numbers for translate);
// 3.x scale keys multiply the setup scale.
TEST(SpineAnimation, PerValueCurvesAndMultiplicativeScale)
{
    const auto data = ReadSkeleton(R"({"skeleton":{"spine":"4.2.11"},
        "bones":[{"name":"root"},{"name":"b","parent":"root","x":1,"scaleX":2}],
        "animations":{"a":{"bones":{"b":{
            "translate":[{"x":0,"y":0,"curve":[0.25,0,0.75,10, 0.25,0,0.75,0]},{"time":1,"x":10,"y":10}],
            "scalex":[{"value":1},{"time":1,"value":3}],
            "sheary":[{"value":5}]}}}}})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    data->animations[0].Apply(skeleton, 0.1f);
    EXPECT_NEAR(skeleton.bones[1].x, 1.0f + 0.42553f, 2e-4f);
    // y's handles lie on 0, a different curve: sample u = 0.1 has y = 0.0270 + 0.001 * 10 ...
    EXPECT_LT(skeleton.bones[1].y, 0.2f);
    EXPECT_NEAR(skeleton.bones[1].scaleX, 2.0f * 1.2f, 1e-5f);
    EXPECT_NEAR(skeleton.bones[1].shearY, 5.0f, 1e-6f);
    data->animations[0].Apply(skeleton, 1.0f);
    EXPECT_NEAR(skeleton.bones[1].y, 10.0f, 1e-5f);
}

// A mesh triangle whose second vertex is pushed by (2, 4) at t = 1, the deform keys stored under "ffd"
// (3.0-3.2), "deform" (3.3-4.0) and "attachments" (4.1+). Halfway the vertex is halfway there.
TEST(SpineAnimation, DeformKeysMoveMeshVerticesInEveryVersionLayout)
{
    const std::string head =
        R"("bones":[{"name":"root"}],"slots":[{"name":"s","bone":"root","attachment":"m"}],
        "skins":{"default":{"s":{"m":{"type":"mesh","uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
        "vertices":[0,0,10,0,0,10]}}}},)";
    const std::string keys = R"([{"time":0},{"time":1,"offset":2,"vertices":[2,4]}])";
    const std::string layouts[] = {
        "{" + head + R"("animations":{"a":{"ffd":{"default":{"s":{"m":)" + keys + "}}}}}}",
        "{" + head + R"("animations":{"a":{"deform":{"default":{"s":{"m":)" + keys + "}}}}}}",
        "{" + head + R"("animations":{"a":{"attachments":{"default":{"s":{"m":{"deform":)" + keys + "}}}}}}}",
    };
    for (const std::string& json : layouts)
    {
        const auto data = ReadSkeleton(json);
        ASSERT_TRUE(data);
        ASSERT_EQ(data->animations.size(), 1u);
        EXPECT_FLOAT_EQ(data->animations[0].duration, 1.0f);
        SpineSkeleton skeleton(*data);
        data->animations[0].Apply(skeleton, 0.5f);
        skeleton.UpdateWorldTransform();
        std::vector<float> world;
        skeleton.ComputeWorldVertices(skeleton.slotList[0], world);
        ASSERT_EQ(world.size(), 6u);
        EXPECT_NEAR(world[2], 11.0f, 1e-5f);
        EXPECT_NEAR(world[3], 2.0f, 1e-5f);
        EXPECT_NEAR(world[4], 0.0f, 1e-5f);
        EXPECT_NEAR(world[5], 10.0f, 1e-5f);
    }
}

// Weighted deform keys hold one delta per influence; a linked mesh follows its parent's keys.
TEST(SpineAnimation, WeightedAndLinkedMeshesFollowDeformKeys)
{
    const auto data = ReadSkeleton(R"({"skeleton":{"spine":"3.8.99"},
        "bones":[{"name":"root"},{"name":"a","parent":"root"},{"name":"b","parent":"root","x":10}],
        "slots":[{"name":"s","bone":"root","attachment":"m"},{"name":"t","bone":"root","attachment":"m"}],
        "skins":[{"name":"default","attachments":{"s":{"m":{"type":"mesh","uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
            "vertices":[2,1,0,0,0.5,2,0,0,0.5, 1,1,5,0,1, 1,2,0,5,1]}},
            "t":{"m":{"type":"linkedmesh","parent":"m","skin":"other"}}}},
            {"name":"other","attachments":{"t":{"m":{"type":"mesh","uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
            "vertices":[2,1,0,0,0.5,2,0,0,0.5, 1,1,5,0,1, 1,2,0,5,1]}}}}],
        "animations":{"a":{"deform":{"default":{"s":{"m":[{"vertices":[0,0,4,0]}]}},
                                     "other":{"t":{"m":[{"vertices":[2,0,2,0]}]}}}}}})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    data->animations[0].Apply(skeleton, 0.0f);
    skeleton.UpdateWorldTransform();
    std::vector<float> world;
    skeleton.ComputeWorldVertices(skeleton.slotList[0], world);
    ASSERT_EQ(world.size(), 6u);
    // Vertex 0: half of (0, 0) on bone a and half of (4, 0) on bone b at x = 10.
    EXPECT_NEAR(world[0], 7.0f, 1e-5f);
    EXPECT_NEAR(world[2], 5.0f, 1e-5f);
    // The linked mesh in slot t shows the default skin's link to "other"'s mesh, and takes its keys.
    ASSERT_NE(skeleton.slotList[1].attachment, nullptr);
    ASSERT_NE(skeleton.slotList[1].attachment->parentMesh, nullptr);
    skeleton.ComputeWorldVertices(skeleton.slotList[1], world);
    EXPECT_NEAR(world[0], 0.5f * 2.0f + 0.5f * 12.0f, 1e-5f);
}

// Draw order keys: b moves two places forward and d three places back (to the front of the list), then a key
// without offsets restores the setup order; a key with an impossible offset falls back to the setup order.
TEST(SpineAnimation, DrawOrderKeysMoveSlotsAndRestoreTheSetupOrder)
{
    std::vector<std::string> warnings;
    const auto data = ReadSkeleton(R"({"bones":[{"name":"root"}],
        "slots":[{"name":"a","bone":"root"},{"name":"b","bone":"root"},{"name":"c","bone":"root"},
                 {"name":"d","bone":"root"}],
        "animations":{"a":{"drawOrder":[{"time":0,"offsets":[{"slot":"b","offset":2},{"slot":"d","offset":-3}]},
                                        {"time":1},{"time":2,"offsets":[{"slot":"a","offset":9}]}]}}})",
                                   nullptr, &warnings);
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    data->animations[0].Apply(skeleton, 0.5f);
    EXPECT_EQ(skeleton.drawOrder, (std::vector<int>{3, 0, 2, 1}));
    data->animations[0].Apply(skeleton, 1.5f);
    EXPECT_EQ(skeleton.drawOrder, (std::vector<int>{0, 1, 2, 3}));
    data->animations[0].Apply(skeleton, 0.5f);
    data->animations[0].Apply(skeleton, 2.5f);
    EXPECT_EQ(skeleton.drawOrder, (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(warnings.size(), 1u);
}

// Skins in both layouts: the chosen skin's attachment wins, the default skin fills what it lacks,
// and attachment and colour keys resolve through the same lookup.
TEST(SpineAnimation, SkinsFallBackToTheDefaultSkin)
{
    const std::string head = R"("bones":[{"name":"root"}],
        "slots":[{"name":"head","bone":"root","attachment":"head","color":"ff000080"},
                 {"name":"body","bone":"root","attachment":"body"}],)";
    const std::string tail = R"("animations":{"a":{"slots":{"body":{"attachment":[{"time":1,"name":"head"},
        {"time":2,"name":null}],"color":[{"time":0,"color":"00ff00ff"}]}}}}})";
    const std::string objectSkins = "{" + head +
                                    R"("skins":{"default":{"head":{"head":{"width":1,"height":1}},
        "body":{"body":{"width":2,"height":2},"head":{"width":3,"height":3}}},
        "red":{"head":{"head":{"name":"redHead","width":4,"height":4}}}},)" +
                                    tail;
    const std::string arraySkins = "{" + head + R"("skins":[{"name":"red","attachments":{"head":{"head":{
        "name":"redHead","width":4,"height":4}}}},{"name":"default","attachments":{"head":{"head":{"width":1,
        "height":1}},"body":{"body":{"width":2,"height":2},"head":{"width":3,"height":3}}}}],)" +
                                   tail;
    for (const std::string& json : {objectSkins, arraySkins})
    {
        const auto data = ReadSkeleton(json);
        ASSERT_TRUE(data);
        ASSERT_EQ(data->skins.size(), 2u);
        EXPECT_EQ(data->skins[0]->name, "default");
        EXPECT_EQ(data->skins[1]->name, "red");
        SpineSkeleton skeleton(*data);
        EXPECT_EQ(skeleton.slotList[0].attachment->name, "head");
        EXPECT_FALSE(skeleton.SetSkin("blue"));
        ASSERT_TRUE(skeleton.SetSkin("red"));
        EXPECT_EQ(skeleton.slotList[0].attachment->name, "redHead");
        EXPECT_EQ(skeleton.slotList[1].attachment->name, "body");
        EXPECT_FLOAT_EQ(skeleton.slotList[0].colour.a, 128.0f / 255.0f);

        const SpineAnimation& animation = data->animations[0];
        animation.Apply(skeleton, 1.5f);
        ASSERT_NE(skeleton.slotList[1].attachment, nullptr);
        EXPECT_FLOAT_EQ(skeleton.slotList[1].attachment->width, 3.0f);
        EXPECT_FLOAT_EQ(skeleton.slotList[1].colour.g, 1.0f);
        EXPECT_FLOAT_EQ(skeleton.slotList[1].colour.r, 0.0f);
        animation.Apply(skeleton, 2.5f);
        EXPECT_EQ(skeleton.slotList[1].attachment, nullptr);
    }
}

// Track 0 loops forwards and backwards, resetting to the setup pose before each application.
TEST(SpineAnimation, TrackLoopsInBothDirections)
{
    const auto data = ReadSkeleton(RotateSkeleton("4.2.0", R"({"value":0},{"time":2,"value":100})"));
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    SpineAnimationState state(*data);
    EXPECT_FALSE(state.SetAnimation("missing", true));
    ASSERT_TRUE(state.SetAnimation("a", true));
    state.Update(2.5f);
    state.Apply(skeleton);
    EXPECT_NEAR(skeleton.bones[1].rotation, 25.0f, 1e-4f);
    state.Update(-1.0f);
    state.Apply(skeleton);
    EXPECT_NEAR(skeleton.bones[1].rotation, 75.0f, 1e-4f);
}

// Constraint and inherit keys: the IK mix and bend direction, the transform mixes (3.x names) and
// the 4.2 inherit mode change the pose from their key on.
TEST(SpineAnimation, ConstraintAndInheritKeysChangeThePose)
{
    const auto data = ReadSkeleton(R"({"bones":[{"name":"root"},{"name":"upper","parent":"root","length":10},
        {"name":"lower","parent":"upper","x":10,"length":10},{"name":"target","parent":"root","x":10,"y":10},
        {"name":"follower","parent":"root"},{"name":"scaled","parent":"root","scaleX":3},
        {"name":"child","parent":"scaled"}],
        "ik":[{"name":"arm","bones":["upper","lower"],"target":"target"}],
        "transform":[{"name":"t","bones":["follower"],"target":"target","rotateMix":0,"translateMix":0,
                      "scaleMix":0,"shearMix":0}],
        "animations":{"a":{"ik":{"arm":[{"time":0,"mix":0},{"time":1,"mix":1,"bendPositive":false}]},
            "transform":{"t":[{"time":1,"translateMix":1}]},
            "bones":{"child":{"inherit":[{"time":1,"inherit":"noScale"}]}}}}})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    const SpineAnimation& animation = data->animations[0];
    animation.Apply(skeleton, 0.0f);
    skeleton.UpdateWorldTransform();
    EXPECT_NEAR(skeleton.bones[2].worldX, 10.0f, 1e-4f); // no IK: the arm lies along x
    EXPECT_NEAR(skeleton.bones[2].worldY, 0.0f, 1e-4f);
    EXPECT_NEAR(skeleton.bones[4].worldX, 0.0f, 1e-6f);
    EXPECT_NEAR(skeleton.bones[6].a, 3.0f, 1e-6f);

    skeleton.SetToSetupPose();
    animation.Apply(skeleton, 1.0f);
    skeleton.UpdateWorldTransform();
    EXPECT_NEAR(skeleton.bones[2].worldX, 0.0f, 1e-3f); // full IK, bending the other way
    EXPECT_NEAR(skeleton.bones[2].worldY, 10.0f, 1e-3f);
    EXPECT_NEAR(skeleton.bones[4].worldX, 10.0f, 1e-5f);
    EXPECT_NEAR(skeleton.bones[4].worldY, 10.0f, 1e-5f);
    EXPECT_NEAR(skeleton.bones[6].a, 1.0f, 1e-6f);
}

// A file without a usable version string is recognised by its layout: "rgba" slot keys mean 4.0 or
// later, so its four-number curve is read as absolute handles.
TEST(SpineAnimation, VersionlessFilesAreRecognisedByTheirLayout)
{
    const auto data = ReadSkeleton(R"({"skeleton":{"spine":"Dev"},
        "bones":[{"name":"root"},{"name":"b","parent":"root"}],"slots":[{"name":"s","bone":"root"}],
        "skins":[],
        "animations":{"a":{"bones":{"b":{"rotate":[{"value":0,"curve":[0.25,0,0.75,100]},{"time":1,"value":100}]}},
                           "slots":{"s":{"rgba":[{"color":"ffffffff"}]}}}}})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    data->animations[0].Apply(skeleton, 0.1f);
    EXPECT_NEAR(skeleton.bones[1].rotation, 4.2553f, 2e-3f);
}

// 3.8+ skin-only bones and constraints act only while the current skin lists them.
TEST(SpineAnimation, SkinOnlyBonesAndConstraintsFollowTheSkin)
{
    const auto data = ReadSkeleton(R"({"skeleton":{"spine":"4.0.64"},
        "bones":[{"name":"root"},{"name":"arm","parent":"root","length":5},
                 {"name":"target","parent":"root","y":5},{"name":"cape","parent":"root","skin":true}],
        "slots":[{"name":"cape","bone":"cape","attachment":"cape"}],
        "ik":[{"name":"aim","bones":["arm"],"target":"target","skin":true}],
        "skins":[{"name":"default","attachments":{"cape":{"cape":{"width":1,"height":1}}}},
                 {"name":"hero","bones":["cape"],"ik":["aim"]}]})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    skeleton.UpdateWorldTransform();
    EXPECT_FALSE(skeleton.bones[3].active);
    EXPECT_NEAR(skeleton.bones[1].c, 0.0f, 1e-6f);
    ASSERT_TRUE(skeleton.SetSkin("hero"));
    skeleton.UpdateWorldTransform();
    EXPECT_TRUE(skeleton.bones[3].active);
    EXPECT_NEAR(skeleton.bones[1].c, 1.0f, 1e-6f);
}
