#include "processing/AOKernels.h"

#include "core/KernelTargets.h"
#include "core/NumericHelpers.h"
#include "core/Parallel.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
constexpr int kBlockColumns = 50;

// Eight lanes of floats, and the lane masks comparisons give (-1 where true). Without wide
// registers the compiler splits them, which still runs two narrower lanes side by side.
typedef float Floats __attribute__((vector_size(32)));
typedef int Ints __attribute__((vector_size(32)));
constexpr int kLanes = 8;

// Every open probe adds exactly 1.0, so counting in integers gives the bits of a float running sum,
// provided the count is capped where such a sum stops growing (2^24).
constexpr int kFloatCountLimit = 1 << 24;

// One probe offset along an axis, as an integer for indexing and as the float the plane uses.
struct Offset
{
    int d;
    float f;
    float magnitude;        // FAbs(f)
    std::ptrdiff_t rowStep; // d * width, as a vertical offset
};

// Wrap sends an offset of exactly minus the image size to the size itself, one past the last
// column or row. Such a sample reads the buffer as a ring, i.e. the pixel that follows in memory,
// and the row past the last is the first.
inline std::size_t RingIndex(std::size_t rowStart, int x, std::size_t total)
{
    const std::size_t i = rowStart + static_cast<std::size_t>(x);
    return i < total ? i : i % total;
}

struct ProbeField
{
    const float* heights;
    int width;
    int height;
    std::size_t total;
    float flatness; // 1 - ambientLightFlatness
    float coneGradient;
    std::vector<Offset> offsets; // the same on both axes
};

inline float ConeRise(const ProbeField& f, const Offset& dx, const Offset& dy)
{
    return (dx.magnitude + dy.magnitude) * f.coneGradient;
}

// Per-thread working rows for one block of columns.
struct ProbeScratch
{
    explicit ProbeScratch(std::size_t offsets)
        : gyDy(offsets * 2 * kLanes), columns(offsets), rowStarts(offsets)
    {}
    int open[kBlockColumns];
    std::vector<float> gyDy; // gy * dy of up to sixteen pixels for every dy
    std::vector<int> columns;
    std::vector<std::size_t> rowStarts;
};

// One pixel with every read wrapped; used where probes reach past a border.
int CountAtBorder(const ProbeField& f, int x, int y, ProbeScratch& s)
{
    const int w = f.width;
    const std::size_t row = static_cast<std::size_t>(y) * w;
    const float h0 = f.heights[row + x];
    const float hR = f.heights[RingIndex(row, Wrap(x + 1, w), f.total)];
    const float hL = f.heights[RingIndex(row, Wrap(x - 1, w), f.total)];
    const float hD = f.heights[RingIndex(static_cast<std::size_t>(Wrap(y + 1, f.height)) * w, x, f.total)];
    const float hU = f.heights[RingIndex(static_cast<std::size_t>(Wrap(y - 1, f.height)) * w, x, f.total)];
    const float gx = 0.5f * ((hR - h0) - (hL - h0)) * f.flatness;
    const float gy = 0.5f * ((hD - h0) - (hU - h0)) * f.flatness;
    const std::size_t n = f.offsets.size();
    for (std::size_t i = 0; i < n; ++i)
    {
        s.columns[i] = Wrap(x + f.offsets[i].d, w);
        s.rowStarts[i] = static_cast<std::size_t>(Wrap(y + f.offsets[i].d, f.height)) * w;
    }
    int open = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        const Offset& dx = f.offsets[i];
        for (std::size_t j = 0; j < n; ++j)
        {
            const Offset& dy = f.offsets[j];
            const float sample = f.heights[RingIndex(s.rowStarts[j], s.columns[i], f.total)];
            const float t = (gx * dx.f + h0 + gy * dy.f) - ConeRise(f, dx, dy);
            open += sample > t ? 1 : 0;
        }
    }
    return open;
}

// Unaligned load. It fills a reference rather than returning the vector: a 256-bit return value
// would be passed differently by the two builds of the probe loop.
inline void LoadFloats(Floats& v, const float* p)
{
    std::memcpy(&v, p, sizeof v);
}

// Counts for `groups` x 8 pixels from p on, with their counts kept in registers across all the
// probes. The threshold is evaluated exactly as (gx * dx + h0) + gy * dy - rise, only with
// gx * dx + h0 formed once per dx and gy * dy once per dy.
template <int groups>
[[gnu::always_inline]] inline void CountGroups(const ProbeField& f, const float* p, float* gyDy, int* out)
{
    const std::ptrdiff_t w = f.width;
    const std::size_t offsets = f.offsets.size();
    Floats h0[groups], gx[groups], gy[groups];
    for (int g = 0; g < groups; ++g)
    {
        const float* q = p + static_cast<std::ptrdiff_t>(g) * kLanes;
        Floats right, left, below, above;
        LoadFloats(h0[g], q);
        LoadFloats(right, q + 1);
        LoadFloats(left, q - 1);
        LoadFloats(below, q + w);
        LoadFloats(above, q - w);
        gx[g] = 0.5f * ((right - h0[g]) - (left - h0[g])) * f.flatness;
        gy[g] = 0.5f * ((below - h0[g]) - (above - h0[g])) * f.flatness;
        for (std::size_t j = 0; j < offsets; ++j)
        {
            const Floats product = gy[g] * f.offsets[j].f;
            std::memcpy(gyDy + (j * groups + g) * kLanes, &product, sizeof product);
        }
    }
    Ints open[groups] = {};
    for (const Offset& ox : f.offsets)
    {
        Floats base[groups];
        for (int g = 0; g < groups; ++g)
            base[g] = gx[g] * ox.f + h0[g];
        const float* column = p + ox.d;
        for (std::size_t j = 0; j < offsets; ++j)
        {
            const Offset& oy = f.offsets[j];
            const float rise = ConeRise(f, ox, oy);
            for (int g = 0; g < groups; ++g)
            {
                Floats product, sample;
                LoadFloats(product, gyDy + (j * groups + g) * kLanes);
                LoadFloats(sample, column + oy.rowStep + static_cast<std::ptrdiff_t>(g) * kLanes);
                open[g] -= sample > (base[g] + product) - rise;
            }
        }
    }
    std::memcpy(out, open, sizeof open);
}

// Pixels [from, to) of row y, all of whose probes and neighbours lie inside the image: plain
// indexing, sixteen or eight pixels at a time. A segment that is not a multiple of that long ends
// with a group shifted back to overlap the one before; the overlapped pixels simply come out the
// same twice.
BRONDEL_WIDE_CLONES
void CountInterior(const ProbeField& f, int y, int from, int to, ProbeScratch& s)
{
    const float* row = f.heights + static_cast<std::size_t>(y) * f.width;
    const int n = to - from;
    if (n >= 2 * kLanes)
        for (int group = from; group < to; group += 2 * kLanes)
        {
            const int x = std::min(group, to - 2 * kLanes);
            CountGroups<2>(f, row + x, s.gyDy.data(), s.open + (x - from));
        }
    else if (n >= kLanes)
        for (int group = from; group < to; group += kLanes)
        {
            const int x = std::min(group, to - kLanes);
            CountGroups<1>(f, row + x, s.gyDy.data(), s.open + (x - from));
        }
    else
        for (int x = from; x < to; ++x)
        {
            const float* p = row + x;
            const float h0 = p[0];
            const float gx = 0.5f * ((p[1] - h0) - (p[-1] - h0)) * f.flatness;
            const float gy = 0.5f * ((p[f.width] - h0) - (p[-f.width] - h0)) * f.flatness;
            int open = 0;
            for (const Offset& ox : f.offsets)
                for (const Offset& oy : f.offsets)
                {
                    const float t = (gx * ox.f + h0 + gy * oy.f) - ConeRise(f, ox, oy);
                    open += p[oy.rowStep + ox.d] > t ? 1 : 0;
                }
            s.open[x - from] = open;
        }
}
} // namespace

SheetVector<float> PrepareAOHeights(const float* depthRed, const std::uint8_t* mask, std::size_t count)
{
    SheetVector<float> heights(count);
    ParallelForElements(count, [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i)
            heights[i] = mask && mask[i] == 0 ? 100.0f : 1.0f - depthRed[i];
    });
    return heights;
}

void CountOpenProbes(const float* heights, int width, int height, const AOSettings& settings, float* counts,
                     const std::function<void(int x)>& beforeBlock)
{
    if (width <= 0 || height <= 0)
        return;
    ProbeField f{heights,
                 width,
                 height,
                 static_cast<std::size_t>(width) * height,
                 1.0f - settings.ambientLightFlatness,
                 settings.coneGradient,
                 {}};
    // A step below 1 would never leave the first offset.
    const long long step = std::max(1, settings.stepSize);
    const long long box = settings.boxSize;
    for (long long d = -box; d <= box; d += step)
        f.offsets.push_back({static_cast<int>(d), static_cast<float>(d), FAbs(static_cast<float>(d)),
                             static_cast<std::ptrdiff_t>(d) * width});

    // Pixels at least `reach` from every border see neither a wrapped probe nor a wrapped neighbour.
    const int reach = static_cast<int>(std::max<long long>(box, 1));
    const int firstColumn = reach;
    const int endColumn = width - reach;

    for (int x0 = 0; x0 < width; x0 += kBlockColumns)
    {
        if (beforeBlock)
            beforeBlock(x0);
        const int x1 = std::min(width, x0 + kBlockColumns);
        const int inFrom = std::clamp(firstColumn, x0, x1);
        const int inTo = std::max(inFrom, std::clamp(endColumn, x0, x1));
        ParallelFor(0, height, [&](int from, int to) {
            ProbeScratch scratch(f.offsets.size());
            for (int y = from; y < to; ++y)
            {
                float* out = counts + static_cast<std::size_t>(y) * width;
                const bool interiorRow = y >= reach && y < height - reach;
                const int a = interiorRow ? inFrom : x1;
                const int b = interiorRow ? inTo : x1;
                for (int x = x0; x < a; ++x)
                    out[x] = static_cast<float>(std::min(CountAtBorder(f, x, y, scratch), kFloatCountLimit));
                if (a < b)
                {
                    CountInterior(f, y, a, b, scratch);
                    for (int x = a; x < b; ++x)
                        out[x] = static_cast<float>(std::min(scratch.open[x - a], kFloatCountLimit));
                }
                for (int x = b; x < x1; ++x)
                    out[x] = static_cast<float>(std::min(CountAtBorder(f, x, y, scratch), kFloatCountLimit));
            }
        });
    }
}

AOExtent FindAOExtent(const float* counts, std::size_t count)
{
    // Slices in order, each from the same start; an extreme met twice (a zero of either sign) keeps the
    // first, within a slice and between them, as one scan would.
    const auto scan = [counts](std::size_t from, std::size_t to, AOExtent extent) {
        for (std::size_t i = from; i < to; ++i)
        {
            extent.maximum = std::max(extent.maximum, counts[i]);
            extent.minimum = std::min(extent.minimum, counts[i]);
        }
        return extent;
    };
    constexpr std::size_t kSlices = 64;
    std::vector<AOExtent> slices(kSlices);
    ParallelFor(0, static_cast<int>(kSlices), [&](int first, int last) {
        for (int slice = first; slice < last; ++slice)
            slices[static_cast<std::size_t>(slice)] =
                scan(count * slice / kSlices, count * (slice + 1) / kSlices, AOExtent());
    });
    AOExtent extent;
    for (const AOExtent& slice : slices)
    {
        extent.maximum = std::max(extent.maximum, slice.maximum);
        extent.minimum = std::min(extent.minimum, slice.minimum);
    }
    return extent;
}

SheetVector<float> NormaliseAO(const float* counts, std::size_t count, const AOExtent& extent)
{
    SheetVector<float> values(count);
    const float range = extent.maximum - extent.minimum;
    ParallelForElements(count, [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i)
            values[i] = (counts[i] - extent.minimum) / range;
    });
    return values;
}
