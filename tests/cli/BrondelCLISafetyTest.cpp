// The mistakes artists and build scripts really make, run through the real BrondelCLI executable: art
// must survive them and every one must show in the exit status and on standard error.
#include "cli/CLIProcess.h"
#include "core/Image.h"
#include "sets/GenerationParameters.h"
#include "support/TestImages.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {
bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// The generators log this before their first pixel; refusals must come before it.
bool GeneratorRan(const CLIProcessResult& run)
{
    return Has(run.out, "Generating") || Has(run.out, "Beginning generation");
}
} // namespace

TEST(BrondelCLISafety, OutputsNeverReplaceTheSetsArtOrEachOther)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    const QByteArray left = FileBytes(folder.File("X_Left.png"));
    const QByteArray diffuse = FileBytes(folder.File("X_Diffuse.png"));
    ASSERT_TRUE(QFile::link(QString::fromStdString(folder.File("X_Left.png")),
                            QString::fromStdString(folder.File("link.png"))));
    QDir(QString::fromStdString(folder.Path())).mkdir(QStringLiteral("sub"));

    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"-nSave", "X_Left.png"},
             {"-pSave", "X_Diffuse.png"},
             {"-aoSave", "link.png"},                                 // a link to the art
             {"-dSave", "sub/../X_Left.png"},                         // another spelling of it
             {"-nSave", "X_Normal.png", "-ndSave", "./X_Normal.png"}, // two outputs, one file
         })
    {
        std::vector<std::string> line = {"-source", "X_Left.png"};
        line.insert(line.end(), words.begin(), words.end());
        const CLIProcessResult run = RunBrondelCLI(folder.Path(), line);
        SCOPED_TRACE(words[0] + " " + words[1]);
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_FALSE(GeneratorRan(run)) << run.out;
        EXPECT_TRUE(Has(run.err, "Refusing to write") || Has(run.err, "would both write")) << run.err;
    }
    EXPECT_EQ(FileBytes(folder.File("X_Left.png")), left);
    EXPECT_EQ(FileBytes(folder.File("X_Diffuse.png")), diffuse);
    EXPECT_FALSE(FileExists(folder.File("X_Normal.png")));

    // Regenerating over a map's own earlier file is the ordinary re-run.
    EXPECT_EQ(RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave"}).status, 0);
    const CLIProcessResult again = RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_TRUE(again.err.empty()) << again.err;
}

TEST(BrondelCLISafety, UnreadableMembersAreNamedWithTheirReasonAndFailTheRun)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    const QByteArray front = FileBytes(folder.File("X_Front.png"));
    QFile::resize(QString::fromStdString(folder.File("X_Top.png")), 0);
    QFile::resize(QString::fromStdString(folder.File("X_Front.png")), front.size() / 2);
    QFile text(QString::fromStdString(folder.File("X_Specular.png")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("this is not an image\n");
    text.close();
    QDir(QString::fromStdString(folder.Path())).mkdir(QStringLiteral("X_Emissive.png"));

    // Named by the unreadable file itself: it still opens the set, and still fails the run.
    const CLIProcessResult run = RunBrondelCLI(folder.Path(), {"-source", "X_Top.png", "-nSave"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(FileExists(folder.File("X_Normal.png"))) << "the other members still make the map";
    for (const auto& [file, reason] :
         std::vector<std::pair<std::string, std::string>>{{"X_Top.png", "the file is empty"},
                                                          {"X_Front.png", "damaged or truncated PNG"},
                                                          {"X_Specular.png", "not a PNG, JPG or BMP image"},
                                                          {"X_Emissive.png", "it is a folder"}})
        EXPECT_TRUE(Has(run.err, "Couldn't read \"./" + file + "\"") && Has(run.err, reason))
            << file << ": " << run.err;
    EXPECT_TRUE(Has(run.err, "found Bottom, Left, Right, Diffuse, Flow; missing Silhouette, Palette; "
                             "unreadable Top, Front, Specular, Emissive."))
        << run.err;

    // A flow map is decoded only when the anisotropy map is made, after the others; a damaged one is
    // still named, and still fails the run, while the maps before it are written.
    QFile::resize(QString::fromStdString(folder.File("X_Flow.png")),
                  FileBytes(folder.File("X_Flow.png")).size() / 2);
    const CLIProcessResult flow = RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-dSave", "-aSave"});
    EXPECT_EQ(flow.status, 1);
    EXPECT_TRUE(Has(flow.err, "Couldn't read \"./X_Flow.png\" (Flow): a damaged or truncated PNG"))
        << flow.err;
    EXPECT_TRUE(FileExists(folder.File("X_Depth.png")));
    EXPECT_FALSE(FileExists(folder.File("X_Aniso.png")));

    // A FIFO would block whoever opens it until a writer comes; it must never be opened.
    ASSERT_EQ(mkfifo(folder.File("X_Silhouette.png").c_str(), 0600), 0);
    const CLIProcessResult fifo =
        RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-dSave"}, {}, 20000);
    EXPECT_FALSE(fifo.timedOut);
    EXPECT_EQ(fifo.status, 1);
    EXPECT_TRUE(Has(fifo.err, "X_Silhouette.png\" (Silhouette): it is not a regular file")) << fifo.err;
    EXPECT_TRUE(FileExists(folder.File("X_Depth.png")));
}

TEST(BrondelCLISafety, MembersWithoutReadPermissionAreNamed)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root reads every file whatever its permissions";
    TempFolder folder;
    WriteDome(folder.File("X"));
    ASSERT_EQ(chmod(folder.File("X_Right.png").c_str(), 0), 0);
    const CLIProcessResult run = RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(Has(run.err, "X_Right.png\" (Right): Permission denied")) << run.err;
}

TEST(BrondelCLISafety, DoubtfulOptionsAreWarnedAndRefusedUnderStrict)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    const std::vector<std::string> words = {
        "-source", "X_Left.png", "-nSave", "-dsave", "--verbose", "-dRefSteps", "1e9",  "-dLowFreq",
        "0,5",     "-aoBoxSize", "100000", "-nSave", "n.png",     "-anisoType", "Angle"};
    const CLIProcessResult lenient = RunBrondelCLI(folder.Path(), words);
    EXPECT_EQ(lenient.status, 0) << lenient.err;
    EXPECT_TRUE(FileExists(folder.File("X_Normal.png")));
    for (const char* warning :
         {"Warning: unknown option -dsave; did you mean -dSave?", "Warning: unknown option --verbose\n",
          "Warning: -dRefSteps 1e9: only the leading number is read; using 1",
          "Warning: -dLowFreq 0,5: only the leading number is read; using 0",
          "Warning: -aoBoxSize 100000 is out of range (1 to 100); using the default 5",
          "Warning: -nSave is given more than once; only the first counts",
          "Warning: -anisoType Angle is not one of vector, doubleVector or angle"})
        EXPECT_TRUE(Has(lenient.err, warning)) << warning << "\n" << lenient.err;

    QFile::remove(QString::fromStdString(folder.File("X_Normal.png")));
    std::vector<std::string> strictWords = words;
    strictWords.push_back("-strict");
    const CLIProcessResult strict = RunBrondelCLI(folder.Path(), strictWords);
    EXPECT_EQ(strict.status, 2);
    EXPECT_TRUE(Has(strict.err, "Error: unknown option -dsave")) << strict.err;
    EXPECT_FALSE(GeneratorRan(strict));
    EXPECT_FALSE(FileExists(folder.File("X_Normal.png")));

    // A clean line passes -strict untouched, negative values included.
    const CLIProcessResult clean = RunBrondelCLI(
        folder.Path(), {"-source", "X_Left.png", "-aoSave", "-aoConeGrad", "-0.02", "-nFlatFix", "-strict"});
    EXPECT_EQ(clean.status, 0) << clean.err;
    EXPECT_TRUE(clean.err.empty()) << clean.err;
}

TEST(BrondelCLISafety, SetProblemsAreWarnedNamingBothFiles)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    QFile::rename(QString::fromStdString(folder.File("X_Right.png")),
                  QString::fromStdString(folder.File("X_Right.jpg")));
    MakeFlat(32, 32, 0.5f)->SaveToDisk(folder.File("X_Diffuse.png"));
    MakeFlat(8, 8, 0.5f)->SaveToDisk(folder.File("X_Normal.png")); // left by an earlier run
    const CLIProcessResult run = RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-dSave"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(Has(run.err, "\"./X_Right.jpg\" is not part of the set")) << run.err;
    EXPECT_TRUE(
        Has(run.err, "\"./X_Diffuse.png\" is 32x32 but the lighting profile \"./X_Left.png\" is 16x16"))
        << run.err;
    EXPECT_TRUE(Has(run.err, "\"./X_Normal.png\" (a map of an earlier run) is 8x8")) << run.err;
    EXPECT_TRUE(Has(run.err, "missing Right,")) << run.err;

    const CLIProcessResult strict =
        RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-dSave", "-strict"});
    EXPECT_EQ(strict.status, 2);
    EXPECT_FALSE(GeneratorRan(strict));
}

TEST(BrondelCLISafety, EveryTargetIsCheckedBeforeAnyGenerator)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    QDir(QString::fromStdString(folder.Path())).mkdir(QStringLiteral("taken.png"));
    const CLIProcessResult run = RunBrondelCLI(
        folder.Path(), {"-source", "X_Left.png", "-nSave", "missing/n.png", "-dSave", "taken.png", "-aoSave",
                        "ao.xyz", "-aSave", "noextension", "-noSave", "/proc/n.png", "-iSave"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(GeneratorRan(run)) << run.out;
    for (const char* line :
         {"Couldn't save \"missing/n.png\": the folder", "Couldn't save \"taken.png\": it is a folder",
          "Couldn't save \"ao.xyz\": no image format is known for the extension .xyz",
          "Couldn't save \"noextension\": it has no extension",
          // Not even root may create files there.
          "Couldn't save \"/proc/n.png\": the folder \"/proc\""})
        EXPECT_TRUE(Has(run.err, line)) << line << "\n" << run.err;
    EXPECT_FALSE(FileExists(folder.File("X_Index.png")));

    if (geteuid() != 0)
    {
        QDir(QString::fromStdString(folder.Path())).mkdir(QStringLiteral("locked"));
        chmod(folder.File("locked").c_str(), 0500);
        const CLIProcessResult locked =
            RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave", "locked/n.png"});
        EXPECT_EQ(locked.status, 1);
        EXPECT_TRUE(Has(locked.err, "Permission denied")) << locked.err;
    }
}

TEST(BrondelCLISafety, OutDirQuietAndFormats)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    ASSERT_EQ(RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave", "-ndSave"}).status, 0);
    const QByteArray normal = FileBytes(folder.File("X_Normal.png"));
    const QByteArray normalDepth = FileBytes(folder.File("X_NormalDepth.png"));

    // Default names go into the folder, created on the way; the maps are the same bytes; -quiet leaves
    // nothing on standard output when nothing fails.
    const CLIProcessResult moved = RunBrondelCLI(
        folder.Path(), {"-source", "X_Left.png", "-nSave", "-ndSave", "-outDir", "maps/new", "-quiet"});
    EXPECT_EQ(moved.status, 0) << moved.err;
    EXPECT_EQ(moved.out, "");
    EXPECT_EQ(FileBytes(folder.File("maps/new/X_Normal.png")), normal);
    EXPECT_EQ(FileBytes(folder.File("maps/new/X_NormalDepth.png")), normalDepth);

    // -quiet takes nothing from standard error, where the failures are.
    MakeImage(20, 20, [](int x, int y) {
        return Colour(x / 19.0f, y / 19.0f, 0.5f, 1.0f);
    })->SaveToDisk(folder.File("P_Diffuse.png"));
    const CLIProcessResult failing =
        RunBrondelCLI(folder.Path(), {"-source", "P_Diffuse.png", "-pSave", "-quiet"});
    EXPECT_EQ(failing.status, 1);
    EXPECT_EQ(failing.out, "");
    EXPECT_TRUE(Has(failing.err, "Max is 256")) << failing.err;
    EXPECT_TRUE(Has(failing.err, "P_Palette.png")) << failing.err;

    // A JPG set: lossy maps are warned about; the maps that carry alpha go to PNG with four channels.
    WriteDome(folder.File("J"), ".jpg");
    const CLIProcessResult jpg = RunBrondelCLI(
        folder.Path(), {"-source", "J_Left.jpg", "-nSave", "-ndSave", "-noSave", "explicit.bmp"});
    EXPECT_EQ(jpg.status, 0) << jpg.err;
    EXPECT_TRUE(Has(jpg.err, "\"./J_Normal.jpg\" (-nSave): JPG compression is lossy")) << jpg.err;
    EXPECT_TRUE(Has(jpg.err, "\"explicit.bmp\" (-noSave): a .bmp file cannot hold the alpha channel"))
        << jpg.err;
    EXPECT_TRUE(Has(jpg.err, "goes to \"./J_NormalDepth.png\"")) << jpg.err;
    EXPECT_TRUE(FileExists(folder.File("J_Normal.jpg")));
    EXPECT_FALSE(FileExists(folder.File("J_NormalDepth.jpg")));
    EXPECT_TRUE(QImage(QString::fromStdString(folder.File("J_NormalDepth.png"))).hasAlphaChannel());
}

TEST(BrondelCLISafety, HelpListsEveryOptionFromTheTableAndUsageGoesToStandardError)
{
    TempFolder folder;
    const CLIProcessResult help = RunBrondelCLI(folder.Path(), {"--help"});
    EXPECT_EQ(help.status, 0);
    for (const ParameterDescription& description : GenerationParameterTable())
    {
        if (description.batchOption == nullptr)
            continue;
        const std::size_t at = help.out.find(std::string("\n  ") + description.batchOption + " ");
        ASSERT_NE(at, std::string::npos) << description.batchOption;
        // The entry runs to the next option; long meanings wrap onto further lines.
        const std::string entry = help.out.substr(at + 1, help.out.find("\n  -", at + 1) - at - 1);
        std::string line;
        for (const char c : entry)
            if (!(c == ' ' || c == '\n') || (!line.empty() && line.back() != ' '))
                line += c == '\n' ? ' ' : c;
        EXPECT_TRUE(Has(line, description.meaning)) << line;
        if (description.kind == ParameterKind::Int)
        {
            EXPECT_TRUE(Has(line, "default " + std::to_string(static_cast<int>(description.batchDefault))))
                << line;
        }
    }
    for (const char* word : {"-nSave [FILE]", "-iSave [FILE]", "-outDir DIR", "-strict", "-quiet",
                             "BRONDEL_RESOURCES", "BRONDEL_THREADS", "BRONDEL_MEMORY_LIMIT", "Exit status"})
        EXPECT_TRUE(Has(help.out, word)) << word;
    EXPECT_TRUE(Has(help.out, "whole number 1 to 10000, default 50"));
    EXPECT_TRUE(Has(help.out, "-0.05 to 0.05, default 0.01"));

    const CLIProcessResult noSource = RunBrondelCLI(folder.Path(), {"-nSave"});
    EXPECT_EQ(noSource.status, 2);
    EXPECT_TRUE(Has(noSource.err, "Usage: BrondelCLI -source")) << noSource.err;
}

TEST(BrondelCLISafety, MissingPlaceholdersAreReportedOnceWithTheFolder)
{
    TempFolder folder;
    WriteDome(folder.File("X"));
    const CLIProcessResult run = RunBrondelCLI(folder.Path(), {"-source", "X_Left.png", "-nSave"},
                                               {QStringLiteral("BRONDEL_RESOURCES=/nowhere/brondel")});
    EXPECT_EQ(Count(run.err, "BlankTextures"), 2u) << run.err; // the folder and the advice, in one line
    EXPECT_TRUE(Has(run.err, "\"/nowhere/brondel/BlankTextures\"")) << run.err;
    EXPECT_EQ(Count(run.err, "\n"), 1u) << run.err;
}
