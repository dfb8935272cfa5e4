#pragma once
#include "spine/runtime/SpineSkeletonData.h"

#include <string>
#include <vector>

// A bone's current local values (set by animations), the values the world transform was last built
// from (changed by constraints), and its world matrix [a b; c d] and position.
struct SpineBone
{
    const SpineBoneData* data = nullptr;
    int parent = -1;
    float x = 0, y = 0, rotation = 0, scaleX = 1, scaleY = 1, shearX = 0, shearY = 0;
    SpineInherit inherit = SpineInherit::Normal;
    float ax = 0, ay = 0, arotation = 0, ascaleX = 1, ascaleY = 1, ashearX = 0, ashearY = 0;
    float a = 1, b = 0, c = 0, d = 1, worldX = 0, worldY = 0;
    bool active = true;
};

struct SpineSlot
{
    const SpineSlotData* data = nullptr;
    SpineColour colour;
    const SpineAttachment* attachment = nullptr;
    std::vector<float> deform; // deltas written by a deform timeline; empty for none
};

struct SpineIkConstraint
{
    const SpineIkData* data = nullptr;
    float mix = 1.0f;
    int bendDirection = 1;
    bool active = true;
};

struct SpineTransformConstraint
{
    const SpineTransformData* data = nullptr;
    float mixRotate = 1, mixX = 1, mixY = 1, mixScaleX = 1, mixScaleY = 1, mixShearY = 1;
    bool active = true;
};

// One posable instance of skeleton data: bones, slots, draw order, skin and constraints.
class SpineSkeleton
{
public:
    explicit SpineSkeleton(const SpineSkeletonData& skeletonData);

    const SpineSkeletonData& data;
    std::vector<SpineBone> bones;
    std::vector<SpineSlot> slotList;
    std::vector<int> drawOrder; // slot indices, back to front
    std::vector<SpineIkConstraint> ikConstraints;
    std::vector<SpineTransformConstraint> transformConstraints;
    const SpineSkin* skin = nullptr;
    float x = 0.0f, y = 0.0f, scaleX = 1.0f, scaleY = 1.0f;
    float time = 0.0f;

    void SetToSetupPose();
    void SetBonesToSetupPose();
    void SetSlotsToSetupPose();
    // False (and nothing changes) when no skin has that name.
    bool SetSkin(const std::string& name);
    void SetSkin(const SpineSkin* newSkin);
    // The attachment a slot shows under `key`: the current skin's, else the default skin's.
    const SpineAttachment* FindAttachment(int slot, const std::string& key) const;
    void Update(float delta) { time += delta; }

    // Builds every bone's world transform from its local values, running the constraints in order.
    void UpdateWorldTransform();
    void UpdateBoneWorldTransform(SpineBone& bone, float lx, float ly, float lrotation, float lscaleX,
                                  float lscaleY, float lshearX, float lshearY);
    // Recovers a bone's applied local values from its world transform after a constraint moved it.
    void UpdateAppliedTransform(SpineBone& bone);

    // World positions (x, y pairs) of the slot's attachment: the four corners of a region (bottom-left,
    // bottom-right, top-right, top-left) or every vertex of a mesh. Empty for the other kinds.
    void ComputeWorldVertices(const SpineSlot& slot, std::vector<float>& out) const;

private:
    struct CacheEntry
    {
        enum Kind
        {
            Bone,
            Ik,
            Transform
        } kind;
        int index;
    };
    std::vector<CacheEntry> updateCache;
    void BuildUpdateCache();
    void ApplyIk(const SpineIkConstraint& constraint);
    void ApplyIkOneBone(SpineBone& bone, float targetX, float targetY, float mix);
    void ApplyIkTwoBones(SpineBone& parent, SpineBone& child, float targetX, float targetY, int bendDirection,
                         float mix);
    void ApplyTransform(const SpineTransformConstraint& constraint);
};
