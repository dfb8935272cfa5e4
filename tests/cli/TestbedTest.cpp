#include "cli/Testbed.h"

#include "core/Image.h"
#include "support/TestImages.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <sstream>

namespace {
void WriteProfiles(const std::string& base)
{
    for (const char* suffix : {"_Left", "_Right", "_Top", "_Bottom"})
        MakeGrey(8, 8, [suffix](int x, int y) {
            return static_cast<float>((x + 2 * y + suffix[1]) % 8) / 7.0f;
        })->SaveToDisk(base + suffix + ".png");
}

bool Exists(const std::string& path)
{
    return QFileInfo::exists(QString::fromStdString(path));
}

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

TEST(Testbed, RecognitionIsExactAndOrdered)
{
    EXPECT_EQ(FindTestbedCommand("loadimageset"), 0);
    EXPECT_EQ(FindTestbedCommand("loadimage"), 1);
    EXPECT_EQ(FindTestbedCommand("attemptaogen"), 25);
    EXPECT_EQ(FindTestbedCommand("setaointensity"), 38);
    EXPECT_EQ(FindTestbedCommand("LoadImageSet"), -1);
    EXPECT_EQ(FindTestbedCommand("loadimages"), -1);
    EXPECT_EQ(FindTestbedCommand(""), 39);
}

TEST(Testbed, FakeMessageBoxPrintsCaptionTextAndEndMarker)
{
    testing::internal::CaptureStdout();
    FakeMessageBoxPrint("T", "C");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "MESSAGE BOX: C\nT\nend of message box\n");
}

TEST(Testbed, SettingsTakeValidArgumentsAndRefuseBadOnesWithoutChange)
{
    Bench bench;
    Testbed& testbed = *bench.bed;
    BrondelCore& core = bench.core;
    EXPECT_TRUE(testbed.HandleTestbedInput("setboxsize 7"));
    EXPECT_TRUE(testbed.HandleTestbedInput("setconegradient -0.02"));
    EXPECT_TRUE(testbed.HandleTestbedInput("setflipy 1"));
    EXPECT_TRUE(testbed.HandleTestbedInput("setdepthrefinementsteps 10000"));
    EXPECT_EQ(core.GetAOBoxSize(), 7);
    EXPECT_FLOAT_EQ(core.GetAOConeGradient(), -0.02f);
    EXPECT_TRUE(core.GetNormalsFlippedYStatus());
    EXPECT_EQ(core.GetDepthRefinementSteps(), 10000);

    for (const char* line : {"setboxsize abc", "setboxsize 101", "setboxsize", "setboxsize 3 4",
                             "setconegradient 0.06", "setflipy maybe", "setdepthrefinementsteps 0"})
        EXPECT_FALSE(testbed.HandleTestbedInput(line)) << line;
    EXPECT_EQ(core.GetAOBoxSize(), 7);
    EXPECT_FLOAT_EQ(core.GetAOConeGradient(), -0.02f);
    EXPECT_TRUE(core.GetNormalsFlippedYStatus());
    EXPECT_EQ(core.GetDepthRefinementSteps(), 10000);
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
                              "\n"
                              "setprocessallimagesets 1\n"
                              "attemptnormalmapgeneration\n"
                              "savenormalmap " +
                              folder.File("current.png") +
                              "\n"
                              "setsavealloutputsets 1\n"
                              "saveoutputset Normal\n"
                              "examineimage Normal\n");
    EXPECT_EQ(testbed.RunScript(script), 0) << bench.err.str();
    EXPECT_TRUE(Exists(folder.File("A_Normal.png")));
    EXPECT_TRUE(Exists(folder.File("B_Normal.png")));
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
