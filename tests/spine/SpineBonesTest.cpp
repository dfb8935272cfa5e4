// World transforms of bones, weighted meshes and constraints against values worked out by hand.
#include "SpineTestSkeletons.h"

namespace {
void ExpectMatrix(const SpineBone& bone, float a, float b, float c, float d)
{
    EXPECT_NEAR(bone.a, a, 1e-5f) << bone.data->name;
    EXPECT_NEAR(bone.b, b, 1e-5f) << bone.data->name;
    EXPECT_NEAR(bone.c, c, 1e-5f) << bone.data->name;
    EXPECT_NEAR(bone.d, d, 1e-5f) << bone.data->name;
}
} // namespace

// A parent turned 90 degrees and scaled by 2, and a mirrored parent, with a child in every inherit
// mode, written with each version's key: 4.2 "inherit", 3.5-4.1 "transform" and the 3.4 booleans.
TEST(SpineBones, EveryInheritModeGivesTheHandComputedWorldTransform)
{
    const auto data = ReadSkeleton(R"({"bones":[
        {"name":"root"},
        {"name":"turned","parent":"root","x":10,"rotation":90,"scaleX":2,"scaleY":2},
        {"name":"normal","parent":"turned","x":5},
        {"name":"onlyTranslation","parent":"turned","x":5,"inherit":"onlyTranslation"},
        {"name":"noRotation","parent":"turned","x":5,"transform":"noRotationOrReflection"},
        {"name":"noScale","parent":"turned","x":5,"inherit":"noScale"},
        {"name":"oldNoRotation","parent":"turned","x":5,"inheritRotation":false},
        {"name":"oldOnlyTranslation","parent":"turned","x":5,"inheritRotation":false,"inheritScale":false},
        {"name":"oldNoScale","parent":"turned","x":5,"inheritScale":false},
        {"name":"mirrored","parent":"root","scaleX":-1},
        {"name":"mirroredNoScale","parent":"mirrored","inherit":"noScale"},
        {"name":"mirroredNoScaleOrReflection","parent":"mirrored","transform":"noScaleOrReflection"},
        {"name":"mirroredNormal","parent":"mirrored","scaleX":3}
    ]})");
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    skeleton.UpdateWorldTransform();
    const auto bone = [&](const char* name) -> const SpineBone& {
        return skeleton.bones[static_cast<std::size_t>(data->FindBone(name))];
    };

    ExpectMatrix(bone("turned"), 0, -2, 2, 0);
    for (const char* name : {"normal", "onlyTranslation", "noRotation", "noScale", "oldNoRotation"})
    {
        EXPECT_NEAR(bone(name).worldX, 10.0f, 1e-5f) << name;
        EXPECT_NEAR(bone(name).worldY, 10.0f, 1e-5f) << name;
    }
    ExpectMatrix(bone("normal"), 0, -2, 2, 0);
    ExpectMatrix(bone("onlyTranslation"), 1, 0, 0, 1);
    ExpectMatrix(bone("noRotation"), 2, 0, 0, 2);
    ExpectMatrix(bone("oldNoRotation"), 2, 0, 0, 2);
    ExpectMatrix(bone("oldOnlyTranslation"), 1, 0, 0, 1);
    ExpectMatrix(bone("noScale"), 0, -1, 1, 0);
    ExpectMatrix(bone("oldNoScale"), 0, -1, 1, 0);

    ExpectMatrix(bone("mirroredNormal"), -3, 0, 0, 1);
    ExpectMatrix(bone("mirroredNoScale"), -1, 0, 0, 1);
    ExpectMatrix(bone("mirroredNoScaleOrReflection"), -1, 0, 0, -1);
}

// One vertex bound to two bones with weights 1/4 and 3/4, written the 3.0 way (a "skinnedmesh" in an
// object of skins) and the 3.8 way (a "mesh" whose vertex list is longer than its UVs).
TEST(SpineBones, WeightedVertexIsTheWeightedSumOfItsBones)
{
    const std::string bones = R"("bones":[{"name":"root"},{"name":"first","parent":"root"},
        {"name":"second","parent":"root","x":10,"rotation":90}],
        "slots":[{"name":"skin","bone":"root","attachment":"m"}],)";
    const std::string vertices = R"("uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
        "vertices":[2, 1,4,2,0.25, 2,2,0,0.75, 1, 1,1,0,1, 1, 2,1,0,1])";
    const std::string old =
        "{" + bones + R"("skins":{"default":{"skin":{"m":{"type":"skinnedmesh",)" + vertices + "}}}}}";
    const std::string modern = R"({"skeleton":{"spine":"3.8.99"},)" + bones +
                               R"("skins":[{"name":"default","attachments":{"skin":{"m":{"type":"mesh",)" +
                               vertices + "}}}}]}";
    for (const std::string& json : {old, modern})
    {
        const auto data = ReadSkeleton(json);
        ASSERT_TRUE(data);
        SpineSkeleton skeleton(*data);
        skeleton.UpdateWorldTransform();
        std::vector<float> world;
        skeleton.ComputeWorldVertices(skeleton.slotList[0], world);
        ASSERT_EQ(world.size(), 6u);
        // first: (4, 2); second, turned 90 degrees at (10, 0): (2, 0) lands on (10, 2).
        EXPECT_NEAR(world[0], 0.25f * 4 + 0.75f * 10, 1e-4f);
        EXPECT_NEAR(world[1], 2.0f, 1e-4f);
        EXPECT_NEAR(world[2], 1.0f, 1e-4f);
        EXPECT_NEAR(world[3], 0.0f, 1e-4f);
        EXPECT_NEAR(world[4], 10.0f, 1e-4f);
        EXPECT_NEAR(world[5], 1.0f, 1e-4f);
    }
}

// Two bones of length 10 reaching for a target at (10, 10): one bend direction puts the elbow at
// (10, 0), the other at (0, 10); either way the hand reaches the target. Half the mix goes halfway.
TEST(SpineBones, TwoBoneIkBendsEitherWayAndOneBoneIkPoints)
{
    const auto skeletonFor = [](const char* bend, const char* mix) {
        return std::string(R"({"bones":[{"name":"root"},{"name":"upper","parent":"root","length":10},
            {"name":"lower","parent":"upper","x":10,"length":10},{"name":"target","parent":"root","x":10,"y":10},
            {"name":"pointer","parent":"root","x":-5,"length":3},{"name":"goal","parent":"root","x":-5,"y":-7}],
            "ik":[{"name":"arm","bones":["upper","lower"],"target":"target","bendPositive":)") +
               bend + R"(,"mix":)" + mix + R"(},{"name":"look","bones":["pointer"],"target":"goal"}]})";
    };
    struct Case
    {
        const char* bend;
        float elbowX, elbowY;
    };
    for (const Case& c : {Case{"true", 10, 0}, Case{"false", 0, 10}})
    {
        const auto data = ReadSkeleton(skeletonFor(c.bend, "1"));
        ASSERT_TRUE(data);
        SpineSkeleton skeleton(*data);
        skeleton.UpdateWorldTransform();
        const SpineBone& lower = skeleton.bones[2];
        EXPECT_NEAR(lower.worldX, c.elbowX, 1e-3f) << c.bend;
        EXPECT_NEAR(lower.worldY, c.elbowY, 1e-3f) << c.bend;
        const auto [handX, handY] = BonePoint(lower, 10, 0);
        EXPECT_NEAR(handX, 10.0f, 1e-3f) << c.bend;
        EXPECT_NEAR(handY, 10.0f, 1e-3f) << c.bend;

        const SpineBone& pointer = skeleton.bones[4];
        EXPECT_NEAR(pointer.a, 0.0f, 1e-5f);
        EXPECT_NEAR(pointer.c, -1.0f, 1e-5f);
    }
    const auto data = ReadSkeleton(skeletonFor("true", "0.5"));
    ASSERT_TRUE(data);
    SpineSkeleton skeleton(*data);
    skeleton.UpdateWorldTransform();
    // The upper bone's solved rotation is 0 either way here; the lower one's is 90, so half is 45.
    const SpineBone& lower = skeleton.bones[2];
    EXPECT_NEAR(std::atan2(lower.c, lower.a) * 180.0f / 3.14159265f, 45.0f, 1e-3f);
}

// A world-mode constraint pulls a bone halfway to the target's rotation and fully onto its x, with
// the old 3.x mix names and the 4.x ones giving the same pose; children follow the moved bone.
TEST(SpineBones, TransformConstraintMixesTowardTheTarget)
{
    const std::string bones = R"("bones":[{"name":"root"},{"name":"follower","parent":"root","x":1,"y":2},
        {"name":"hand","parent":"follower","x":4},{"name":"target","parent":"root","x":10,"y":5,"rotation":60}],)";
    const std::string modern =
        "{" + bones + R"("transform":[{"name":"t","bones":["follower"],"target":"target",
        "mixRotate":0.5,"mixX":1,"mixY":0,"mixScaleX":0,"mixShearY":0}]})";
    const std::string old = "{" + bones + R"("transform":[{"name":"t","bone":"follower","target":"target",
        "rotateMix":0.5,"translateMix":1,"scaleMix":0,"shearMix":0}]})";
    for (const std::string& json : {modern, old})
    {
        const auto data = ReadSkeleton(json);
        ASSERT_TRUE(data);
        SpineSkeleton skeleton(*data);
        skeleton.UpdateWorldTransform();
        const SpineBone& follower = skeleton.bones[1];
        EXPECT_NEAR(std::atan2(follower.c, follower.a) * 180.0f / 3.14159265f, 30.0f, 1e-3f);
        EXPECT_NEAR(follower.worldX, 10.0f, 1e-4f);
        const float expectedY = json == modern ? 2.0f : 5.0f; // the old single mix moves both axes
        EXPECT_NEAR(follower.worldY, expectedY, 1e-4f);
        const SpineBone& hand = skeleton.bones[2];
        EXPECT_NEAR(hand.worldX, 10.0f + 4.0f * std::cos(30.0f * 3.14159265f / 180.0f), 1e-3f);
        EXPECT_NEAR(hand.worldY, expectedY + 4.0f * std::sin(30.0f * 3.14159265f / 180.0f), 1e-3f);
    }
}

// A parent stretched along its own x axis only: the child's reach is an ellipse, and the solve still
// lands the hand on a reachable target, on either side.
TEST(SpineBones, TwoBoneIkReachesTheTargetUnderNonUniformScale)
{
    for (const char* bend : {"true", "false"})
    {
        const auto data = ReadSkeleton(std::string(R"({"bones":[{"name":"root"},
            {"name":"upper","parent":"root","scaleX":2,"length":5},{"name":"lower","parent":"upper","x":5,"length":6},
            {"name":"target","parent":"root","x":4,"y":9}],
            "ik":[{"name":"arm","bones":["upper","lower"],"target":"target","bendPositive":)") +
                                       bend + "}]}");
        ASSERT_TRUE(data);
        SpineSkeleton skeleton(*data);
        skeleton.UpdateWorldTransform();
        const auto [handX, handY] = BonePoint(skeleton.bones[2], 6, 0);
        EXPECT_NEAR(handX, 4.0f, 1e-3f) << bend;
        EXPECT_NEAR(handY, 9.0f, 1e-3f) << bend;
    }
}
