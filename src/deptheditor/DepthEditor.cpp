#include "deptheditor/DepthEditor.h"

#include "deptheditor/DepthEditorClearSelection.h"
#include "deptheditor/DepthEditorEdgeSelect.h"
#include "deptheditor/DepthEditorExpand.h"
#include "deptheditor/DepthEditorSelect.h"
#include "deptheditor/DepthEditorShift.h"
#include "deptheditor/SelectionKernels.h"
#include "processing/ImageProcessor.h"
#include "sets/LogOutput.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <utility>

DepthEditor::DepthEditor(int editorWidth, int editorHeight, ImageProcessor* owner)
    : width(std::max(0, editorWidth)), height(std::max(0, editorHeight)), selectionImage(width, height),
      selection(static_cast<std::size_t>(width) * height, 0.0f), processor(owner), edges(width, height)
{
    // Nothing selected: opaque black. Alpha never changes after this.
    if (selectionImage.HasPlanes())
    {
        const PlaneView<std::uint8_t> alpha = selectionImage.AlphaView();
        for (int y = 0; y < height; ++y)
            std::fill(alpha.Row(y), alpha.Row(y) + width, std::uint8_t{255});
        selectionImage.MarkChanged();
    }
    selectionDirty = {0, 0, width, height};
    edgeDirty = {0, 0, width, height};
}

DepthEditor::~DepthEditor() = default;

// --- Mouse input

DepthEditor::PixelPosition DepthEditor::MapPosition(Vector2D position) const
{
    const float aspect = height > 0 ? static_cast<float>(width) / static_cast<float>(height) : 1.0f;
    PixelPosition at{};
    at.px = ((position.x + aspect) / (2.0f * aspect)) * static_cast<float>(width);
    at.py = (1.0f - position.y) * 0.5f * static_cast<float>(height);
    // Truncation first, as the edge modes' fractions assume; out-of-range (or not-a-number) positions
    // land on the border.
    const auto whole = [](float v, int size) {
        if (!(v > 0.0f))
            return 0;
        if (v >= static_cast<float>(size))
            return std::max(0, size - 1);
        return std::min(static_cast<int>(v), std::max(0, size - 1));
    };
    at.x = whole(at.px, width);
    at.y = whole(at.py, height);
    at.clickRow = whole(at.py, width);
    return at;
}

Vector2D DepthEditor::PositionFromPixel(float x, float y) const
{
    const float aspect = height > 0 ? static_cast<float>(width) / static_cast<float>(height) : 1.0f;
    const float w = width > 0 ? static_cast<float>(width) : 1.0f;
    const float h = height > 0 ? static_cast<float>(height) : 1.0f;
    return {x / w * 2.0f * aspect - aspect, 1.0f - 2.0f * y / h};
}

Vector2D DepthEditor::PixelFromPosition(Vector2D position) const
{
    const PixelPosition at = MapPosition(position);
    return {at.px, at.py};
}

void DepthEditor::LeftMouseClick(Vector2D position)
{
    // A click without a release in between still leaves the earlier drag in the history.
    FinishDrag();
    if (width == 0 || height == 0)
        return;
    const PixelPosition at = MapPosition(position);
    strokeMode = mode;
    if (mode == DepthEditMode::SelectionPainting)
    {
        // The row is clamped by the width, not the height, as it always has been: on a sheet taller
        // than wide a click below the width's worth of rows takes its depth from a higher row. On a
        // wider sheet the same clamp could run past the last row, so the row stops there.
        float clickDepth = 0.0f;
        if (const float* depth = GetDepthArray())
        {
            const int row = std::min(at.clickRow, height - 1);
            clickDepth = depth[static_cast<std::size_t>(row) * width + at.x];
        }
        auto stroke =
            std::make_unique<DepthEditorSelect>(width, height, selection.data(), falloffByDepth, clickDepth);
        selectionStroke = stroke.get();
        commandInProgress = std::move(stroke);
    }
    else
    {
        auto stroke =
            std::make_unique<DepthEditorEdgeSelect>(width, height, edges.GetXEdges(), edges.GetYEdges());
        edgeStroke = stroke.get();
        commandInProgress = std::move(stroke);
    }
}

void DepthEditor::ReceiveMousePosition(Vector2D position)
{
    if (!commandInProgress)
        return;
    const PixelPosition at = MapPosition(position);
    if (selectionStroke != nullptr)
        PaintSelection(at.x, at.y);
    else
        PaintEdge(at, strokeMode == DepthEditMode::AddEdges);
}

void DepthEditor::LeftMouseRelease()
{
    if (!commandInProgress)
        return;
    if (selectionStroke != nullptr)
        selectionStroke->Finalise();
    if (edgeStroke != nullptr)
        edgeStroke->Finalise();
    selectionStroke = nullptr;
    edgeStroke = nullptr;
    // A new drag starts a new line of history: whatever had been undone cannot be redone any more.
    commands.erase(commands.begin() + (currentCommand + 1), commands.end());
    commands.push_back(std::move(commandInProgress));
    currentCommand = GetCommandCount() - 1;
    TrimHistory();
}

void DepthEditor::FinishDrag()
{
    if (IsDragging())
        LeftMouseRelease();
}

void DepthEditor::PaintSelection(int centreX, int centreY)
{
    const int reach = solidPaintingRadius + paintingFalloffDistance;
    if (reach < 0)
        return;
    const PixelRect box =
        PixelRect::FromCorners(centreX - reach, centreY - reach, centreX + reach, centreY + reach)
            .ClippedTo(width, height);
    if (box.IsEmpty())
        return;
    std::vector<float> distances(box.Area());
    WalkBrushDistances(edges.GetXEdges(), edges.GetYEdges(), width, box, centreX, centreY,
                       static_cast<int>(reach * 1.41), distances.data());
    const float* depth = GetDepthArray();
    const float solid = static_cast<float>(solidPaintingRadius);
    const float falloff = static_cast<float>(paintingFalloffDistance);
    for (int j = 0; j < box.height; ++j)
        for (int i = 0; i < box.width; ++i)
        {
            const float d = distances[static_cast<std::size_t>(j) * box.width + i];
            float strength = 0.0f;
            if (d < solid)
                strength = paintingIntensity;
            else if (d < static_cast<float>(reach))
                strength = paintingIntensity * (1.0f - (d - solid) / falloff);
            else
                continue;
            const int x = box.x + i;
            const int y = box.y + j;
            const std::size_t at = static_cast<std::size_t>(y) * width + x;
            selection[at] = selectionStroke->SelectPixel(x, y, strength, depth != nullptr ? depth[at] : 0.0f);
        }
    RepaintSelection(box);
}

void DepthEditor::PaintEdge(const PixelPosition& at, bool value)
{
    const float fx = at.px - std::trunc(at.px);
    const float fy = at.py - std::trunc(at.py);
    const auto nearBorder = [](float f) { return f > 0.67f || f < 0.33f; };
    // Adding near a pixel's corner would be a guess between two edges, so it waits for a clearer
    // position; removing both is harmless.
    if (value && nearBorder(fx) && nearBorder(fy))
        return;
    const int x = at.x;
    const int y = at.y;
    // The upper and left neighbours need at least 2, not 1: edges between the first two rows or
    // columns cannot be drawn by clicking, as in every earlier version.
    if (fy > 0.67f)
        SetEdge(x, y, true, value);
    else if (fy < 0.33f && y >= 2)
        SetEdge(x, y - 1, true, value);
    if (fx > 0.67f)
        SetEdge(x, y, false, value);
    else if (fx < 0.33f && x >= 2)
        SetEdge(x - 1, y, false, value);
    RepaintEdges(PixelRect::FromCorners(std::max(0, x - 1), std::max(0, y - 1), x, y));
}

void DepthEditor::SetEdge(int x, int y, bool lowerEdge, bool value)
{
    // The stroke reads the flag before it changes.
    edgeStroke->SelectPixel(x, y, lowerEdge, value);
    (lowerEdge ? edges.GetYEdges() : edges.GetXEdges())[static_cast<std::size_t>(y) * width + x] = value;
}

// --- Commands

void DepthEditor::Append(std::unique_ptr<DepthEditorCommand> command)
{
    DepthEditorCommand* appended = command.get();
    commands.push_back(std::move(command));
    currentCommand = GetCommandCount() - 1;
    if (!appended->IsApplied())
        appended->ApplyCommand(this);
    TrimHistory();
}

void DepthEditor::ShiftSelection(float amount)
{
    FinishDrag();
    Append(std::make_unique<DepthEditorShift>(width, height, amount));
}

void DepthEditor::ClearSelection()
{
    FinishDrag();
    Append(std::make_unique<DepthEditorClearSelection>(width, height, selection.data()));
}

void DepthEditor::ExpandSelection(float dropoff)
{
    FinishDrag();
    auto command = std::make_unique<DepthEditorExpand>(width, height, selection.data(), edges.GetXEdges(),
                                                       edges.GetYEdges(), 1, dropoff);
    if (!command->IsEmpty())
        Append(std::move(command));
}

void DepthEditor::FindNormalEdges(Image* normals, float threshold, bool onlySelected)
{
    FinishDrag();
    EdgeArray found(width, height);
    found.CreateFromNormalMap(normals, threshold, onlySelected ? selection.data() : nullptr);
    ChangeEdges(&found, false);
}

void DepthEditor::FindDiffuseEdges(Image* diffuse, float threshold, bool onlySelected)
{
    FinishDrag();
    EdgeArray found(width, height);
    found.CreateFromDiffuseMap(diffuse, threshold, onlySelected ? selection.data() : nullptr);
    ChangeEdges(&found, false);
}

void DepthEditor::FindDiffuseAlphaEdges(Image* diffuse, bool onlySelected)
{
    FinishDrag();
    EdgeArray found(width, height);
    found.CreateFromDiffuseMapAlpha(diffuse, onlySelected ? selection.data() : nullptr);
    ChangeEdges(&found, false);
}

void DepthEditor::FindSilhouetteEdges(Image* silhouette, float threshold, bool onlySelected)
{
    FinishDrag();
    EdgeArray found(width, height);
    found.CreateFromSilhouette(silhouette, threshold, onlySelected ? selection.data() : nullptr);
    ChangeEdges(&found, false);
}

void DepthEditor::ClearAllEdges()
{
    FinishDrag();
    ChangeEdges(nullptr, true);
}

void DepthEditor::ChangeEdges(const EdgeArray* newFlags, bool replace)
{
    bool* xEdges = edges.GetXEdges();
    bool* yEdges = edges.GetYEdges();
    auto command = std::make_unique<DepthEditorEdgeSelect>(width, height, xEdges, yEdges);
    // A detector that met a source of another size resized its array to match: there is nothing in it
    // that lines up with these pixels.
    if (newFlags != nullptr && (newFlags->GetWidth() != width || newFlags->GetHeight() != height))
        newFlags = nullptr;
    const bool* foundX = newFlags != nullptr ? newFlags->GetXEdges() : nullptr;
    const bool* foundY = newFlags != nullptr ? newFlags->GetYEdges() : nullptr;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            const std::size_t i = static_cast<std::size_t>(y) * width + x;
            const bool newX = (!replace && xEdges[i]) || (foundX != nullptr && foundX[i]);
            const bool newY = (!replace && yEdges[i]) || (foundY != nullptr && foundY[i]);
            if (newX != xEdges[i])
            {
                command->SelectPixel(x, y, false, newX);
                xEdges[i] = newX;
            }
            if (newY != yEdges[i])
            {
                command->SelectPixel(x, y, true, newY);
                yEdges[i] = newY;
            }
        }
    command->Finalise();
    RepaintEdges(command->GetBlock());
    Append(std::move(command));
}

void DepthEditor::RemoveSpecks()
{
    FinishDrag();
    auto command =
        std::make_unique<DepthEditorEdgeSelect>(width, height, edges.GetXEdges(), edges.GetYEdges());
    edges.RemoveSpecks(command.get());
    command->Finalise();
    // The edge array repainted its whole image, but only the removed specks' block differs.
    edgeDirty = edgeDirty.United(command->GetBlock());
    Append(std::move(command));
}

// --- History

void DepthEditor::Undo()
{
    FinishDrag();
    if (currentCommand < 0)
        return;
    // A command undone before later ones were appended behind it is stepped over: undoing it again
    // would swap its block back in.
    DepthEditorCommand* command = commands[static_cast<std::size_t>(currentCommand)].get();
    if (command->IsApplied())
        command->UndoCommand(this);
    --currentCommand;
}

void DepthEditor::Redo()
{
    FinishDrag();
    if (currentCommand + 1 >= GetCommandCount())
        return;
    ++currentCommand;
    DepthEditorCommand* command = commands[static_cast<std::size_t>(currentCommand)].get();
    if (!command->IsApplied())
        command->ApplyCommand(this);
}

const DepthEditorCommand* DepthEditor::GetCommand(int index) const
{
    if (index < 0 || index >= GetCommandCount())
        return nullptr;
    return commands[static_cast<std::size_t>(index)].get();
}

std::size_t DepthEditor::GetHistorySizeInBytes() const
{
    std::size_t total = 0;
    for (const auto& command : commands)
        total += command->GetSizeInBytes();
    return total;
}

void DepthEditor::SetHistoryLimit(std::size_t bytes)
{
    historyLimit = bytes;
    TrimHistory();
}

namespace {
std::string Megabytes(std::size_t bytes)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << static_cast<double>(bytes) / (1024.0 * 1024.0) << " MB";
    return text.str();
}
} // namespace

void DepthEditor::TrimHistory()
{
    std::size_t total = GetHistorySizeInBytes();
    if (total <= historyLimit)
        return;
    // The newest command always stays, however big: without it the artist's last step could not be
    // undone at all.
    std::size_t dropped = 0;
    std::size_t freed = 0;
    while (dropped + 1 < commands.size() && total > historyLimit)
    {
        const std::size_t size = commands[dropped]->GetSizeInBytes();
        total -= size;
        freed += size;
        ++dropped;
    }
    if (dropped == 0)
        return;
    commands.erase(commands.begin(), commands.begin() + static_cast<std::ptrdiff_t>(dropped));
    currentCommand = std::max(-1, currentCommand - static_cast<int>(dropped));
    Log("Depth editing history is over its " + Megabytes(historyLimit) + " limit: forgot the oldest " +
        std::to_string(dropped) + (dropped == 1 ? " step (" : " steps (") + Megabytes(freed) + ").");
}

void DepthEditor::Log(const std::string& text) const
{
    const LogOutput* log = processor != nullptr ? processor->GetLog() : nullptr;
    (log != nullptr ? *log : LogOutput()).AppendText(text);
}

// --- Display images

PixelRect DepthEditor::TakeSelectionDirtyRect()
{
    return std::exchange(selectionDirty, PixelRect{});
}

PixelRect DepthEditor::TakeEdgeDirtyRect()
{
    return std::exchange(edgeDirty, PixelRect{});
}

void DepthEditor::RepaintSelection(const PixelRect& area)
{
    const PixelRect rect = area.ClippedTo(width, height);
    if (rect.IsEmpty() || !selectionImage.HasPlanes())
        return;
    const PlaneView<std::uint8_t> rgb = selectionImage.ColourView();
    for (int y = rect.y; y < rect.y + rect.height; ++y)
    {
        std::uint8_t* row = rgb.Row(y);
        const float* values = selection.data() + static_cast<std::size_t>(y) * width;
        for (int x = rect.x; x < rect.x + rect.width; ++x)
        {
            const std::uint8_t grey = Image::ChannelToByte(values[x]);
            row[3 * x] = grey;
            row[3 * x + 1] = grey;
            row[3 * x + 2] = grey;
        }
    }
    selectionImage.MarkChanged();
    selectionDirty = selectionDirty.United(rect);
}

void DepthEditor::RepaintEdges(const PixelRect& area)
{
    const PixelRect rect = area.ClippedTo(width, height);
    if (rect.IsEmpty())
        return;
    edges.UpdateImage(rect);
    edgeDirty = edgeDirty.United(rect);
}

void DepthEditor::CopySelectionBlock(int x, int y, int w, int h, const float* block)
{
    const PixelRect rect = PixelRect{x, y, w, h}.ClippedTo(width, height);
    if (block == nullptr || rect.IsEmpty())
        return;
    for (int j = rect.y; j < rect.y + rect.height; ++j)
        std::copy_n(block + static_cast<std::size_t>(j - y) * w + (rect.x - x), rect.width,
                    selection.data() + static_cast<std::size_t>(j) * width + rect.x);
    RepaintSelection(rect);
}

void DepthEditor::CopyEdgeBlock(int x, int y, int w, int h, const bool* xBlock, const bool* yBlock)
{
    const PixelRect rect = PixelRect{x, y, w, h}.ClippedTo(width, height);
    if (xBlock == nullptr || yBlock == nullptr || rect.IsEmpty())
        return;
    for (int j = rect.y; j < rect.y + rect.height; ++j)
    {
        const std::size_t source = static_cast<std::size_t>(j - y) * w + (rect.x - x);
        const std::size_t target = static_cast<std::size_t>(j) * width + rect.x;
        std::copy_n(xBlock + source, rect.width, edges.GetXEdges() + target);
        std::copy_n(yBlock + source, rect.width, edges.GetYEdges() + target);
    }
    RepaintEdges(rect);
}

void DepthEditor::SwapSelectionBlock(SwapBlock<float>& block)
{
    const PixelRect rect = block.GetRect();
    if (block.IsEmpty() || rect.ClippedTo(width, height) != rect)
        return;
    block.SwapWith(selection.data(), width);
    RepaintSelection(rect);
}

void DepthEditor::SwapSelectionBlocks(std::vector<SwapBlock<float>>& blocks)
{
    for (SwapBlock<float>& block : blocks)
        SwapSelectionBlock(block);
}

void DepthEditor::SwapEdgeBlocks(std::vector<SwapBlock<bool>>& xBlocks, std::vector<SwapBlock<bool>>& yBlocks)
{
    PixelRect changed;
    for (auto [blocks, flags] :
         {std::pair{&xBlocks, edges.GetXEdges()}, std::pair{&yBlocks, edges.GetYEdges()}})
        for (SwapBlock<bool>& block : *blocks)
        {
            const PixelRect rect = block.GetRect();
            if (block.IsEmpty() || rect.ClippedTo(width, height) != rect)
                continue;
            block.SwapWith(flags, width);
            changed = changed.United(rect);
        }
    // Both flags of a pixel meet in its colour, so the image is repainted once both arrays are swapped.
    for (const auto* blocks : {&xBlocks, &yBlocks})
        for (const SwapBlock<bool>& block : *blocks)
            edges.UpdateImage(block.GetRect());
    edgeDirty = edgeDirty.United(changed.ClippedTo(width, height));
}

// --- Depth

float* DepthEditor::GetDepthArray() const
{
    if (processor == nullptr || width == 0 || height == 0 ||
        processor->GetDepthArrayLength(0) != static_cast<std::size_t>(width) * height)
        return nullptr;
    return processor->GetDepthArray(0);
}

void DepthEditor::DepthArrayChanged()
{
    if (processor != nullptr)
        processor->PopulateDepthMapFromArray();
}
