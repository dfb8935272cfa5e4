#pragma once
#include "core/SheetBuffers.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// The arithmetic of ambient occlusion over flat row-major arrays (index y * width + x).

struct AOSettings
{
    float coneGradient = 0.01f;
    int boxSize = 5;
    int stepSize = 1;
    float ambientLightFlatness = 0.0f;
};

// Heights the probes compare, larger meaning further from the viewer: 1 - depth red, or 100 where
// the diffuse alpha byte is 0 (mask may be null), so transparent pixels never block a probe.
SheetVector<float> PrepareAOHeights(const float* depthRed, const std::uint8_t* mask, std::size_t count);

// Counts, per pixel, the probe offsets whose height rises strictly above a cone over the local
// probe plane; offsets wrap around both borders. Columns are done in blocks of 50; beforeBlock(x)
// is called on the calling thread, in order, just before the block starting at column x.
// A step size below 1 is taken as 1.
void CountOpenProbes(const float* heights, int width, int height, const AOSettings& settings, float* counts,
                     const std::function<void(int x)>& beforeBlock);

struct AOExtent
{
    float minimum = 100.0f;
    float maximum = 0.0f;
};

// Extremes of the counts, the minimum starting at 100 rather than at the first count: a map whose
// counts all exceed 100 is therefore never stretched down to black.
AOExtent FindAOExtent(const float* counts, std::size_t count);

// (count - minimum) / (maximum - minimum) per pixel, unclamped and unguarded.
SheetVector<float> NormaliseAO(const float* counts, std::size_t count, const AOExtent& extent);
