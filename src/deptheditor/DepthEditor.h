#pragma once
#include "core/Image.h"
#include "deptheditor/DepthEditorCommand.h"
#include "deptheditor/EdgeArray.h"

#include <memory>
#include <vector>

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
// settings, and the history of undoable commands.
class DepthEditor
{
public:
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

    // --- Selection and edges
    // width * height strengths, row-major.
    float* GetSelection() { return selection.data(); }
    const float* GetSelection() const { return selection.data(); }
    // (s, s, s, 1) per pixel, for the preview to overlay.
    Image& GetSelectionImage() { return selectionImage; }
    EdgeArray& GetEdges() { return edges; }
    const EdgeArray& GetEdges() const { return edges; }

    // --- History
    int GetCommandCount() const { return static_cast<int>(commands.size()); }
    // Index of the last applied command; -1 when there is none.
    int GetCurrentCommand() const { return currentCommand; }

    // Write a block (w x h, row-major) into the selection or into both edge arrays and repaint those
    // pixels of the display image; parts outside the editor are ignored. Commands restore themselves
    // through these.
    void CopySelectionBlock(int x, int y, int w, int h, const float* block);
    void CopyEdgeBlock(int x, int y, int w, int h, const bool* xBlock, const bool* yBlock);

private:
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
    // The painting command of the drag under way, recorded when the button is released.
    std::unique_ptr<DepthEditorCommand> commandInProgress;
    int currentCommand = -1;
    ImageProcessor* processor;
    EdgeArray edges;
};
