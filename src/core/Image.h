#pragma once
#include "core/Colour.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

class QImage;

// Raw rows of one image plane for loops that must not go through a Colour per pixel.
template <typename Byte> struct PlaneView
{
    Byte* data = nullptr;
    int stride = 0; // bytes from one row to the next
    int width = 0;
    int height = 0;
    Byte* Row(int y) const { return data + static_cast<std::ptrdiff_t>(y) * stride; }
};

// A bitmap with a colour plane (RGB, 3 bytes a pixel) and a separate alpha plane (1 byte a pixel),
// read and written through Colour with clamping or wrapping at the borders. The OpenGL texture of an
// image lives in the preview's texture cache, which rebuilds it when GetRevision() has moved; the
// generators and BrondelCLI therefore never need an OpenGL context.
class Image
{
public:
    bool wrapX = false;
    bool wrapY = false;

    // Both planes, contents zeroed.
    Image(int width, int height);
    // Loads a PNG, JPG or BMP file. A missing, unreadable or oversized file leaves the image without
    // planes; callers test HasPlanes().
    explicit Image(std::string filename);
    // Copies the colour of the given image; the alpha plane starts zeroed for the caller to fill.
    // A null or empty source gives an image without planes.
    explicit Image(QImage* source);
    Image(const Image& other);
    // Assigning an image without planes keeps the target's own planes.
    Image& operator=(const Image& other);
    ~Image();

    bool HasPlanes() const { return colour != nullptr; }
    int GetWidth() const;
    int GetHeight() const;
    const QImage* GetColourPlane() const { return colour; }
    const QImage* GetAlphaPlane() const { return alpha; }

    // Where an out-of-range coordinate lands: wrapped when wrapX / wrapY is set, else clamped.
    int MapX(int x) const;
    int MapY(int y) const;

    void SetPixel(int x, int y, Colour c);
    Colour GetPixel(int x, int y) const;

    // Writes the file through a QSaveFile, so an existing file is replaced whole or not at all.
    // Colour is kept exactly where alpha is 0. On failure returns false and, when given, fills
    // errorText with the reason.
    bool SaveToDisk(std::string filename, std::string* errorText = nullptr) const;

    // Sampler state, not pixels: the preview's texture cache applies both every time it binds the
    // texture, so changing them never moves the revision and never costs a re-upload of the pixels.
    bool GetFiltering() const { return filtering; }
    void SetFiltering(bool value);
    bool GetVerticalWrap() const { return verticalWrap; }
    void SetVerticalWrap(bool value);
    bool IsTextureDirty() const { return textureDirty; }
    void MarkTextureBuilt() { textureDirty = false; }
    // Unique across all images alive or dead, and moves on every write.
    std::uint64_t GetRevision() const { return revision; }

    // Direct plane access for bulk loops. Call MarkChanged() after writing through a writable view.
    PlaneView<const std::uint8_t> ColourView() const;
    PlaneView<const std::uint8_t> AlphaView() const;
    PlaneView<std::uint8_t> ColourView();
    PlaneView<std::uint8_t> AlphaView();
    void MarkChanged();

    // trunc(v * 255) saturated to 0..255, with not-a-number stored as 0: an 8-bit plane cannot hold
    // 300 or -5, and converting such floats to integers directly is undefined.
    static std::uint8_t ChannelToByte(float v)
    {
        const float scaled = v * 255.0f;
        if (!(scaled > 0.0f))
            return 0;
        if (scaled >= 255.0f)
            return 255;
        return static_cast<std::uint8_t>(scaled);
    }
    static float ByteToChannel(std::uint8_t v) { return kByteToChannel[v]; }

private:
    static constexpr std::array<float, 256> kByteToChannel = [] {
        std::array<float, 256> table{};
        for (int i = 0; i < 256; ++i)
            table[i] = static_cast<float>(i / 255.0);
        return table;
    }();

    void DestroyPlanes();

    QImage* colour = nullptr;
    QImage* alpha = nullptr;
    bool filtering = false;
    bool textureDirty = true;
    bool verticalWrap = true;
    std::uint64_t revision = 0;
};
