#pragma once
#include "core/SheetBuffers.h"
#include "core/Vector2D.h"
#include "core/Vector3D.h"

#include <cmath>
#include <cstdint>
#include <vector>

// The arithmetic of depth generation over flat row-major arrays (index y * width + x).

// Wanted depth step from a pixel to its right-hand neighbour (x) and to the neighbour below (y).
// Not the textbook slope -nx / nz: depth maps artists already rely on were integrated with these
// softer steps, which also stay finite where the normal lies flat in the picture plane.
inline Vector2D RiseFromNormal(const Vector3D& n)
{
    return {-n.x * std::sqrt(n.x * n.x + n.z * n.z), n.y * std::sqrt(n.y * n.y + n.z * n.z)};
}

// RiseFromNormal for every element, split into two planes so the relaxation loops stream them.
void ComputeRises(const Vector3D* normals, int width, int height, float* riseX, float* riseY);

// One level of the depth pyramid as the relaxation sees it. Each pixel is linked to its right-hand
// neighbour and to the one below, wrapping around both borders (the field lives on a torus). A set
// flag in cutRight / cutBelow removes that link; either may be null for no cuts.
struct RelaxationGrid
{
    int width = 0;
    int height = 0;
    const float* riseX = nullptr;
    const float* riseY = nullptr;
    const bool* cutRight = nullptr;
    const bool* cutBelow = nullptr;
};

// One relaxation pass: every link moves both of its ends a quarter of the way toward the wanted
// step, all links reading `from` and accumulating into `to` (every element of which is written).
// The sums come out bit for bit as if the links were applied one at a time, column by column and
// within a column top to bottom, right-hand link before lower link, whatever the thread count.
void RelaxDepthPass(const RelaxationGrid& grid, const float* from, float* to);

// `passes` passes in place, with `scratch` (width * height floats) as the second buffer; the same
// bits as that many calls of RelaxDepthPass. Without cuts, several passes are run per trip through
// memory, tile by tile, which is what makes large levels quick.
void RelaxDepth(const RelaxationGrid& grid, float* depth, float* scratch, int passes);

// Seeds the next finer level: factor times each coarse value fills its 2 x 2 block of `fine`
// (2 * coarseWidth wide), replacing what was there.
void InflateDepth(const float* coarse, int coarseWidth, int coarseHeight, float factor, float* fine);

struct DepthExtent
{
    float minimum = 0.0f;
    float maximum = 0.0f;
};

// Extremes of the depths not masked out (mask byte 0 = transparent; null mask = none), seeded with
// element 0 whether or not it is masked. Comparisons are strict, so a not-a-number seed survives
// and not-a-number elements are passed over.
DepthExtent FindDepthExtent(const float* depth, const std::uint8_t* mask, int width, int height);

// (d - minimum) / range per pixel, 0 where masked. A zero range is not guarded: it yields
// not-a-number, which an image stores as 0.
SheetVector<float> NormaliseDepth(const float* depth, const std::uint8_t* mask, int width, int height,
                                  float minimum, float range);
