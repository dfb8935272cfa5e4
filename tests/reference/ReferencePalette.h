#pragma once
#include <memory>

class Image;

// Palette and index maps written as plainly as possible, pixel by pixel through Image::GetPixel and
// SetPixel, to check the fast kernels against.

// The palette map of a diffuse map, or null when it has more than 256 distinct colours. colourCount,
// when given, receives the number of distinct colours either way.
std::unique_ptr<Image> ReferenceCreatePalette(const Image& diffuse, int paletteHeight, bool sampleLighting,
                                              int* colourCount = nullptr);

std::unique_ptr<Image> ReferencePaletteIndex(const Image& diffuse, const Image& palette);
