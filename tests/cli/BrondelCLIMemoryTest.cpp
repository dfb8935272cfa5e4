// A batch run that cannot get the memory it needs says so and fails, instead of dying without a word.
#include "cli/CLIProcess.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

TEST(BrondelCLIMemory, RefusedMemoryFailsTheRunWithAMessage)
{
    TempFolder folder;
    WriteProfiles(folder.File("Rock"), 512);
    // Six MiB: the four 1 MiB profiles load, but the normal generator cannot get its 3 MiB arrays.
    const CLIProcessResult run =
        RunBrondelCLI(folder.Path(), {"-source", "Rock_Left.png", "-nSave", "-aoSave"},
                      {QStringLiteral("BRONDEL_MEMORY_LIMIT=6")});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Not enough memory to generate the normal map for a 512 x 512 image."),
              std::string::npos)
        << run.err;
    // The AO map is reported as impossible too, and nothing is written.
    EXPECT_NE(run.err.find("Rock_AO.png"), std::string::npos) << run.err;
    EXPECT_FALSE(FileExists(folder.File("Rock_Normal.png")));
    EXPECT_FALSE(FileExists(folder.File("Rock_AO.png")));
}
