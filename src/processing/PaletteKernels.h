#pragma once
#include "core/Colour.h"

#include <vector>

class Image;

// The arithmetic of palette and index maps, reading and writing image planes directly.

// The distinct colours of an image with alpha taken as 1, in the order they are first met walking the
// columns left to right and each column top to bottom. Two colours count as one when their ColourHash
// values are identical and they compare equal; the one met first is kept.
std::vector<Colour> CollectDistinctColours(const Image& image);

// Darkest first; colours of equal brightness keep the order they came in.
void SortByBrightness(std::vector<Colour>& colours);

// Smallest power of two (1, 2, 4, ...) not below the colour count.
int PaletteWidthFor(int colourCount);

// One column per (sorted) colour, filler columns of opaque black up to the power-of-two width, every
// pixel opaque. With sampleLighting the column fades from white at the top through the colour to black
// at the bottom. Null when an image of that size cannot be made.
Image* MakePaletteImage(const std::vector<Colour>& colours, int paletteHeight, bool sampleLighting);

// One column of a palette as the index map addresses it: the colour the column stands for and the
// code that, read back as k / 255, lands in the column's centre.
struct PaletteEntry
{
    Colour colour;
    int code = 0;
};

// Reads the row just above the middle, which holds the unlit colours whether or not the palette was
// drawn with sample lighting.
std::vector<PaletteEntry> BuildPaletteLookup(const Image& palette);

// Grey (k, k, k) per pixel for the first entry equal to the pixel's colour, opaque black where none is.
Image* MakeIndexImage(const Image& diffuse, const std::vector<PaletteEntry>& lookup);
