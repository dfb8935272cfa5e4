#include "sets/BrondelCore.h"

#include "deptheditor/DepthEditor.h"
#include "preview/LightingPreview.h"
#include "processing/ImageProcessor.h"

// The preview's settings pass straight through; the renderer only stores them until the widget draws.

void BrondelCore::InitialisePreviewWindow(int width, int height, MessageCallback message,
                                          RefreshCallback refresh)
{
    preview->InitialisePreviewWindow(width, height, std::move(message), std::move(refresh));
}

void BrondelCore::ReceiveMousePosition(int x, int y)
{
    preview->MouseMoved(x, y);
}

void BrondelCore::ReceiveMouseButton(int x, int y, int button, bool released)
{
    if (button == 0)
    {
        preview->SetLeftHeld(!released);
        // While depth editing, the left button paints: the press starts a stroke at the sprite point
        // under the cursor and the release records it as one undoable step.
        ImageProcessor* processor = GetCurrentProcessor();
        DepthEditor* editor = processor != nullptr ? processor->GetDepthEditor() : nullptr;
        if (preview->IsDepthEditMode() && editor != nullptr)
        {
            if (!released)
            {
                editor->LeftMouseClick(
                    preview->GetCamera().GetPositionFromPixel(x, y, preview->GetPreviewRotation()));
                processor->MarkDepthEdited();
            }
            else
                editor->LeftMouseRelease();
        }
    }
    else if (button == 1)
        preview->SetRightHeld(!released);
    else
        return;
    ReceiveMousePosition(x, y);
}

void BrondelCore::ResetCamera()
{
    preview->ResetCamera();
}
void BrondelCore::SetLightIconVisibility(bool visible)
{
    preview->SetLightIconVisibility(visible);
}
void BrondelCore::SetDirectLightColour(Colour colour)
{
    preview->SetDirectLightColour(colour);
}
void BrondelCore::SetUpperAmbientColour(Colour colour)
{
    preview->SetUpperAmbientColour(colour);
}
void BrondelCore::SetLowerAmbientColour(Colour colour)
{
    preview->SetLowerAmbientColour(colour);
}
void BrondelCore::SetBackgroundColour(Colour colour)
{
    preview->SetBackgroundColour(colour);
}
void BrondelCore::SetAmbientColourLock(bool locked)
{
    preview->SetAmbientColourLock(locked);
}
void BrondelCore::SetLightZPosition(float z)
{
    preview->SetLightZPosition(z);
}
void BrondelCore::SetLightWrapValue(float wrap)
{
    preview->SetLightWrapValue(wrap);
}
void BrondelCore::SetAttenuationStrength(float strength)
{
    preview->SetAttenuationStrength(strength);
}
void BrondelCore::SetLightAnimation(int type)
{
    preview->SetLightAnimation(static_cast<AnimationType>(type));
}
void BrondelCore::SetAOIntensity(float strength)
{
    preview->SetAOIntensity(strength);
}
void BrondelCore::SetDepthMultiplier(float multiplier)
{
    preview->SetDepthMultiplier(multiplier);
}
void BrondelCore::SetShadowing(bool on)
{
    preview->SetShadowing(on);
}
void BrondelCore::SetGlossFromSpecAlpha(bool on)
{
    preview->SetGlossFromSpecAlpha(on);
}
void BrondelCore::SetCelShading(bool on)
{
    preview->SetCelShading(on);
}
void BrondelCore::SetCelShadingLevel(int level)
{
    preview->SetCelShadingLevel(level);
}
void BrondelCore::SelectShader(int shader)
{
    preview->SelectShader(static_cast<ShaderEnum>(shader));
}
void BrondelCore::ReloadShaders()
{
    preview->ReloadShaders();
}
void BrondelCore::SetPreviewRotation(float degrees)
{
    preview->SetPreviewRotation(degrees);
}
void BrondelCore::SetTilePreview(bool on)
{
    preview->SetTilePreview(on);
}
void BrondelCore::RecentrePreviewRotation()
{
    preview->RecentrePreviewRotation();
}
void BrondelCore::SetDrawingAsMesh(bool on)
{
    preview->SetDrawingAsMesh(on);
}
void BrondelCore::SetContourDisplay(bool on)
{
    preview->SetContourDisplay(on);
}
