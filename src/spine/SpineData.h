#pragma once
#include "spine/runtime/SpineAttachment.h"
#include "spine/runtime/SpineFileReader.h"
#include "spine/runtime/SpineSkeletonData.h"

#include <memory>
#include <string>
#include <vector>

class SpineAnimationState;
class SpineAtlas;
class SpineImageSetLoader;
class SpineSkeleton;
struct SpineAtlasPage;

// One attachment ready to draw, in skeleton units: a quad (4 corners: bottom-left, bottom-right,
// top-right, top-left) or a plain triangle list (3 vertices per triangle), with page UVs (v from the
// top of the page) and one tint for the whole attachment (slot colour times attachment colour).
struct SpineDrawItem
{
    enum class Primitive
    {
        Quads,
        Triangles
    };
    Primitive primitive = Primitive::Quads;
    SpineBlendMode blend = SpineBlendMode::Normal;
    int page = -1; // atlas page index; -1 when the atlas lacks the region
    bool premultipliedAlpha = false;
    std::vector<float> positions; // x, y per vertex
    std::vector<float> uvs;       // u, v per vertex
    SpineColour colour;
};

// The preview's Spine skeleton: loads a skeleton JSON and the atlas beside it, plays one animation on
// a loop, switches skins, and turns the current pose into geometry for the renderer. A failed load
// leaves a harmless empty object on which every operation does nothing.
class SpineData
{
public:
    // `imageSets` receives each atlas page's "<page>_Diffuse" image set; it may be null (no display).
    explicit SpineData(std::string filename, SpineImageSetLoader* imageSets = nullptr,
                       SpineFileReader fileReader = ReadSpineFileFromDisk);
    ~SpineData();
    SpineData(const SpineData&) = delete;
    SpineData& operator=(const SpineData&) = delete;

    bool IsLoaded() const { return skeleton != nullptr; }
    void Update(float seconds);
    void SetAnimation(std::string name);
    void SetSkin(std::string name);
    void SetPlaybackSpeed(float speed);
    void SetPlayingBackwards(bool backwards) { playingBackwards = backwards; }
    float GetPlaybackSpeed() const { return playbackSpeed; }
    bool IsPlayingBackwards() const { return playingBackwards; }
    std::vector<std::string> GetSkinNames() const;
    std::vector<std::string> GetAnimationNames() const;

    // What Render draws, back to front as the renderer must issue it: the draw order is visited from
    // its last slot to its first, skipping slots with nothing drawable.
    std::vector<SpineDrawItem> BuildDrawList() const;

    const SpineSkeleton* GetSkeleton() const { return skeleton.get(); }
    const SpineAnimationState* GetAnimationState() const { return state.get(); }
    const SpineAtlas* GetAtlas() const { return atlas.get(); }

    // The skeleton's atlas: its file name with the last four characters (the "json" extension)
    // replaced by "atlas"; a name shorter than four characters is kept whole.
    static std::string AtlasNameFor(const std::string& filename);
    // The page-texture hook: announces the page, has the page's "_Diffuse" image set loaded and takes
    // the page size from the real image.
    static bool LoadAtlasPage(SpineAtlasPage& page, const std::string& path, SpineImageSetLoader* imageSets);

private:
    std::shared_ptr<const SpineAtlas> atlas;
    std::unique_ptr<SpineSkeletonData> skeletonData;
    std::unique_ptr<SpineSkeleton> skeleton;
    std::unique_ptr<SpineAnimationState> state;
    float playbackSpeed = 1.0f;
    bool playingBackwards = false;
};
