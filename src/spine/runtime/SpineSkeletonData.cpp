#include "spine/runtime/SpineSkeletonData.h"

#include "spine/runtime/SpineAtlas.h"

const SpineAttachment* SpineSkin::Find(int slot, const std::string& key) const
{
    if (slot < 0 || static_cast<std::size_t>(slot) >= attachments.size())
        return nullptr;
    const auto& map = attachments[static_cast<std::size_t>(slot)];
    const auto found = map.find(key);
    return found == map.end() ? nullptr : found->second.get();
}

SpineAttachment* SpineSkin::Find(int slot, const std::string& key)
{
    return const_cast<SpineAttachment*>(static_cast<const SpineSkin*>(this)->Find(slot, key));
}

void SpineSkeletonData::AddBone(const SpineBoneData& bone)
{
    boneIndex.emplace(bone.name, static_cast<int>(bones.size()));
    bones.push_back(bone);
}

void SpineSkeletonData::AddSlot(const SpineSlotData& slot)
{
    slotIndex.emplace(slot.name, static_cast<int>(slotList.size()));
    slotList.push_back(slot);
}

int SpineSkeletonData::FindBone(const std::string& name) const
{
    const auto found = boneIndex.find(name);
    return found == boneIndex.end() ? -1 : found->second;
}

int SpineSkeletonData::FindSlot(const std::string& name) const
{
    const auto found = slotIndex.find(name);
    return found == slotIndex.end() ? -1 : found->second;
}

const SpineSkin* SpineSkeletonData::FindSkin(const std::string& name) const
{
    for (const auto& skin : skins)
    {
        if (skin->name == name)
            return skin.get();
    }
    return nullptr;
}

const SpineAnimation* SpineSkeletonData::FindAnimation(const std::string& name) const
{
    for (const SpineAnimation& animation : animations)
    {
        if (animation.name == name)
            return &animation;
    }
    return nullptr;
}
