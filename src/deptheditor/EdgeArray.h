#pragma once
#include "core/Image.h"
#include "deptheditor/PixelRect.h"

#include <memory>

class DepthEditorEdgeSelect;

// Flags for the edge on the right of each pixel (xEdges) and below it (yEdges), row-major, with an
// image showing them (red = right edge, green = lower edge) for the preview to overlay. Edges stop
// depth reconciliation and selections from crossing between two pixels.
class EdgeArray
{
public:
    EdgeArray();
    EdgeArray(int width, int height);
    ~EdgeArray();
    EdgeArray(const EdgeArray&) = delete;
    EdgeArray& operator=(const EdgeArray&) = delete;

    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    bool* GetXEdges() { return xEdges.get(); }
    bool* GetYEdges() { return yEdges.get(); }
    const bool* GetXEdges() const { return xEdges.get(); }
    const bool* GetYEdges() const { return yEdges.get(); }
    // Replaced by a new image of the new size on Resize.
    Image& GetEdgeImage() { return *edgeImage; }
    const Image& GetEdgeImage() const { return *edgeImage; }

    // Loses every edge.
    void Resize(int newWidth, int newHeight);
    void ClearEdges();
    void UpdateImage();
    // Repaints just that part of the edge image.
    void UpdateImage(const PixelRect& rect);
    // Repaints one pixel of the edge image from its flags, after a change to just that pixel.
    void UpdatePixel(int x, int y);

    // Detectors only ever add edges. `selection` is null (look everywhere) or width * height
    // selection strengths, of which only pixels above 0.01 are examined. They leave UpdateImage to
    // the caller.
    void CreateFromNormalMap(Image* normals, float threshold, float* selection);
    void CreateFromDiffuseMap(Image* diffuse, float threshold, float* selection);
    void CreateFromDiffuseMapAlpha(Image* diffuse, float* selection);
    void CreateFromSilhouette(Image* silhouette, float threshold, float* selection);

    // OR of both arrays; the other array must have the same size.
    void AddOtherEdgeArray(EdgeArray* other);
    // Removes isolated one-segment edges, reporting each removal to the record before making it.
    void RemoveSpecks(DepthEditorEdgeSelect* record);

private:
    int width = 0;
    int height = 0;
    std::unique_ptr<bool[]> xEdges;
    std::unique_ptr<bool[]> yEdges;
    std::unique_ptr<Image> edgeImage = std::make_unique<Image>(0, 0);
};
