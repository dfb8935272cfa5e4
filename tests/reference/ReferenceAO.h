#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Ambient occlusion written as plainly as possible, to check the fast kernels against: every
// sample wrapped, column by column, one float count per pixel.

struct ReferenceAOResult
{
    std::vector<float> counts;
    float minimum = 0.0f;
    float maximum = 0.0f;
    std::vector<float> values;         // grey level per pixel
    std::vector<std::string> progress; // the "% finished." lines
};

// Heights from the depth map's red channel; pixels whose alpha byte is 0 are open sky when alpha is
// given.
std::vector<float> ReferenceAOHeights(const std::vector<float>& depthRed,
                                      const std::vector<std::uint8_t>* alpha);

// stepSize must be at least 1.
ReferenceAOResult ReferenceAmbientOcclusion(const std::vector<float>& heights, int width, int height,
                                            float coneGradient, int boxSize, int stepSize,
                                            float ambientLightFlatness);
