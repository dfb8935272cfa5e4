#include "spine/SpineData.h"

#include "sets/StringHelpers.h"
#include "spine/SpineImageSetLoader.h"
#include "spine/runtime/SpineAnimationState.h"
#include "spine/runtime/SpineAtlas.h"
#include "spine/runtime/SpineJsonReader.h"
#include "spine/runtime/SpineSkeleton.h"

#include <QImageReader>

#include <iostream>

namespace {
// Skeleton units of a thousand make one preview unit.
constexpr float LoadScale = 0.001f;

class AtlasPageHook : public SpinePageLoader
{
public:
    explicit AtlasPageHook(SpineImageSetLoader* loader) : imageSets(loader) {}
    bool LoadPage(SpineAtlasPage& page, const std::string& path) override
    {
        return SpineData::LoadAtlasPage(page, path, imageSets);
    }

private:
    SpineImageSetLoader* imageSets;
};
} // namespace

std::string SpineData::AtlasNameFor(const std::string& filename)
{
    return (filename.size() < 4 ? filename : filename.substr(0, filename.size() - 4)) + "atlas";
}

bool SpineData::LoadAtlasPage(SpineAtlasPage& page, const std::string& path, SpineImageSetLoader* imageSets)
{
    std::cout << "Trying to load image from " << path << " as part of Spine stuff." << std::endl;
    const std::string directory = GetDirectoryWithoutFilename(path);
    const std::string diffuse = (directory.empty() ? std::string() : directory + "/") +
                                GetFilenameWithoutExtension(path) + "_Diffuse" + GetFileExtension(path);
    if (imageSets)
        imageSets->LoadImageSets({diffuse});
    // UVs must come from the real image: some exports declare a page size the image does not have.
    for (const std::string& candidate : {diffuse, path})
    {
        const QSize size = QImageReader(QString::fromStdString(candidate)).size();
        if (size.isValid() && size.width() > 0 && size.height() > 0)
        {
            page.width = size.width();
            page.height = size.height();
            return true;
        }
    }
    std::cout << "Could not read the size of " << diffuse << "; using the atlas's declared page size."
              << std::endl;
    return false;
}

SpineData::SpineData(std::string filename, SpineImageSetLoader* imageSets, SpineFileReader fileReader)
{
    std::cout << "Attempting to load a spine file with the filename: " << filename << std::endl;
    const std::string atlasName = AtlasNameFor(filename);
    std::cout << "Atlas name is " << atlasName << std::endl;

    AtlasPageHook pages(imageSets);
    std::string atlasError;
    atlas = SpineAtlas::Load(atlasName, &pages, fileReader, atlasError);
    if (!atlas)
        std::cout << atlasError << "; the skeleton is drawn without textures." << std::endl;

    SpineJsonReader reader(atlas);
    reader.scale = LoadScale;
    reader.fileReader = fileReader;
    auto data = reader.ReadFile(filename);
    for (const std::string& warning : reader.warnings)
        std::cout << warning << std::endl;
    if (!data)
    {
        if (!reader.error.empty())
            std::cout << reader.error << std::endl;
        return;
    }
    skeletonData = std::move(data);
    playbackSpeed = LoadScale;
    std::cout << "Loaded a spine thing with " << skeletonData->bones.size() << " bones!" << std::endl;
    skeleton = std::make_unique<SpineSkeleton>(*skeletonData);
    state = std::make_unique<SpineAnimationState>(*skeletonData);
    if (!skeletonData->animations.empty())
        state->SetAnimation(&skeletonData->animations.front(), true);
    // Posed once so the setup pose can be drawn before the first Update.
    state->Apply(*skeleton);
    skeleton->UpdateWorldTransform();
}

// The skeleton and the state point into the skeleton data, and the attachments into the atlas, so
// they go first.
SpineData::~SpineData()
{
    skeleton.reset();
    state.reset();
    skeletonData.reset();
    atlas.reset();
}

void SpineData::Update(float seconds)
{
    if (!skeleton)
        return;
    const float delta = playingBackwards ? -seconds : seconds;
    // The skeleton's own clock takes the frame time; only the animation runs at the playback speed.
    skeleton->Update(delta);
    state->Update(delta * playbackSpeed);
    state->Apply(*skeleton);
    skeleton->UpdateWorldTransform();
}

void SpineData::SetAnimation(std::string name)
{
    if (state && !state->SetAnimation(name, true))
        std::cout << "Animation not found: " << name << std::endl;
}

void SpineData::SetSkin(std::string name)
{
    if (skeleton && !skeleton->SetSkin(name))
        std::cout << "Skin not found: " << name << std::endl;
}

void SpineData::SetPlaybackSpeed(float speed)
{
    playbackSpeed = speed * LoadScale;
}

std::vector<std::string> SpineData::GetSkinNames() const
{
    std::vector<std::string> names;
    if (skeletonData)
    {
        for (const auto& skin : skeletonData->skins)
            names.push_back(skin->name);
    }
    return names;
}

std::vector<std::string> SpineData::GetAnimationNames() const
{
    std::vector<std::string> names;
    if (skeletonData)
    {
        for (const SpineAnimation& animation : skeletonData->animations)
            names.push_back(animation.name);
    }
    return names;
}

std::vector<SpineDrawItem> SpineData::BuildDrawList() const
{
    std::vector<SpineDrawItem> items;
    if (!skeleton)
        return items;
    std::vector<float> world;
    for (auto order = skeleton->drawOrder.rbegin(); order != skeleton->drawOrder.rend(); ++order)
    {
        const SpineSlot& slot = skeleton->slotList[static_cast<std::size_t>(*order)];
        const SpineAttachment* attachment = slot.attachment;
        if (!attachment || !skeleton->bones[static_cast<std::size_t>(slot.data->bone)].active)
            continue;
        if (attachment->type != SpineAttachmentType::Region && attachment->type != SpineAttachmentType::Mesh)
            continue;
        skeleton->ComputeWorldVertices(slot, world);
        SpineDrawItem item;
        item.blend = slot.data->blend;
        item.page = attachment->page;
        if (atlas && item.page >= 0)
            item.premultipliedAlpha = atlas->pages[static_cast<std::size_t>(item.page)].premultipliedAlpha;
        item.colour = {slot.colour.r * attachment->colour.r, slot.colour.g * attachment->colour.g,
                       slot.colour.b * attachment->colour.b, slot.colour.a * attachment->colour.a};
        if (attachment->type == SpineAttachmentType::Region)
        {
            item.primitive = SpineDrawItem::Primitive::Quads;
            item.positions = world;
            item.uvs.assign(attachment->cornerUVs.begin(), attachment->cornerUVs.end());
        }
        else
        {
            item.primitive = SpineDrawItem::Primitive::Triangles;
            item.positions.reserve(attachment->triangles.size() * 2);
            item.uvs.reserve(attachment->triangles.size() * 2);
            for (int index : attachment->triangles)
            {
                const std::size_t i = 2 * static_cast<std::size_t>(index);
                item.positions.insert(item.positions.end(), {world[i], world[i + 1]});
                item.uvs.insert(item.uvs.end(), {attachment->uvs[i], attachment->uvs[i + 1]});
            }
        }
        items.push_back(std::move(item));
    }
    return items;
}
