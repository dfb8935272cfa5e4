#include "reference/ReferenceAO.h"

#include "core/NumericHelpers.h"

std::vector<float> ReferenceAOHeights(const std::vector<float>& depthRed,
                                      const std::vector<std::uint8_t>* alpha)
{
    std::vector<float> heights(depthRed.size());
    for (std::size_t i = 0; i < heights.size(); ++i)
    {
        heights[i] = 1.0f - depthRed[i];
        if (alpha && (*alpha)[i] == 0)
            heights[i] = 100.0f;
    }
    return heights;
}

ReferenceAOResult ReferenceAmbientOcclusion(const std::vector<float>& heights, int width, int height,
                                            float coneGradient, int boxSize, int stepSize,
                                            float ambientLightFlatness)
{
    // Wrap maps an offset of exactly minus the size to the size itself; such a read continues into
    // the next row, and past the last row into the first.
    const auto at = [&](int x, int y) { return heights[(y * width + x) % (width * height)]; };

    ReferenceAOResult result;
    result.counts.assign(heights.size(), 0.0f);
    result.minimum = 100.0f;
    result.maximum = 0.0f;
    for (int x = 0; x < width; ++x)
    {
        if (x % 50 == 0)
            result.progress.push_back(std::to_string(x * 100 / width) + "% finished.");
        for (int y = 0; y < height; ++y)
        {
            const float h0 = at(x, y);
            const float hR = at(Wrap(x + 1, width), y);
            const float hL = at(Wrap(x - 1, width), y);
            const float hD = at(x, Wrap(y + 1, height));
            const float hU = at(x, Wrap(y - 1, height));
            const float gx = 0.5f * ((hR - h0) - (hL - h0)) * (1.0f - ambientLightFlatness);
            const float gy = 0.5f * ((hD - h0) - (hU - h0)) * (1.0f - ambientLightFlatness);
            float count = 0.0f;
            for (int dx = -boxSize; dx <= boxSize; dx += stepSize)
                for (int dy = -boxSize; dy <= boxSize; dy += stepSize)
                {
                    const float s = at(Wrap(x + dx, width), Wrap(y + dy, height));
                    const float p = gx * dx + h0 + gy * dy;
                    const float t = p - (FAbs(dx) + FAbs(dy)) * coneGradient;
                    if (s > t)
                        count += 1.0f;
                }
            result.counts[y * width + x] = count;
            if (count > result.maximum)
                result.maximum = count;
            if (count < result.minimum)
                result.minimum = count;
        }
    }
    result.values.resize(heights.size());
    for (std::size_t i = 0; i < heights.size(); ++i)
        result.values[i] = (result.counts[i] - result.minimum) / (result.maximum - result.minimum);
    return result;
}
