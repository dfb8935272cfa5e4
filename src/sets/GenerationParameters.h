#pragma once
#include <array>
#include <string>
#include <vector>

// The arguments of every generator, grouped by generator. A value of this type is the core's current
// settings in the window and a batch run's own settings on the command line. The defaults live in the
// table below, not here: start from InteractiveDefaults() or BatchDefaults().
struct NormalParameters
{
    float bend{};
    float rotationDirection{}; // degrees
    float rotationAmount{};    // degrees
    bool autofixFlatNormals{};
    bool flipY{};
};

struct DepthParameters
{
    int refinementSteps{};
    bool respectSelectedEdges{};
    float lowFrequencyEmphasis{};
};

struct AOParameters
{
    float lightFlatness{};
    float coneGradient{};
    int boxSize{};
    int stepSize{};
};

struct PaletteParameters
{
    int height{};
    bool sampleLighting{};
};

struct AnisotropyParameters
{
    int expandCount{};
    int outputType{}; // 0 vector, 1 angle-doubled vector, 2 angle
};

struct GenerationParameters
{
    NormalParameters normals;
    DepthParameters depth;
    AOParameters ao;
    PaletteParameters palette;
    AnisotropyParameters anisotropy;
};

// Every generation parameter, once. The batch reader, the test bed, the parameter-string builders,
// the batch help text and the window's controls all take names, ranges and defaults from here.
enum class GenerationParameter
{
    NormalBend,
    NormalRotationDirection,
    NormalRotationAmount,
    NormalFixFlat,
    NormalFlipY,
    DepthRefinementSteps,
    DepthRespectSelectedEdges,
    DepthLowFrequencyEmphasis,
    AOLightFlatness,
    AOConeGradient,
    AOBoxSize,
    AOStepSize,
    PaletteHeight,
    PaletteSampleLighting,
    AnisotropyExpandCount,
    AnisotropyOutputType,
};
inline constexpr int kGenerationParameterCount = 16;

enum class ParameterKind
{
    Float,
    Int,
    Flag,   // on the command line: present or absent
    Choice, // on the command line: one of `choices`, stored as its position
};

struct ParameterDescription
{
    GenerationParameter id;
    const char* name;        // for people: help text and messages
    const char* batchOption; // "-nBend"; null when the batch mode has none
    const char* testbedWord; // "setbentnormalsamount"; null when the test bed has none
    ParameterKind kind;
    double minimum; // inclusive; for flags 0, for choices 0
    double maximum; // inclusive; for flags 1, for choices the last position
    double interactiveDefault;
    double batchDefault; // used when the option is absent or unreadable
    const char* meaning;
    std::vector<const char*> choices; // Choice only, by position
    // Reading and writing the value in a parameter set, as a double: every float, int and bool here
    // survives the round trip exactly.
    double (*get)(const GenerationParameters&);
    void (*set)(GenerationParameters&, double);
};

const std::array<ParameterDescription, kGenerationParameterCount>& GenerationParameterTable();
const ParameterDescription& DescribeParameter(GenerationParameter id);
// Null when no parameter has that option or word.
const ParameterDescription* FindParameterByOption(const std::string& option);
const ParameterDescription* FindParameterByTestbedWord(const std::string& word);

// The settings a window starts with, and the ones a batch run starts from before reading its options.
GenerationParameters InteractiveDefaults();
GenerationParameters BatchDefaults();
