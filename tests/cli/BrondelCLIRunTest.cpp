// End-to-end runs of the real BrondelCLI executable, with no display, on small synthetic sets.
#include "core/Image.h"
#include "support/TestImages.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace {
struct CLIResult
{
    int status = -1;
    std::string out;
    std::string err;
};

CLIResult RunCLI(const std::string& folder, const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(QString::fromStdString(folder));
    process.start(QStringLiteral(BRONDEL_CLI_PATH), arguments);
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    CLIResult run;
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.status = process.exitCode();
    run.out = process.readAllStandardOutput().toStdString();
    run.err = process.readAllStandardError().toStdString();
    return run;
}

QByteArray Contents(const std::string& path)
{
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool Exists(const std::string& path)
{
    return QFileInfo::exists(QString::fromStdString(path));
}

// A lit dome: each profile is the plaster shading from its side, so the normals have real slopes; a
// banded diffuse with transparent corners and a flow map give the palette and anisotropy something to do.
void WriteDomeSet(const std::string& base, bool leftOnly = false)
{
    const int size = 16;
    const auto normal = [size](int x, int y, int axis) {
        const float nx = (x + 0.5f - size / 2.0f) / (size / 2.0f);
        const float ny = -(y + 0.5f - size / 2.0f) / (size / 2.0f);
        const float nz = std::sqrt(std::fmax(0.0f, 1.0f - nx * nx - ny * ny));
        return axis == 0 ? nx : axis == 1 ? ny : nz;
    };
    const auto profile = [&](const char* suffix, int axis, float sign) {
        MakeGrey(size, size, [&](int x, int y) {
            return std::fmax(0.0f, sign * normal(x, y, axis));
        })->SaveToDisk(base + suffix + ".png");
    };
    profile("_Left", 0, -1.0f);
    if (leftOnly)
        return;
    profile("_Right", 0, 1.0f);
    profile("_Top", 1, 1.0f);
    profile("_Bottom", 1, -1.0f);
    profile("_Front", 2, 1.0f);
    MakeImage(size, size, [&](int x, int y) {
        return Colour(0.2f + 0.2f * static_cast<float>(x / 4), 0.5f, 0.8f,
                      normal(x, y, 2) > 0.0f ? 1.0f : 0.0f);
    })->SaveToDisk(base + "_Diffuse.png");
    MakeGrey(size, size, [](int x, int y) {
        return static_cast<float>((x * 3 + y * 5) % 16) / 15.0f;
    })->SaveToDisk(base + "_Flow.png");
}

const std::map<std::string, std::string> kOutputSuffixes = {
    {"-nSave", "_Normal"}, {"-noSave", "_NormalOpacity"}, {"-dSave", "_Depth"},   {"-ndSave", "_NormalDepth"},
    {"-aoSave", "_AO"},    {"-aSave", "_Aniso"},          {"-pSave", "_Palette"}, {"-iSave", "_Index"}};

QStringList Words(std::initializer_list<const char*> words)
{
    QStringList list;
    for (const char* word : words)
        list << QString::fromUtf8(word);
    return list;
}

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
    std::map<std::string, QByteArray> alone;
    for (const auto& [option, suffix] : kOutputSuffixes)
    {
        SCOPED_TRACE(option);
        RemoveOutputs(folder);
        const CLIResult run = RunCLI(folder.Path(), {QStringLiteral("-source"), QStringLiteral("X_Left.png"),
                                                     QString::fromStdString(option)});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out.rfind("---Brondel CLI---\nFile input set to \"X_Left.png\"\n", 0), 0u) << run.out;
        for (const auto& [otherOption, otherSuffix] : kOutputSuffixes)
            EXPECT_EQ(Exists(folder.File("X" + otherSuffix + ".png")), otherOption == option) << otherSuffix;
        alone[option] = Contents(folder.File("X" + suffix + ".png"));
    }

    RemoveOutputs(folder);
    const CLIResult together =
        RunCLI(folder.Path(), Words({"-source", "X_Diffuse.png", "-nSave", "-noSave", "-dSave", "-ndSave",
                                     "-aoSave", "-aSave", "-pSave", "-iSave"}));
    EXPECT_EQ(together.status, 0) << together.err;
    EXPECT_TRUE(together.err.empty()) << together.err;
    for (const auto& [option, suffix] : kOutputSuffixes)
        EXPECT_EQ(Contents(folder.File("X" + suffix + ".png")), alone[option]) << option;
    // The normal-with-opacity map carries the diffuse alpha; a plain copy of the normal map would not.
    EXPECT_NE(alone["-noSave"], alone["-nSave"]);
}

TEST(BrondelCLIRun, ExplicitAndDefaultOutputNames)
{
    TempFolder folder;
    WriteDomeSet(folder.File("X"));
    const CLIResult run =
        RunCLI(folder.Path(), Words({"-source", "X_Top.png", "-nSave", "out.png", "-dSave"}));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(Exists(folder.File("out.png")));
    EXPECT_FALSE(Exists(folder.File("X_Normal.png")));
    EXPECT_TRUE(Exists(folder.File("X_Depth.png")));

    // From another working directory with an absolute source; the extension picks the file format.
    const CLIResult absolute =
        RunCLI("/", {QStringLiteral("-source"), QString::fromStdString(folder.File("X_Left.png")),
                     QStringLiteral("-aoSave"), QString::fromStdString(folder.File("ao.bmp"))});
    EXPECT_EQ(absolute.status, 0) << absolute.err;
    EXPECT_TRUE(Contents(folder.File("ao.bmp")).startsWith("BM"));
    EXPECT_EQ(Image(folder.File("ao.bmp")).GetWidth(), 16);
}

TEST(BrondelCLIRun, UnreadableOptionValuesFallBackToTheBatchDefaults)
{
    TempFolder folder;
    WriteDomeSet(folder.File("X"));
    const auto output = [&](std::initializer_list<const char*> options, const char* suffix) {
        RemoveOutputs(folder);
        QStringList arguments = Words({"-source", "X_Left.png"});
        arguments << Words(options);
        const CLIResult run = RunCLI(folder.Path(), arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        return Contents(folder.File(std::string("X") + suffix + ".png"));
    };
    const QByteArray normals = output({"-nSave"}, "_Normal");
    EXPECT_EQ(output({"-nSave", "-nBend", "9"}, "_Normal"), normals);
    EXPECT_EQ(output({"-nSave", "-nBend", "abc"}, "_Normal"), normals);
    EXPECT_NE(output({"-nSave", "-nBend", "2"}, "_Normal"), normals);

    // Batch depth defaults are 50 steps and emphasis 0.5, not the window's 100 and 0.2.
    const QByteArray depth = output({"-dSave"}, "_Depth");
    EXPECT_EQ(output({"-dSave", "-dRefSteps", "50", "-dLowFreq", "0.5"}, "_Depth"), depth);
    EXPECT_EQ(output({"-dSave", "-dRefSteps", "0", "-dUseSil"}, "_Depth"), depth);
    EXPECT_NE(output({"-dSave", "-dRefSteps", "100", "-dLowFreq", "0.2"}, "_Depth"), depth);

    // The type word is compared exactly: "Angle" is not "angle" and gives the plain vector format.
    const QByteArray vector = output({"-aSave", "-anisoType", "vector"}, "_Aniso");
    EXPECT_EQ(output({"-aSave", "-anisoType", "Angle"}, "_Aniso"), vector);
    EXPECT_NE(output({"-aSave", "-anisoType", "angle"}, "_Aniso"), vector);
}

TEST(BrondelCLIRun, FailuresExitNonZeroNameTheFileAndWriteNothing)
{
    TempFolder folder;
    WriteDomeSet(folder.File("L"), true);
    const CLIResult leftOnly = RunCLI(folder.Path(), Words({"-source", "L_Left.png", "-nSave"}));
    EXPECT_EQ(leftOnly.status, 1);
    EXPECT_NE(leftOnly.err.find("L_Normal.png"), std::string::npos) << leftOnly.err;
    EXPECT_FALSE(Exists(folder.File("L_Normal.png")));

    const CLIResult noSource = RunCLI(folder.Path(), Words({"-nSave", "-source"}));
    EXPECT_EQ(noSource.status, 2);
    EXPECT_NE(
        noSource.out.find("Command line arguments necessary for a given creation can obtained with the\n"),
        std::string::npos);

    WriteDomeSet(folder.File("X"));
    const CLIResult unwritable =
        RunCLI(folder.Path(), Words({"-source", "X_Left.png", "-nSave", "missing/n.png"}));
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_NE(unwritable.err.find("missing/n.png"), std::string::npos) << unwritable.err;
    EXPECT_FALSE(Exists(folder.File("missing")));

    EXPECT_EQ(RunCLI(folder.Path(), Words({"-source", "X_Sideways.png", "-nSave"})).status, 1);
    EXPECT_EQ(RunCLI(folder.Path(), Words({"-source", "gone/Y_Left.png", "-pSave"})).status, 1);

    // Nothing asked for, nothing written, and that is a success.
    const CLIResult nothing = RunCLI(folder.Path(), Words({"-source", "X_Left.png", "-nBend", "2"}));
    EXPECT_EQ(nothing.status, 0);
    EXPECT_FALSE(Exists(folder.File("X_Normal.png")));
}

TEST(BrondelCLIRun, HelpVersionAndScripts)
{
    TempFolder folder;
    const CLIResult help = RunCLI(folder.Path(), Words({"--help"}));
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("To select your input filename", 0), 0u);
    const CLIResult version = RunCLI(folder.Path(), Words({"--version"}));
    EXPECT_EQ(version.out, std::string("BrondelCLI ") + BRONDEL_VERSION + "\n");

    WriteDomeSet(folder.File("A"));
    WriteDomeSet(folder.File("B"));
    const QByteArray script = "loadimageset A_Left.png B_Left.png\n"
                              "setprocessallimagesets 1\n"
                              "setsavealloutputsets 1\n"
                              "setlightwrap 0.5\n"
                              "attemptnormalmapgeneration\n"
                              "savenormalmap\n";
    const CLIResult scripted = RunCLI(folder.Path(), Words({"-script", "-"}), script);
    EXPECT_EQ(scripted.status, 0) << scripted.err;
    EXPECT_TRUE(Exists(folder.File("A_Normal.png")));
    EXPECT_TRUE(Exists(folder.File("B_Normal.png")));
    EXPECT_NE(scripted.out.find("setlightwrap: not available in batch mode"), std::string::npos);

    const CLIResult refused = RunCLI(folder.Path(), Words({"-script", "-"}), "setboxsize 0\nsavedepthmap\n");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(RunCLI(folder.Path(), Words({"-script", "no-such-script.txt"})).status, 2);
}
