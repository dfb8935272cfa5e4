#pragma once
#include "core/Vector2D.h"

#include <cstddef>
#include <cstdint>

class Image;

// The arithmetic of anisotropy maps over a flat row-major array of angle-doubled orientations
// (index y * width + x): a grain at angle theta with strength m is stored as m * (cos 2theta, sin 2theta),
// so a direction and its opposite are the same value and averaging never cancels them.

// The red channel of a flow map, the only one the grain is read from: a byte every `step` along a row,
// rows `stride` bytes apart, and where the right neighbour of the last column and the row below the
// last land.
struct FlowChannel
{
    const std::uint8_t* data = nullptr;
    std::size_t stride = 0;
    int step = 1;
    int width = 0;
    int height = 0;
    int rightOfLast = 0;
    int belowLast = 0;
};
// The red of a flow map image, its borders wrapping or clamping as the image reads its pixels.
FlowChannel RedOfFlowMap(const Image& flow);
// A red channel held on its own, as rows of `width` bytes, clamping at its borders.
FlowChannel ClampedFlowChannel(const std::uint8_t* red, int width, int height);

// The grain of the flow map's red channel at every pixel, from the 2x2 block whose top-left corner it
// is.
void ComputeFlowOrientations(const FlowChannel& flow, Vector2D* values);

// One smoothing pass in place: each pixel at least two away from every border becomes the mean of its
// 3x3 block, and the two-pixel frame becomes zero.
void ExpandOrientations(Vector2D* values, int width, int height);

// The formats sit in a namespace of their own so their names never collide with other code's; they stay
// an unscoped enum because the format travels as a plain int through the core and the batch options.
namespace AnisotropyFormats {
enum AnisotropyFormat : int
{
    StandardVectorFormat = 0,     // (cos phi, sin phi) of the undoubled angle, mapped to 0..1
    AngleDoubledVectorFormat = 1, // the stored vector, unit length where it is not tiny, mapped to 0..1
    OrientationAngleFormat = 2    // grey of the doubled angle over 0..0.5
};
} // namespace AnisotropyFormats
using AnisotropyFormats::AnisotropyFormat;

// The whole generation for rows [from, to) of `map` (the flow map's size, freshly made), a row at a time:
// each pass keeps only the three rows of the pass before that it needs, so no sheet-sized array stands
// between them, and rows above `from` that the passes need are made again rather than shared. The array is
// then written into the map in the given format; an unknown format leaves the map as it is, and the
// angle-doubled format normalises the long vectors. When `values` is not null its rows [from, to)
// receive the final array.
void StreamAnisotropyRows(const FlowChannel& flow, int passes, int format, int from, int to, Image& map,
                          Vector2D* values);
