#pragma once
#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "processing/ImageProcessor.h"
#include "support/RecordingLog.h"

#include <cstring>
#include <functional>
#include <string>

// A processor with a depth array of the given depths and its depth editor, driven with the mouse in
// depth-map pixels.
struct EditedSet
{
    RecordingLog log;
    ImageProcessor processor{nullptr, BRONDEL_RESOURCE_DIR, &log.output};
    DepthEditor* editor = nullptr;

    EditedSet(int width, int height, const std::function<float(int x, int y)>& depth = nullptr)
    {
        processor.SetImage(new Image(width, height), ImageType::Depth);
        processor.PopulateDepthArrayFromMap();
        float* values = processor.GetDepthArray(0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                values[y * width + x] = depth ? depth(x, y) : 0.0f;
        processor.PopulateDepthMapFromArray();
        editor = processor.GetDepthEditor();
    }

    float* Depth() { return processor.GetDepthArray(0); }
    float Selection(int x, int y) const { return editor->GetSelection()[y * editor->GetWidth() + x]; }

    // One drag through the given points (pixel coordinates, fractions allowed), clicked at the first.
    void Drag(std::initializer_list<std::pair<float, float>> points)
    {
        editor->LeftMouseClick(editor->PositionFromPixel(points.begin()->first, points.begin()->second));
        for (const auto& [x, y] : points)
            editor->ReceiveMousePosition(editor->PositionFromPixel(x, y));
        editor->LeftMouseRelease();
    }
    // A click and release in the middle of one pixel.
    void Dab(int x, int y) { Drag({{x + 0.5f, y + 0.5f}}); }

    // Every byte the artist could see change: selection, edges, depths and the three images.
    std::string State()
    {
        const int size = editor->GetWidth() * editor->GetHeight();
        std::string state;
        const auto append = [&state](const void* data, std::size_t bytes) {
            state.append(static_cast<const char*>(data), bytes);
        };
        append(editor->GetSelection(), size * sizeof(float));
        append(editor->GetEdges().GetXEdges(), size);
        append(editor->GetEdges().GetYEdges(), size);
        append(Depth(), size * sizeof(float));
        for (const Image* image : {&editor->GetSelectionImage(), &editor->GetEdges().GetEdgeImage(),
                                   processor.GetImage(ImageType::Depth)})
            for (int y = 0; y < image->GetHeight(); ++y)
            {
                append(image->ColourView().Row(y), 3 * image->GetWidth());
                append(image->AlphaView().Row(y), image->GetWidth());
            }
        return state;
    }
};
