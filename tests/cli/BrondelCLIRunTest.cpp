// End-to-end runs of the real BrondelCLI executable, with no display, on small synthetic sets.
#include "cli/CLIProcess.h"
#include "core/Image.h"
#include "support/TestImages.h"

#include <QFile>

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace {
using CLIResult = CLIProcessResult;

CLIResult RunCLI(const std::string& folder, const std::vector<std::string>& words,
                 const QByteArray& input = {}, const QString& threads = {})
{
    QStringList environment;
    if (!threads.isEmpty())
        environment << QStringLiteral("BRONDEL_THREADS=") + threads;
    return RunBrondelCLI(folder, words, environment, 60000, input);
}

// A lit dome with a banded diffuse and a flow map; with leftOnly, just its left profile.
void WriteDomeSet(const std::string& base, bool leftOnly = false)
{
    WriteDome(base);
    if (leftOnly)
        for (const char* suffix : {"_Right", "_Top", "_Bottom", "_Front", "_Diffuse", "_Flow"})
            QFile::remove(QString::fromStdString(base + suffix + ".png"));
}

const std::map<std::string, std::string> kOutputSuffixes = {
    {"-nSave", "_Normal"}, {"-noSave", "_NormalOpacity"}, {"-dSave", "_Depth"},   {"-ndSave", "_NormalDepth"},
    {"-aoSave", "_AO"},    {"-aSave", "_Aniso"},          {"-pSave", "_Palette"}, {"-iSave", "_Index"}};

void RemoveOutputs(const TempFolder& folder)
{
    for (const auto& [option, suffix] : kOutputSuffixes)
        QFile::remove(QString::fromStdString(folder.File("X" + suffix + ".png")));
}
} // namespace

TEST(BrondelCLIRun, EachSaveOptionWritesExactlyItsMapAndTogetherTheSameBytes)
{
    TempFolder folder;
    WriteDomeSet(folder.File("X"));
    // Asking for nothing reads no pixels, yet the set is found and nothing is complained about.
    const CLIResult nothing = RunCLI(folder.Path(), {"-source", "X_Left.png"});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_TRUE(nothing.err.empty()) << nothing.err;

    std::map<std::string, QByteArray> alone;
    for (const auto& [option, suffix] : kOutputSuffixes)
    {
        SCOPED_TRACE(option);
        RemoveOutputs(folder);
        const CLIResult run = RunCLI(folder.Path(), {"-source", "X_Left.png", option});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out.rfind("---Brondel CLI---\nFile input set to \"X_Left.png\"\n", 0), 0u) << run.out;
        for (const auto& [otherOption, otherSuffix] : kOutputSuffixes)
            EXPECT_EQ(FileExists(folder.File("X" + otherSuffix + ".png")), otherOption == option)
                << otherSuffix;
        alone[option] = FileBytes(folder.File("X" + suffix + ".png"));
    }
    // The normal-with-opacity map carries the diffuse alpha; a plain copy of the normal map would not.
    EXPECT_NE(alone["-noSave"], alone["-nSave"]);

    // An explicit name replaces the default one and leaves the next option alone.
    RemoveOutputs(folder);
    const CLIResult together =
        RunCLI(folder.Path(), {"-source", "X_Diffuse.png", "-nSave", "out.png", "-noSave", "-dSave",
                               "-ndSave", "-aoSave", "-aSave", "-pSave", "-iSave"});
    EXPECT_EQ(together.status, 0) << together.err;
    EXPECT_TRUE(together.err.empty()) << together.err;
    EXPECT_FALSE(FileExists(folder.File("X_Normal.png")));
    for (const auto& [option, suffix] : kOutputSuffixes)
        EXPECT_EQ(FileBytes(folder.File(option == "-nSave" ? "out.png" : "X" + suffix + ".png")),
                  alone[option])
            << option;

    // From another working directory with an absolute source; the extension picks the file format.
    const CLIResult absolute =
        RunCLI("/", {"-source", folder.File("X_Left.png"), "-aoSave", folder.File("ao.bmp")});
    EXPECT_EQ(absolute.status, 0) << absolute.err;
    EXPECT_TRUE(FileBytes(folder.File("ao.bmp")).startsWith("BM"));
    EXPECT_EQ(Image(folder.File("ao.bmp")).GetWidth(), 16);
}

TEST(BrondelCLIRun, UnreadableOptionValuesFallBackToTheBatchDefaults)
{
    TempFolder folder;
    WriteDomeSet(folder.File("X"));
    // The normal, depth and anisotropy maps of one run.
    const auto outputs = [&](std::vector<std::string> words) {
        RemoveOutputs(folder);
        words.insert(words.begin(), {"-source", "X_Left.png"});
        const CLIResult run = RunCLI(folder.Path(), words);
        EXPECT_EQ(run.status, 0) << run.err;
        return std::vector{FileBytes(folder.File("X_Normal.png")), FileBytes(folder.File("X_Depth.png")),
                           FileBytes(folder.File("X_Aniso.png"))};
    };
    const auto defaults = outputs({"-nSave", "-dSave", "-aSave", "-anisoType", "vector"});
    ASSERT_FALSE(defaults[0].isEmpty() || defaults[1].isEmpty() || defaults[2].isEmpty());
    // Batch depth defaults are 50 steps and emphasis 0.5, not the window's 100 and 0.2. The type word is
    // compared exactly: "Angle" is not "angle" and gives the plain vector format.
    EXPECT_EQ(outputs({"-nSave", "-nBend", "9", "-dSave", "-dRefSteps", "50", "-dLowFreq", "0.5", "-aSave",
                       "-anisoType", "Angle"}),
              defaults);
    EXPECT_EQ(outputs({"-nSave", "-nBend", "abc", "-dSave", "-dRefSteps", "0", "-dUseSil", "-aSave",
                       "-anisoType", "vector"}),
              defaults);
    const auto changed = outputs({"-nSave", "-nBend", "2", "-aSave", "-anisoType", "angle"});
    EXPECT_NE(changed[0], defaults[0]);
    EXPECT_NE(changed[2], defaults[2]);
    EXPECT_NE(outputs({"-dSave", "-dRefSteps", "100", "-dLowFreq", "0.2"})[1], defaults[1]);
}

TEST(BrondelCLIRun, FailuresExitNonZeroNameTheFileAndWriteNothing)
{
    TempFolder folder;
    WriteDomeSet(folder.File("L"), true);
    const CLIResult leftOnly = RunCLI(folder.Path(), {"-source", "L_Left.png", "-nSave"});
    EXPECT_EQ(leftOnly.status, 1);
    EXPECT_NE(leftOnly.err.find("L_Normal.png"), std::string::npos) << leftOnly.err;
    EXPECT_FALSE(FileExists(folder.File("L_Normal.png")));

    const CLIResult noSource = RunCLI(folder.Path(), {"-nSave", "-source"});
    EXPECT_EQ(noSource.status, 2);
    EXPECT_NE(
        noSource.out.find("Command line arguments necessary for a given creation can obtained with the\n"),
        std::string::npos);

    WriteDomeSet(folder.File("X"));
    const CLIResult unwritable = RunCLI(folder.Path(), {"-source", "X_Left.png", "-nSave", "missing/n.png"});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_NE(unwritable.err.find("missing/n.png"), std::string::npos) << unwritable.err;
    EXPECT_FALSE(FileExists(folder.File("missing")));

    EXPECT_EQ(RunCLI(folder.Path(), {"-source", "X_Sideways.png", "-nSave"}).status, 1);
    EXPECT_EQ(RunCLI(folder.Path(), {"-source", "gone/Y_Left.png", "-pSave"}).status, 1);

    // Nothing asked for, nothing written, and that is a success.
    EXPECT_EQ(RunCLI(folder.Path(), {"-source", "X_Left.png", "-nBend", "2"}).status, 0);
    EXPECT_FALSE(FileExists(folder.File("X_Normal.png")));
}

TEST(BrondelCLIRun, HelpVersionAndScripts)
{
    TempFolder folder;
    const CLIResult help = RunCLI(folder.Path(), {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("To select your input filename", 0), 0u);
    EXPECT_EQ(RunCLI(folder.Path(), {"--version"}).out, std::string("BrondelCLI ") + BRONDEL_VERSION + "\n");

    WriteDomeSet(folder.File("A"));
    WriteDomeSet(folder.File("B"));
    const CLIResult scripted = RunCLI(folder.Path(), {"-script", "-"},
                                      "loadimageset A_Left.png B_Left.png\nsetprocessallimagesets 1\n"
                                      "setsavealloutputsets 1\nsetlightwrap 0.5\nattemptnormalmapgeneration\n"
                                      "savenormalmap\n");
    EXPECT_EQ(scripted.status, 0) << scripted.err;
    EXPECT_TRUE(FileExists(folder.File("A_Normal.png")) && FileExists(folder.File("B_Normal.png")));
    EXPECT_NE(scripted.out.find("setlightwrap: not available in batch mode"), std::string::npos);

    EXPECT_EQ(RunCLI(folder.Path(), {"-script", "-"}, "setboxsize 0\nsavedepthmap\n").status, 1);
    EXPECT_EQ(RunCLI(folder.Path(), {"-script", "no-such-script.txt"}).status, 2);
}

TEST(BrondelCLIRun, OutputBytesDoNotDependOnTheThreadCount)
{
    // Big enough for several row blocks per thread and several compressed pieces per file.
    TempFolder folder;
    const auto dome = [](int x, int y, const Vector3D& light) {
        const float nx = (x - 300.0f) / 280.0f;
        const float ny = (240.0f - y) / 280.0f;
        const float r2 = nx * nx + ny * ny;
        return r2 >= 1.0f ? 0.0f
                          : std::fmax(0.0f, Vector3D::DotProduct({nx, ny, std::sqrt(1.0f - r2)}, light));
    };
    for (const auto& [suffix, light] : {std::pair{"_Left", Vector3D(-1, 0, 0)},
                                        {"_Right", Vector3D(1, 0, 0)},
                                        {"_Top", Vector3D(0, 1, 0)},
                                        {"_Bottom", Vector3D(0, -1, 0)}})
        MakeGrey(600, 480, [&](int x, int y) {
            return dome(x, y, light);
        })->SaveToDisk(folder.File("X") + suffix + ".png");
    MakeImage(600, 480, [&](int x, int y) {
        return Colour((x / 40) * 0.06f, 0.4f, (y / 60) * 0.1f, dome(x, y, {0, 0, 1}) > 0.0f ? 1.0f : 0.0f);
    })->SaveToDisk(folder.File("X_Diffuse.png"));
    MakeGrey(600, 480, [](int x, int y) {
        return 0.5f + 0.5f * std::sin(x * 0.05f + y * 0.02f);
    })->SaveToDisk(folder.File("X_Flow.png"));

    std::map<std::string, QByteArray> firstRun;
    for (const char* threads : {"1", "2", "3"})
    {
        RemoveOutputs(folder);
        const CLIResult run = RunCLI(
            folder.Path(), {"-source", "X_Left.png", "-noSave", "-ndSave", "-aoSave", "-aSave", "-iSave"}, {},
            QString::fromLatin1(threads));
        ASSERT_EQ(run.status, 0) << run.err;
        for (const char* suffix : {"_NormalOpacity", "_NormalDepth", "_AO", "_Aniso", "_Index"})
        {
            const QByteArray bytes = FileBytes(folder.File(std::string("X") + suffix + ".png"));
            ASSERT_FALSE(bytes.isEmpty()) << suffix;
            if (firstRun.count(suffix) == 0)
                firstRun[suffix] = bytes;
            EXPECT_EQ(bytes, firstRun[suffix]) << suffix << " with " << threads << " threads";
        }
    }
}
