#pragma once
#include "core/Vector3D.h"

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
