#include "deptheditor/EdgeArray.h"

#include "core/Parallel.h"
#include "deptheditor/DepthEditorEdgeSelect.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {
// Reads a source image exactly as GetPixel would, mapping the right neighbour of the last column and
// the lower neighbour of the last row through the image's own wrap or clamp.
class NeighbourReader
{
public:
    explicit NeighbourReader(const Image& image)
        : rgb(image.ColourView()), alpha(image.AlphaView()), rightOfLast(image.MapX(rgb.width)),
          belowLast(image.MapY(rgb.height))
    {}
    int Right(int x) const { return x + 1 < rgb.width ? x + 1 : rightOfLast; }
    int Below(int y) const { return y + 1 < rgb.height ? y + 1 : belowLast; }
    Colour At(int x, int y) const
    {
        const std::uint8_t* p = rgb.Row(y) + 3 * x;
        return {Image::ByteToChannel(p[0]), Image::ByteToChannel(p[1]), Image::ByteToChannel(p[2]),
                Image::ByteToChannel(alpha.Row(y)[x])};
    }

private:
    PlaneView<const std::uint8_t> rgb;
    PlaneView<const std::uint8_t> alpha;
    int rightOfLast;
    int belowLast;
};

// Sets the flag between each examined pixel and its right or lower neighbour where isEdge holds. Each
// pixel writes only its own flags, so rows can be shared out between threads.
template <typename Test>
void Detect(const Image& source, const float* selection, bool* xEdges, bool* yEdges, Test isEdge)
{
    const NeighbourReader reader(source);
    const int width = source.GetWidth();
    ParallelFor(0, source.GetHeight(), [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            const int below = reader.Below(y);
            for (int x = 0; x < width; ++x)
            {
                const std::size_t i = static_cast<std::size_t>(y) * width + x;
                if (selection != nullptr && selection[i] <= 0.01f)
                    continue;
                const Colour pixel = reader.At(x, y);
                if (isEdge(pixel, reader.At(reader.Right(x), y)))
                    xEdges[i] = true;
                if (isEdge(pixel, reader.At(x, below)))
                    yEdges[i] = true;
            }
        }
    });
}

Vector3D UnitNormal(const Colour& colour)
{
    Vector3D n = colour.GetAsNormal();
    n.Normalise();
    return n;
}
} // namespace

EdgeArray::EdgeArray() = default;

EdgeArray::EdgeArray(int newWidth, int newHeight)
{
    Resize(newWidth, newHeight);
}

EdgeArray::~EdgeArray() = default;

void EdgeArray::Resize(int newWidth, int newHeight)
{
    width = std::max(0, newWidth);
    height = std::max(0, newHeight);
    const std::size_t size = static_cast<std::size_t>(width) * height;
    xEdges = std::make_unique<bool[]>(size);
    yEdges = std::make_unique<bool[]>(size);
    edgeImage = std::make_unique<Image>(width, height);
    UpdateImage();
}

void EdgeArray::ClearEdges()
{
    const std::size_t size = static_cast<std::size_t>(width) * height;
    std::fill(xEdges.get(), xEdges.get() + size, false);
    std::fill(yEdges.get(), yEdges.get() + size, false);
    UpdateImage();
}

void EdgeArray::UpdateImage()
{
    UpdateImage(PixelRect{0, 0, width, height});
}

void EdgeArray::UpdateImage(const PixelRect& area)
{
    const PixelRect rect = area.ClippedTo(width, height);
    if (!edgeImage->HasPlanes() || rect.IsEmpty())
        return;
    const PlaneView<std::uint8_t> rgb = edgeImage->ColourView();
    const PlaneView<std::uint8_t> alpha = edgeImage->AlphaView();
    ParallelFor(rect.y, rect.y + rect.height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            std::uint8_t* row = rgb.Row(y);
            const std::size_t start = static_cast<std::size_t>(y) * width;
            for (int x = rect.x; x < rect.x + rect.width; ++x)
            {
                row[3 * x] = xEdges[start + x] ? 255 : 0;
                row[3 * x + 1] = yEdges[start + x] ? 255 : 0;
                row[3 * x + 2] = 0;
            }
            std::fill(alpha.Row(y) + rect.x, alpha.Row(y) + rect.x + rect.width, std::uint8_t{255});
        }
    });
    edgeImage->MarkChanged();
}

void EdgeArray::UpdatePixel(int x, int y)
{
    if (x < 0 || y < 0 || x >= width || y >= height || !edgeImage->HasPlanes())
        return;
    const std::size_t i = static_cast<std::size_t>(y) * width + x;
    edgeImage->SetPixel(x, y, Colour(xEdges[i] ? 1.0f : 0.0f, yEdges[i] ? 1.0f : 0.0f, 0.0f, 1.0f));
}

namespace {
// The detectors' common start: a source of another size replaces the array (and so its edges); a
// source without pixels is not looked at, so a missing map never costs the artist their edges.
bool PrepareFor(EdgeArray& edges, const Image* source)
{
    if (source == nullptr || !source->HasPlanes())
        return false;
    if (source->GetWidth() != edges.GetWidth() || source->GetHeight() != edges.GetHeight())
        edges.Resize(source->GetWidth(), source->GetHeight());
    return true;
}
} // namespace

void EdgeArray::CreateFromNormalMap(Image* normals, float threshold, float* selection)
{
    if (!PrepareFor(*this, normals))
        return;
    // A larger threshold finds more edges: even identical normals (dot product 1) count above 1.
    Detect(*normals, selection, xEdges.get(), yEdges.get(), [threshold](const Colour& a, const Colour& b) {
        return Vector3D::DotProduct(UnitNormal(a), UnitNormal(b)) < threshold;
    });
}

void EdgeArray::CreateFromDiffuseMap(Image* diffuse, float threshold, float* selection)
{
    if (!PrepareFor(*this, diffuse))
        return;
    // Premultiplied, so the hidden colour of transparent pixels makes no edges of its own.
    Detect(*diffuse, selection, xEdges.get(), yEdges.get(), [threshold](Colour a, Colour b) {
        a.AlphaMult();
        b.AlphaMult();
        return std::fabs(a.r - b.r) + std::fabs(a.g - b.g) + std::fabs(a.b - b.b) > threshold;
    });
}

void EdgeArray::CreateFromDiffuseMapAlpha(Image* diffuse, float* selection)
{
    if (!PrepareFor(*this, diffuse))
        return;
    Detect(*diffuse, selection, xEdges.get(), yEdges.get(),
           [](const Colour& a, const Colour& b) { return (a.a > 0.0f) != (b.a > 0.0f); });
}

void EdgeArray::CreateFromSilhouette(Image* silhouette, float threshold, float* selection)
{
    if (!PrepareFor(*this, silhouette))
        return;
    Detect(*silhouette, selection, xEdges.get(), yEdges.get(),
           [threshold](const Colour& a, const Colour& b) { return std::fabs(a.r - b.r) > threshold; });
}

void EdgeArray::AddOtherEdgeArray(EdgeArray* other)
{
    // Arrays of different sizes have no pixel-to-pixel meaning; merging them would read past the end.
    if (other == nullptr || other->width != width || other->height != height)
        return;
    const std::size_t size = static_cast<std::size_t>(width) * height;
    for (std::size_t i = 0; i < size; ++i)
    {
        xEdges[i] = xEdges[i] || other->xEdges[i];
        yEdges[i] = yEdges[i] || other->yEdges[i];
    }
    UpdateImage();
}

void EdgeArray::RemoveSpecks(DepthEditorEdgeSelect* record)
{
    // A flag is one unit segment of the pixel grid: xEdges(x, y) runs down grid line x + 1 from row y to
    // y + 1, yEdges(x, y) along grid line y + 1 from column x to x + 1. A speck touches no other set
    // segment at either end. Neighbours wrap around the array, so the last column meets column 0.
    const auto at = [this](int x, int y) { return static_cast<std::size_t>(y) * width + x; };
    for (int x = 0; x < width; ++x)
    {
        const int xr = (x + 1) % width;
        const int xl = x == 0 ? width - 1 : x - 1;
        for (int y = 0; y < height; ++y)
        {
            const std::size_t i = at(x, y);
            if (xEdges[i] == yEdges[i])
                continue; // neither flag, or two segments meeting at the lower right corner
            const int yd = (y + 1) % height;
            const int yu = y == 0 ? height - 1 : y - 1;
            if (xEdges[i])
            {
                const bool touched = xEdges[at(x, yd)] || yEdges[at(xr, y)] || yEdges[at(x, yu)] ||
                                     xEdges[at(x, yu)] || yEdges[at(xr, yu)];
                if (touched)
                    continue;
                if (record != nullptr)
                    record->SelectPixel(x, y, false, false);
                xEdges[i] = false;
            }
            else
            {
                const bool touched = yEdges[at(xr, y)] || xEdges[at(x, yd)] || xEdges[at(xl, y)] ||
                                     yEdges[at(xl, y)] || xEdges[at(xl, yd)];
                if (touched)
                    continue;
                if (record != nullptr)
                    record->SelectPixel(x, y, true, false);
                yEdges[i] = false;
            }
        }
    }
    UpdateImage();
}
