#include "sets/BrondelCore.h"

#include "cli/BatchOptions.h"
#include "cli/BatchOutputs.h"
#include "cli/CommandLineArgumentSet.h"
#include "cli/QuietOutput.h"
#include "cli/SetMembers.h"
#include "processing/ImageProcessor.h"

#include <QDir>

#include <algorithm>
#include <bitset>
#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace {
// Prints each warning on standard error; under -strict they are errors, and the answer is true: stop.
bool ReportWarnings(const std::vector<std::string>& warnings, bool strict)
{
    for (const std::string& warning : warnings)
        std::cerr << (strict ? "Error: " : "Warning: ") << warning << std::endl;
    return strict && !warnings.empty();
}

// One generation stage of the run inside the failure boundary: what goes wrong is told on standard error
// and the stage counts as not made, so the stages that build on it are skipped.
bool RunStage(ImageType output, const ImageProcessor& processor, const std::function<void()>& generate)
{
    const auto [width, height] = processor.GetGenerationSize(output);
    const auto report = [](std::string text, std::string caption) {
        std::cerr << caption << ": " << text << std::endl;
    };
    return GuardGeneration(DescribeMap(output), width, height, report, generate) ==
           GenerationOutcome::Finished;
}

// The normals read nothing but the red channel of these, and no other map reads them at all.
const std::bitset<kImageTypeCount> kLightingProfiles = [] {
    std::bitset<kImageTypeCount> profiles;
    for (const ImageType type :
         {ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right, ImageType::Front})
        profiles.set(type);
    return profiles;
}();

// The members whose pixels the requested maps are made from. The rest are only measured: reading a
// whole sheet that nothing will look at is most of the time of a run that asks for one small map.
std::bitset<kImageTypeCount> MembersToDecode(const BatchOutputs& outputs)
{
    std::bitset<kImageTypeCount> decode;
    const auto any = [&](std::initializer_list<ImageType> types) {
        return std::any_of(types.begin(), types.end(),
                           [&](ImageType type) { return outputs.Requested(type); });
    };
    // Normals are made from the profiles, masked by the diffuse alpha, which also masks depth and AO
    // and is the alpha of the normal-opacity map; every later map of the chain is made from them.
    if (any({ImageType::Normal, ImageType::NormalOpacity, ImageType::Depth, ImageType::NormalDepth,
             ImageType::AO}))
        for (const ImageType type : {ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right,
                                     ImageType::Front, ImageType::Diffuse})
            decode.set(type);
    // The flow map is decoded only when its own stage comes, into memory the maps before it gave back.
    if (any({ImageType::Palette, ImageType::Index}))
        decode.set(ImageType::Diffuse);
    // Should the palette not be made, the index map is drawn with the set's own.
    if (outputs.Requested(ImageType::Index))
        decode.set(ImageType::Palette);
    return decode;
}

void Release(ImageProcessor& processor, std::initializer_list<ImageType> types)
{
    for (const ImageType type : types)
        processor.ReleaseImage(type);
}

const char* Option(GenerationParameter id)
{
    return DescribeParameter(id).batchOption;
}

std::ostringstream NumberStream()
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}
} // namespace

void BrondelCore::PrintCLIHelp()
{
    for (const char* line :
         {"To select your input filename (and thus, the associated set of images) use:",
          "-source <input filename>",
          "Brondel will automatically generate the images necessary for what you want to save.",
          "Command line arguments necessary for a given creation can obtained with the",
          "\"copy params to clipboard\" buttons located in the UI.",
          "Full documentation of the Brondel CLI exists in HTMLHelp/BrondelManual.html."})
        std::cout << line << std::endl;
}

int BrondelCore::HandleCLIInstance(char** argv, int argc)
{
    const CommandLineArgumentSet arguments(argv, argc);
    const QuietOutput quiet(arguments.HasArgument("-quiet"));
    std::cout << "---Brondel CLI---" << std::endl;
    // The run has a processor of its own, logging to standard output, and leaves the loaded sets alone.
    LogOutput batchLog;
    ImageProcessor processor(messageCallback, rootPath, &batchLog);
    processor.SetBatchMode(true);

    std::string source;
    try
    {
        source = arguments.GetStringArg("-source");
    }
    catch (const Exception_CLI&)
    {
        PrintCLIHelp();
        std::cerr << "No input: name any one file of the image set with -source.\n"
                  << BatchOptions::UsageText() << "BrondelCLI --help lists every option." << std::endl;
        return 2;
    }
    std::cout << "File input set to \"" << source << "\"" << std::endl;

    // Everything about the command line is known before anything is loaded; under -strict a single
    // doubt stops the run here.
    const bool strict = arguments.HasArgument("-strict");
    const BatchOptions options(arguments);
    std::vector<std::string> warnings = options.CheckWords();
    // The run's own settings: the core's interactive parameters stay as they were.
    const GenerationParameters batch = options.ReadParameters(warnings);
    std::string outputFolder;
    if (arguments.HasArgument("-outDir"))
    {
        try
        {
            outputFolder = arguments.GetStringArg("-outDir");
        }
        catch (const Exception_CLI&)
        {}
        if (outputFolder.empty())
            warnings.push_back("-outDir has no folder; the maps go beside the inputs");
    }
    if (ReportWarnings(warnings, strict))
        return 2;

    const ImageSet set(WithExplicitFolder(source), suffixes, !IsRunningWindows());
    BatchOutputs outputs(arguments, set, suffixes, outputFolder);
    // Without a suffix there is no set: its member names would point at unrelated files.
    if (!set.isValid)
    {
        std::cerr << "\"" << source
                  << "\" has no image-type suffix (such as _Left, _Front or _Diffuse), so no image set was "
                     "loaded."
                  << std::endl;
        return outputs.AnyRequested() ? 1 : 0;
    }
    SetMembers members(set, suffixes, source);
    processor.LoadImageSetByName(members.FilesToLoad(), false, MembersToDecode(outputs), kLightingProfiles);
    members.Examine(processor);
    for (const std::string& line : members.Unreadable())
        std::cerr << line << std::endl;
    std::vector<std::string> setWarnings = members.Warnings();
    for (const std::string& warning : outputs.FormatWarnings())
        setWarnings.push_back(warning);
    const bool stopForWarnings = ReportWarnings(setWarnings, strict);
    for (const std::string& note : outputs.Notes())
        std::cerr << note << std::endl;
    // Shown whenever something about the set was reported, or a map could not be made from it, so the
    // messages can be read against what was really there.
    const bool summaryShown =
        !members.Unreadable().empty() || !setWarnings.empty() || !outputs.Notes().empty();
    if (summaryShown)
        std::cerr << members.Summary() << std::endl;
    int loadStatus = members.Unreadable().empty() ? 0 : 1;

    bool anyLoaded = false;
    for (int type = 0; type < kImageTypeCount; ++type)
        anyLoaded = anyLoaded || processor.IsLoaded(static_cast<ImageType>(type)) ||
                    processor.IsSizedOnly(static_cast<ImageType>(type));
    if (!anyLoaded)
    {
        std::cerr << "None of the images of the set \"" << set.baseName << "\" could be read (such as \""
                  << set.GetFilenameOfType(ImageType::Left, suffixes) << "\")." << std::endl;
        return outputs.AnyRequested() ? 1 : loadStatus;
    }
    if (stopForWarnings)
        return 2;

    // Every target is checked before the first generator runs: a slip in a name must cost nothing.
    std::vector<std::string> refusals = outputs.CheckNames(members);
    if (refusals.empty() && !outputFolder.empty() && outputs.AnyRequested() &&
        !QDir().mkpath(QString::fromUtf8(outputFolder.c_str())))
        refusals.push_back("Couldn't create the output folder \"" + outputFolder + "\".");
    if (refusals.empty())
        refusals = outputs.CheckTargets();
    if (!refusals.empty())
    {
        for (const std::string& line : refusals)
            std::cerr << line << std::endl;
        std::cerr << "Nothing was generated or written." << std::endl;
        return 1;
    }
    outputs.RememberLoadedImages(processor);

    const bool normalsWanted =
        outputs.Requested(ImageType::Normal) || outputs.Requested(ImageType::NormalOpacity);
    const bool depthWanted = outputs.Requested(ImageType::Depth) || outputs.Requested(ImageType::NormalDepth);
    const bool aoWanted = outputs.Requested(ImageType::AO);
    const bool paletteWanted = outputs.Requested(ImageType::Palette) || outputs.Requested(ImageType::Index);

    // Normals, then depth from them, then AO from the depth: one chain, all skipped without usable profiles.
    if (normalsWanted || depthWanted || aoWanted)
    {
        if (!processor.SufficientLightingProfiles())
            outputs.FailAll({ImageType::Normal, ImageType::NormalOpacity, ImageType::Depth,
                             ImageType::NormalDepth, ImageType::AO},
                            "the set needs a left or right lighting profile and a top or bottom one.");
        else if (!processor.DoLightingProfilesMatch())
            outputs.FailAll({ImageType::Normal, ImageType::NormalOpacity, ImageType::Depth,
                             ImageType::NormalDepth, ImageType::AO},
                            "the set's lighting profiles differ in resolution.");
        else
        {
            const NormalParameters& normals = batch.normals;
            const bool normalsMade = RunStage(ImageType::Normal, processor, [&] {
                processor.GenerateNormals(normals.bend, normals.rotationDirection, normals.rotationAmount,
                                          normals.autofixFlatNormals, normals.flipY);
            });
            outputs.Save(processor, ImageType::Normal);
            outputs.Save(processor, ImageType::NormalOpacity);
            // What no later stage reads is let go as soon as it is written: the run's peak memory is
            // what is held at once, and a big sheet holds a dozen images.
            Release(processor, {ImageType::NormalOpacity});

            bool depthMade = false;
            if (normalsMade && (depthWanted || aoWanted))
            {
                depthMade = RunStage(ImageType::Depth, processor, [&] {
                    processor.GenerateDepthMapFromNormals(batch.depth.refinementSteps,
                                                          batch.depth.respectSelectedEdges,
                                                          batch.depth.lowFrequencyEmphasis);
                });
                outputs.Save(processor, ImageType::Depth);
                outputs.Save(processor, ImageType::NormalDepth);
                // AO is made from the depth map alone.
                Release(processor, {ImageType::Normal, ImageType::NormalDepth});
                processor.ReleaseWorkingArrays();
            }
            if (depthMade && aoWanted)
            {
                const AOParameters& ao = batch.ao;
                RunStage(ImageType::AO, processor, [&] {
                    processor.GenerateAOFromDepth(ao.coneGradient, ao.boxSize, ao.stepSize, ao.lightFlatness);
                });
                outputs.Save(processor, ImageType::AO);
                Release(processor, {ImageType::AO, ImageType::Depth});
            }
            if (!normalsMade)
                outputs.FailAll({ImageType::Depth, ImageType::NormalDepth, ImageType::AO},
                                "the normal map it needs could not be generated.");
            else if (!depthMade)
                outputs.Fail(ImageType::AO, "the depth map it needs could not be generated.");
        }
    }

    if (outputs.Requested(ImageType::Aniso))
    {
        if (processor.IsSizedOnly(ImageType::Flow))
        {
            processor.LoadRedChannelByName(ImageType::Flow, members.FilesToLoad()[ImageType::Flow]);
            const std::string unreadable = members.ExamineLate(ImageType::Flow, processor);
            if (!unreadable.empty())
            {
                std::cerr << unreadable << std::endl;
                loadStatus = 1;
            }
        }
        RunStage(ImageType::Aniso, processor, [&] {
            processor.GenerateAnisotropyMap(batch.anisotropy.expandCount, batch.anisotropy.outputType);
        });
        outputs.Save(processor, ImageType::Aniso);
        Release(processor, {ImageType::Aniso, ImageType::Flow});
        processor.ReleaseWorkingArrays();
    }

    if (paletteWanted)
    {
        bool paletteMade = false;
        RunStage(ImageType::Palette, processor, [&] {
            paletteMade =
                processor.CreatePaletteFromDiffuseMap(batch.palette.height, batch.palette.sampleLighting);
        });
        if (paletteMade)
            outputs.Save(processor, ImageType::Palette);
        else
            outputs.Fail(ImageType::Palette, "the palette could not be generated from the diffuse map.");
        if (outputs.Requested(ImageType::Index))
        {
            RunStage(ImageType::Index, processor, [&] { processor.GeneratePaletteIndex(); });
            outputs.Save(processor, ImageType::Index);
        }
    }
    if (outputs.ExitStatus() != 0 && !summaryShown)
        std::cerr << members.Summary() << std::endl;
    return std::max(outputs.ExitStatus(), loadStatus);
}

std::string BrondelCore::GetNormalCLIParams() const
{
    const NormalParameters& normals = parameters.normals;
    std::ostringstream text = NumberStream();
    // The direction goes out as -nRotDirect, which the batch options never read (they read -nRotAngle),
    // so a copied command line loses the rotation direction. Known, and kept as it is.
    if (normals.rotationAmount > 0.5f)
        text << " " << Option(GenerationParameter::NormalRotationAmount) << " " << normals.rotationAmount
             << " -nRotDirect " << normals.rotationDirection;
    if (normals.bend != 1.0f)
        text << " " << Option(GenerationParameter::NormalBend) << " " << normals.bend;
    if (normals.autofixFlatNormals)
        text << " " << Option(GenerationParameter::NormalFixFlat);
    if (normals.flipY)
        text << " " << Option(GenerationParameter::NormalFlipY);
    return text.str();
}

std::string BrondelCore::GetDepthCLIParams() const
{
    std::ostringstream text = NumberStream();
    text << " " << Option(GenerationParameter::DepthLowFrequencyEmphasis) << " "
         << parameters.depth.lowFrequencyEmphasis;
    // 100 steps, the interactive default, is left out although the batch default is 50.
    if (parameters.depth.refinementSteps != 100)
        text << " " << Option(GenerationParameter::DepthRefinementSteps) << " "
             << parameters.depth.refinementSteps;
    return text.str();
}

std::string BrondelCore::GetAOCLIParams() const
{
    const AOParameters& ao = parameters.ao;
    std::ostringstream text = NumberStream();
    text << " " << Option(GenerationParameter::AOConeGradient) << " " << ao.coneGradient << " "
         << Option(GenerationParameter::AOBoxSize) << " " << ao.boxSize;
    if (ao.stepSize != 1)
        text << " " << Option(GenerationParameter::AOStepSize) << " " << ao.stepSize;
    text << " " << Option(GenerationParameter::AOLightFlatness) << " " << ao.lightFlatness;
    return text.str();
}

std::string BrondelCore::GetAnisotropyCLIParams() const
{
    const ParameterDescription& type = DescribeParameter(GenerationParameter::AnisotropyOutputType);
    const int position = parameters.anisotropy.outputType;
    // Any type outside the known ones is written as the first, "vector".
    const bool known = position >= 0 && position < static_cast<int>(type.choices.size());
    std::ostringstream text = NumberStream();
    text << " " << Option(GenerationParameter::AnisotropyExpandCount) << " "
         << parameters.anisotropy.expandCount << " " << type.batchOption << " "
         << type.choices[known ? static_cast<std::size_t>(position) : 0];
    return text.str();
}

std::string BrondelCore::GetPaletteCLIParams() const
{
    std::ostringstream text = NumberStream();
    text << " " << Option(GenerationParameter::PaletteHeight) << " " << parameters.palette.height;
    if (parameters.palette.sampleLighting)
        text << " " << Option(GenerationParameter::PaletteSampleLighting);
    return text.str();
}
