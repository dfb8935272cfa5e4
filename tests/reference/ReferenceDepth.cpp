#include "reference/ReferenceDepth.h"

#include "core/Vector2D.h"

#include <cmath>
#include <utility>

namespace {
struct Link
{
    int x1, y1;
    int x2, y2;
    float rise;
};

Vector2D Rise(const Vector3D& n)
{
    return {-n.x * std::sqrt(n.x * n.x + n.z * n.z), n.y * std::sqrt(n.y * n.y + n.z * n.z)};
}

// Fills the finer level (2 * width wide) from the coarser one.
void InflateDepth(const std::vector<float>& coarse, int width, int height, float factor,
                  std::vector<float>& fine)
{
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
            for (int dy = 0; dy < 2; ++dy)
                for (int dx = 0; dx < 2; ++dx)
                    fine[(2 * y + dy) * (2 * width) + 2 * x + dx] = factor * coarse[y * width + x];
}
} // namespace

void ReferenceRefineDepth(std::vector<float>& depth, const std::vector<Vector3D>& normals, int width,
                          int height, int steps, const bool* xEdges, const bool* yEdges,
                          std::vector<std::string>* log)
{
    std::vector<Link> links;
    links.reserve(2 * static_cast<std::size_t>(width) * height);
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
        {
            const Vector2D rise = Rise(normals[y * width + x]);
            if (!(xEdges && xEdges[y * width + x]))
                links.push_back({x, y, (x + 1) % width, y, rise.x});
            if (!(yEdges && yEdges[y * width + x]))
                links.push_back({x, y, x, (y + 1) % height, rise.y});
        }

    std::vector<float> a = depth;
    std::vector<float> b(a.size());
    for (int i = 0; i < steps; ++i)
    {
        b = a;
        for (const Link& link : links)
        {
            const int p = link.y1 * width + link.x1;
            const int q = link.y2 * width + link.x2;
            const float e = link.rise - (a[q] - a[p]);
            const float d = 0.25f * e;
            b[p] -= d;
            b[q] += d;
        }
        if (log && i % 50 == 0)
            log->push_back("Finished refine step " + std::to_string(i) + " of " + std::to_string(steps) +
                           ".");
        if (i + 1 < steps)
            std::swap(a, b);
    }
    depth = a;
}

std::vector<float> ReferenceDepthFromNormals(const std::vector<std::vector<Vector3D>>& normalLevels,
                                             int width, int height, int steps, float lowFrequencyEmphasis)
{
    const int levels = static_cast<int>(normalLevels.size());
    std::vector<std::vector<float>> depth(normalLevels.size());
    for (int level = 0; level < levels; ++level)
        depth[level].assign(normalLevels[level].size(), 0.0f);
    for (int level = levels - 1; level >= 1; --level)
    {
        const int w = width >> level;
        const int h = height >> level;
        ReferenceRefineDepth(depth[level], normalLevels[level], w, h, steps, nullptr, nullptr);
        InflateDepth(depth[level], w, h, lowFrequencyEmphasis, depth[level - 1]);
    }
    ReferenceRefineDepth(depth[0], normalLevels[0], width, height, steps, nullptr, nullptr);
    return depth[0];
}

ReferenceDepthMap ReferenceNormaliseDepth(const std::vector<float>& depth, int width, int height,
                                          const std::vector<std::uint8_t>* alpha)
{
    ReferenceDepthMap map;
    map.minimum = map.maximum = depth[0];
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            if (alpha && (*alpha)[y * width + x] == 0)
                continue;
            const float d = depth[y * width + x];
            if (d < map.minimum)
                map.minimum = d;
            else if (d > map.maximum)
                map.maximum = d;
        }
    map.range = map.maximum - map.minimum;
    map.values.resize(depth.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            const int i = y * width + x;
            map.values[i] = alpha && (*alpha)[i] == 0 ? 0.0f : (depth[i] - map.minimum) / map.range;
        }
    return map;
}
