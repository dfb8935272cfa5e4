#include "deptheditor/DepthEditorEdgeSelect.h"

#include "deptheditor/DepthEditor.h"

#include <algorithm>

namespace {
std::unique_ptr<bool[]> CopyOf(const bool* source, std::size_t size)
{
    auto copy = std::make_unique<bool[]>(size);
    if (source != nullptr)
        std::copy(source, source + size, copy.get());
    return copy;
}

std::unique_ptr<bool[]> BlockOf(const bool* whole, int wholeWidth, int x0, int y0, int blockWidth,
                                int blockHeight)
{
    auto block = std::make_unique<bool[]>(static_cast<std::size_t>(blockWidth) * blockHeight);
    for (int j = 0; j < blockHeight; ++j)
    {
        const bool* row = whole + static_cast<std::size_t>(y0 + j) * wholeWidth + x0;
        std::copy(row, row + blockWidth, block.get() + static_cast<std::size_t>(j) * blockWidth);
    }
    return block;
}
} // namespace

DepthEditorEdgeSelect::DepthEditorEdgeSelect(int arrayWidth, int arrayHeight, const bool* xEdges,
                                             const bool* yEdges)
    : width(std::max(0, arrayWidth)), height(std::max(0, arrayHeight)), minX(width), minY(height)
{
    const std::size_t size = static_cast<std::size_t>(width) * height;
    beforeX = CopyOf(xEdges, size);
    beforeY = CopyOf(yEdges, size);
    afterX = CopyOf(xEdges, size);
    afterY = CopyOf(yEdges, size);
}

bool DepthEditorEdgeSelect::SelectPixel(int x, int y, bool lowerEdge, bool value)
{
    if (finalised || x < 0 || y < 0 || x >= width || y >= height)
        return false;
    bool& flag = (lowerEdge ? afterY : afterX)[static_cast<std::size_t>(y) * width + x];
    if (!flag && !value)
        return false;
    if (flag != value)
    {
        flag = value;
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    return true;
}

void DepthEditorEdgeSelect::Finalise()
{
    if (finalised)
        return;
    finalised = true;
    if (minX > maxX || minY > maxY)
    {
        empty = true;
        beforeX.reset();
        beforeY.reset();
        afterX.reset();
        afterY.reset();
        return;
    }
    x0 = minX;
    y0 = minY;
    blockWidth = maxX - minX + 1;
    blockHeight = maxY - minY + 1;
    beforeX = BlockOf(beforeX.get(), width, x0, y0, blockWidth, blockHeight);
    beforeY = BlockOf(beforeY.get(), width, x0, y0, blockWidth, blockHeight);
    afterX = BlockOf(afterX.get(), width, x0, y0, blockWidth, blockHeight);
    afterY = BlockOf(afterY.get(), width, x0, y0, blockWidth, blockHeight);
}

void DepthEditorEdgeSelect::ApplyCommand(DepthEditor* editor)
{
    if (editor != nullptr && finalised && !empty)
        editor->CopyEdgeBlock(x0, y0, blockWidth, blockHeight, afterX.get(), afterY.get());
}

void DepthEditorEdgeSelect::UndoCommand(DepthEditor* editor)
{
    if (editor != nullptr && finalised && !empty)
        editor->CopyEdgeBlock(x0, y0, blockWidth, blockHeight, beforeX.get(), beforeY.get());
}

std::size_t DepthEditorEdgeSelect::GetSizeInBytes() const
{
    std::size_t flags = 0;
    if (!finalised)
        flags = static_cast<std::size_t>(width) * height;
    else if (!empty)
        flags = static_cast<std::size_t>(blockWidth) * blockHeight;
    return sizeof(*this) + 4 * flags * sizeof(bool);
}
