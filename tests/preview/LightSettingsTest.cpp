#include "preview/LightSettings.h"

#include "support/TestImages.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {
std::string ReadAll(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteAll(const std::string& path, const std::string& text)
{
    std::ofstream(path) << text;
}

// Twelve entries with any labels; the values are what matter.
std::string FileWithValues(const std::string& label, const std::vector<std::string>& values)
{
    std::string text;
    for (const std::string& value : values)
        text += label + "\n" + value + "\n";
    return text;
}

void ExpectColour(const Colour& c, float r, float g, float b, float a)
{
    EXPECT_FLOAT_EQ(c.r, r);
    EXPECT_FLOAT_EQ(c.g, g);
    EXPECT_FLOAT_EQ(c.b, b);
    EXPECT_FLOAT_EQ(c.a, a);
}
} // namespace

TEST(LightSettingsFile, DefaultsWriteTheExactTextAndReadBackThroughEightBits)
{
    TempFolder folder;
    const std::string path = folder.File("DefaultLightSettings.txt");
    ASSERT_TRUE(LightSettings().WriteToFile(path));
    EXPECT_EQ(ReadAll(path), "Background colour:\n(25, 25, 25, 255)\n"
                             "Direct light colour:\n(255, 255, 216, 255)\n"
                             "Upper ambient colour:\n(255, 255, 216, 255)\n"
                             "Lower ambient colour:\n(216, 216, 255, 255)\n"
                             "Direct light multiplier:\n0.8\n"
                             "Upper ambient multiplier:\n0.2\n"
                             "Lower ambient multiplier:\n0.1\n"
                             "Upper and lower ambient lock:\n0\n"
                             "Using directional light:\n0\n"
                             "Render light source icon:\n1\n"
                             "Light attenuation factor:\n0\n"
                             "Light wrap amount:\n0\n");

    LightSettings read;
    read.directLightColour = Colour(0, 0, 0, 0);
    read.directLightMultiplier = 5.0f;
    read.ReadFromFile(path);
    ExpectColour(read.directLightColour, 1.0f, 1.0f, 216.0f / 255.0f, 1.0f);
    EXPECT_FLOAT_EQ(read.directLightMultiplier, 0.8f);
    EXPECT_TRUE(read.renderLightSourceIcon);

    LightSettings odd;
    odd.lightWrapAmount = 0.123456789f;
    odd.ambientLock = true;
    odd.usingDirectionalLight = true;
    ASSERT_TRUE(odd.WriteToFile(path));
    LightSettings back;
    back.ReadFromFile(path);
    EXPECT_FLOAT_EQ(back.lightWrapAmount, 0.123457f); // six significant digits
    EXPECT_TRUE(back.ambientLock);
    EXPECT_TRUE(back.usingDirectionalLight);
}

TEST(LightSettingsFile, ValuesAreReadByPositionWhateverTheLabels)
{
    TempFolder folder;
    const std::string path = folder.File("settings.txt");
    WriteAll(path, FileWithValues("Mispelt labl:",
                                  {"(0, 0, 255, 255)", "(255, 0, 0, 255)", "(0, 255, 0, 255)",
                                   "(10, 20, 30, 40)", "1.5", "0.25", "0.125", "2", "0", "0", "3", "0.5"}));
    LightSettings s;
    s.ReadFromFile(path);
    ExpectColour(s.backgroundColour, 0, 0, 1, 1);
    ExpectColour(s.directLightColour, 1, 0, 0, 1);
    ExpectColour(s.upperAmbientColour, 0, 1, 0, 1);
    ExpectColour(s.lowerAmbientColour, 10 / 255.0f, 20 / 255.0f, 30 / 255.0f, 40 / 255.0f);
    EXPECT_FLOAT_EQ(s.directLightMultiplier, 1.5f);
    EXPECT_FLOAT_EQ(s.upperAmbientMultiplier, 0.25f);
    EXPECT_FLOAT_EQ(s.lowerAmbientMultiplier, 0.125f);
    EXPECT_TRUE(s.ambientLock); // any non-zero number is true
    EXPECT_FALSE(s.usingDirectionalLight);
    EXPECT_FALSE(s.renderLightSourceIcon);
    EXPECT_FLOAT_EQ(s.lightAttenuationFactor, 3.0f);
    EXPECT_FLOAT_EQ(s.lightWrapAmount, 0.5f);
}

TEST(LightSettingsFile, DamageIsContainedTheWayTheReadPromises)
{
    TempFolder folder;
    const std::string path = folder.File("settings.txt");
    const LightSettings defaults;

    // A missing file changes nothing and throws nothing.
    LightSettings missing;
    missing.ReadFromFile(folder.File("absent.txt"));
    EXPECT_EQ(missing.directLightColour, defaults.directLightColour);

    // A bad colour keeps that colour and reading goes on.
    WriteAll(path, FileWithValues("x", {"not a colour", "(255, 0, 0, 255)", "(1, 2)", "(0, 0, 0", "0.5",
                                        "0.5", "0.5", "1", "1", "1", "1", "1"}));
    LightSettings colours;
    colours.ReadFromFile(path);
    EXPECT_EQ(colours.backgroundColour, defaults.backgroundColour);
    ExpectColour(colours.directLightColour, 1, 0, 0, 1);
    EXPECT_EQ(colours.upperAmbientColour, defaults.upperAmbientColour);
    EXPECT_EQ(colours.lowerAmbientColour, defaults.lowerAmbientColour);
    EXPECT_FLOAT_EQ(colours.lightWrapAmount, 1.0f);

    // An empty file keeps the colours and throws at the first multiplier.
    WriteAll(path, "");
    LightSettings empty;
    empty.backgroundColour = Colour(0.5f, 0.5f, 0.5f, 1.0f);
    EXPECT_THROW(empty.ReadFromFile(path), std::invalid_argument);
    EXPECT_EQ(empty.backgroundColour, Colour(0.5f, 0.5f, 0.5f, 1.0f));

    // A bad number stops the read there; the entries before it are already in.
    WriteAll(path, FileWithValues("x", {"(0, 0, 0, 255)", "(0, 0, 0, 255)", "(0, 0, 0, 255)",
                                        "(0, 0, 0, 255)", "2", "oops", "0.5", "1", "1", "0", "1", "1"}));
    LightSettings partial;
    EXPECT_THROW(partial.ReadFromFile(path), std::invalid_argument);
    EXPECT_FLOAT_EQ(partial.directLightMultiplier, 2.0f);
    EXPECT_FLOAT_EQ(partial.lowerAmbientMultiplier, defaults.lowerAmbientMultiplier);

    // The caller that must keep running gets every value back as it was.
    LightSettings kept;
    EXPECT_FALSE(kept.ReadFromFileKeepingValues(path));
    EXPECT_EQ(kept.backgroundColour, defaults.backgroundColour);
    EXPECT_FLOAT_EQ(kept.directLightMultiplier, defaults.directLightMultiplier);
}

TEST(LightSettingsFile, UnwritablePlaceIsReportedAndLeavesNoFile)
{
    TempFolder folder;
    std::string error;
    EXPECT_FALSE(LightSettings().WriteToFile(folder.File("no/such/folder/settings.txt"), &error));
    EXPECT_FALSE(error.empty());
}

// The settings file shipped with the resources is the one a fresh install reads: it must hold exactly
// the built-in defaults (as far as 8-bit colours can), or a reset and a first start would disagree.
TEST(LightSettingsFile, TheShippedDefaultsFileMatchesTheBuiltInValues)
{
    LightSettings shipped;
    shipped.backgroundColour = Colour(0, 0, 0, 0);
    shipped.directLightMultiplier = 0.0f;
    shipped.renderLightSourceIcon = false;
    ASSERT_TRUE(shipped.ReadFromFileKeepingValues(BRONDEL_RESOURCE_DIR "DefaultLightSettings.txt"));
    const LightSettings builtIn;
    EXPECT_EQ(shipped.backgroundColour, builtIn.backgroundColour);
    EXPECT_EQ(shipped.directLightColour, builtIn.directLightColour);
    EXPECT_EQ(shipped.lowerAmbientColour, builtIn.lowerAmbientColour);
    EXPECT_FLOAT_EQ(shipped.directLightMultiplier, builtIn.directLightMultiplier);
    EXPECT_EQ(shipped.renderLightSourceIcon, builtIn.renderLightSourceIcon);

    TempFolder folder;
    ASSERT_TRUE(builtIn.WriteToFile(folder.File("written.txt")));
    EXPECT_EQ(ReadAll(folder.File("written.txt")), ReadAll(BRONDEL_RESOURCE_DIR "DefaultLightSettings.txt"));
}
