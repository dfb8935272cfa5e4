#pragma once
#include "core/SheetBuffers.h"

#include <cstdint>
#include <string>
#include <vector>

class Image;

// Bulk conversions between images and the flat row-major arrays the kernels work on. Reads sample
// a width x height grid exactly as Image::GetPixel would, clamping or wrapping beyond the image's
// own edges; writes store what Image::SetPixel would.

enum class Channel
{
    Red,
    Green,
    Blue,
    Alpha
};

SheetVector<float> ReadChannel(const Image& image, Channel channel, int width, int height);
SheetVector<std::uint8_t> ReadChannelBytes(const Image& image, Channel channel, int width, int height);
// The red channel of a PNG file in a layout the fast reader handles, decoded without the other channels
// ever being stored, with its size; empty for any other file, which the caller then loads as an Image.
SheetVector<std::uint8_t> ReadRedChannel(const std::string& filename, int& width, int& height);
// A width x height grid read from a planeWidth x planeHeight plane of bytes as ReadChannelBytes reads an
// image that does not wrap: coordinates beyond the plane clamp to its last row and column.
SheetVector<std::uint8_t> SampleBytes(const std::uint8_t* plane, int planeWidth, int planeHeight, int width,
                                      int height);

// A new image whose pixels are (v, v, v, 1).
Image* MakeGreyImage(const float* values, int width, int height);

// An image that could not get its planes (the memory was refused) cannot take a generator's output;
// these throw std::bad_alloc for it, so the generation fails as a whole instead of writing nowhere.
void RequirePixels(const Image& image);
// The same for a newly made image it owns: deletes it and throws, or passes it on.
Image* RequirePixels(Image* image);
