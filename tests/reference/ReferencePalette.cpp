#include "reference/ReferencePalette.h"

#include "core/Image.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace {
// The set compares two colours only when their hashes are identical. That is said outright here:
// whether a standard library caches hashes (and so skips colours of another hash sharing a bucket) is
// its own choice.
struct SameHashAndEqual
{
    bool operator()(const Colour& a, const Colour& b) const
    {
        return ColourHash()(a) == ColourHash()(b) && a == b;
    }
};
} // namespace

std::unique_ptr<Image> ReferenceCreatePalette(const Image& diffuse, int paletteHeight, bool sampleLighting,
                                              int* colourCount)
{
    std::unordered_set<Colour, ColourHash, SameHashAndEqual> set;
    std::vector<Colour> colours; // in the order they were first met, so equal brightnesses sort alike
    for (int x = 0; x < diffuse.GetWidth(); ++x)
        for (int y = 0; y < diffuse.GetHeight(); ++y)
        {
            Colour c = diffuse.GetPixel(x, y);
            c.a = 1.0f;
            if (set.insert(c).second)
                colours.push_back(c);
        }
    const int count = static_cast<int>(colours.size());
    if (colourCount != nullptr)
        *colourCount = count;
    if (count > 256)
        return nullptr;

    int width = 1;
    while (width < count)
        width *= 2;
    auto palette = std::make_unique<Image>(width, paletteHeight);
    std::stable_sort(colours.begin(), colours.end());

    const int half = paletteHeight / 2;
    for (int i = 0; i < count; ++i)
    {
        const Colour c = colours[static_cast<std::size_t>(i)];
        for (int j = 0; j < paletteHeight; ++j)
        {
            if (!sampleLighting)
                palette->SetPixel(i, j, Colour(c.r, c.g, c.b, 1.0f));
            else if (j < half - 1)
            {
                const double t = 1.0 - j / (paletteHeight * 0.5 - 1.0);
                palette->SetPixel(
                    i, j,
                    Colour(c.r + (1.0f - c.r) * t, c.g + (1.0f - c.g) * t, c.b + (1.0f - c.b) * t, 1.0f));
            }
            else if (j <= half)
                palette->SetPixel(i, j, Colour(c.r, c.g, c.b, 1.0f));
            else
            {
                const double s = 1.0 - static_cast<double>(j - half) / ((paletteHeight - 1) - half);
                const Colour dark = c * s;
                palette->SetPixel(i, j, Colour(dark.r, dark.g, dark.b, 1.0f));
            }
        }
    }
    for (int i = count; i < width; ++i)
        for (int j = 0; j < paletteHeight; ++j)
            palette->SetPixel(i, j, Colour(0.0f, 0.0f, 0.0f, 1.0f));
    palette->SetVerticalWrap(false);
    return palette;
}

std::unique_ptr<Image> ReferencePaletteIndex(const Image& diffuse, const Image& palette)
{
    const int w = palette.GetWidth();
    std::vector<Colour> colours;
    for (int i = 0; i < w; ++i)
        colours.push_back(palette.GetPixel(i, palette.GetHeight() / 2 - 1));

    auto index = std::make_unique<Image>(diffuse.GetWidth(), diffuse.GetHeight());
    for (int x = 0; x < diffuse.GetWidth(); ++x)
        for (int y = 0; y < diffuse.GetHeight(); ++y)
        {
            index->SetPixel(x, y, Colour(0.0f, 0.0f, 0.0f, 1.0f));
            const Colour pixel = diffuse.GetPixel(x, y);
            for (int i = 0; i < w; ++i)
                if (colours[static_cast<std::size_t>(i)] == pixel)
                {
                    const int k = static_cast<int>(((i + 0.5) / w) * 255.0);
                    index->SetPixel(x, y, Colour(k / 255.0, k / 255.0, k / 255.0, 1.0f));
                    break;
                }
        }
    return index;
}
