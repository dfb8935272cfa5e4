#include "cli/CommandLineArgumentSet.h"

#include <gtest/gtest.h>

#include <climits>

namespace {
CommandLineArgumentSet Words(std::vector<std::string> words)
{
    return CommandLineArgumentSet(std::move(words));
}
} // namespace

TEST(CommandLineArgumentSet, FlagsAndStringValues)
{
    char program[] = "BrondelCLI";
    char flag[] = "-nSave";
    char* argv[] = {program, flag};
    const CommandLineArgumentSet arguments(argv, 2);
    EXPECT_TRUE(arguments.HasArgument("BrondelCLI")); // the program name is a word too
    EXPECT_TRUE(arguments.HasArgument("-nSave"));
    EXPECT_FALSE(arguments.HasArgument("-NSAVE"));
    EXPECT_FALSE(CommandLineArgumentSet(argv, 0).HasArgument("BrondelCLI"));
    EXPECT_STREQ(Exception_CLI().what(), "CLI parameter not found or malformed exception.");

    // A value never swallows the next option.
    EXPECT_EQ(Words({"prog", "-source", "a/X_Left.png"}).GetStringArg("-source"), "a/X_Left.png");
    EXPECT_THROW(Words({"prog", "-source", "-nSave"}).GetStringArg("-source"), Exception_CLI);
    EXPECT_THROW(Words({"prog", "-source"}).GetStringArg("-source"), Exception_CLI);
    EXPECT_THROW(Words({"prog"}).GetStringArg("-source"), Exception_CLI);
    EXPECT_EQ(Words({"prog", "-source", ""}).GetStringArg("-source"), "");
    // Only the first occurrence is looked at, even when a later one would be usable.
    EXPECT_THROW(Words({"prog", "-nSave", "-x", "-nSave", "out.png"}).GetStringArg("-nSave"), Exception_CLI);

    // Bare file names are anchored in the working directory.
    EXPECT_EQ(WithExplicitFolder("Head_Left.png"), "./Head_Left.png");
    EXPECT_EQ(WithExplicitFolder("art/Head_Left.png"), "art/Head_Left.png");
    EXPECT_EQ(WithExplicitFolder("/abs/Head_Left.png"), "/abs/Head_Left.png");
}

TEST(CommandLineArgumentSet, NumbersFollowTheCLibraryRulesAndTheBoundsAreInclusive)
{
    const auto arguments =
        Words({"prog", "-nBend", "2.5", "-x",   "1",    "-x",          "2",    "-n",  "-7", "-t", "12abc",
               "-s",   "  +3",   "-e",  "1e-2", "-big", "99999999999", "-nan", "nan", "-w", "abc"});
    EXPECT_FLOAT_EQ(arguments.GetFloatArg("-nBend", 0.0f, 5.0f), 2.5f);
    EXPECT_FLOAT_EQ(arguments.GetFloatArg("-nBend", 2.5f, 2.5f), 2.5f);
    EXPECT_THROW(arguments.GetFloatArg("-nBend", 0.0f, 2.0f), Exception_CLI);
    EXPECT_EQ(arguments.GetIntArg("-x", 0, 10), 1);
    EXPECT_EQ(arguments.GetIntArg("-n", -10, 0), -7);
    EXPECT_EQ(arguments.GetIntArg("-t", 0, 100), 12);
    EXPECT_EQ(arguments.GetIntArg("-s", 0, 3), 3);
    EXPECT_FLOAT_EQ(arguments.GetFloatArg("-e", -0.05f, 0.05f), 0.01f);
    EXPECT_THROW(arguments.GetIntArg("-big", INT_MIN, INT_MAX), Exception_CLI);
    EXPECT_THROW(arguments.GetFloatArg("-nan", -1e30f, 1e30f), Exception_CLI);
    EXPECT_THROW(arguments.GetIntArg("-w", 0, 10), Exception_CLI);
    EXPECT_THROW(arguments.GetFloatArg("-w", 0.0f, 10.0f), Exception_CLI);
    EXPECT_THROW(Words({"prog", "-dRefSteps"}).GetIntArg("-dRefSteps", 1, 10000), Exception_CLI);
}
