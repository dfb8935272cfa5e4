#include "cli/Testbed.h"
#include "sets/BrondelCore.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(CLIParams, DefaultsAreLeftOutAndChangedValuesUseTheShortestNumberText)
{
    BrondelCore core(BRONDEL_RESOURCE_DIR);
    EXPECT_EQ(core.GetNormalCLIParams(), " -nFlatFix");
    // 100 steps is omitted although the batch reads a missing -dRefSteps as 50.
    EXPECT_EQ(core.GetDepthCLIParams(), " -dLowFreq 0.2");
    EXPECT_EQ(core.GetAOCLIParams(), " -aoConeGrad 0.01 -aoBoxSize 5 -aoLightFlatness 0");
    EXPECT_EQ(core.GetAnisotropyCLIParams(), " -anisoExpandCount 3 -anisoType vector");
    EXPECT_EQ(core.GetPaletteCLIParams(), " -pHeight 32");

    core.SetNormalRotationAmount(0.5f);
    core.SetNormalRotationDirection(45.0f);
    core.SetNormalBend(2.25f);
    core.SetAutofixFlatNormals(false);
    core.SetNormalsFlippedYStatus(true);
    // A rotation of 0.5 degrees or less is not worth writing.
    EXPECT_EQ(core.GetNormalCLIParams(), " -nBend 2.25 -nFlipY");
    core.SetNormalRotationAmount(12.0f);
    // The direction is written as -nRotDirect, a word the batch options do not read.
    EXPECT_EQ(core.GetNormalCLIParams(), " -nRotAmount 12 -nRotDirect 45 -nBend 2.25 -nFlipY");

    core.SetLowFrequencyEmphasis(1.5f);
    core.SetDepthRefinementSteps(50);
    EXPECT_EQ(core.GetDepthCLIParams(), " -dLowFreq 1.5 -dRefSteps 50");

    core.SetAOConeGradient(-0.035f);
    core.SetAOBoxSize(12);
    core.SetAOStepSize(3);
    core.SetAOLightFlatness(0.3f);
    EXPECT_EQ(core.GetAOCLIParams(), " -aoConeGrad -0.035 -aoBoxSize 12 -aoStepSize 3 -aoLightFlatness 0.3");

    core.SetAnisotropyExpandCount(7);
    const char* types[] = {"vector", "doubleVector", "angle", "vector"};
    for (int type = 0; type < 4; ++type)
    {
        core.SetAnisotropyOutputType(type);
        EXPECT_EQ(core.GetAnisotropyCLIParams(),
                  std::string(" -anisoExpandCount 7 -anisoType ") + types[type]);
    }

    core.SetPaletteHeight(128);
    core.SetPaletteSampleLighting(true);
    EXPECT_EQ(core.GetPaletteCLIParams(), " -pHeight 128 -pSampleLighting");
}

// Every setting a script can change is the one the window's copied command line writes back: a word
// wired to the wrong field would show here as a builder that does not move.
TEST(CLIParams, EveryScriptSettingReachesTheFieldItsOptionIsBuiltFrom)
{
    for (const ParameterDescription& description : GenerationParameterTable())
    {
        // Respecting painted edges has no batch counterpart to write back.
        if (description.testbedWord == nullptr ||
            description.id == GenerationParameter::DepthRespectSelectedEdges)
            continue;
        BrondelCore core(BRONDEL_RESOURCE_DIR);
        const auto everything = [&] {
            return core.GetNormalCLIParams() + core.GetDepthCLIParams() + core.GetAOCLIParams() +
                   core.GetAnisotropyCLIParams() + core.GetPaletteCLIParams();
        };
        // Rotation amount 0 writes nothing, so the direction shows only alongside an amount.
        if (description.id == GenerationParameter::NormalRotationDirection)
            core.SetNormalRotationAmount(10.0f);
        const std::string before = everything();
        std::ostringstream script;
        const double changed = description.kind == ParameterKind::Flag ? 1.0 - description.interactiveDefault
                                                                       : description.maximum;
        script << description.testbedWord << " " << changed << "\n";
        std::ostringstream out;
        std::ostringstream err;
        std::istringstream input(script.str());
        Testbed(core, out, err).RunScript(input);
        EXPECT_EQ(err.str(), "") << description.testbedWord;
        EXPECT_EQ(static_cast<float>(core.GetGenerationParameter(description.id)),
                  static_cast<float>(changed))
            << description.testbedWord;
        EXPECT_NE(everything(), before) << description.testbedWord;
    }
}
