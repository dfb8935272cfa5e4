#include "sets/BrondelCore.h"

// The processor takes flip Y as an argument of every load and normal generation, so storing it here is
// all it takes for the current processor to receive it.
void BrondelCore::SetNormalsFlippedYStatus(bool flipped)
{
    parameters.normals.flipY = flipped;
}
bool BrondelCore::GetNormalsFlippedYStatus() const
{
    return parameters.normals.flipY;
}

// Generation parameters: stored as given; nothing is regenerated until an Attempt operation runs.
void BrondelCore::SetNormalBend(float bend)
{
    parameters.normals.bend = bend;
}
float BrondelCore::GetNormalBend() const
{
    return parameters.normals.bend;
}
void BrondelCore::SetNormalRotationDirection(float degrees)
{
    parameters.normals.rotationDirection = degrees;
}
float BrondelCore::GetNormalRotationDirection() const
{
    return parameters.normals.rotationDirection;
}
void BrondelCore::SetNormalRotationAmount(float degrees)
{
    parameters.normals.rotationAmount = degrees;
}
float BrondelCore::GetNormalRotationAmount() const
{
    return parameters.normals.rotationAmount;
}
void BrondelCore::SetAutofixFlatNormals(bool fix)
{
    parameters.normals.autofixFlatNormals = fix;
}
bool BrondelCore::GetAutofixFlatNormals() const
{
    return parameters.normals.autofixFlatNormals;
}
void BrondelCore::SetDepthRefinementSteps(int steps)
{
    parameters.depth.refinementSteps = steps;
}
int BrondelCore::GetDepthRefinementSteps() const
{
    return parameters.depth.refinementSteps;
}
void BrondelCore::SetRespectSelectedEdges(bool respect)
{
    parameters.depth.respectSelectedEdges = respect;
}
bool BrondelCore::GetRespectSelectedEdges() const
{
    return parameters.depth.respectSelectedEdges;
}
void BrondelCore::SetLowFrequencyEmphasis(float emphasis)
{
    parameters.depth.lowFrequencyEmphasis = emphasis;
}
float BrondelCore::GetLowFrequencyEmphasis() const
{
    return parameters.depth.lowFrequencyEmphasis;
}
void BrondelCore::SetAOLightFlatness(float flatness)
{
    parameters.ao.lightFlatness = flatness;
}
float BrondelCore::GetAOLightFlatness() const
{
    return parameters.ao.lightFlatness;
}
void BrondelCore::SetAOConeGradient(float gradient)
{
    parameters.ao.coneGradient = gradient;
}
float BrondelCore::GetAOConeGradient() const
{
    return parameters.ao.coneGradient;
}
void BrondelCore::SetAOBoxSize(int size)
{
    parameters.ao.boxSize = size;
}
int BrondelCore::GetAOBoxSize() const
{
    return parameters.ao.boxSize;
}
void BrondelCore::SetAOStepSize(int size)
{
    parameters.ao.stepSize = size;
}
int BrondelCore::GetAOStepSize() const
{
    return parameters.ao.stepSize;
}
void BrondelCore::SetPaletteHeight(int height)
{
    parameters.palette.height = height;
}
int BrondelCore::GetPaletteHeight() const
{
    return parameters.palette.height;
}
void BrondelCore::SetPaletteSampleLighting(bool sample)
{
    parameters.palette.sampleLighting = sample;
}
bool BrondelCore::GetPaletteSampleLighting() const
{
    return parameters.palette.sampleLighting;
}
void BrondelCore::SetAnisotropyExpandCount(int count)
{
    parameters.anisotropy.expandCount = count;
}
int BrondelCore::GetAnisotropyExpandCount() const
{
    return parameters.anisotropy.expandCount;
}
void BrondelCore::SetAnisotropyOutputType(int type)
{
    parameters.anisotropy.outputType = type;
}
int BrondelCore::GetAnisotropyOutputType() const
{
    return parameters.anisotropy.outputType;
}

void BrondelCore::SetGenerationParameter(GenerationParameter id, double value)
{
    DescribeParameter(id).set(parameters, value);
}

double BrondelCore::GetGenerationParameter(GenerationParameter id) const
{
    return DescribeParameter(id).get(parameters);
}
