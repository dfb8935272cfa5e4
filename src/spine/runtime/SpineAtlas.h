#pragma once
#include "spine/runtime/SpineFileReader.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

// One texture page of an atlas. width and height start as the declared size and are replaced by the
// real image size when the page loader knows it, since UVs must come from the real image.
struct SpineAtlasPage
{
    std::string name;
    int width = 0;
    int height = 0;
    std::string minFilter = "Nearest";
    std::string magFilter = "Nearest";
    std::string repeat = "none";
    bool premultipliedAlpha = false;
    void* rendererObject = nullptr; // whatever the page loader wants to keep with the page
};

// One packed image. x, y, width and height are the packed bounds in page pixels with the image
// un-rotated (a region rotated by 90 or 270 degrees covers height x width pixels of the page);
// offsetX/offsetY are the pixels stripped at the left and bottom of the original image.
struct SpineAtlasRegion
{
    std::string name;
    int page = 0;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int offsetX = 0;
    int offsetY = 0;
    int originalWidth = 0;
    int originalHeight = 0;
    int degrees = 0;
    int index = -1;
    std::map<std::string, std::vector<int>> values; // split, pad and any other integer entries
};

// The page-texture hook: called once per page with the page's file path (atlas folder + page name).
// It may set the page's width and height from the real image and keep a texture in rendererObject.
class SpinePageLoader
{
public:
    virtual ~SpinePageLoader() = default;
    virtual bool LoadPage(SpineAtlasPage& page, const std::string& path) = 0;
};

// A parsed .atlas file (the TexturePacker format of Spine 3.x and the format of 4.x), read by key so
// that either layout and any spacing is accepted.
class SpineAtlas
{
public:
    std::vector<SpineAtlasPage> pages;
    std::vector<SpineAtlasRegion> regions;

    // Null with `error` set when the file cannot be read or holds no page.
    static std::unique_ptr<SpineAtlas> Load(const std::string& path, SpinePageLoader* loader,
                                            const SpineFileReader& reader, std::string& error);
    static std::unique_ptr<SpineAtlas> Parse(const QByteArray& text, std::string& error);

    const SpineAtlasRegion* FindRegion(const std::string& name) const;

    // Page UV (v from the top) of a point of the original, un-stripped image given in pixels from its
    // top-left corner; handles the stripped whitespace and the region's rotation in the page.
    void MapToPage(const SpineAtlasRegion& region, float imageX, float imageY, float& u, float& v) const;
};
