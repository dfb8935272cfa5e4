#pragma once
#include "core/Image.h"
#include "core/Vector2D.h"
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/EdgeArray.h"
#include "deptheditor/PixelRect.h"
#include "deptheditor/SwapBlock.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

class DepthEditorEdgeSelect;
class DepthEditorSelect;
class ImageProcessor;

// What a left-button drag in the preview does while the depth map is edited.
enum class DepthEditMode
{
    SelectionPainting = 1, // adds or removes selection by the sign of the painting intensity
    AddEdges = 2,
    RemoveEdges = 3
};

// Hand editing of one processor's depth map: a soft selection (0..1 per pixel) with its grey display
// image, the edges between pixels that selections and depth reconciliation do not cross, the brush
// settings, and the history of undoable commands, held to a memory budget.
class DepthEditor
{
public:
    static constexpr std::size_t kDefaultHistoryLimit = std::size_t{256} << 20;

    DepthEditor(int width, int height, ImageProcessor* processor);
    ~DepthEditor();
    DepthEditor(const DepthEditor&) = delete;
    DepthEditor& operator=(const DepthEditor&) = delete;

    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    ImageProcessor* GetProcessor() const { return processor; }

    // --- Brush settings
    int GetSolidPaintingRadius() const { return solidPaintingRadius; }
    void SetSolidPaintingRadius(int radius) { solidPaintingRadius = radius; }
    int GetPaintingFalloffDistance() const { return paintingFalloffDistance; }
    void SetPaintingFalloffDistance(int distance) { paintingFalloffDistance = distance; }
    // Width of the depth band "select adjacent depths" keeps to; not above 0 means no band.
    float GetFalloffByDepth() const { return falloffByDepth; }
    void SetFalloffByDepth(float band) { falloffByDepth = band; }
    void DisableFalloffByDepth() { falloffByDepth = -1.0f; }
    // Positive paints selection on, negative takes it off.
    float GetPaintingIntensity() const { return paintingIntensity; }
    void SetPaintingIntensity(float intensity) { paintingIntensity = intensity; }
    DepthEditMode GetMode() const { return mode; }
    void SetMode(DepthEditMode newMode) { mode = newMode; }

    // --- Mouse input, in the preview's sprite coordinates: the sprite spans -aspect..+aspect across
    // (aspect = width / height) and -1..+1 up the screen.
    // Starts a drag: selection painting, or edge painting in the edge modes.
    void LeftMouseClick(Vector2D position);
    // Paints at the position while a drag is under way; ignored otherwise.
    void ReceiveMousePosition(Vector2D position);
    // Ends the drag and records it, discarding whatever had been undone.
    void LeftMouseRelease();
    bool IsDragging() const { return commandInProgress != nullptr; }
    // Sprite coordinates of a point given in pixels of the depth map (x across, y down), and back.
    Vector2D PositionFromPixel(float x, float y) const;
    Vector2D PixelFromPosition(Vector2D position) const;

    // --- Commands. Each is one step of the history, appended behind whatever is there (steps undone
    // earlier are kept and stepped over); a drag still under way is recorded first.
    void ShiftSelection(float amount);
    void ClearSelection();
    // One ring of growth; records nothing when nothing would grow.
    void ExpandSelection(float dropoff);
    // Edge detection adds to the edges already there. onlySelected limits it to selected pixels.
    void FindNormalEdges(Image* normals, float threshold, bool onlySelected);
    void FindDiffuseEdges(Image* diffuse, float threshold, bool onlySelected);
    void FindDiffuseAlphaEdges(Image* diffuse, bool onlySelected);
    void FindSilhouetteEdges(Image* silhouette, float threshold, bool onlySelected);
    void ClearAllEdges();
    void RemoveSpecks();

    // --- History
    void Undo();
    void Redo();
    int GetCommandCount() const { return static_cast<int>(commands.size()); }
    // Index of the last applied command; -1 when there is none.
    int GetCurrentCommand() const { return currentCommand; }
    const DepthEditorCommand* GetCommand(int index) const;
    std::size_t GetHistorySizeInBytes() const;
    // Oldest commands are forgotten (and the log told) once the history grows past this.
    std::size_t GetHistoryLimit() const { return historyLimit; }
    void SetHistoryLimit(std::size_t bytes);

    // --- Selection and edges
    // width * height strengths, row-major.
    float* GetSelection() { return selection.data(); }
    const float* GetSelection() const { return selection.data(); }
    // (s, s, s, 1) per pixel, for the preview to overlay.
    Image& GetSelectionImage() { return selectionImage; }
    EdgeArray& GetEdges() { return edges; }
    const EdgeArray& GetEdges() const { return edges; }

    // The part of the selection image, and of the edge image, changed since the last call: the preview
    // re-uploads just that rectangle of the texture. Empty when nothing changed.
    PixelRect TakeSelectionDirtyRect();
    PixelRect TakeEdgeDirtyRect();

    // --- For the commands
    // Write a block (w x h, row-major) into the selection or into both edge arrays and repaint those
    // pixels of the display image; parts outside the editor are ignored.
    void CopySelectionBlock(int x, int y, int w, int h, const float* block);
    void CopyEdgeBlock(int x, int y, int w, int h, const bool* xBlock, const bool* yBlock);
    // Exchange blocks with the selection or with the edge arrays, and repaint them.
    void SwapSelectionBlock(SwapBlock<float>& block);
    void SwapSelectionBlocks(std::vector<SwapBlock<float>>& blocks);
    void SwapEdgeBlocks(std::vector<SwapBlock<bool>>& xBlocks, std::vector<SwapBlock<bool>>& yBlocks);
    // The processor's full-resolution depth array when it matches the editor's size, else null.
    float* GetDepthArray() const;
    // Rebuilds the processor's depth image after the array changed.
    void DepthArrayChanged();

private:
    // Maps a position to a pixel: fractional (for the edge modes) and clamped whole coordinates, and
    // the row a click reads its depth from, which is clamped by the width.
    struct PixelPosition
    {
        float px;
        float py;
        int x;
        int y;
        int clickRow;
    };
    PixelPosition MapPosition(Vector2D position) const;
    void PaintSelection(int centreX, int centreY);
    void PaintEdge(const PixelPosition& at, bool value);
    void SetEdge(int x, int y, bool lowerEdge, bool value);
    // Grey bytes of the selection over `rect`, and the rectangle marked for upload.
    void RepaintSelection(const PixelRect& rect);
    void RepaintEdges(const PixelRect& rect);
    // A drag interrupted by another command is recorded first, so the history stays in order.
    void FinishDrag();
    // Edge detection and clearing: recorded pixel by pixel as `newFlags` is merged in (or, with
    // replace, copied over), then appended.
    void ChangeEdges(const EdgeArray* newFlags, bool replace);
    // Appends a command that does not discard the undone ones; applies it unless it is already in place.
    void Append(std::unique_ptr<DepthEditorCommand> command);
    void TrimHistory();
    void Log(const std::string& text) const;

    int width;
    int height;
    int solidPaintingRadius = 10;
    int paintingFalloffDistance = 10;
    float falloffByDepth = -1.0f;
    float paintingIntensity = 1.0f;
    DepthEditMode mode = DepthEditMode::SelectionPainting;
    Image selectionImage;
    std::vector<std::unique_ptr<DepthEditorCommand>> commands;
    std::vector<float> selection;
    // The painting command of the drag under way, recorded when the button is released, with a typed
    // view of it and the mode it was started in.
    std::unique_ptr<DepthEditorCommand> commandInProgress;
    DepthEditorSelect* selectionStroke = nullptr;
    DepthEditorEdgeSelect* edgeStroke = nullptr;
    DepthEditMode strokeMode = DepthEditMode::SelectionPainting;
    int currentCommand = -1;
    ImageProcessor* processor;
    EdgeArray edges;
    std::size_t historyLimit = kDefaultHistoryLimit;
    PixelRect selectionDirty;
    PixelRect edgeDirty;
};
