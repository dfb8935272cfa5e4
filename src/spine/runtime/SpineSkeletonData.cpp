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

int SpineSkeletonData::FindBone(const std::string& name) const
{
    for (std::size_t i = 0; i < bones.size(); ++i)
    {
        if (bones[i].name == name)
            return static_cast<int>(i);
    }
    return -1;
}

int SpineSkeletonData::FindSlot(const std::string& name) const
{
    for (std::size_t i = 0; i < slotList.size(); ++i)
    {
        if (slotList[i].name == name)
            return static_cast<int>(i);
    }
    return -1;
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
