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

// Options that are absent or unreadable take the batch default, silently.
float FloatOption(const CommandLineArgumentSet& arguments, const char* name, float min, float max,
                  float fallback)
{
    try
    {
        return arguments.GetFloatArg(name, min, max);
    }
    catch (const Exception_CLI&)
    {
        return fallback;
    }
}

int IntOption(const CommandLineArgumentSet& arguments, const char* name, int min, int max, int fallback)
{
    try
    {
        return arguments.GetIntArg(name, min, max);
    }
    catch (const Exception_CLI&)
    {
        return fallback;
    }
}

int AnisotropyTypeOption(const CommandLineArgumentSet& arguments)
{
    std::string word;
    try
    {
        word = arguments.GetStringArg("-anisoType");
    }
    catch (const Exception_CLI&)
    {
        return 0;
    }
    if (word == "doubleVector")
        return 1;
    if (word == "angle")
        return 2;
    return 0;
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
            normalBend = FloatOption(arguments, "-nBend", 0.1f, 5.0f, 1.0f);
            normalRotationDirection = FloatOption(arguments, "-nRotAngle", 0.0f, 360.0f, 0.0f);
            normalRotationAmount = FloatOption(arguments, "-nRotAmount", 0.0f, 90.0f, 0.0f);
            autofixFlatNormals = arguments.HasArgument("-nFlatFix");
            flipY = arguments.HasArgument("-nFlipY");
            processor.GenerateNormals(normalBend, normalRotationDirection, normalRotationAmount,
                                      autofixFlatNormals, flipY);
            outputs.Save(processor, ImageType::Normal);
            outputs.Save(processor, ImageType::NormalOpacity);

            if (depthWanted || aoWanted)
            {
                depthRefinementSteps = IntOption(arguments, "-dRefSteps", 1, 10000, 50);
                lowFrequencyEmphasis = FloatOption(arguments, "-dLowFreq", 0.0f, 2.0f, 0.5f);
                // Accepted for compatibility; batch depth never has selected edges to respect.
                respectSelectedEdges = false;
                processor.GenerateDepthMapFromNormals(depthRefinementSteps, false, lowFrequencyEmphasis);
                outputs.Save(processor, ImageType::Depth);
                outputs.Save(processor, ImageType::NormalDepth);
            }
            if (aoWanted)
            {
                aoConeGradient = FloatOption(arguments, "-aoConeGrad", -0.05f, 0.05f, 0.01f);
                aoBoxSize = IntOption(arguments, "-aoBoxSize", 1, 100, 5);
                aoStepSize = IntOption(arguments, "-aoStepSize", 1, 10, 1);
                aoLightFlatness = FloatOption(arguments, "-aoLightFlatness", 0.0f, 1.0f, 0.0f);
                processor.GenerateAOFromDepth(aoConeGradient, aoBoxSize, aoStepSize, aoLightFlatness);
                outputs.Save(processor, ImageType::AO);
            }
        }
    }

    if (outputs.Requested(ImageType::Aniso))
    {
        anisotropyExpandCount = IntOption(arguments, "-anisoExpandCount", 1, 10, 3);
        anisotropyOutputType = AnisotropyTypeOption(arguments);
        processor.GenerateAnisotropyMap(anisotropyExpandCount, anisotropyOutputType);
        outputs.Save(processor, ImageType::Aniso);
    }

    if (paletteWanted)
    {
        paletteHeight = IntOption(arguments, "-pHeight", 4, 512, 32);
        paletteSampleLighting = arguments.HasArgument("-pSampleLighting");
        if (processor.CreatePaletteFromDiffuseMap(paletteHeight, paletteSampleLighting))
            outputs.Save(processor, ImageType::Palette);
        else
            outputs.Fail(ImageType::Palette, "the palette could not be generated from the diffuse map.");
        if (outputs.Requested(ImageType::Index))
        {
            processor.GeneratePaletteIndex();
            outputs.Save(processor, ImageType::Index);
        }
    }
    return outputs.ExitStatus();
}

std::string BrondelCore::GetNormalCLIParams() const
{
    std::ostringstream text = NumberStream();
    // The direction goes out as -nRotDirect, which the batch options never read (they read -nRotAngle),
    // so a copied command line loses the rotation direction. Known, and kept as it is.
    if (normalRotationAmount > 0.5f)
        text << " -nRotAmount " << normalRotationAmount << " -nRotDirect " << normalRotationDirection;
    if (normalBend != 1.0f)
        text << " -nBend " << normalBend;
    if (autofixFlatNormals)
        text << " -nFlatFix";
    if (flipY)
        text << " -nFlipY";
    return text.str();
}

std::string BrondelCore::GetDepthCLIParams() const
{
    std::ostringstream text = NumberStream();
    text << " -dLowFreq " << lowFrequencyEmphasis;
    // 100 steps, the interactive default, is left out although the batch default is 50.
    if (depthRefinementSteps != 100)
        text << " -dRefSteps " << depthRefinementSteps;
    return text.str();
}

std::string BrondelCore::GetAOCLIParams() const
{
    std::ostringstream text = NumberStream();
    text << " -aoConeGrad " << aoConeGradient << " -aoBoxSize " << aoBoxSize;
    if (aoStepSize != 1)
        text << " -aoStepSize " << aoStepSize;
    text << " -aoLightFlatness " << aoLightFlatness;
    return text.str();
}

std::string BrondelCore::GetAnisotropyCLIParams() const
{
    std::ostringstream text = NumberStream();
    const char* type = anisotropyOutputType == 1   ? "doubleVector"
                       : anisotropyOutputType == 2 ? "angle"
                                                   : "vector";
    text << " -anisoExpandCount " << anisotropyExpandCount << " -anisoType " << type;
    return text.str();
}

std::string BrondelCore::GetPaletteCLIParams() const
{
    std::ostringstream text = NumberStream();
    text << " -pHeight " << paletteHeight;
    if (paletteSampleLighting)
        text << " -pSampleLighting";
    return text.str();
}
