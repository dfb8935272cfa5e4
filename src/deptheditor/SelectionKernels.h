#pragma once
#include "deptheditor/PixelRect.h"

#include <vector>

// The arithmetic of selection painting, growing and shifting over flat row-major arrays (index
// y * width + x). Edge flags follow EdgeArray: xEdges(x, y) separates (x, y) from (x + 1, y), yEdges(x, y)
// separates (x, y) from (x, y + 1); either array may be null for no edges.

// Distance from the brush centre to every pixel of `box` along paths that do not cross edges:
// breadth-first for `passes` steps, each pixel keeping the horizontal and vertical step counts of the
// first shortest path to reach it, and its distance the length of that (dx, dy) vector. Pixels not
// reached get about 1414. `distances` holds box.width * box.height values; the centre must lie in
// the box, which must lie in the image.
void WalkBrushDistances(const bool* xEdges, const bool* yEdges, int width, PixelRect box, int centreX,
                        int centreY, int passes, float* distances);

// One ring of growth: every selected pixel offers its value less `dropoff` to each of its four
// neighbours not separated from it by an edge, and a neighbour selected less takes the best offer.
// Offers are all made from the values before the step, so one step spreads exactly one pixel.

// Growth changes only a thin ring, so it is worked out and kept in tiles of this size.
constexpr int kGrowthTileSize = 64;

// What one step would change: for every kGrowthTileSize square tile holding a changed pixel, the
// smallest rectangle of changed pixels in it, in row-major tile order. Empty when nothing would grow.
std::vector<PixelRect> FindGrowthBlocks(const float* selection, const bool* xEdges, const bool* yEdges,
                                        int width, int height, float dropoff);
// The values the step gives the pixels of `rect` (rect.width * rect.height, row-major).
void GrowSelection(const float* selection, const bool* xEdges, const bool* yEdges, int width, int height,
                   float dropoff, PixelRect rect, float* grown);

// The smallest rectangle holding every pixel whose selection is not 0.
PixelRect FindSelectionRect(const float* selection, int width, int height);

// depth += amount * selection over `rect` of two arrays `width` wide.
void ShiftDepth(float* depth, const float* selection, int width, PixelRect rect, float amount);
