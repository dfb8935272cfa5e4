#include "processing/AnisotropyKernels.h"

#include "core/Image.h"
#include "core/KernelTargets.h"
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

// trunc(scaled) for 0 <= scaled < 256, or -1 when scaled lies so close to a whole number that the float
// evaluation of the same quantity might land on the other side of it, or outside that range. The float
// path strays from the true value by well under 1e-4 here (a couple of ulps in atan2 and cos, three
// roundings), and the estimate passed in by about as much, so a margin of 1e-3 leaves a wide safety
// factor; the few values inside it take the exact path. No branches, for loops that work out several
// values side by side. The argument must be finite: converting a not-a-number to int is undefined.
inline int ClearTruncation(float scaled)
{
    const int whole = static_cast<int>(scaled);
    const float fraction = scaled - static_cast<float>(whole);
    const bool clear = (whole >= 0) & (whole <= 255) & (fraction >= 1e-3f) & (fraction <= 1.0f - 1e-3f);
    return clear ? whole : -1;
}

// The encoded bytes (red, green, blue) of one value; the angle-doubled format may rewrite it.
template <int Format> std::array<std::uint8_t, 3> EncodeValue(Vector2D& v)
{
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
    if constexpr (Format == AnisotropyFormat::StandardVectorFormat)
    {
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

// The red and green bytes of the standard format for a whole row, or -1 in red where a value must take
// the exact path. The cosine and sine of half the doubled angle follow from the vector by the half-angle
// formulas, far cheaper than atan2, cos and sin. Of the two, the larger is the root of (m + |x|) / 2m,
// and the smaller is |y| / 2m divided by the larger: both well conditioned, so single precision lands
// within a few ulps (about 1e-4 once scaled to bytes) where the textbook sqrt((1 - c) / 2) would lose
// digits to cancellation. The bytes are the same as the exact path's unless a value sits on a byte
// boundary, or is too small or too large for the formulas. There are no branches, so several values
// are worked out side by side.
BRONDEL_WIDE_CLONES
void StandardBytesClearOfBoundaries(const Vector2D* row, int width, int* red, int* green)
{
    for (int x = 0; x < width; ++x)
    {
        const float vx = row[x].x;
        const float vy = row[x].y;
        const float m = std::sqrt(vx * vx + vy * vy);
        // Magnitudes outside this range could lose digits to underflow or overflow in the squares; they
        // take the exact path. They divide by 1 instead, so that every conversion to int below is of a
        // value near [0, 255] (the values are means of orientations made from bytes, so always finite).
        const bool usableMagnitude = (m > 1e-15f) & (m < 1e15f);
        const float d = usableMagnitude ? m : 1.0f;
        const float larger = std::sqrt((d + std::fabs(vx)) / (2.0f * d));
        const float smaller = std::fabs(vy) / (2.0f * d * larger);
        const float cosPhi = vx >= 0.0f ? larger : smaller;
        const float sinPhi = std::copysign(vx >= 0.0f ? smaller : larger, vy);
        const int r = ClearTruncation((cosPhi * 0.5f + 0.5f) * 255.0f);
        const int g = ClearTruncation((sinPhi * 0.5f + 0.5f) * 255.0f);
        red[x] = (usableMagnitude & (g >= 0)) ? r : -1;
        green[x] = g;
    }
}

// One row of values into one row of the map's colour and alpha planes. Zero vectors fill flat areas and
// the frame the expansion leaves, so their bytes are worked out once and passed in.
template <int Format>
void EncodeRow(Vector2D* row, int width, const std::array<std::uint8_t, 3>& zeroBytes, std::uint8_t* out,
               std::uint8_t* alpha)
{
    thread_local std::vector<int> red;
    thread_local std::vector<int> green;
    if constexpr (Format == AnisotropyFormat::StandardVectorFormat)
    {
        red.resize(static_cast<std::size_t>(width));
        green.resize(static_cast<std::size_t>(width));
        StandardBytesClearOfBoundaries(row, width, red.data(), green.data());
    }
    for (int x = 0; x < width; ++x)
    {
        std::array<std::uint8_t, 3> bytes = zeroBytes;
        if (IsPositiveZero(row[x]))
        {}
        else if (Format == AnisotropyFormat::StandardVectorFormat && red[static_cast<std::size_t>(x)] >= 0)
            bytes = {static_cast<std::uint8_t>(red[static_cast<std::size_t>(x)]),
                     static_cast<std::uint8_t>(green[static_cast<std::size_t>(x)]), 0};
        else
            bytes = EncodeValue<Format>(row[x]);
        out[3 * x] = bytes[0];
        out[3 * x + 1] = bytes[1];
        out[3 * x + 2] = bytes[2];
    }
    std::fill(alpha, alpha + width, std::uint8_t{255});
}

template <int Format> std::array<std::uint8_t, 3> ZeroBytes()
{
    Vector2D zero;
    return EncodeValue<Format>(zero);
}

// Encodes one row in the given format; an unknown format leaves the row of the map as it is.
void EncodeRowAs(int format, Vector2D* row, int width, std::uint8_t* out, std::uint8_t* alpha)
{
    switch (format)
    {
    case AnisotropyFormat::StandardVectorFormat:
    {
        static const std::array<std::uint8_t, 3> zero = ZeroBytes<AnisotropyFormat::StandardVectorFormat>();
        EncodeRow<AnisotropyFormat::StandardVectorFormat>(row, width, zero, out, alpha);
        break;
    }
    case AnisotropyFormat::AngleDoubledVectorFormat:
    {
        static const std::array<std::uint8_t, 3> zero =
            ZeroBytes<AnisotropyFormat::AngleDoubledVectorFormat>();
        EncodeRow<AnisotropyFormat::AngleDoubledVectorFormat>(row, width, zero, out, alpha);
        break;
    }
    case AnisotropyFormat::OrientationAngleFormat:
    {
        static const std::array<std::uint8_t, 3> zero = ZeroBytes<AnisotropyFormat::OrientationAngleFormat>();
        EncodeRow<AnisotropyFormat::OrientationAngleFormat>(row, width, zero, out, alpha);
        break;
    }
    default:
        break;
    }
}

bool IsKnownFormat(int format)
{
    return format == AnisotropyFormat::StandardVectorFormat ||
           format == AnisotropyFormat::AngleDoubledVectorFormat ||
           format == AnisotropyFormat::OrientationAngleFormat;
}

// The orientations of row y from the 2x2 blocks whose top-left corners lie on it.
struct FlowRows
{
    explicit FlowRows(const FlowChannel& flow)
        : red(flow), width(flow.width), height(flow.height), rightOfLast(flow.rightOfLast),
          belowLast(flow.belowLast)
    {}

    void Orientations(int y, OrientationMemo& memo, Vector2D* out) const
    {
        const std::uint8_t* upper = Row(y);
        const std::uint8_t* lower = Row(y + 1 < height ? y + 1 : belowLast);
        const int step = red.step;
        for (int x = 0; x < width; ++x)
        {
            const int right = step * (x + 1 < width ? x + 1 : rightOfLast);
            const float a = Image::ByteToChannel(upper[step * x]);
            const float b = Image::ByteToChannel(upper[right]);
            const float c = Image::ByteToChannel(lower[step * x]);
            const float d = Image::ByteToChannel(lower[right]);
            const float gx = (b + d) - (a + c);
            const float gy = (a + b) - (c + d);
            // Flat areas are common and their value is known: equal sums subtract to +0, and any
            // orientation scaled by a zero strength is (+0, +0).
            out[x] = (gx == 0.0f && gy == 0.0f) ? Vector2D() : memo.Get(gx, gy);
        }
    }

    const std::uint8_t* Row(int y) const { return red.data + static_cast<std::size_t>(y) * red.stride; }

    FlowChannel red;
    int width;
    int height;
    int rightOfLast;
    int belowLast;
};

// One row of a smoothing pass from the three rows around it in the pass before, taken as flat arrays of
// interleaved x and y. Each value adds its nine neighbours row by row, left to right, from +0 (so a
// lone -0 still comes out +0), as the plain loop does; neighbouring values are independent, so the loop
// runs several side by side.
BRONDEL_WIDE_CLONES
void MeanRow(const float* above, const float* row, const float* below, float* out, int width)
{
    for (int i = 4; i < 2 * width - 4; ++i)
    {
        float sum = 0.0f;
        sum += above[i - 2];
        sum += above[i];
        sum += above[i + 2];
        sum += row[i - 2];
        sum += row[i];
        sum += row[i + 2];
        sum += below[i - 2];
        sum += below[i];
        sum += below[i + 2];
        out[i] = sum / 9.0f;
    }
}

// Whether row y of a smoothing pass lies wholly in the two-pixel frame that the pass zeroes.
bool IsFrameRow(int y, int width, int height)
{
    return y < 2 || y >= height - 2 || width <= 4;
}

// Row y of the smoothing pass `level` (0: the orientations themselves), each pass keeping the last three
// rows it made. Asked for rows in increasing order, every row of every pass is made once, apart from
// the few above the first row asked for that a stream starting mid-image has to make again.
class ExpansionStream
{
public:
    ExpansionStream(const FlowRows& rows, int passes)
        : flow(rows), width(rows.width), levels(static_cast<std::size_t>(passes) + 1)
    {
        for (Level& level : levels)
            level.rows.assign(3 * static_cast<std::size_t>(width), Vector2D());
    }

    Vector2D* Row(int level, int y)
    {
        Level& made = levels[static_cast<std::size_t>(level)];
        const int slot = y % 3;
        Vector2D* out = made.rows.data() + static_cast<std::size_t>(slot) * width;
        if (made.rowInSlot[slot] == y)
            return out;
        if (level == 0)
            flow.Orientations(y, memo, out);
        else if (IsFrameRow(y, width, flow.height))
            std::fill(out, out + width, Vector2D());
        else
        {
            const Vector2D* above = Row(level - 1, y - 1);
            const Vector2D* row = Row(level - 1, y);
            const Vector2D* below = Row(level - 1, y + 1);
            MeanRow(&above->x, &row->x, &below->x, &out->x, width);
            out[0] = out[1] = out[width - 2] = out[width - 1] = Vector2D();
        }
        made.rowInSlot[slot] = y;
        return out;
    }

private:
    struct Level
    {
        std::vector<Vector2D> rows;
        std::array<int, 3> rowInSlot = {-1, -1, -1};
    };
    const FlowRows& flow;
    int width;
    std::vector<Level> levels;
    OrientationMemo memo;
};
} // namespace

FlowChannel RedOfFlowMap(const Image& flow)
{
    const PlaneView<const std::uint8_t> plane = flow.ColourView();
    return {plane.data,
            static_cast<std::size_t>(plane.stride),
            3,
            plane.width,
            plane.height,
            flow.MapX(plane.width),
            flow.MapY(plane.height)};
}

FlowChannel ClampedFlowChannel(const std::uint8_t* red, int width, int height)
{
    return {red, static_cast<std::size_t>(width), 1, width, height, width - 1, height - 1};
}

void ComputeFlowOrientations(const FlowChannel& flow, Vector2D* values)
{
    const FlowRows rows(flow);
    ParallelFor(0, rows.height, [&](int from, int to) {
        OrientationMemo memo;
        for (int y = from; y < to; ++y)
            rows.Orientations(y, memo, values + static_cast<std::size_t>(y) * rows.width);
    });
}

void ExpandOrientations(Vector2D* values, int width, int height)
{
    std::vector<Vector2D> mean(static_cast<std::size_t>(width) * height);
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            Vector2D* out = mean.data() + static_cast<std::size_t>(y) * width;
            if (IsFrameRow(y, width, height))
            {
                std::fill(out, out + width, Vector2D());
                continue;
            }
            const Vector2D* row = values + static_cast<std::size_t>(y) * width;
            MeanRow(&(row - width)->x, &row->x, &(row + width)->x, &out->x, width);
            out[0] = out[1] = out[width - 2] = out[width - 1] = Vector2D();
        }
    });
    std::copy(mean.begin(), mean.end(), values);
}

void StreamAnisotropyRows(const FlowChannel& flow, int passes, int format, int from, int to, Image& map,
                          Vector2D* values)
{
    const bool encode = IsKnownFormat(format);
    if (!encode && values == nullptr)
        return;
    const FlowRows rows(flow);
    ExpansionStream stream(rows, std::max(0, passes));
    const PlaneView<std::uint8_t> rgb = map.ColourView();
    const PlaneView<std::uint8_t> alpha = map.AlphaView();
    for (int y = from; y < to; ++y)
    {
        // Nothing reads the last pass's rows again, so the encoding may normalise them where they lie.
        Vector2D* made = stream.Row(std::max(0, passes), y);
        if (encode)
            EncodeRowAs(format, made, rows.width, rgb.Row(y), alpha.Row(y));
        if (values != nullptr)
            std::copy(made, made + rows.width, values + static_cast<std::size_t>(y) * rows.width);
    }
}
