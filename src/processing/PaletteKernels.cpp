#include "processing/PaletteKernels.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "core/SheetBuffers.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace {
constexpr std::uint64_t kNoKey = ~std::uint64_t{0};

// Open-addressing map from a packed pixel value (at most 32 bits) to a 64-bit payload. A sprite has few
// distinct colours, so the table stays small and in cache while millions of pixels are looked up.
class PixelMap
{
public:
    PixelMap() { Allocate(10); }

    // The payload for key, inserting `initial` when the key is new.
    std::uint64_t& Find(std::uint64_t key, std::uint64_t initial)
    {
        std::size_t slot = Slot(key);
        while (keys[slot] != kNoKey)
        {
            if (keys[slot] == key)
                return values[slot];
            slot = (slot + 1) & mask;
        }
        if (2 * (count + 1) > keys.size())
        {
            Grow();
            return Find(key, initial);
        }
        keys[slot] = key;
        values[slot] = initial;
        ++count;
        return values[slot];
    }

    template <typename Visit> void ForEach(Visit visit) const
    {
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (keys[i] != kNoKey)
                visit(keys[i], values[i]);
    }
    std::size_t Size() const { return count; }

private:
    void Allocate(int log2Capacity)
    {
        keys.assign(std::size_t{1} << log2Capacity, kNoKey);
        values.assign(keys.size(), 0);
        mask = keys.size() - 1;
        shift = 64 - log2Capacity;
        count = 0;
    }
    void Grow()
    {
        std::vector<std::uint64_t> oldKeys = std::move(keys);
        std::vector<std::uint64_t> oldValues = std::move(values);
        Allocate(64 - shift + 1);
        for (std::size_t i = 0; i < oldKeys.size(); ++i)
            if (oldKeys[i] != kNoKey)
                Find(oldKeys[i], oldValues[i]);
    }
    std::size_t Slot(std::uint64_t key) const
    {
        return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> shift);
    }

    std::vector<std::uint64_t> keys;
    std::vector<std::uint64_t> values;
    std::size_t mask = 0;
    int shift = 0;
    std::size_t count = 0;
};

std::uint64_t PackRgb(const std::uint8_t* rgb)
{
    return (std::uint64_t{rgb[0]} << 16) | (std::uint64_t{rgb[1]} << 8) | rgb[2];
}

Colour OpaqueColourOf(std::uint64_t packed)
{
    return {Image::ByteToChannel(static_cast<std::uint8_t>(packed >> 16)),
            Image::ByteToChannel(static_cast<std::uint8_t>(packed >> 8)),
            Image::ByteToChannel(static_cast<std::uint8_t>(packed)), 1.0f};
}

// Byte offsets (red, green, blue) with a summed size of at most 2. Channels are multiples of 1/255, so
// two opaque colours whose bytes differ by 3 or more in total are at least 3/255 > 0.01 apart and never
// compare equal: a colour can only clash with one of these neighbours.
constexpr std::array<std::array<int, 3>, 25> kTolerance = [] {
    std::array<std::array<int, 3>, 25> offsets{};
    int n = 0;
    for (int dr = -2; dr <= 2; ++dr)
        for (int dg = -2; dg <= 2; ++dg)
            for (int db = -2; db <= 2; ++db)
                if ((dr < 0 ? -dr : dr) + (dg < 0 ? -dg : dg) + (db < 0 ? -db : db) <= 2)
                    offsets[n++] = {dr, dg, db};
    return offsets;
}();

// Each distinct byte triple of the image with the position, counted column after column, at which the
// walk first meets it; sorted by that position.
std::vector<std::pair<std::uint64_t, std::uint64_t>> DistinctTriplesInWalkOrder(const Image& image)
{
    const PlaneView<const std::uint8_t> plane = image.ColourView();
    const int width = plane.width;
    const int height = plane.height;

    // Rows are scanned in memory order for speed; the column-major position is rebuilt from x and y.
    std::mutex mutex;
    std::vector<PixelMap> blocks;
    ParallelFor(0, height, [&](int from, int to) {
        PixelMap firstMet;
        for (int y = from; y < to; ++y)
        {
            const std::uint8_t* row = plane.Row(y);
            std::uint64_t previous = kNoKey;
            for (int x = 0; x < width; ++x)
            {
                const std::uint64_t key = PackRgb(row + 3 * x);
                if (key == previous)
                    continue; // the pixel to its left comes earlier in the walk
                previous = key;
                const std::uint64_t position = static_cast<std::uint64_t>(x) * height + y;
                std::uint64_t& first = firstMet.Find(key, position);
                first = std::min(first, position);
            }
        }
        const std::lock_guard lock(mutex);
        blocks.push_back(std::move(firstMet));
    });

    PixelMap merged;
    for (const PixelMap& block : blocks)
        block.ForEach([&](std::uint64_t key, std::uint64_t position) {
            std::uint64_t& first = merged.Find(key, position);
            first = std::min(first, position);
        });
    std::vector<std::pair<std::uint64_t, std::uint64_t>> triples;
    triples.reserve(merged.Size());
    merged.ForEach([&](std::uint64_t key, std::uint64_t position) { triples.emplace_back(position, key); });
    std::sort(triples.begin(), triples.end());
    return triples;
}
} // namespace

std::vector<Colour> CollectDistinctColours(const Image& image)
{
    std::vector<Colour> colours;
    if (!image.HasPlanes())
        return colours;

    // Exact duplicates are dropped first; only the distinct triples, in walk order, go through the
    // tolerant comparison, which must see them in that order because the first of two close colours wins.
    std::vector<std::uint64_t> kept((std::size_t{1} << 24) / 64, 0);
    const auto isKept = [&](std::uint64_t key) { return (kept[key >> 6] >> (key & 63)) & 1; };
    const ColourHash hash;
    for (const auto& [position, key] : DistinctTriplesInWalkOrder(image))
    {
        const Colour colour = OpaqueColourOf(key);
        const std::uint64_t colourHash = hash(colour);
        const int r = static_cast<int>(key >> 16);
        const int g = static_cast<int>((key >> 8) & 255);
        const int b = static_cast<int>(key & 255);
        bool clash = false;
        for (const std::array<int, 3>& offset : kTolerance)
        {
            const int nr = r + offset[0];
            const int ng = g + offset[1];
            const int nb = b + offset[2];
            if (nr < 0 || nr > 255 || ng < 0 || ng > 255 || nb < 0 || nb > 255)
                continue;
            const std::uint64_t neighbour =
                (std::uint64_t(nr) << 16) | (std::uint64_t(ng) << 8) | std::uint64_t(nb);
            if (!isKept(neighbour))
                continue;
            const Colour other = OpaqueColourOf(neighbour);
            if (hash(other) == colourHash && other == colour)
            {
                clash = true;
                break;
            }
        }
        if (clash)
            continue;
        kept[key >> 6] |= std::uint64_t{1} << (key & 63);
        colours.push_back(colour);
    }
    return colours;
}

void SortByBrightness(std::vector<Colour>& colours)
{
    std::stable_sort(colours.begin(), colours.end());
}

int PaletteWidthFor(int colourCount)
{
    int width = 1;
    while (width < colourCount)
        width *= 2;
    return width;
}

namespace {
// The colour of one palette row. The upper rows divide by a real half height, the lower ones by a
// whole number of rows, so the two fades are not mirror images of each other.
Colour PaletteShade(const Colour& c, int row, int paletteHeight, bool sampleLighting)
{
    const int half = paletteHeight / 2;
    if (!sampleLighting || row == half - 1 || row == half)
        return {c.r, c.g, c.b, 1.0f};
    if (row < half - 1)
    {
        const double t = 1.0 - row / (paletteHeight * 0.5 - 1.0);
        return {static_cast<float>(c.r + (1.0f - c.r) * t), static_cast<float>(c.g + (1.0f - c.g) * t),
                static_cast<float>(c.b + (1.0f - c.b) * t), 1.0f};
    }
    const float s = static_cast<float>(1.0 - static_cast<double>(row - half) / ((paletteHeight - 1) - half));
    return {c.r * s, c.g * s, c.b * s, 1.0f};
}
} // namespace

Image* MakePaletteImage(const std::vector<Colour>& colours, int paletteHeight, bool sampleLighting)
{
    const int colourCount = static_cast<int>(colours.size());
    const int width = PaletteWidthFor(colourCount);
    auto palette = std::make_unique<Image>(width, paletteHeight);
    if (!palette->HasPlanes())
        return nullptr;
    const PlaneView<std::uint8_t> rgb = palette->ColourView();
    const PlaneView<std::uint8_t> alpha = palette->AlphaView();
    ParallelFor(0, paletteHeight, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            std::uint8_t* row = rgb.Row(y);
            for (int x = 0; x < width; ++x)
            {
                // The planes start zeroed, which is already the opaque black filler's colour.
                if (x >= colourCount)
                    continue;
                const Colour shade =
                    PaletteShade(colours[static_cast<std::size_t>(x)], y, paletteHeight, sampleLighting);
                row[3 * x] = Image::ChannelToByte(shade.r);
                row[3 * x + 1] = Image::ChannelToByte(shade.g);
                row[3 * x + 2] = Image::ChannelToByte(shade.b);
            }
            std::fill(alpha.Row(y), alpha.Row(y) + width, std::uint8_t{255});
        }
    });
    palette->MarkChanged();
    return palette.release();
}

std::vector<PaletteEntry> BuildPaletteLookup(const Image& palette)
{
    const int width = palette.GetWidth();
    const int row = palette.GetHeight() / 2 - 1;
    std::vector<PaletteEntry> lookup(static_cast<std::size_t>(width));
    for (int i = 0; i < width; ++i)
    {
        lookup[static_cast<std::size_t>(i)].colour = palette.GetPixel(i, row);
        lookup[static_cast<std::size_t>(i)].code = static_cast<int>(((i + 0.5) / width) * 255.0);
    }
    return lookup;
}

Image* MakeIndexImage(const Image& diffuse, const std::vector<PaletteEntry>& lookup)
{
    const int width = diffuse.GetWidth();
    const int height = diffuse.GetHeight();
    auto index = std::make_unique<Image>(width, height);
    if (!index->HasPlanes())
        return nullptr;

    // Stored exactly as a grey of k / 255 written through SetPixel would be.
    SheetVector<std::uint8_t> codeBytes(lookup.size());
    for (std::size_t i = 0; i < lookup.size(); ++i)
        codeBytes[i] = Image::ChannelToByte(static_cast<float>(lookup[i].code / 255.0));
    const auto match = [&](std::uint64_t rgba) -> std::uint8_t {
        const Colour colour(Image::ByteToChannel(static_cast<std::uint8_t>(rgba >> 24)),
                            Image::ByteToChannel(static_cast<std::uint8_t>(rgba >> 16)),
                            Image::ByteToChannel(static_cast<std::uint8_t>(rgba >> 8)),
                            Image::ByteToChannel(static_cast<std::uint8_t>(rgba)));
        for (std::size_t i = 0; i < lookup.size(); ++i)
            if (lookup[i].colour == colour)
                return codeBytes[i];
        return 0;
    };

    const PlaneView<const std::uint8_t> inRgb = diffuse.ColourView();
    const PlaneView<const std::uint8_t> inAlpha = diffuse.AlphaView();
    const PlaneView<std::uint8_t> outRgb = index->ColourView();
    const PlaneView<std::uint8_t> outAlpha = index->AlphaView();
    ParallelFor(0, height, [&](int from, int to) {
        // The answer depends only on the pixel's four bytes, so each distinct value is searched once.
        PixelMap known;
        for (int y = from; y < to; ++y)
        {
            const std::uint8_t* src = inRgb.Row(y);
            const std::uint8_t* srcAlpha = inAlpha.Row(y);
            std::uint8_t* dst = outRgb.Row(y);
            std::uint64_t previous = kNoKey;
            std::uint8_t grey = 0;
            for (int x = 0; x < width; ++x)
            {
                const std::uint64_t rgba = (PackRgb(src + 3 * x) << 8) | srcAlpha[x];
                if (rgba != previous)
                {
                    previous = rgba;
                    std::uint64_t& found = known.Find(rgba, kNoKey);
                    if (found == kNoKey)
                        found = match(rgba);
                    grey = static_cast<std::uint8_t>(found);
                }
                dst[3 * x] = grey;
                dst[3 * x + 1] = grey;
                dst[3 * x + 2] = grey;
            }
            std::fill(outAlpha.Row(y), outAlpha.Row(y) + width, std::uint8_t{255});
        }
    });
    index->MarkChanged();
    return index.release();
}
