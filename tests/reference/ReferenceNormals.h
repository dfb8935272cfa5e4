#pragma once
#include "core/Vector3D.h"

#include <memory>
#include <vector>

class Image;

// Normal generation written as plainly as possible, pixel by pixel through Image::GetPixel, to check
// the fast kernels against. Inputs are null when that kind is not loaded.
struct ReferenceNormalInputs
{
    const Image* left = nullptr;
    const Image* right = nullptr;
    const Image* top = nullptr;
    const Image* bottom = nullptr;
    const Image* front = nullptr;
    const Image* diffuse = nullptr; // masks only when of the working size
    int width = 0;
    int height = 0;
};

std::vector<Vector3D> ReferenceGenerateNormals(const ReferenceNormalInputs& in, float bend,
                                               float rotationDirection, float rotationAmount,
                                               bool autofixFlatNormals);

// The normal pyramid, level 0 first, each level the normalised sums of 2x2 blocks of the one above.
std::vector<std::vector<Vector3D>> ReferenceNormalMips(const std::vector<Vector3D>& level0, int width,
                                                       int height, int mipCount);

// The normal map and the normal map with the diffuse alpha, pixel by pixel through SetPixel.
struct ReferenceNormalMaps
{
    std::unique_ptr<Image> normal;
    std::unique_ptr<Image> normalOpacity;
};
ReferenceNormalMaps ReferenceEncodeNormals(const std::vector<Vector3D>& normals, int width, int height,
                                           bool flipY, const Image* diffuse);
