#pragma once
#include "core/Vector2D.h"

#include <memory>
#include <vector>

class Image;

// Anisotropy generation written as plainly as possible, pixel by pixel through Image::GetPixel and
// SetPixel, to check the fast kernels against.

// The whole generation; `values` receives the final array (the angle-doubled format normalises it).
std::unique_ptr<Image> ReferenceAnisotropyMap(const Image& flow, int expansionCount, int outputFormat,
                                              std::vector<Vector2D>* values = nullptr);
