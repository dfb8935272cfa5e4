#include "deptheditor/DepthEditor.h"

#include <algorithm>

DepthEditor::DepthEditor(int editorWidth, int editorHeight, ImageProcessor* owner)
    : width(std::max(0, editorWidth)), height(std::max(0, editorHeight)), selectionImage(width, height),
      selection(static_cast<std::size_t>(width) * height, 0.0f), processor(owner), edges(width, height)
{
    // Nothing selected: opaque black.
    if (selectionImage.HasPlanes())
    {
        const PlaneView<std::uint8_t> alpha = selectionImage.AlphaView();
        for (int y = 0; y < height; ++y)
            std::fill(alpha.Row(y), alpha.Row(y) + width, std::uint8_t{255});
        selectionImage.MarkChanged();
    }
}

DepthEditor::~DepthEditor() = default;

namespace {
// The part of a w x h block at (x, y) that lies inside a width x height image, as offsets into the
// block: columns [i0, i1), rows [j0, j1).
struct Overlap
{
    int i0, i1, j0, j1;
    bool Empty() const { return i0 >= i1 || j0 >= j1; }
};

Overlap OverlapOf(int x, int y, int w, int h, int width, int height)
{
    return {std::max(0, -x), std::min(w, width - x), std::max(0, -y), std::min(h, height - y)};
}
} // namespace

void DepthEditor::CopySelectionBlock(int x, int y, int w, int h, const float* block)
{
    const Overlap o = OverlapOf(x, y, w, h, width, height);
    if (block == nullptr || o.Empty())
        return;
    const PlaneView<std::uint8_t> rgb = selectionImage.ColourView();
    const PlaneView<std::uint8_t> alpha = selectionImage.AlphaView();
    for (int j = o.j0; j < o.j1; ++j)
    {
        std::uint8_t* row = rgb.Row(y + j);
        for (int i = o.i0; i < o.i1; ++i)
        {
            const float s = block[static_cast<std::size_t>(j) * w + i];
            selection[static_cast<std::size_t>(y + j) * width + x + i] = s;
            const std::uint8_t grey = Image::ChannelToByte(s);
            row[3 * (x + i)] = grey;
            row[3 * (x + i) + 1] = grey;
            row[3 * (x + i) + 2] = grey;
            alpha.Row(y + j)[x + i] = 255;
        }
    }
    selectionImage.MarkChanged();
}

void DepthEditor::CopyEdgeBlock(int x, int y, int w, int h, const bool* xBlock, const bool* yBlock)
{
    const Overlap o = OverlapOf(x, y, w, h, width, height);
    if (xBlock == nullptr || yBlock == nullptr || o.Empty())
        return;
    bool* xEdges = edges.GetXEdges();
    bool* yEdges = edges.GetYEdges();
    for (int j = o.j0; j < o.j1; ++j)
        for (int i = o.i0; i < o.i1; ++i)
        {
            const std::size_t source = static_cast<std::size_t>(j) * w + i;
            const std::size_t target = static_cast<std::size_t>(y + j) * width + x + i;
            xEdges[target] = xBlock[source];
            yEdges[target] = yBlock[source];
        }
    // Repainting pixel by pixel only pays for small blocks.
    const long long area = static_cast<long long>(o.i1 - o.i0) * (o.j1 - o.j0);
    if (area * 4 > static_cast<long long>(width) * height)
    {
        edges.UpdateImage();
        return;
    }
    for (int j = o.j0; j < o.j1; ++j)
        for (int i = o.i0; i < o.i1; ++i)
            edges.UpdatePixel(x + i, y + j);
}
