#include "processing/AnisotropyKernels.h"

#include "core/Image.h"
#include "core/Parallel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {
// A full turn as the maps have always been encoded with; not quite two pi, and kept so that existing
// shaders and maps agree.
constexpr float kTurn = 6.2832f;

Vector2D OrientationFromGradient(float gx, float gy)
{
    const float m = Vector2D(gx, gy).GetMagnitude();
    // The grain runs across the gradient: the gradient's angle turned a quarter turn.
    float theta = std::atan2(gx, -gy);
    if (theta < 0.0f)
        theta += kTurn;
    return {std::cos(2.0f * theta) * m, std::sin(2.0f * theta) * m};
}

// Orientations already worked out, keyed by the exact bits of the gradient. A drawn flow map is smooth
// and has a few thousand distinct gradients, so three trigonometric calls a pixel become a lookup; the
// table stops growing at a fixed size so that noise costs little more than computing every pixel.
class OrientationMemo
{
public:
    OrientationMemo() : keys(kCapacity, kUnused), values(kCapacity) {}

    Vector2D Get(float gx, float gy)
    {
        std::uint32_t xBits = 0;
        std::uint32_t yBits = 0;
        std::memcpy(&xBits, &gx, sizeof xBits);
        std::memcpy(&yBits, &gy, sizeof yBits);
        const std::uint64_t key = (std::uint64_t{xBits} << 32) | yBits;
        std::size_t slot = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> (64 - kLog2Capacity));
        while (keys[slot] != kUnused)
        {
            if (keys[slot] == key)
                return values[slot];
            slot = (slot + 1) & (kCapacity - 1);
        }
        const Vector2D value = OrientationFromGradient(gx, gy);
        if (count < kCapacity / 2)
        {
            keys[slot] = key;
            values[slot] = value;
            ++count;
        }
        return value;
    }

private:
    static constexpr int kLog2Capacity = 15;
    static constexpr std::size_t kCapacity = std::size_t{1} << kLog2Capacity;
    static constexpr std::uint64_t kUnused = ~std::uint64_t{0}; // a not-a-number pair, never a gradient
    std::vector<std::uint64_t> keys;
    std::vector<Vector2D> values;
    std::size_t count = 0;
};

bool IsPositiveZero(const Vector2D& v)
{
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::memcpy(&x, &v.x, sizeof x);
    std::memcpy(&y, &v.y, sizeof y);
    return (x | y) == 0;
}

// trunc(scaled) for 0 <= scaled < 256, saturated at 255, or -1 when scaled lies so close to a whole
// number that the float evaluation of the same quantity might land on the other side of it. The float
// path strays from the true value by well under 1e-4 here (a couple of ulps in atan2 and cos, three
// roundings), so a margin of 1e-3 leaves a wide safety factor; the few values inside it take the exact
// path.
int ClearTruncation(double scaled)
{
    if (!(scaled >= 0.0 && scaled < 256.0))
        return -1;
    const int whole = static_cast<int>(scaled);
    const double fraction = scaled - whole;
    if (fraction < 1e-3 || fraction > 1.0 - 1e-3)
        return -1;
    return std::min(whole, 255);
}

// The encoded bytes (red, green, blue) of one value; the angle-doubled format may rewrite it.
template <int Format> std::array<std::uint8_t, 3> EncodeValue(Vector2D& v)
{
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
    if constexpr (Format == AnisotropyFormat::StandardVectorFormat)
    {
        // Half the doubled angle's cosine and sine follow from the vector by the half-angle formulas, in
        // double precision, far cheaper than atan2, cos and sin; the result is the same bytes unless a
        // value sits on a byte boundary.
        const double x = v.x;
        const double y = v.y;
        const double m = std::sqrt(x * x + y * y);
        if (m > 1e-20 && m < 1e20)
        {
            const double c = x / m;
            const double cosPhi = std::sqrt(std::max(0.0, (1.0 + c) * 0.5));
            const double sinPhi = std::copysign(std::sqrt(std::max(0.0, (1.0 - c) * 0.5)), y);
            const int red = ClearTruncation((cosPhi * 0.5 + 0.5) * 255.0);
            const int green = ClearTruncation((sinPhi * 0.5 + 0.5) * 255.0);
            if (red >= 0 && green >= 0)
                return {static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green), 0};
        }
        const float phi = std::atan2(v.y, v.x) * 0.5f;
        r = std::cos(phi) * 0.5f + 0.5f;
        g = std::sin(phi) * 0.5f + 0.5f;
    }
    else if constexpr (Format == AnisotropyFormat::AngleDoubledVectorFormat)
    {
        // Tiny vectors have no meaningful direction; they stay near the middle grey instead.
        if (v.GetMagnitude() > 0.001f)
            v.Normalise();
        r = 0.5f * v.x + 0.5f;
        g = 0.5f * v.y + 0.5f;
    }
    else
    {
        float a = std::atan2(v.y, v.x);
        if (a < 0.0f)
            a += kTurn;
        r = g = b = a * 0.5f / kTurn;
    }
    return {Image::ChannelToByte(r), Image::ChannelToByte(g), Image::ChannelToByte(b)};
}

template <int Format> void EncodeAs(Vector2D* values, int width, int height, Image& map)
{
    // Zero vectors fill flat areas and the frame expansion leaves, so their encoding is worked out once.
    Vector2D zero;
    const std::array<std::uint8_t, 3> zeroBytes = EncodeValue<Format>(zero);
    const PlaneView<std::uint8_t> rgb = map.ColourView();
    const PlaneView<std::uint8_t> alpha = map.AlphaView();
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            Vector2D* row = values + static_cast<std::size_t>(y) * width;
            std::uint8_t* out = rgb.Row(y);
            for (int x = 0; x < width; ++x)
            {
                const std::array<std::uint8_t, 3> bytes =
                    IsPositiveZero(row[x]) ? zeroBytes : EncodeValue<Format>(row[x]);
                out[3 * x] = bytes[0];
                out[3 * x + 1] = bytes[1];
                out[3 * x + 2] = bytes[2];
            }
            std::fill(alpha.Row(y), alpha.Row(y) + width, std::uint8_t{255});
        }
    });
    map.MarkChanged();
}
} // namespace

void ComputeFlowOrientations(const Image& flow, Vector2D* values)
{
    const int width = flow.GetWidth();
    const int height = flow.GetHeight();
    const PlaneView<const std::uint8_t> plane = flow.ColourView();
    // The right neighbour of the last column and the row below the last, as GetPixel maps them.
    const int rightOfLast = flow.MapX(width);
    const int belowLast = flow.MapY(height);
    ParallelFor(0, height, [&](int from, int to) {
        OrientationMemo memo;
        for (int y = from; y < to; ++y)
        {
            const std::uint8_t* upper = plane.Row(y);
            const std::uint8_t* lower = plane.Row(y + 1 < height ? y + 1 : belowLast);
            Vector2D* out = values + static_cast<std::size_t>(y) * width;
            for (int x = 0; x < width; ++x)
            {
                const int right = 3 * (x + 1 < width ? x + 1 : rightOfLast);
                const float a = Image::ByteToChannel(upper[3 * x]);
                const float b = Image::ByteToChannel(upper[right]);
                const float c = Image::ByteToChannel(lower[3 * x]);
                const float d = Image::ByteToChannel(lower[right]);
                const float gx = (b + d) - (a + c);
                const float gy = (a + b) - (c + d);
                // Flat areas are common and their value is known: equal sums subtract to +0, and
                // any orientation scaled by a zero strength is (+0, +0).
                out[x] = (gx == 0.0f && gy == 0.0f) ? Vector2D() : memo.Get(gx, gy);
            }
        }
    });
}

void ExpandOrientationsInto(const Vector2D* values, Vector2D* mean, int width, int height)
{
    // The two-pixel frame becomes zero; with four or fewer rows or columns that is everything.
    const auto clearRow = [&](int y) {
        std::fill(mean + static_cast<std::size_t>(y) * width, mean + static_cast<std::size_t>(y + 1) * width,
                  Vector2D());
    };
    for (int y = 0; y < height; ++y)
    {
        if (y < 2 || y >= height - 2 || width <= 4)
        {
            clearRow(y);
            continue;
        }
        Vector2D* row = mean + static_cast<std::size_t>(y) * width;
        row[0] = row[1] = row[width - 2] = row[width - 1] = Vector2D();
    }
    ParallelFor(2, height - 2, [&](int from, int to) {
        // A row of sums at a time. Each pixel still adds its nine neighbours row by row, left to right,
        // as the plain loop does, but neighbouring pixels' sums proceed side by side.
        std::vector<Vector2D> sum(static_cast<std::size_t>(std::max(0, width)));
        for (int y = from; y < to; ++y)
        {
            std::fill(sum.begin(), sum.end(), Vector2D());
            for (int dy = -1; dy <= 1; ++dy)
            {
                const Vector2D* row = values + static_cast<std::size_t>(y + dy) * width;
                for (int dx = -1; dx <= 1; ++dx)
                    for (int x = 2; x < width - 2; ++x)
                    {
                        sum[static_cast<std::size_t>(x)].x += row[x + dx].x;
                        sum[static_cast<std::size_t>(x)].y += row[x + dx].y;
                    }
            }
            Vector2D* out = mean + static_cast<std::size_t>(y) * width;
            for (int x = 2; x < width - 2; ++x)
                out[x] = sum[static_cast<std::size_t>(x)] / 9.0f;
        }
    });
}

void ExpandOrientations(Vector2D* values, int width, int height)
{
    std::vector<Vector2D> mean(static_cast<std::size_t>(width) * height);
    ExpandOrientationsInto(values, mean.data(), width, height);
    std::copy(mean.begin(), mean.end(), values);
}

void EncodeAnisotropy(Vector2D* values, int width, int height, int format, Image& map)
{
    switch (format)
    {
    case AnisotropyFormat::StandardVectorFormat:
        EncodeAs<AnisotropyFormat::StandardVectorFormat>(values, width, height, map);
        break;
    case AnisotropyFormat::AngleDoubledVectorFormat:
        EncodeAs<AnisotropyFormat::AngleDoubledVectorFormat>(values, width, height, map);
        break;
    case AnisotropyFormat::OrientationAngleFormat:
        EncodeAs<AnisotropyFormat::OrientationAngleFormat>(values, width, height, map);
        break;
    default:
        break;
    }
}
