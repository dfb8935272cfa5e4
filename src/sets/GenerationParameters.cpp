#include "sets/GenerationParameters.h"

#include <cmath>
#include <stdexcept>

namespace {
// The accessors of one field, as the plain function pointers the table holds.
#define BRONDEL_FIELD(type, path)                                                                            \
    [](const GenerationParameters& p) { return static_cast<double>(p.path); },                               \
        [](GenerationParameters& p, double v) { p.path = static_cast<type>(v); }
#define BRONDEL_FLAG(path)                                                                                   \
    [](const GenerationParameters& p) { return p.path ? 1.0 : 0.0; },                                        \
        [](GenerationParameters& p, double v) { p.path = v != 0.0; }

using P = GenerationParameter;
using K = ParameterKind;

// Several batch defaults differ from the window's on purpose (refinement steps 50 against 100,
// low-frequency emphasis 0.5 against 0.2, fix flat normals off against on): scripts depend on both.
const std::array<ParameterDescription, kGenerationParameterCount> kTable = {{
    {P::NormalBend,
     "normal bend",
     "-nBend",
     "setbentnormalsamount",
     K::Float,
     0.1,
     5.0,
     1.0,
     1.0,
     "how strongly the normals bend away from the viewer",
     {},
     BRONDEL_FIELD(float, normals.bend)},
    {P::NormalRotationDirection,
     "normal rotation direction",
     "-nRotAngle",
     "setrotnormalsdirection",
     K::Float,
     0.0,
     360.0,
     0.0,
     0.0,
     "direction (degrees) the normals are tilted towards",
     {},
     BRONDEL_FIELD(float, normals.rotationDirection)},
    {P::NormalRotationAmount,
     "normal rotation amount",
     "-nRotAmount",
     "setrotnormalsamount",
     K::Float,
     0.0,
     90.0,
     0.0,
     0.0,
     "how far (degrees) the normals are tilted",
     {},
     BRONDEL_FIELD(float, normals.rotationAmount)},
    {P::NormalFixFlat,
     "fix flat normals",
     "-nFlatFix",
     "setautofixflatnormals",
     K::Flag,
     0.0,
     1.0,
     1.0,
     0.0,
     "point normals that came out flat straight at the viewer",
     {},
     BRONDEL_FLAG(normals.autofixFlatNormals)},
    {P::NormalFlipY,
     "flip normals' Y",
     "-nFlipY",
     "setflipy",
     K::Flag,
     0.0,
     1.0,
     0.0,
     0.0,
     "flip the green channel, for engines whose Y axis points down",
     {},
     BRONDEL_FLAG(normals.flipY)},
    {P::DepthRefinementSteps,
     "depth refinement steps",
     "-dRefSteps",
     "setdepthrefinementsteps",
     K::Int,
     1.0,
     10000.0,
     100.0,
     50.0,
     "relaxation steps per mip level: more is smoother and slower",
     {},
     BRONDEL_FIELD(int, depth.refinementSteps)},
    {P::DepthRespectSelectedEdges,
     "respect selected edges",
     "-dUseSil",
     "setrespectselectededges",
     K::Flag,
     0.0,
     1.0,
     0.0,
     0.0,
     "keep depth from flowing across painted edges (accepted and ignored in batch mode)",
     {},
     BRONDEL_FLAG(depth.respectSelectedEdges)},
    {P::DepthLowFrequencyEmphasis,
     "depth low-frequency emphasis",
     "-dLowFreq",
     "setdepthlowfreqemphasis",
     K::Float,
     0.0,
     2.0,
     0.2,
     0.5,
     "weight of the broad shape against fine detail",
     {},
     BRONDEL_FIELD(float, depth.lowFrequencyEmphasis)},
    {P::AOLightFlatness,
     "AO light flatness",
     "-aoLightFlatness",
     "setambientlightflatness",
     K::Float,
     0.0,
     1.0,
     0.0,
     0.0,
     "0 lights from a dome, 1 from straight in front",
     {},
     BRONDEL_FIELD(float, ao.lightFlatness)},
    {P::AOConeGradient,
     "AO cone gradient",
     "-aoConeGrad",
     "setconegradient",
     K::Float,
     -0.05,
     0.05,
     0.01,
     0.01,
     "slope of the cone a probe must rise above to occlude",
     {},
     BRONDEL_FIELD(float, ao.coneGradient)},
    {P::AOBoxSize,
     "AO box size",
     "-aoBoxSize",
     "setboxsize",
     K::Int,
     1.0,
     100.0,
     5.0,
     5.0,
     "reach of the occlusion probes in pixels",
     {},
     BRONDEL_FIELD(int, ao.boxSize)},
    {P::AOStepSize,
     "AO step size",
     "-aoStepSize",
     "setstepsize",
     K::Int,
     1.0,
     10.0,
     1.0,
     1.0,
     "pixels between probes: larger is faster and coarser",
     {},
     BRONDEL_FIELD(int, ao.stepSize)},
    {P::PaletteHeight,
     "palette height",
     "-pHeight",
     nullptr,
     K::Int,
     4.0,
     512.0,
     32.0,
     32.0,
     "rows of the palette map, one per light level",
     {},
     BRONDEL_FIELD(int, palette.height)},
    {P::PaletteSampleLighting,
     "palette samples lighting",
     "-pSampleLighting",
     nullptr,
     K::Flag,
     0.0,
     1.0,
     0.0,
     0.0,
     "shade the palette's rows from the diffuse colours instead of a plain ramp",
     {},
     BRONDEL_FLAG(palette.sampleLighting)},
    {P::AnisotropyExpandCount,
     "anisotropy expand count",
     "-anisoExpandCount",
     nullptr,
     K::Int,
     1.0,
     10.0,
     3.0,
     3.0,
     "smoothing passes over the flow directions",
     {},
     BRONDEL_FIELD(int, anisotropy.expandCount)},
    {P::AnisotropyOutputType,
     "anisotropy format",
     "-anisoType",
     nullptr,
     K::Choice,
     0.0,
     2.0,
     0.0,
     0.0,
     "how the direction is stored: vector, doubleVector or angle",
     {"vector", "doubleVector", "angle"},
     BRONDEL_FIELD(int, anisotropy.outputType)},
}};

#undef BRONDEL_FIELD
#undef BRONDEL_FLAG

GenerationParameters Defaults(double ParameterDescription::*which)
{
    GenerationParameters parameters;
    for (const ParameterDescription& description : kTable)
        description.set(parameters, description.*which);
    return parameters;
}
} // namespace

const std::array<ParameterDescription, kGenerationParameterCount>& GenerationParameterTable()
{
    return kTable;
}

const ParameterDescription& DescribeParameter(GenerationParameter id)
{
    return kTable.at(static_cast<std::size_t>(id));
}

const ParameterDescription* FindParameterByOption(const std::string& option)
{
    for (const ParameterDescription& description : kTable)
        if (description.batchOption != nullptr && option == description.batchOption)
            return &description;
    return nullptr;
}

const ParameterDescription* FindParameterByTestbedWord(const std::string& word)
{
    for (const ParameterDescription& description : kTable)
        if (description.testbedWord != nullptr && word == description.testbedWord)
            return &description;
    return nullptr;
}

GenerationParameters InteractiveDefaults()
{
    return Defaults(&ParameterDescription::interactiveDefault);
}

GenerationParameters BatchDefaults()
{
    return Defaults(&ParameterDescription::batchDefault);
}
