#pragma once
#include "spine/runtime/SpineAnimation.h"
#include "spine/runtime/SpineAttachment.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class SpineAtlas;

enum class SpineInherit
{
    Normal,
    OnlyTranslation,
    NoRotationOrReflection,
    NoScale,
    NoScaleOrReflection
};

enum class SpineBlendMode
{
    Normal,
    Additive,
    Multiply,
    Screen
};

struct SpineBoneData
{
    std::string name;
    int parent = -1;
    float length = 0.0f;
    float x = 0.0f, y = 0.0f, rotation = 0.0f, scaleX = 1.0f, scaleY = 1.0f, shearX = 0.0f, shearY = 0.0f;
    SpineInherit inherit = SpineInherit::Normal;
    bool skinRequired = false;
};

struct SpineSlotData
{
    std::string name;
    int bone = 0;
    SpineColour colour;
    std::string attachment; // setup attachment key, empty for none
    SpineBlendMode blend = SpineBlendMode::Normal;
};

struct SpineIkData
{
    std::string name;
    int order = 0;
    std::vector<int> bones; // one or two, parent first
    int target = 0;
    float mix = 1.0f;
    int bendDirection = 1;
    bool skinRequired = false; // only active while the current skin lists it
};

struct SpineTransformData
{
    std::string name;
    int order = 0;
    std::vector<int> bones;
    int target = 0;
    float mixRotate = 1.0f, mixX = 1.0f, mixY = 1.0f, mixScaleX = 1.0f, mixScaleY = 1.0f, mixShearY = 1.0f;
    float offsetRotation = 0.0f, offsetX = 0.0f, offsetY = 0.0f, offsetScaleX = 0.0f, offsetScaleY = 0.0f,
          offsetShearY = 0.0f;
    bool skinRequired = false;
};

// Attachments by slot, then by the key that slots and timelines name them with.
struct SpineSkin
{
    std::string name;
    std::vector<std::map<std::string, std::unique_ptr<SpineAttachment>>> attachments; // one map per slot
    // Skin-only bones and constraints this skin switches on.
    std::vector<int> bones;
    std::vector<int> ikConstraints;
    std::vector<int> transformConstraints;

    const SpineAttachment* Find(int slot, const std::string& key) const;
    SpineAttachment* Find(int slot, const std::string& key);
};

// Everything read from one skeleton file; shared by every skeleton posed from it and never changed.
class SpineSkeletonData
{
public:
    std::string version;
    std::vector<SpineBoneData> bones;
    std::vector<SpineSlotData> slotList;
    std::vector<SpineIkData> ikConstraints;
    std::vector<SpineTransformData> transformConstraints;
    std::vector<std::unique_ptr<SpineSkin>> skins;
    const SpineSkin* defaultSkin = nullptr;
    std::vector<SpineAnimation> animations;
    std::shared_ptr<const SpineAtlas> atlas; // kept alive for the regions the attachments point at

    // Adding through these keeps the name lookups fast on skeletons of any size.
    void AddBone(const SpineBoneData& bone);
    void AddSlot(const SpineSlotData& slot);
    int FindBone(const std::string& name) const;
    int FindSlot(const std::string& name) const;
    const SpineSkin* FindSkin(const std::string& name) const;
    const SpineAnimation* FindAnimation(const std::string& name) const;

private:
    std::unordered_map<std::string, int> boneIndex;
    std::unordered_map<std::string, int> slotIndex;
};
