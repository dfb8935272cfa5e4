#pragma once
#include "core/Vector3D.h"

#include <cstddef>
#include <cstdint>

class Image;

// The arithmetic of normal generation over flat row-major arrays (index y * width + x).

// One channel of 8-bit samples read in place: the sample of pixel (x, y) is data[y * rowStride + x * step],
// which reads the red bytes straight out of an image's RGB rows as well as a packed array.
struct ByteChannel
{
    const std::uint8_t* data = nullptr;
    std::size_t rowStride = 0;
    int step = 1;

    explicit operator bool() const { return data != nullptr; }
    std::uint8_t At(int x, int y) const
    {
        return data[static_cast<std::size_t>(y) * rowStride + static_cast<std::size_t>(x) * step];
    }
};

struct NormalInputs
{
    int width = 0;
    int height = 0;
    // Red channel of each lighting profile, empty when that profile is not loaded. Brightness is the
    // byte as a channel value (Image::ByteToChannel).
    ByteChannel left;
    ByteChannel right;
    ByteChannel top;
    ByteChannel bottom;
    ByteChannel front;
    // Diffuse alpha bytes when the diffuse map can mask transparent pixels, else null.
    const std::uint8_t* mask = nullptr;
};

struct NormalSettings
{
    float bend = 1.0f;
    float rotationDirection = 0.0f; // degrees
    float rotationAmount = 0.0f;    // degrees
    bool autofixFlatNormals = true;
};

// First pass: stores the slopes (R - L, T - B) in x and y of each normal (z untouched) and returns the
// largest slope magnitude over the pixels not masked out.
float ComputeProfileSlopes(const NormalInputs& in, Vector3D* normals);

// Second pass: turns the slopes into unit normals, given flatFactor = 0.9 / largest slope magnitude.
void FinishNormals(const NormalInputs& in, const NormalSettings& settings, float flatFactor,
                   Vector3D* normals);

// One level of the normal pyramid: each coarse normal is the normalised sum of a 2x2 block, or
// (0, 0, 1) when the block nearly cancels out.
void DownsampleNormals(const Vector3D* fine, int fineWidth, Vector3D* coarse, int coarseWidth,
                       int coarseHeight);

// Encodes normals as colours into the two maps (both width x height). The normal-opacity map takes
// its alpha from opacity when given, else stays opaque.
void EncodeNormalMaps(const Vector3D* normals, int width, int height, bool flipY, const std::uint8_t* opacity,
                      Image& normalMap, Image& normalOpacityMap);
