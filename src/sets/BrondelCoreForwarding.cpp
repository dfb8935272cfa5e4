#include "sets/BrondelCore.h"

// The processor takes flip Y as an argument of every load and normal generation, so storing it here is
// all it takes for the current processor to receive it.
void BrondelCore::SetNormalsFlippedYStatus(bool flipped)
{
    flipY = flipped;
}
bool BrondelCore::GetNormalsFlippedYStatus() const
{
    return flipY;
}

// Generation parameters: stored as given; nothing is regenerated until an Attempt operation runs.
void BrondelCore::SetNormalBend(float bend)
{
    normalBend = bend;
}
float BrondelCore::GetNormalBend() const
{
    return normalBend;
}
void BrondelCore::SetNormalRotationDirection(float degrees)
{
    normalRotationDirection = degrees;
}
float BrondelCore::GetNormalRotationDirection() const
{
    return normalRotationDirection;
}
void BrondelCore::SetNormalRotationAmount(float degrees)
{
    normalRotationAmount = degrees;
}
float BrondelCore::GetNormalRotationAmount() const
{
    return normalRotationAmount;
}
void BrondelCore::SetAutofixFlatNormals(bool fix)
{
    autofixFlatNormals = fix;
}
bool BrondelCore::GetAutofixFlatNormals() const
{
    return autofixFlatNormals;
}
void BrondelCore::SetDepthRefinementSteps(int steps)
{
    depthRefinementSteps = steps;
}
int BrondelCore::GetDepthRefinementSteps() const
{
    return depthRefinementSteps;
}
void BrondelCore::SetRespectSelectedEdges(bool respect)
{
    respectSelectedEdges = respect;
}
bool BrondelCore::GetRespectSelectedEdges() const
{
    return respectSelectedEdges;
}
void BrondelCore::SetLowFrequencyEmphasis(float emphasis)
{
    lowFrequencyEmphasis = emphasis;
}
float BrondelCore::GetLowFrequencyEmphasis() const
{
    return lowFrequencyEmphasis;
}
void BrondelCore::SetAOLightFlatness(float flatness)
{
    aoLightFlatness = flatness;
}
float BrondelCore::GetAOLightFlatness() const
{
    return aoLightFlatness;
}
void BrondelCore::SetAOConeGradient(float gradient)
{
    aoConeGradient = gradient;
}
float BrondelCore::GetAOConeGradient() const
{
    return aoConeGradient;
}
void BrondelCore::SetAOBoxSize(int size)
{
    aoBoxSize = size;
}
int BrondelCore::GetAOBoxSize() const
{
    return aoBoxSize;
}
void BrondelCore::SetAOStepSize(int size)
{
    aoStepSize = size;
}
int BrondelCore::GetAOStepSize() const
{
    return aoStepSize;
}
void BrondelCore::SetPaletteHeight(int height)
{
    paletteHeight = height;
}
int BrondelCore::GetPaletteHeight() const
{
    return paletteHeight;
}
void BrondelCore::SetPaletteSampleLighting(bool sample)
{
    paletteSampleLighting = sample;
}
bool BrondelCore::GetPaletteSampleLighting() const
{
    return paletteSampleLighting;
}
void BrondelCore::SetAnisotropyExpandCount(int count)
{
    anisotropyExpandCount = count;
}
int BrondelCore::GetAnisotropyExpandCount() const
{
    return anisotropyExpandCount;
}
void BrondelCore::SetAnisotropyOutputType(int type)
{
    anisotropyOutputType = type;
}
int BrondelCore::GetAnisotropyOutputType() const
{
    return anisotropyOutputType;
}
