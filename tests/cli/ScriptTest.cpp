// Test-bed scripts as people write them, and the README's examples, run through the real executable.
#include "cli/CLIProcess.h"
#include "cli/Testbed.h"
#include "support/TestImages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {
bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

void WriteText(const std::string& path, const std::string& text)
{
    QDir().mkpath(QFileInfo(QString::fromStdString(path)).absolutePath());
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.data(), static_cast<qint64>(text.size()));
}

std::vector<std::string> Split(const std::string& line)
{
    std::vector<std::string> words;
    std::string problem;
    EXPECT_TRUE(SplitScriptLine(line, words, problem)) << line << ": " << problem;
    return words;
}
} // namespace

TEST(Script, LinesSplitAtSpacesAndTabsWithQuotesAndComments)
{
    using Words = std::vector<std::string>;
    EXPECT_EQ(Split("setboxsize \t 8\r"), (Words{"setboxsize", "8"}));
    EXPECT_EQ(Split("\tloadimageset \"my art/Head_Left.png\" b.png # two sets"),
              (Words{"loadimageset", "my art/Head_Left.png", "b.png"}));
    EXPECT_EQ(Split("savenormalmap \"my art\"/n.png \"\""), (Words{"savenormalmap", "my art/n.png", ""}));
    EXPECT_EQ(Split("   # only a comment"), Words{});
    EXPECT_EQ(Split("savenormalmap a#b.png"), (Words{"savenormalmap", "a#b.png"}));
    std::vector<std::string> words;
    std::string problem;
    EXPECT_FALSE(SplitScriptLine("loadimageset \"my art/Head_Left.png", words, problem));
    EXPECT_FALSE(problem.empty());
}

TEST(Script, PathsComeFromTheScriptsFolderAndTheFirstFailingLineStopsIt)
{
    TempFolder folder;
    WriteDome(folder.File("my art/X"));
    // Written on Windows: byte-order mark, CRLF, tabs.
    WriteText(folder.File("jobs/run.txt"), "\xEF\xBB\xBF# AO for the head\r\n"
                                           "loadimageset\t\"../my art/X_Left.png\"\r\n"
                                           "setboxsize 8\r\n"
                                           "\r\n"
                                           "attemptnormalmapgeneration\r\n"
                                           "attemptdepthmapgen\r\n"
                                           "attemptaogen\r\n"
                                           "saveaomap \"../my art/ao out.png\"\r\n"
                                           "setboxsize 500\r\n"
                                           "savenormalmap after.png\r\n");
    const CLIProcessResult run = RunBrondelCLI("/", {"-script", folder.File("jobs/run.txt")});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(FileExists(folder.File("my art/ao out.png")));
    EXPECT_TRUE(Has(run.err, "line 9: setboxsize: expects one whole number from 1 to 100")) << run.err;
    EXPECT_FALSE(FileExists(folder.File("jobs/after.png"))) << "lines after a failure must not run";

    // A mistyped word and a set that cannot be loaded are failures too, with their line numbers.
    WriteText(folder.File("typo.txt"),
              "loadimageset \"my art/X_Left.png\"\nsetboxsise 3\nsavenormalmap n.png\n");
    const CLIProcessResult typo = RunBrondelCLI(folder.Path(), {"-script", "typo.txt"});
    EXPECT_EQ(typo.status, 1);
    EXPECT_TRUE(Has(typo.err, "line 2: unknown command \"setboxsise\"; did you mean setboxsize?"))
        << typo.err;
    EXPECT_FALSE(FileExists(folder.File("n.png")));

    WriteText(folder.File("gone.txt"), "loadimageset gone/Y_Left.png\nattemptnormalmapgeneration\n");
    const CLIProcessResult gone = RunBrondelCLI(folder.Path(), {"-script", "gone.txt"});
    EXPECT_EQ(gone.status, 1);
    EXPECT_TRUE(Has(gone.err, "line 1: loadimageset")) << gone.err;
    EXPECT_FALSE(Has(gone.err, "line 2")) << gone.err;

    // A FIFO named like a member would hold the loader for ever; the set is refused instead.
    ASSERT_EQ(mkfifo(folder.File("my art/X_Emissive.png").c_str(), 0600), 0);
    WriteText(folder.File("fifo.txt"), "loadimageset \"my art/X_Left.png\"\n");
    const CLIProcessResult fifo = RunBrondelCLI(folder.Path(), {"-script", "fifo.txt"}, {}, 20000);
    EXPECT_FALSE(fifo.timedOut);
    EXPECT_EQ(fifo.status, 1);
    EXPECT_TRUE(Has(fifo.err, "line 1: loadimageset: \"my art/X_Emissive.png\" is not a regular file"))
        << fifo.err;

    WriteText(folder.File("quote.txt"), "loadimageset \"my art/X_Left.png\n");
    const CLIProcessResult quote = RunBrondelCLI(folder.Path(), {"-script", "quote.txt"});
    EXPECT_EQ(quote.status, 1);
    EXPECT_TRUE(Has(quote.err, "line 1: a double quote is not closed")) << quote.err;
}

// The README's examples are what people copy first, so they must work as written: every script block
// (its first line names the file it is saved as) and every BrondelCLI line of the shell blocks runs on a
// synthetic art/Head set.
TEST(Script, TheReadmeExamplesWorkAndEveryCommandWordIsDocumented)
{
    QFile readmeFile(QStringLiteral(BRONDEL_SOURCE_DIR "/README.md"));
    ASSERT_TRUE(readmeFile.open(QIODevice::ReadOnly));
    const QString readme = QString::fromUtf8(readmeFile.readAll());
    for (int slot = 0; slot < kTestbedCommandCount; ++slot)
        EXPECT_TRUE(readme.contains(QStringLiteral("`") + QString::fromStdString(TestbedCommandWord(slot))))
            << TestbedCommandWord(slot);

    TempFolder folder;
    WriteDome(folder.File("art/Head"));
    const QRegularExpression block(QStringLiteral("```(\\w+)\\n(.*?)```"),
                                   QRegularExpression::DotMatchesEverythingOption);
    std::vector<std::string> scripts;
    std::vector<std::vector<std::string>> commands;
    for (auto match = block.globalMatch(readme); match.hasNext();)
    {
        const auto found = match.next();
        const std::string text = found.captured(2).toStdString();
        if (found.captured(1) == QStringLiteral("brondel"))
        {
            const std::string name = text.substr(2, text.find('\n') - 2);
            WriteText(folder.File(name), text);
            scripts.push_back(name);
        }
        else if (found.captured(1) == QStringLiteral("sh"))
            for (const QString& line : found.captured(2).split(QLatin1Char('\n')))
                if (line.startsWith(QStringLiteral("build/bin/BrondelCLI ")))
                {
                    std::vector<std::string> words;
                    for (const QString& word : line.split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(1))
                        words.push_back(word.toStdString());
                    commands.push_back(words);
                }
    }
    ASSERT_FALSE(scripts.empty());
    ASSERT_GE(commands.size(), 2u);
    for (const std::string& script : scripts)
    {
        const CLIProcessResult run = RunBrondelCLI(folder.Path(), {"-script", script});
        EXPECT_EQ(run.status, 0) << script << "\n" << run.err;
    }
    for (const std::vector<std::string>& words : commands)
    {
        const CLIProcessResult run = RunBrondelCLI(folder.Path(), words);
        EXPECT_EQ(run.status, 0) << words[0] << " " << words[1] << "\n" << run.err;
        EXPECT_TRUE(run.err.empty()) << run.err;
    }
}
