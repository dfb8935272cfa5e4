#pragma once
#include "core/Vector3D.h"

#include <cstdint>
#include <string>
#include <vector>

// Depth generation written as plainly as possible, to check the fast kernels against: a list of
// link records walked one at a time, two whole buffers swapped between passes.

// Relaxes one level in place with `steps` steps (of which steps - 1 take effect). Edge flags may
// be null; a set flag removes that link. Progress lines are appended to `log` when given.
void ReferenceRefineDepth(std::vector<float>& depth, const std::vector<Vector3D>& normals, int width,
                          int height, int steps, const bool* xEdges, const bool* yEdges,
                          std::vector<std::string>* log = nullptr);

// The whole coarse-to-fine chain over every level of a normal pyramid (level 0 first), starting
// from zero depth; returns the level-0 depth.
std::vector<float> ReferenceDepthFromNormals(const std::vector<std::vector<Vector3D>>& normalLevels,
                                             int width, int height, int steps, float lowFrequencyEmphasis);

struct ReferenceDepthMap
{
    float minimum = 0.0f;
    float maximum = 0.0f;
    float range = 0.0f;
    std::vector<float> values; // grey level per pixel
};

// Normalises level-0 depth for writing; pixels whose alpha byte is 0 are masked when alpha is given.
ReferenceDepthMap ReferenceNormaliseDepth(const std::vector<float>& depth, int width, int height,
                                          const std::vector<std::uint8_t>* alpha);
