#include "cli/Testbed.h"

#include "core/Image.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

namespace {
struct Bench
{
    BrondelCore core{BRONDEL_RESOURCE_DIR};
    std::ostringstream out;
    std::ostringstream err;
    std::vector<std::string> messages;
    std::unique_ptr<Testbed> bed;

    Bench()
    {
        // Installed before the test bed wraps it, as a front end would.
        core.SetMessageCallback([this](std::string text, std::string) { messages.push_back(text); });
        bed = std::make_unique<Testbed>(core, out, err);
    }
};
} // namespace

TEST(Testbed, RecognitionIsExactAndTheMessageBoxIsPrinted)
{
    EXPECT_EQ(FindTestbedCommand("loadimageset"), 0);
    EXPECT_EQ(FindTestbedCommand("loadimage"), 1);
    EXPECT_EQ(FindTestbedCommand("setaointensity"), 38);
    EXPECT_EQ(FindTestbedCommand("LoadImageSet"), -1);
    EXPECT_EQ(FindTestbedCommand("loadimages"), -1);
    EXPECT_EQ(FindTestbedCommand(""), 39); // the first empty slot

    testing::internal::CaptureStdout();
    FakeMessageBoxPrint("T", "C");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "MESSAGE BOX: C\nT\nend of message box\n");
}

TEST(Testbed, SettingsTakeValidArgumentsAndRefuseBadOnesWithoutChange)
{
    Bench bench;
    Testbed& testbed = *bench.bed;
    const BrondelCore& core = bench.core;
    const auto settings = [&] {
        return std::tuple(core.GetAOBoxSize(), core.GetAOConeGradient(), core.GetNormalsFlippedYStatus(),
                          core.GetDepthRefinementSteps());
    };
    for (const char* line :
         {"setboxsize 7", "setconegradient -0.02", "setflipy 1", "setdepthrefinementsteps 10000"})
        EXPECT_TRUE(testbed.HandleTestbedInput(line)) << line;
    EXPECT_EQ(settings(), std::tuple(7, -0.02f, true, 10000));

    for (const char* line : {"setboxsize abc", "setboxsize 101", "setboxsize", "setboxsize 3 4",
                             "setconegradient 0.06", "setflipy maybe", "setdepthrefinementsteps 0"})
        EXPECT_FALSE(testbed.HandleTestbedInput(line)) << line;
    EXPECT_EQ(settings(), std::tuple(7, -0.02f, true, 10000));
    const std::string errors = bench.err.str();
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 7) << errors;

    // A line starting with a space lands on an empty slot; unknown words and blank lines are ignored.
    for (const char* line : {" setboxsize 9", "SetBoxSize 9", "", "   ", "# setboxsize 9"})
        EXPECT_TRUE(testbed.HandleTestbedInput(line)) << line;
    EXPECT_EQ(core.GetAOBoxSize(), 7);

    EXPECT_TRUE(testbed.HandleTestbedInput("setupperambient 1 0 0"));
    EXPECT_NE(bench.out.str().find("setupperambient: not available in batch mode"), std::string::npos);
}

TEST(Testbed, ScriptedJobOverSeveralSets)
{
    TempFolder folder;
    WriteProfiles(folder.File("A"));
    WriteProfiles(folder.File("B"));
    Bench bench;
    Testbed& testbed = *bench.bed;
    EXPECT_FALSE(testbed.HandleTestbedInput("attemptnormalmapgeneration")) << "no set loaded yet";
    EXPECT_FALSE(testbed.HandleTestbedInput("loadimageset " + folder.File("A_Middle.png")));
    EXPECT_EQ(bench.messages.size(), 1u);
    EXPECT_EQ(bench.core.GetImageSetCount(), 0);

    std::istringstream script("loadimageset " + folder.File("A_Left.png") + " " + folder.File("B_Top.png") +
                              "\nsetprocessallimagesets 1\nattemptnormalmapgeneration\nsavenormalmap " +
                              folder.File("current.png") +
                              "\nsetsavealloutputsets 1\nsaveoutputset Normal\nexamineimage Normal\n");
    EXPECT_EQ(testbed.RunScript(script), 0) << bench.err.str();
    EXPECT_TRUE(FileExists(folder.File("A_Normal.png")) && FileExists(folder.File("B_Normal.png")));
    EXPECT_TRUE(SameBytes(Image(folder.File("current.png")), Image(folder.File("B_Normal.png"))));
    EXPECT_EQ(bench.core.GetCurrentIndex(), 1);
    EXPECT_NE(bench.out.str().find("Normal: 8x8, loaded or generated"), std::string::npos) << bench.out.str();

    // A set whose files are all missing is still added (with placeholders), but the line fails; so does
    // generating for it, whether alone or with the others, as the core reports a message.
    EXPECT_FALSE(testbed.HandleTestbedInput("loadimageset " + folder.File("C_Left.png")));
    EXPECT_EQ(bench.core.GetImageSetCount(), 3);
    EXPECT_FALSE(testbed.HandleTestbedInput("attemptnormalmapgeneration"));
    EXPECT_TRUE(testbed.HandleTestbedInput("setprocessallimagesets 0"));
    EXPECT_FALSE(testbed.HandleTestbedInput("attemptnormalmapgeneration"));
    EXPECT_FALSE(testbed.HandleTestbedInput("savedepthmap"));
    EXPECT_FALSE(testbed.HandleTestbedInput("loadimage " + folder.File("none.png") + " Left"));
    EXPECT_FALSE(testbed.HandleTestbedInput("clearimage Sideways"));
}
