#pragma once
#include <cstdint>
#include <memory>
#include <unordered_map>

class Image;
class QOpenGLFunctions_2_1;

// The OpenGL textures of the images the preview draws, one per image, rebuilt only when the image's
// revision has moved. Every call needs the context the cache was first used in to be current.
class TextureCache
{
public:
    TextureCache();
    ~TextureCache();
    TextureCache(const TextureCache&) = delete;
    TextureCache& operator=(const TextureCache&) = delete;

    // Binds the image's texture to the unit, uploading it first when it is new or has changed.
    // Sampling is smooth when the image asks for filtering or `smooth` is set, else nearest.
    // A null image or one without planes unbinds the unit. Returns the texture name, 0 for none.
    unsigned Bind(QOpenGLFunctions_2_1* gl, const Image* image, int unit, bool smooth = false);
    // Re-sends only a rectangle of an image whose texture exists, for edits that touch a small area;
    // the texture is then taken as matching the image's current revision.
    void UpdateRegion(QOpenGLFunctions_2_1* gl, const Image* image, int x, int y, int w, int h);
    // Counts frames; textures of images not bound for a while are deleted, so images that were
    // replaced or destroyed do not hold video memory.
    void EndFrame(QOpenGLFunctions_2_1* gl);
    // Deletes every texture; needs the context current.
    void Clear(QOpenGLFunctions_2_1* gl);

    int GetTextureCount() const { return static_cast<int>(entries.size()); }
    // How many whole-image uploads have happened, for tests that check nothing is sent twice.
    int GetUploadCount() const { return uploads; }

private:
    struct Entry
    {
        unsigned texture = 0;
        std::uint64_t revision = 0;
        int width = 0;
        int height = 0;
        std::uint64_t lastUsedFrame = 0;
    };
    void Upload(QOpenGLFunctions_2_1* gl, const Image& image, Entry& entry, bool fresh);

    std::unordered_map<const Image*, Entry> entries;
    std::uint64_t frame = 0;
    int uploads = 0;
};

// RGBA8 rows of a rectangle of an image: its colour plane with its alpha plane interleaved.
void PackRGBA(const Image& image, int x, int y, int w, int h, std::uint8_t* out);
