#include "processing/DepthKernels.h"

#include "core/KernelTargets.h"
#include "core/Parallel.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

namespace {
constexpr float kLinkShare = 0.25f;

// The share of a link's mismatch that moves across it: the rise the normals ask for from `here` to
// `there`, less the rise the depth has.
inline float Link(float rise, float here, float there)
{
    return kLinkShare * (rise - (there - here));
}

std::size_t Index(int x, int y, int width)
{
    return static_cast<std::size_t>(y) * width + x;
}

// A cut link must leave the sums exactly as if it did not exist. x - (+0) and x + (-0) are exact
// no-ops for every x, including -0, so a cut contributes +0 on the side that subtracts and -0 on
// the side that adds.
inline void StoreLink(float d, bool cut, int x, float* sub, float* add)
{
    sub[x] = cut ? 0.0f : d;
    add[x] = cut ? -0.0f : d;
}

// Links from row y to its right-hand neighbours, the last column wrapping to the first.
void HorizontalLinks(const RelaxationGrid& g, const float* a, int y, float* sub, float* add)
{
    const int w = g.width;
    const float* row = a + Index(0, y, w);
    const float* rise = g.riseX + Index(0, y, w);
    const bool* cut = g.cutRight + Index(0, y, w);
    for (int x = 0; x + 1 < w; ++x)
        StoreLink(Link(rise[x], row[x], row[x + 1]), cut[x], x, sub, add);
    StoreLink(Link(rise[w - 1], row[w - 1], row[0]), cut[w - 1], w - 1, sub, add);
}

// Links from row y to the row below, the last row wrapping to the first.
void VerticalLinks(const RelaxationGrid& g, const float* a, int y, float* sub, float* add)
{
    const int w = g.width;
    const float* row = a + Index(0, y, w);
    const float* below = a + Index(0, y + 1 == g.height ? 0 : y + 1, w);
    const float* rise = g.riseY + Index(0, y, w);
    const bool* cut = g.cutBelow + Index(0, y, w);
    for (int x = 0; x < w; ++x)
        StoreLink(Link(rise[x], row[x], below[x]), cut[x], x, sub, add);
}

// Applies the four links that touch each pixel of row y in the order the column-major link walk
// reaches them. Inside the grid that is: in from the left, in from above, out to the right, out
// downward. Column 0 hears from the last column only after its own links (that link comes from the
// last column of the walk); row 0 hears from the last row after its own two.
void CombineRow(const float* a, float* b, int w, bool firstRow, const float* hSub, const float* hAdd,
                const float* vSub, const float* vAddAbove)
{
    if (!firstRow)
    {
        b[0] = (((a[0] + vAddAbove[0]) - hSub[0]) - vSub[0]) + hAdd[w - 1];
        for (int x = 1; x < w; ++x)
            b[x] = (((a[x] + hAdd[x - 1]) + vAddAbove[x]) - hSub[x]) - vSub[x];
    }
    else
    {
        b[0] = (((a[0] - hSub[0]) - vSub[0]) + vAddAbove[0]) + hAdd[w - 1];
        for (int x = 1; x < w; ++x)
            b[x] = (((a[x] + hAdd[x - 1]) - hSub[x]) - vSub[x]) + vAddAbove[x];
    }
}

// One pass over rows [from, to) of a grid with cuts (both planes present), a row at a time.
void RelaxRowsWithCuts(const RelaxationGrid& g, const float* a, float* b, int from, int to)
{
    const int w = g.width;
    const int h = g.height;
    const std::size_t n = static_cast<std::size_t>(w);
    std::vector<float> store(5 * n);
    float* hSub = store.data();
    float* hAdd = hSub + n;
    float* vSub = hAdd + n;
    float* vAdd = vSub + n;
    float* vAbove = vAdd + n;

    // The lower links of the row above the block; only their adding side is needed.
    VerticalLinks(g, a, from == 0 ? h - 1 : from - 1, vSub, vAbove);
    for (int y = from; y < to; ++y)
    {
        HorizontalLinks(g, a, y, hSub, hAdd);
        VerticalLinks(g, a, y, vSub, vAdd);
        CombineRow(a + Index(0, y, w), b + Index(0, y, w), w, y == 0, hSub, hAdd, vSub, vAbove);
        std::swap(vAdd, vAbove);
    }
}

// With a single row or column a link joins a pixel to itself, so the two ends of one link land on
// the same sum; such grids are tiny, so they walk the links literally.
void RelaxThinGrid(const RelaxationGrid& g, const float* a, float* b)
{
    const int w = g.width;
    const int h = g.height;
    std::copy(a, a + static_cast<std::size_t>(w) * h, b);
    for (int x = 0; x < w; ++x)
        for (int y = 0; y < h; ++y)
        {
            const std::size_t p = Index(x, y, w);
            if (!(g.cutRight && g.cutRight[p]))
            {
                const std::size_t q = Index((x + 1) % w, y, w);
                const float d = Link(g.riseX[p], a[p], a[q]);
                b[p] -= d;
                b[q] += d;
            }
            if (!(g.cutBelow && g.cutBelow[p]))
            {
                const std::size_t q = Index(x, (y + 1) % h, w);
                const float d = Link(g.riseY[p], a[p], a[q]);
                b[p] -= d;
                b[q] += d;
            }
        }
}

// Several passes per trip through memory. The grid is cut into tiles, and each tile is relaxed with a
// margin as wide as the number of passes, its valid part shrinking by one pixel a pass, so that only
// its centre is written back. The margin wraps around the grid, so it holds exactly the pixels the torus
// puts there, and the order of the sums changes only where the global first row or column lies, which
// is tracked per tile.
//
// Within a tile the passes run as a wavefront down the rows: as each row of the depth comes in, every
// pass makes the one row it now has all three neighbours for. A pass therefore needs only the last three
// rows of the pass before it, and with tiles 192 pixels wide the rows in flight about fill a core's
// first-level cache. Whole tiles of intermediate passes spilled into the second level, which made
// the passes about a fifth slower.
constexpr int kTileWidth = 192;
constexpr int kTileHeight = 128;
constexpr int kFusedPasses = 8;

int Modulo(long long value, int modulus)
{
    const long long r = value % modulus;
    return static_cast<int>(r < 0 ? r + modulus : r);
}

// `count` elements of a row from column `start` on, wrapping past the end as often as needed.
void CopyWrapped(const float* row, int width, int start, int count, float* out)
{
    while (count > 0)
    {
        const int n = std::min(count, width - start);
        std::copy(row + start, row + start + n, out);
        out += n;
        count -= n;
        start = 0;
    }
}

struct TileBuffers
{
    std::vector<float> levels; // three rows for each pass between the first and the last
    std::vector<float> links;  // each pass's lower links of the row above and of the row it makes
    // Where the tile's columns wrap around the grid: the depth's last three rows and the rises' rows
    // still in use by some pass, each joined up.
    std::vector<float> depthRows;
    std::vector<float> riseRows;
    std::vector<int> seamColumns;       // local columns that are global column 0
    std::vector<std::size_t> rowStarts; // where each local row starts in the grid
};

// Tile buffers outlive the workers that use them: a depth map is relaxed in hundreds of short parallel
// passes, and buffers made afresh for each would fault in their pages every time.
std::mutex spareTileBuffersMutex;
std::vector<std::unique_ptr<TileBuffers>> spareTileBuffers;

TileBuffers* TakeTileBuffers()
{
    const std::lock_guard<std::mutex> lock(spareTileBuffersMutex);
    if (spareTileBuffers.empty())
        return new TileBuffers;
    TileBuffers* buffers = spareTileBuffers.back().release();
    spareTileBuffers.pop_back();
    return buffers;
}

void ReturnTileBuffers(TileBuffers* buffers)
{
    const std::lock_guard<std::mutex> lock(spareTileBuffersMutex);
    spareTileBuffers.emplace_back(buffers);
}

// `count` pixels of one row of one relaxation pass inside a tile, every pointer at the first of them:
// each pixel's two horizontal links and its lower link are worked out where they are added, in one
// sweep along the row. The link to the left is the previous pixel's own, made again rather than stored
// (so a[-1] and riseX[-1] are read); the lower links are kept in `own` for the row below, whose upper
// links they are (`above` holds this row's). The first row of the image adds its upper link last, as
// the plain loop meets it there.
template <bool FirstRow>
[[gnu::always_inline]] inline void RelaxTileRow(const float* __restrict a, const float* __restrict below,
                                                const float* __restrict riseX, const float* __restrict riseY,
                                                const float* __restrict above, float* __restrict own,
                                                float* __restrict b, int count)
{
    for (int c = 0; c < count; ++c)
    {
        const float left = Link(riseX[c - 1], a[c - 1], a[c]);
        const float right = Link(riseX[c], a[c], a[c + 1]);
        const float down = Link(riseY[c], a[c], below[c]);
        own[c] = down;
        b[c] = FirstRow ? (((a[c] + left) - right) - down) + above[c]
                        : (((a[c] + left) + above[c]) - right) - down;
    }
}

// The rows of one tile and its margin, in local coordinates: local (c, r) is global
// ((gx0 + c) mod w, (gy0 + r) mod h). Rows of the depth and of the rises are read where they lie when
// the tile's columns do not wrap, and copied out joined up when they do.
struct TileRows
{
    const RelaxationGrid& g;
    const float* from;
    int lw;
    int gx0;
    int riseSlots;
    bool contiguous;
    TileBuffers& t;

    std::size_t Slot(int r, int slots) const { return static_cast<std::size_t>(r % slots) * lw; }

    // Brings row r of the depth and the rises in; rows are asked for in order.
    void Take(int r)
    {
        if (contiguous)
            return;
        const std::size_t row = t.rowStarts[r];
        CopyWrapped(from + row, g.width, gx0, lw, t.depthRows.data() + Slot(r, 3));
        float* rises = t.riseRows.data() + 2 * Slot(r, riseSlots);
        CopyWrapped(g.riseX + row, g.width, gx0, lw, rises);
        CopyWrapped(g.riseY + row, g.width, gx0, lw, rises + lw);
    }
    const float* Depth(int r) const
    {
        return contiguous ? from + t.rowStarts[r] + gx0 : t.depthRows.data() + Slot(r, 3);
    }
    const float* RiseX(int r) const
    {
        return contiguous ? g.riseX + t.rowStarts[r] + gx0 : t.riseRows.data() + 2 * Slot(r, riseSlots);
    }
    const float* RiseY(int r) const
    {
        return contiguous ? g.riseY + t.rowStarts[r] + gx0 : t.riseRows.data() + 2 * Slot(r, riseSlots) + lw;
    }
};

BRONDEL_WIDE_CLONES
void RelaxTile(const RelaxationGrid& g, const float* from, float* to, int x0, int y0, int tileWidth,
               int tileHeight, int passes, TileBuffers& t)
{
    const int w = g.width;
    const int h = g.height;
    const int lw = tileWidth + 2 * passes;
    const int lh = tileHeight + 2 * passes;
    const std::size_t n = static_cast<std::size_t>(lw);
    const int gx0 = Modulo(static_cast<long long>(x0) - passes, w);
    const int gy0 = Modulo(static_cast<long long>(y0) - passes, h);
    // Pass k makes row r at step r + k, reading rises of rows r - 1 and r: the rises of the last
    // passes + 2 rows are in use at any step.
    TileRows rows{g, from, lw, gx0, passes + 2, gx0 + lw <= w, t};
    t.levels.resize(3 * n * static_cast<std::size_t>(passes - 1));
    t.links.resize(2 * n * static_cast<std::size_t>(passes));
    if (!rows.contiguous)
    {
        t.depthRows.resize(3 * n);
        t.riseRows.resize(2 * n * static_cast<std::size_t>(rows.riseSlots));
    }
    t.seamColumns.clear();
    for (int c = (w - gx0) % w; c < lw; c += w)
        t.seamColumns.push_back(c);
    t.rowStarts.resize(static_cast<std::size_t>(lh));
    for (int r = 0; r < lh; ++r)
        t.rowStarts[r] = Index(0, (gy0 + r) % h, w);

    // Row r of pass k (0: the depth as it came in); rows of the last pass go straight to `to`.
    const auto level = [&](int k, int r) {
        return t.levels.data() + (3 * static_cast<std::size_t>(k - 1) + r % 3) * n;
    };
    const auto source = [&](int k, int r) -> const float* { return k == 0 ? rows.Depth(r) : level(k, r); };
    // The lower links pass k made for row r.
    const auto links = [&](int k, int r) {
        return t.links.data() + (2 * static_cast<std::size_t>(k - 1) + r % 2) * n;
    };

    for (int step = 0; step < lh; ++step)
    {
        rows.Take(step);
        for (int k = 1; k <= passes; ++k)
        {
            // Pass k makes row r from rows r - 1 to r + 1 of the pass before, over the columns whose
            // whole neighbourhood was valid there.
            const int r = step - k;
            if (r < k)
                break;
            const int c0 = k;
            const int c1 = lw - k;
            float* vAbove = links(k, r - 1);
            float* vOwn = links(k, r);
            if (r == k)
            {
                // The first row made by this pass: its upper links belong to a row it does not make.
                const float* row = source(k - 1, r - 1);
                const float* below = source(k - 1, r);
                const float* rise = rows.RiseY(r - 1);
                for (int c = c0; c < c1; ++c)
                    vAbove[c] = Link(rise[c], row[c], below[c]);
            }
            const float* a = source(k - 1, r);
            const float* below = source(k - 1, r + 1);
            const float* riseX = rows.RiseX(r);
            const float* riseY = rows.RiseY(r);
            // b points at column c0.
            float* b = k == passes ? to + Index(x0, y0 + r - passes, w) : level(k, r) + c0;
            const bool firstRow = t.rowStarts[r] == 0;
            if (!firstRow)
                RelaxTileRow<false>(a + c0, below + c0, riseX + c0, riseY + c0, vAbove + c0, vOwn + c0, b,
                                    c1 - c0);
            else
                RelaxTileRow<true>(a + c0, below + c0, riseX + c0, riseY + c0, vAbove + c0, vOwn + c0, b,
                                   c1 - c0);
            for (const int c : t.seamColumns)
            {
                if (c < c0 || c >= c1)
                    continue;
                const float left = Link(riseX[c - 1], a[c - 1], a[c]);
                const float right = Link(riseX[c], a[c], a[c + 1]);
                b[c - c0] = firstRow ? (((a[c] - right) - vOwn[c]) + vAbove[c]) + left
                                     : (((a[c] + vAbove[c]) - right) - vOwn[c]) + left;
            }
        }
    }
}

void RelaxTiled(const RelaxationGrid& g, const float* from, float* to, int passes)
{
    const int columns = (g.width + kTileWidth - 1) / kTileWidth;
    const int rows = (g.height + kTileHeight - 1) / kTileHeight;
    ParallelFor(0, columns * rows, [&](int first, int last) {
        const std::unique_ptr<TileBuffers, void (*)(TileBuffers*)> held(TakeTileBuffers(), ReturnTileBuffers);
        TileBuffers& buffers = *held;
        for (int tile = first; tile < last; ++tile)
        {
            const int x0 = (tile % columns) * kTileWidth;
            const int y0 = (tile / columns) * kTileHeight;
            RelaxTile(g, from, to, x0, y0, std::min(kTileWidth, g.width - x0),
                      std::min(kTileHeight, g.height - y0), passes, buffers);
        }
    });
}
} // namespace

void RelaxDepth(const RelaxationGrid& grid, float* depth, float* scratch, int passes)
{
    if (passes <= 0 || grid.width <= 0 || grid.height <= 0)
        return;
    const bool tiled = grid.width >= 2 && grid.height >= 2 && !grid.cutRight && !grid.cutBelow;
    float* current = depth;
    float* next = scratch;
    while (passes > 0)
    {
        const int fused = tiled ? std::min(passes, kFusedPasses) : 1;
        if (tiled)
            RelaxTiled(grid, current, next, fused);
        else
            RelaxDepthPass(grid, current, next);
        std::swap(current, next);
        passes -= fused;
    }
    if (current != depth)
        std::copy(current, current + static_cast<std::size_t>(grid.width) * grid.height, depth);
}

void ComputeRises(const Vector3D* normals, int width, int height, float* riseX, float* riseY)
{
    ParallelFor(0, height, [&](int from, int to) {
        for (std::size_t i = Index(0, from, width), end = Index(0, to, width); i < end; ++i)
        {
            const Vector2D rise = RiseFromNormal(normals[i]);
            riseX[i] = rise.x;
            riseY[i] = rise.y;
        }
    });
}

void RelaxDepthPass(const RelaxationGrid& grid, const float* from, float* to)
{
    if (grid.width <= 0 || grid.height <= 0)
        return;
    if (grid.width < 2 || grid.height < 2)
    {
        RelaxThinGrid(grid, from, to);
        return;
    }
    if (!grid.cutRight && !grid.cutBelow)
    {
        RelaxTiled(grid, from, to, 1);
        return;
    }
    // One missing plane means no cuts in that direction; a zeroed stand-in keeps the loops uniform.
    std::unique_ptr<bool[]> none;
    RelaxationGrid g = grid;
    if (!g.cutRight || !g.cutBelow)
    {
        none.reset(new bool[static_cast<std::size_t>(grid.width) * grid.height]());
        g.cutRight = g.cutRight ? g.cutRight : none.get();
        g.cutBelow = g.cutBelow ? g.cutBelow : none.get();
    }
    ParallelFor(0, grid.height, [&](int first, int last) { RelaxRowsWithCuts(g, from, to, first, last); });
}

void InflateDepth(const float* coarse, int coarseWidth, int coarseHeight, float factor, float* fine)
{
    const int fineWidth = 2 * coarseWidth;
    ParallelFor(0, coarseHeight, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            const float* src = coarse + Index(0, y, coarseWidth);
            float* upper = fine + Index(0, 2 * y, fineWidth);
            float* lower = upper + fineWidth;
            for (std::size_t x = 0; x < static_cast<std::size_t>(coarseWidth); ++x)
            {
                const float v = factor * src[x];
                upper[2 * x] = upper[2 * x + 1] = v;
                lower[2 * x] = lower[2 * x + 1] = v;
            }
        }
    });
}

DepthExtent FindDepthExtent(const float* depth, const std::uint8_t* mask, int width, int height)
{
    DepthExtent extent;
    if (width <= 0 || height <= 0)
        return extent;
    // Per-row extremes, merged in row order afterwards. Strict comparisons keep the first of equal
    // values met, so -0 against +0 resolves exactly as one scan in reading order would.
    constexpr float kInf = std::numeric_limits<float>::infinity();
    std::vector<DepthExtent> rows(static_cast<std::size_t>(height), DepthExtent{kInf, -kInf});
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            DepthExtent& row = rows[static_cast<std::size_t>(y)];
            const std::size_t start = Index(0, y, width);
            for (int x = 0; x < width; ++x)
            {
                if (mask && mask[start + x] == 0)
                    continue;
                const float d = depth[start + x];
                if (d < row.minimum)
                    row.minimum = d;
                if (d > row.maximum)
                    row.maximum = d;
            }
        }
    });
    extent.minimum = extent.maximum = depth[0];
    for (const DepthExtent& row : rows)
    {
        if (row.minimum < extent.minimum)
            extent.minimum = row.minimum;
        if (row.maximum > extent.maximum)
            extent.maximum = row.maximum;
    }
    return extent;
}

SheetVector<float> NormaliseDepth(const float* depth, const std::uint8_t* mask, int width, int height,
                                  float minimum, float range)
{
    SheetVector<float> out(static_cast<std::size_t>(width) * height);
    ParallelFor(0, height, [&](int from, int to) {
        for (std::size_t i = Index(0, from, width), end = Index(0, to, width); i < end; ++i)
            out[i] = mask && mask[i] == 0 ? 0.0f : (depth[i] - minimum) / range;
    });
    return out;
}
