#include "sets/BrondelCore.h"

#include "cli/CommandLineArgumentSet.h"
#include "core/Image.h"
#include "processing/ImageProcessor.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <iostream>
#include <locale>
#include <sstream>

namespace {
struct OutputOption
{
    const char* option;
    ImageType type;
    const char* description;
};

constexpr std::array<OutputOption, 8> kOutputOptions = {{
    {"-nSave", ImageType::Normal, "normal map"},
    {"-noSave", ImageType::NormalOpacity, "normal map with opacity"},
    {"-dSave", ImageType::Depth, "depth map"},
    {"-ndSave", ImageType::NormalDepth, "normal map with depth"},
    {"-aoSave", ImageType::AO, "ambient occlusion map"},
    {"-aSave", ImageType::Aniso, "anisotropy map"},
    {"-pSave", ImageType::Palette, "palette map"},
    {"-iSave", ImageType::Index, "index map"},
}};

// The outputs one batch run was asked for, where each goes, and whether each got written. Every
// output that does not reach its file is reported on standard error and makes the run fail.
class BatchOutputs
{
public:
    BatchOutputs(const CommandLineArgumentSet& arguments, const ImageSet& set, const SuffixSet& suffixes)
    {
        for (const OutputOption& output : kOutputOptions)
        {
            if (!arguments.HasArgument(output.option))
                continue;
            requested[output.type] = true;
            // The filename is optional: absent, empty or another option means the set's default name.
            std::string name;
            try
            {
                name = arguments.GetStringArg(output.option);
            }
            catch (const Exception_CLI&)
            {}
            filenames[output.type] = name.empty() ? set.GetFilenameOfType(output.type, suffixes) : name;
        }
    }

    bool Requested(ImageType type) const { return requested[type]; }
    bool AnyRequested() const
    {
        for (const bool wanted : requested)
            if (wanted)
                return true;
        return false;
    }

    // Maps already in the set's folder are loaded as inputs; only what this run writes over them counts
    // as generated, so a failed generator never saves a stale file under a fresh name.
    void RememberLoadedImages(const ImageProcessor& processor)
    {
        for (int type = 0; type < kImageTypeCount; ++type)
        {
            const Image* image = processor.GetImage(static_cast<ImageType>(type));
            loadedRevisions[static_cast<std::size_t>(type)] = image ? image->GetRevision() : 0;
        }
    }

    void Fail(ImageType type, const std::string& reason)
    {
        if (!requested[type])
            return;
        std::cerr << "Couldn't save \"" << filenames[type] << "\": " << reason << std::endl;
        ++failures;
    }

    void FailAll(std::initializer_list<ImageType> types, const std::string& reason)
    {
        for (const ImageType type : types)
            Fail(type, reason);
    }

    void Save(const ImageProcessor& processor, ImageType type)
    {
        if (!requested[type])
            return;
        const Image* image = processor.GetImage(type);
        if (!image || !processor.IsLoaded(type) ||
            image->GetRevision() == loadedRevisions[static_cast<std::size_t>(type)])
        {
            Fail(type, std::string("the ") + Describe(type) + " could not be generated.");
            return;
        }
        std::string error;
        if (!image->SaveToDisk(filenames[type], &error))
            Fail(type, error);
    }

    int ExitStatus() const { return failures > 0 ? 1 : 0; }

private:
    static const char* Describe(ImageType type)
    {
        for (const OutputOption& output : kOutputOptions)
            if (output.type == type)
                return output.description;
        return "image";
    }

    std::array<bool, kImageTypeCount> requested{};
    std::array<std::string, kImageTypeCount> filenames;
    std::array<std::uint64_t, kImageTypeCount> loadedRevisions{};
    int failures = 0;
};

// The batch settings: every option of the parameter table that is present and readable, the batch
// default for the rest. Unreadable and out-of-range values fall back silently, like absent ones.
GenerationParameters ReadBatchParameters(const CommandLineArgumentSet& arguments)
{
    GenerationParameters parameters = BatchDefaults();
    for (const ParameterDescription& description : GenerationParameterTable())
    {
        const char* option = description.batchOption;
        if (option == nullptr)
            continue;
        try
        {
            switch (description.kind)
            {
            case ParameterKind::Float:
                description.set(parameters,
                                arguments.GetFloatArg(option, static_cast<float>(description.minimum),
                                                      static_cast<float>(description.maximum)));
                break;
            case ParameterKind::Int:
                description.set(parameters, arguments.GetIntArg(option, static_cast<int>(description.minimum),
                                                                static_cast<int>(description.maximum)));
                break;
            case ParameterKind::Flag:
                description.set(parameters, arguments.HasArgument(option) ? 1.0 : 0.0);
                break;
            case ParameterKind::Choice:
            {
                const std::string word = arguments.GetStringArg(option);
                for (std::size_t position = 0; position < description.choices.size(); ++position)
                    if (word == description.choices[position])
                        description.set(parameters, static_cast<double>(position));
                break;
            }
            }
        }
        catch (const Exception_CLI&)
        {}
    }
    // Batch depth never has painted edges to respect, whatever the command line says.
    parameters.depth.respectSelectedEdges = false;
    return parameters;
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
    std::cout << "---Brondel CLI---" << std::endl;
    const CommandLineArgumentSet arguments(argv, argc);
    // The run has a processor of its own, logging to standard output, and leaves the loaded sets alone.
    LogOutput batchLog;
    ImageProcessor processor(messageCallback, rootPath, &batchLog);

    std::string source;
    try
    {
        source = arguments.GetStringArg("-source");
    }
    catch (const Exception_CLI&)
    {
        PrintCLIHelp();
        return 2;
    }
    std::cout << "File input set to \"" << source << "\"" << std::endl;

    const ImageSet set(WithExplicitFolder(source), suffixes, !IsRunningWindows());
    BatchOutputs outputs(arguments, set, suffixes);
    // Without a suffix there is no set: its member names would point at unrelated files.
    if (!set.isValid)
    {
        std::cerr << "\"" << source
                  << "\" has no image-type suffix (such as _Left, _Front or _Diffuse), so no image set was "
                     "loaded."
                  << std::endl;
        return outputs.AnyRequested() ? 1 : 0;
    }
    std::array<std::string, kImageTypeCount> filenames;
    for (int type = 0; type < kImageTypeCount; ++type)
        filenames[type] = set.GetFilenameOfType(static_cast<ImageType>(type), suffixes);
    processor.LoadImageSetByName(filenames, false);
    bool anyLoaded = false;
    for (int type = 0; type < kImageTypeCount; ++type)
        anyLoaded = anyLoaded || processor.IsLoaded(static_cast<ImageType>(type));
    if (!anyLoaded)
    {
        std::cerr << "None of the images of the set \"" << set.baseName << "\" could be read (such as \""
                  << set.GetFilenameOfType(ImageType::Left, suffixes) << "\")." << std::endl;
        return outputs.AnyRequested() ? 1 : 0;
    }
    outputs.RememberLoadedImages(processor);
    // The run's own settings: the core's interactive parameters stay as they were.
    const GenerationParameters batch = ReadBatchParameters(arguments);

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
            }
            if (depthMade && aoWanted)
            {
                const AOParameters& ao = batch.ao;
                RunStage(ImageType::AO, processor, [&] {
                    processor.GenerateAOFromDepth(ao.coneGradient, ao.boxSize, ao.stepSize, ao.lightFlatness);
                });
                outputs.Save(processor, ImageType::AO);
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
        RunStage(ImageType::Aniso, processor, [&] {
            processor.GenerateAnisotropyMap(batch.anisotropy.expandCount, batch.anisotropy.outputType);
        });
        outputs.Save(processor, ImageType::Aniso);
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
    return outputs.ExitStatus();
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
