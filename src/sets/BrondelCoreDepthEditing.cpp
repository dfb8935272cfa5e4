#include "sets/BrondelCore.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "preview/LightingPreview.h"
#include "processing/ImageProcessor.h"

#include <cstdint>

namespace {
DepthEditor* EditorOf(const BrondelCore& core)
{
    const ImageProcessor* processor = core.GetCurrentProcessor();
    return processor != nullptr ? processor->GetDepthEditor() : nullptr;
}

std::uint64_t DepthRevision(const ImageProcessor& processor)
{
    const Image* depth = processor.GetImage(ImageType::Depth);
    return depth != nullptr ? depth->GetRevision() : 0;
}
} // namespace

bool BrondelCore::HasDepthEditor() const
{
    return EditorOf(*this) != nullptr;
}

void BrondelCore::SetDepthEditingState(bool editing)
{
    depthEditing = editing;
    // The preview shows the selection and the edges, and hands drags with the left button to the
    // current set's editor, only while editing.
    preview->SetDepthEditMode(editing);
    preview->SetDepthEditDragHandler([this](Vector2D at) {
        if (DepthEditor* editor = EditorOf(*this))
            editor->ReceiveMousePosition(at);
    });
    // A drag cannot outlive the mode it was made in; it is recorded as it stands.
    if (!editing)
        if (DepthEditor* editor = EditorOf(*this))
            editor->LeftMouseRelease();
}

bool BrondelCore::HasDepthBeenEdited() const
{
    const ImageProcessor* processor = GetCurrentProcessor();
    return processor != nullptr && processor->HasDepthBeenEdited();
}

void BrondelCore::SetDepthEditorMode(DepthEditMode mode)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->SetMode(mode);
}

void BrondelCore::SetSolidPaintingRadius(int radius)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->SetSolidPaintingRadius(radius);
}

void BrondelCore::SetPaintingFalloffDistance(int distance)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->SetPaintingFalloffDistance(distance);
}

void BrondelCore::SetPaintingIntensity(float intensity)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->SetPaintingIntensity(intensity);
}

void BrondelCore::SetFalloffByDepth(float band)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->SetFalloffByDepth(band);
}

void BrondelCore::DisableFalloffByDepth()
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->DisableFalloffByDepth();
}

void BrondelCore::DepthEditorMouseDown(float x, float y)
{
    DepthEditor* editor = EditorOf(*this);
    if (!depthEditing || editor == nullptr)
        return;
    editor->LeftMouseClick(editor->PositionFromPixel(x, y));
    GetCurrentProcessor()->MarkDepthEdited();
}

void BrondelCore::DepthEditorMouseMove(float x, float y)
{
    DepthEditor* editor = EditorOf(*this);
    if (depthEditing && editor != nullptr)
        editor->ReceiveMousePosition(editor->PositionFromPixel(x, y));
}

void BrondelCore::DepthEditorMouseUp()
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->LeftMouseRelease();
}

void BrondelCore::UndoDepthCommand()
{
    DepthEditor* editor = EditorOf(*this);
    if (!depthEditing || editor == nullptr)
        return;
    const std::uint64_t before = DepthRevision(*GetCurrentProcessor());
    editor->Undo();
    // Only steps that moved depths (shifts) change the Depth image.
    if (DepthRevision(*GetCurrentProcessor()) != before)
        NotifyImageChanged(ImageType::Depth);
}

void BrondelCore::RedoDepthCommand()
{
    DepthEditor* editor = EditorOf(*this);
    if (!depthEditing || editor == nullptr)
        return;
    const std::uint64_t before = DepthRevision(*GetCurrentProcessor());
    editor->Redo();
    if (DepthRevision(*GetCurrentProcessor()) != before)
        NotifyImageChanged(ImageType::Depth);
}

void BrondelCore::ShiftSelectionForward(float amount)
{
    DepthEditor* editor = EditorOf(*this);
    if (editor == nullptr)
        return;
    editor->ShiftSelection(amount);
    GetCurrentProcessor()->MarkDepthEdited();
    NotifyImageChanged(ImageType::Depth);
}

void BrondelCore::ShiftSelectionBack(float amount)
{
    // The window passes the same positive amount for both buttons; back is the other direction.
    ShiftSelectionForward(-amount);
}

void BrondelCore::ClearSelection()
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->ClearSelection();
}

void BrondelCore::ExpandSelection(float dropoff)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->ExpandSelection(dropoff);
}

void BrondelCore::GetEdgesFromNormals(float threshold, bool onlySelected)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->FindNormalEdges(GetCurrentBitmapByType(ImageType::Normal), threshold, onlySelected);
}

void BrondelCore::GetEdgesFromDiffuseColour(float threshold, bool onlySelected)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->FindDiffuseEdges(GetCurrentBitmapByType(ImageType::Diffuse), threshold, onlySelected);
}

void BrondelCore::GetEdgesFromDiffuseAlpha(bool onlySelected)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->FindDiffuseAlphaEdges(GetCurrentBitmapByType(ImageType::Diffuse), onlySelected);
}

void BrondelCore::GetEdgesFromSilhouette(float threshold, bool onlySelected)
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->FindSilhouetteEdges(GetCurrentBitmapByType(ImageType::Silhouette), threshold, onlySelected);
}

void BrondelCore::RemoveEdgeSpecks()
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->RemoveSpecks();
}

void BrondelCore::ClearAllEdges()
{
    if (DepthEditor* editor = EditorOf(*this))
        editor->ClearAllEdges();
}
