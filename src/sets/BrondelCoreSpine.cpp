#include "sets/BrondelCore.h"

#include "preview/LightingPreview.h"
#include "spine/SpineData.h"
#include "spine/SpineImageSetLoader.h"

namespace {
// Atlas pages arrive as image sets, loaded as a dropped file would be, so each page brings its
// normal, depth and other maps to the renderer.
class CoreImageSetLoader : public SpineImageSetLoader
{
public:
    explicit CoreImageSetLoader(BrondelCore& owner) : core(owner) {}
    void LoadImageSets(const std::vector<std::string>& filenames) override
    {
        core.LoadMultipleImageSets(filenames);
    }

private:
    BrondelCore& core;
};
} // namespace

void BrondelCore::LoadSpineFile(std::string filename)
{
    CoreImageSetLoader loader(*this);
    preview->SetSpineObject(std::make_unique<SpineData>(std::move(filename), &loader));
}

void BrondelCore::SwitchToSpineSkin(std::string name)
{
    if (SpineData* spine = preview->GetSpineObject())
        spine->SetSkin(std::move(name));
}

void BrondelCore::PlaySpineAnimation(std::string name)
{
    if (SpineData* spine = preview->GetSpineObject())
        spine->SetAnimation(std::move(name));
}

void BrondelCore::SetSpinePlayingBackwards(bool backwards)
{
    if (SpineData* spine = preview->GetSpineObject())
        spine->SetPlayingBackwards(backwards);
}

void BrondelCore::SetSpinePlaybackSpeed(float speed)
{
    if (SpineData* spine = preview->GetSpineObject())
        spine->SetPlaybackSpeed(speed);
}

void BrondelCore::ClearSpineObject()
{
    preview->SetSpineObject(nullptr);
}
