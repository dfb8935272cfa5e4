#include "reference/ReferenceNormals.h"

#include "core/Image.h"
#include "core/TransformMatrix.h"

#include <algorithm>
#include <cmath>

namespace {
// The red channels of two opposite profiles at (x, y); a missing one mirrors its partner, and a
// missing pair leaves both untouched.
void ReadProfilePair(const Image* a, const Image* b, int x, int y, float& va, float& vb)
{
    if (a)
        va = a->GetPixel(x, y).r;
    if (b)
        vb = b->GetPixel(x, y).r;
    if (a && !b)
        vb = 1.0f - va;
    if (b && !a)
        va = 1.0f - vb;
}
} // namespace

std::vector<Vector3D> ReferenceGenerateNormals(const ReferenceNormalInputs& in, float bend,
                                               float rotationDirection, float rotationAmount,
                                               bool autofixFlatNormals)
{
    const int w = in.width;
    const int h = in.height;
    std::vector<Vector3D> normals(static_cast<std::size_t>(w) * h);
    const bool useMask = in.diffuse && in.diffuse->GetWidth() == w && in.diffuse->GetHeight() == h;

    float maxFlat = 0.0f;
    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y)
        {
            float l = 0, r = 0, t = 0, b = 0;
            ReadProfilePair(in.left, in.right, x, y, l, r);
            ReadProfilePair(in.top, in.bottom, x, y, t, b);
            Vector3D& n = normals[static_cast<std::size_t>(y) * w + x];
            n.x = r - l;
            n.y = t - b;
            if (!(useMask && in.diffuse->GetPixel(x, y).a == 0.0f))
                maxFlat = std::max(maxFlat, std::sqrt(n.x * n.x + n.y * n.y));
        }

    const float flatFactor = 0.9f / maxFlat;
    const float theta = (rotationDirection - 90.0f) * 0.017453333f;
    TransformMatrix rotation;
    rotation.MakeRotationAboutAxis(Vector3D(std::cos(theta), std::sin(theta), 0.0f),
                                   0.017453333f * rotationAmount);

    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y)
        {
            Vector3D& n = normals[static_cast<std::size_t>(y) * w + x];
            if (useMask && in.diffuse->GetPixel(x, y).a == 0.0f)
            {
                n = Vector3D(0, 0, 1);
                continue;
            }
            float nx = n.x;
            float ny = n.y;
            float nz;
            if (in.front)
                nz = in.front->GetPixel(x, y).r * bend;
            else
            {
                if (autofixFlatNormals)
                {
                    const float ax = std::fabs(nx);
                    const float ay = std::fabs(ny);
                    float scale;
                    if (nx == 0.0f && ny == 0.0f)
                        scale = 0.999f * flatFactor + 0.0009999871f;
                    else
                    {
                        const float ratio = ay > ax ? ax / ay : ay / ax;
                        const float t = 0.333f * (ratio + 2.0f);
                        scale = t * flatFactor + (1.0f - t);
                    }
                    nx *= scale;
                    ny *= scale;
                }
                const float m = std::sqrt(nx * nx + ny * ny);
                nz = m < 0.01f ? 1.0f : m > 0.99f ? 0.0f : std::sqrt(1.0f - nx * nx - ny * ny);
                nz = nz * bend * 0.6f;
            }
            const Vector3D v = Vector3D(nx, ny, nz) * rotation;
            n = v.GetMagnitude() < 0.01f ? Vector3D(0, 0, 1) : v.GetNormalised();
        }
    return normals;
}

std::vector<std::vector<Vector3D>> ReferenceNormalMips(const std::vector<Vector3D>& level0, int width,
                                                       int height, int mipCount)
{
    std::vector<std::vector<Vector3D>> levels{level0};
    for (int l = 0; l + 1 < mipCount; ++l)
    {
        const int fineWidth = width >> l;
        const int w = width >> (l + 1);
        const int h = height >> (l + 1);
        const std::vector<Vector3D>& fine = levels.back();
        std::vector<Vector3D> coarse(static_cast<std::size_t>(w) * h);
        for (int x = 0; x < w; ++x)
            for (int y = 0; y < h; ++y)
            {
                const Vector3D s =
                    (fine[(2 * y) * fineWidth + 2 * x] + fine[(2 * y) * fineWidth + 2 * x + 1]) +
                    (fine[(2 * y + 1) * fineWidth + 2 * x] + fine[(2 * y + 1) * fineWidth + 2 * x + 1]);
                coarse[y * w + x] = s.GetMagnitude() < 0.04f ? Vector3D(0, 0, 1) : s.GetNormalised();
            }
        levels.push_back(std::move(coarse));
    }
    return levels;
}

ReferenceNormalMaps ReferenceEncodeNormals(const std::vector<Vector3D>& normals, int width, int height,
                                           bool flipY, const Image* diffuse)
{
    ReferenceNormalMaps maps{std::make_unique<Image>(width, height), std::make_unique<Image>(width, height)};
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
        {
            Colour c(0, 0, 0, 1);
            c.SetFromNormal(normals[static_cast<std::size_t>(y) * width + x]);
            if (flipY)
                c.g = 1.0f - c.g;
            maps.normal->SetPixel(x, y, c);
            if (diffuse)
                c.a = diffuse->GetPixel(x, y).a;
            maps.normalOpacity->SetPixel(x, y, c);
        }
    return maps;
}
