#include "reference/ReferenceAnisotropy.h"

#include "core/Image.h"

#include <cmath>

namespace {
std::vector<Vector2D> PopulateAnisotropy(const Image& flow)
{
    const int width = flow.GetWidth();
    const int height = flow.GetHeight();
    std::vector<Vector2D> values(static_cast<std::size_t>(width) * height);
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
        {
            const float a = flow.GetPixel(x, y).r;
            const float b = flow.GetPixel(x + 1, y).r;
            const float c = flow.GetPixel(x, y + 1).r;
            const float d = flow.GetPixel(x + 1, y + 1).r;
            const float gx = (b + d) - (a + c);
            const float gy = (a + b) - (c + d);
            const float m = Vector2D(gx, gy).GetMagnitude();
            float theta = std::atan2(gx, -gy);
            if (theta < 0.0f)
                theta += 6.2832f;
            values[static_cast<std::size_t>(y) * width + x] =
                Vector2D(std::cos(2.0f * theta) * m, std::sin(2.0f * theta) * m);
        }
    return values;
}

void ExpandAnisotropy(Vector2D* values, int width, int height)
{
    std::vector<Vector2D> scratch(static_cast<std::size_t>(width) * height);
    for (int y = 2; y <= height - 3; ++y)
        for (int x = 2; x <= width - 3; ++x)
        {
            Vector2D sum;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    sum += values[static_cast<std::size_t>(y + dy) * width + (x + dx)];
            scratch[static_cast<std::size_t>(y) * width + x] = sum / 9.0f;
        }
    for (std::size_t i = 0; i < scratch.size(); ++i)
        values[i] = scratch[i];
}

} // namespace

std::unique_ptr<Image> ReferenceAnisotropyMap(const Image& flow, int expansionCount, int outputFormat,
                                              std::vector<Vector2D>* valuesOut)
{
    const int width = flow.GetWidth();
    const int height = flow.GetHeight();
    std::vector<Vector2D> values = PopulateAnisotropy(flow);
    for (int i = 1; i <= expansionCount; ++i)
        ExpandAnisotropy(values.data(), width, height);

    auto map = std::make_unique<Image>(width, height);
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
        {
            Vector2D& v = values[static_cast<std::size_t>(y) * width + x];
            if (outputFormat == 0)
            {
                const float phi = std::atan2(v.y, v.x) * 0.5f;
                map->SetPixel(x, y,
                              Colour(std::cos(phi) * 0.5f + 0.5f, std::sin(phi) * 0.5f + 0.5f, 0.0f, 1.0f));
            }
            else if (outputFormat == 1)
            {
                if (v.GetMagnitude() > 0.001f)
                    v.Normalise();
                map->SetPixel(x, y, Colour(0.5f * v.x + 0.5f, 0.5f * v.y + 0.5f, 0.0f, 1.0f));
            }
            else if (outputFormat == 2)
            {
                float a = std::atan2(v.y, v.x);
                if (a < 0.0f)
                    a += 6.2832f;
                const float g = a * 0.5f / 6.2832f;
                map->SetPixel(x, y, Colour(g, g, g, 1.0f));
            }
        }
    if (valuesOut != nullptr)
        *valuesOut = values;
    return map;
}
