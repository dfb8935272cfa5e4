#include "processing/NormalKernels.h"

#include "core/Colour.h"
#include "core/Image.h"
#include "core/Parallel.h"
#include "core/TransformMatrix.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace {
// Horizontal and vertical brightness pairs; a missing side of a pair mirrors the other.
inline void ProfilePair(const ByteChannel& a, const ByteChannel& b, int x, int y, float& first, float& second)
{
    if (a && b)
    {
        first = Image::ByteToChannel(a.At(x, y));
        second = Image::ByteToChannel(b.At(x, y));
    }
    else if (b)
    {
        second = Image::ByteToChannel(b.At(x, y));
        first = 1.0f - second;
    }
    else if (a)
    {
        first = Image::ByteToChannel(a.At(x, y));
        second = 1.0f - first;
    }
    else
    {
        first = 0.0f;
        second = 0.0f;
    }
}
} // namespace

float ComputeProfileSlopes(const NormalInputs& in, Vector3D* normals)
{
    std::mutex guard;
    float largest = 0.0f;
    ParallelFor(0, in.height, [&](int from, int to) {
        float localMax = 0.0f;
        for (int y = from; y < to; ++y)
            for (int x = 0; x < in.width; ++x)
            {
                const std::size_t i = static_cast<std::size_t>(y) * in.width + x;
                float l, r, t, b;
                ProfilePair(in.left, in.right, x, y, l, r);
                ProfilePair(in.top, in.bottom, x, y, t, b);
                const float sx = r - l;
                const float sy = t - b;
                normals[i].x = sx;
                normals[i].y = sy;
                if (in.mask && in.mask[i] == 0)
                    continue;
                localMax = std::max(localMax, std::sqrt(sx * sx + sy * sy));
            }
        // A maximum does not depend on the order blocks finish in.
        const std::lock_guard<std::mutex> lock(guard);
        largest = std::max(largest, localMax);
    });
    return largest;
}

void FinishNormals(const NormalInputs& in, const NormalSettings& settings, float flatFactor,
                   Vector3D* normals)
{
    // The degree-to-radian constant here is the one the tool has always used; rotated maps depend on it.
    const float theta = (settings.rotationDirection - 90.0f) * 0.017453333f;
    const Vector3D axis(std::cos(theta), std::sin(theta), 0.0f);
    TransformMatrix rotation;
    rotation.MakeRotationAboutAxis(axis, 0.017453333f * settings.rotationAmount);
    const bool useFront = static_cast<bool>(in.front);

    ParallelFor(0, in.height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
            for (int x = 0; x < in.width; ++x)
            {
                const std::size_t i = static_cast<std::size_t>(y) * in.width + x;
                if (in.mask && in.mask[i] == 0)
                {
                    normals[i] = Vector3D(0.0f, 0.0f, 1.0f);
                    continue;
                }
                float nx = normals[i].x;
                float ny = normals[i].y;
                float nz;
                if (useFront)
                    nz = Image::ByteToChannel(in.front.At(x, y)) * settings.bend;
                else
                {
                    if (settings.autofixFlatNormals)
                    {
                        // Diagonal slopes take almost all of the factor, axis-aligned ones two thirds.
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
                    if (m < 0.01f)
                        nz = 1.0f;
                    else if (m > 0.99f)
                        nz = 0.0f;
                    else
                        nz = std::sqrt(1.0f - nx * nx - ny * ny);
                    nz = nz * settings.bend * 0.6f;
                }
                const Vector3D v = Vector3D(nx, ny, nz) * rotation;
                normals[i] = v.GetMagnitude() < 0.01f ? Vector3D(0.0f, 0.0f, 1.0f) : v.GetNormalised();
            }
    });
}

void DownsampleNormals(const Vector3D* fine, int fineWidth, Vector3D* coarse, int coarseWidth,
                       int coarseHeight)
{
    ParallelFor(0, coarseHeight, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            const Vector3D* row0 = fine + static_cast<std::size_t>(2 * y) * fineWidth;
            const Vector3D* row1 = row0 + fineWidth;
            for (int x = 0; x < coarseWidth; ++x)
            {
                const Vector3D s = (row0[2 * x] + row0[2 * x + 1]) + (row1[2 * x] + row1[2 * x + 1]);
                coarse[static_cast<std::size_t>(y) * coarseWidth + x] =
                    s.GetMagnitude() < 0.04f ? Vector3D(0.0f, 0.0f, 1.0f) : s.GetNormalised();
            }
        }
    });
}

void EncodeNormalMaps(const Vector3D* normals, int width, int height, bool flipY, const std::uint8_t* opacity,
                      Image& normalMap, Image& normalOpacityMap)
{
    PlaneView<std::uint8_t> colour = normalMap.ColourView();
    PlaneView<std::uint8_t> alpha = normalMap.AlphaView();
    PlaneView<std::uint8_t> colour2 = normalOpacityMap.ColourView();
    PlaneView<std::uint8_t> alpha2 = normalOpacityMap.AlphaView();
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            std::uint8_t* rgb = colour.Row(y);
            std::uint8_t* rgb2 = colour2.Row(y);
            std::uint8_t* a = alpha.Row(y);
            std::uint8_t* a2 = alpha2.Row(y);
            for (int x = 0; x < width; ++x)
            {
                const std::size_t i = static_cast<std::size_t>(y) * width + x;
                Colour c(0.0f, 0.0f, 0.0f, 1.0f);
                c.SetFromNormal(normals[i]);
                if (flipY)
                    c.g = 1.0f - c.g;
                rgb[3 * x] = rgb2[3 * x] = Image::ChannelToByte(c.r);
                rgb[3 * x + 1] = rgb2[3 * x + 1] = Image::ChannelToByte(c.g);
                rgb[3 * x + 2] = rgb2[3 * x + 2] = Image::ChannelToByte(c.b);
                a[x] = 255;
                a2[x] = opacity ? opacity[i] : 255;
            }
        }
    });
    normalMap.MarkChanged();
    normalOpacityMap.MarkChanged();
}
