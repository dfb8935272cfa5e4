#include "sets/BrondelCore.h"

#include "core/Image.h"
#include "core/ZeroedMemory.h"
#include "processing/GenerationProgress.h"
#include "processing/ImageProcessor.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

namespace {
using Names = std::vector<std::string>;

// A core on the source tree's placeholders that records what it tells its owner.
struct ObservedCore
{
    BrondelCore core{BRONDEL_RESOURCE_DIR};
    Names captions;
    Names texts;
    Names setNames;
    int refreshes = 0;
    RecordingLog log;

    ObservedCore()
    {
        core.SetMessageCallback([this](std::string text, std::string caption) {
            texts.push_back(text);
            captions.push_back(caption);
        });
        core.SetRefreshCallback([this] { ++refreshes; });
        core.SetSetListChangedCallback([this](Names names) { setNames = names; });
        core.SetLog(log.output);
    }
};
} // namespace

TEST(BrondelCore, MultipleLoadsCollapseMembersAndShareTheLastValidExtension)
{
    ObservedCore observed;
    BrondelCore& core = observed.core;
    ASSERT_TRUE(
        core.LoadMultipleImageSets({"a/X_Left.png", "a/X_Top.png", "nosuffix.png", "b/Y_Diffuse.jpg"}));
    ASSERT_EQ(core.GetImageSetCount(), 2);
    Names bases = {core.GetImageSet(0)->baseName, core.GetImageSet(1)->baseName};
    std::sort(bases.begin(), bases.end());
    EXPECT_EQ(bases, (Names{"a/X", "b/Y"}));
    EXPECT_EQ(core.GetImageSet(0)->extension, ".jpg");
    EXPECT_EQ(core.GetImageSet(1)->extension, ".jpg");
    std::sort(observed.setNames.begin(), observed.setNames.end());
    EXPECT_EQ(observed.setNames, (Names{"X", "Y"}));
    EXPECT_TRUE(observed.captions.empty());

    // Nothing valid: refused with the suffix message, the loaded sets stay.
    EXPECT_FALSE(core.LoadMultipleImageSets({"a/Left.png", "b/_Diffuse.png"}));
    EXPECT_EQ(observed.captions, (Names{"Couldn't find valid filename suffix"}));
    core.LoadImageSet("c/Z_Sideways.png");
    EXPECT_EQ(observed.captions.size(), 2u);
    EXPECT_EQ(core.GetImageSetCount(), 2);

    // Processors follow the number of sets down again, and set 0 becomes current.
    core.LoadImageSet("c/Z_Left.png");
    EXPECT_EQ(core.GetProcessorCount(), 3);
    ASSERT_TRUE(core.LoadMultipleImageSets({"d/W_Front.png"}));
    EXPECT_EQ(core.GetProcessorCount(), 1);
    EXPECT_EQ(core.GetCurrentIndex(), 0);
    EXPECT_EQ(core.GetDefaultFilenameByType(ImageType::NormalDepth), "d/W_NormalDepth.png");
}

TEST(BrondelCore, CurrentSetRulesForLoadingSelectingAndClearing)
{
    ObservedCore observed;
    BrondelCore& core = observed.core;
    // Construction leaves index 0 and no set; the first single load must land on set 0, not past it.
    EXPECT_EQ(core.GetFilenameFromCurrentSet(ImageType::Normal), "");
    EXPECT_EQ(core.GetCustomFilename("_Preview", "gif"), "Image_Preview.gif");
    core.LoadImageSet("a/X_Left.png");
    core.LoadImageSet("a/Y_Left.png");
    EXPECT_EQ(core.GetCurrentIndex(), 1);
    EXPECT_EQ(core.GetProcessorCount(), 2);
    EXPECT_EQ(observed.setNames, (Names{"X", "Y"}));
    EXPECT_EQ(core.GetCustomFilename("_Light", "png"), "a/Y_Light.png");

    const int refreshes = observed.refreshes;
    core.SelectImageSet(-1);
    core.SelectImageSet(2);
    EXPECT_EQ(core.GetCurrentIndex(), 1);
    EXPECT_EQ(observed.refreshes, refreshes);
    core.SelectImageSet(0);
    EXPECT_EQ(core.GetFilenameFromCurrentSet(ImageType::Normal), "a/X_Normal.png");
    EXPECT_EQ(observed.refreshes, refreshes + 1);

    core.ClearImageSets();
    EXPECT_EQ(core.GetCurrentIndex(), -1);
    EXPECT_EQ(core.GetFilenameFromCurrentSet(ImageType::Normal), "");
    EXPECT_EQ(core.GetCustomFilename("_Preview", "gif"), "Image_Preview.gif");
    EXPECT_EQ(core.SaveCurrentImageByType(ImageType::Normal), BrondelCore::SaveOutcome::NothingToSave);
    core.AttemptNormalGeneration(); // no current processor: nothing happens, nothing breaks
    EXPECT_EQ(core.CheckNormalsTime(false), 0);
    EXPECT_EQ(core.GetProcessorCount(), 2) << "processors are kept for reuse";
    core.LoadImageSet("b/Z_Top.png");
    EXPECT_EQ(core.GetCurrentIndex(), 0);
}

TEST(BrondelCore, AllVariantsVisitEverySetAndRestoreTheCurrentOne)
{
    TempFolder folder;
    WriteProfiles(folder.File("A"));
    WriteProfiles(folder.File("B"));
    ObservedCore observed;
    BrondelCore& core = observed.core;
    ASSERT_TRUE(core.LoadMultipleImageSets({folder.File("A_Left.png"), folder.File("B_Left.png")}));
    core.SelectImageSet(1);
    core.AttemptNormalGenerationAll();
    EXPECT_EQ(core.GetCurrentIndex(), 1);
    EXPECT_TRUE(core.GetProcessor(0)->IsLoaded(ImageType::Normal) &&
                core.GetProcessor(1)->IsLoaded(ImageType::Normal));

    // Neither set has a diffuse map: the first failure stops the run before the second set.
    EXPECT_FALSE(core.AttemptPaletteGenerationAll());
    EXPECT_EQ(observed.captions.size(), 1u);
    EXPECT_EQ(core.GetCurrentIndex(), 1);

    // Profiles of different sizes are refused with the resolution message, without generating.
    MakeFlat(4, 4, 0.5f)->SaveToDisk(folder.File("small.png"));
    core.LoadImageOfType(folder.File("small.png"), ImageType::Top);
    core.AttemptNormalGeneration();
    EXPECT_EQ(observed.captions.back(), "Resolution mismatch");
    core.LoadDefaultImageOfType(ImageType::Top);
    core.LoadDefaultImageOfType(ImageType::Bottom);
    core.AttemptNormalGeneration();
    EXPECT_EQ(observed.captions.back(), "Insufficient lighting profiles");
}

TEST(BrondelCore, TimeEstimatesUseStrictLimitsIntegerRatiosAndSaturate)
{
    TempFolder folder;
    MakeFlat(1000, 1000, 0.0f)->SaveToDisk(folder.File("Big_Left.png"));
    MakeFlat(10, 10, 0.0f)->SaveToDisk(folder.File("Small_Left.png"));
    BrondelCore core(BRONDEL_RESOURCE_DIR);
    core.LoadImageSet(folder.File("Big_Left.png"));
    core.LoadImageSet(folder.File("Small_Left.png"));
    core.SelectImageSet(0);

    EXPECT_EQ(core.CheckNormalsTime(false), 1000000);
    EXPECT_EQ(core.CheckNormalsTime(true), 1000100);
    EXPECT_EQ(core.CheckDepthTime(false), 100000000);
    EXPECT_FALSE(core.CheckDepthTime(false) > BrondelCore::kDepthTimeLimit);
    core.SetAOBoxSize(6);
    EXPECT_EQ(core.CheckAOTime(false), 36000000);
    EXPECT_TRUE(core.CheckAOTime(false) > BrondelCore::kAOTimeLimit);
    core.SetAOBoxSize(5);
    core.SetAOStepSize(2);
    EXPECT_EQ(core.CheckAOTime(false), 4000000);

    core.SetDepthRefinementSteps(10000);
    EXPECT_EQ(core.CheckDepthTime(false), INT_MAX);
    EXPECT_EQ(core.CheckDepthTime(true), INT_MAX);
    core.SetAOBoxSize(100);
    core.SetAOStepSize(1);
    EXPECT_EQ(core.CheckAOTime(true), INT_MAX);
}

TEST(BrondelCore, CompositeSavesFallBackToTheirParts)
{
    TempFolder folder;
    WriteProfiles(folder.File("X"));
    MakeGrey(8, 8, [](int x, int) { return x / 7.0f; })->SaveToDisk(folder.File("depth.png"));
    ObservedCore observed;
    BrondelCore& core = observed.core;
    core.LoadImageSet(folder.File("X_Left.png"));
    core.AttemptNormalGeneration();
    ASSERT_TRUE(core.HasNonDefaultImageOfType(ImageType::Normal));
    ASSERT_FALSE(core.HasNonDefaultImageOfType(ImageType::Depth));

    // Normal map only: the default-name save of a composite writes the part under its own name.
    EXPECT_EQ(core.SaveCurrentImageByType(ImageType::NormalDepth), BrondelCore::SaveOutcome::Saved);
    EXPECT_EQ(core.SaveCurrentImageByType(ImageType::NormalOpacity), BrondelCore::SaveOutcome::Saved);
    EXPECT_TRUE(FileExists(folder.File("X_Normal.png")));
    EXPECT_FALSE(FileExists(folder.File("X_NormalDepth.png")) ||
                 FileExists(folder.File("X_NormalOpacity.png")));
    EXPECT_EQ(core.SaveCurrentImageByType(ImageType::Depth), BrondelCore::SaveOutcome::NothingToSave);

    // Both parts but no composite built: the file still holds the normals with the depth as alpha.
    core.LoadImageOfType(folder.File("depth.png"), ImageType::Depth);
    ASSERT_EQ(core.SaveCurrentImageByType(ImageType::NormalDepth, folder.File("both.png")),
              BrondelCore::SaveOutcome::Saved);
    const Image both(folder.File("both.png"));
    EXPECT_EQ(both.GetPixel(3, 2).r, core.GetCurrentBitmapByType(ImageType::Normal)->GetPixel(3, 2).r);
    EXPECT_FLOAT_EQ(both.GetPixel(0, 0).a, 0.0f);
    EXPECT_FLOAT_EQ(both.GetPixel(7, 0).a, 1.0f);

    // Depth only, one filename: the depth map is what ends up in it.
    core.LoadDefaultImageOfType(ImageType::Normal);
    ASSERT_EQ(core.SaveCurrentImageByType(ImageType::NormalDepth, folder.File("one.png")),
              BrondelCore::SaveOutcome::Saved);
    EXPECT_TRUE(SameBytes(Image(folder.File("one.png")), *core.GetCurrentBitmapByType(ImageType::Depth)));

    // A failed write is logged and shown with its file name, and leaves no file.
    const std::string unwritable = folder.File("missing/d.png");
    EXPECT_EQ(core.SaveCurrentImageByType(ImageType::Depth, unwritable), BrondelCore::SaveOutcome::Failed);
    EXPECT_FALSE(FileExists(unwritable));
    ASSERT_FALSE(observed.texts.empty());
    EXPECT_NE(observed.texts.back().find(unwritable), std::string::npos);
    EXPECT_NE(observed.log.lines.back().find(unwritable), std::string::npos);
}

// The window's worker hands the core a token: a cancel stops an All run at the set it is on, and a
// refused allocation becomes a message box while the set keeps its maps.
TEST(BrondelCore, CancelStopsAllRunsAndRefusedMemoryIsAMessage)
{
    TempFolder folder;
    WriteProfiles(folder.File("A"), 64);
    WriteProfiles(folder.File("B"), 64);
    ObservedCore observed;
    BrondelCore& core = observed.core;
    ASSERT_TRUE(core.LoadMultipleImageSets({folder.File("A_Left.png"), folder.File("B_Left.png")}));

    GenerationProgress progress([&](int) {}, true);
    progress.RequestCancel();
    core.SetGenerationProgress(&progress);
    core.AttemptNormalGenerationAll();
    EXPECT_EQ(core.GetLastGenerationOutcome(), GenerationOutcome::Cancelled);
    for (int set = 0; set < 2; ++set)
        EXPECT_FALSE(core.GetProcessor(set)->IsLoaded(ImageType::Normal)) << set;
    core.SetGenerationProgress(nullptr);

    core.AttemptNormalGeneration();
    ASSERT_TRUE(core.HasNonDefaultImageOfType(ImageType::Normal));
    SetZeroedMemoryLimit(ZeroedBytesInUse() + 1024);
    core.AttemptDepthGeneration();
    SetZeroedMemoryLimit(0);
    EXPECT_EQ(core.GetLastGenerationOutcome(), GenerationOutcome::Failed);
    EXPECT_EQ(observed.captions, (Names{"Not enough memory"}));
    EXPECT_FALSE(core.HasNonDefaultImageOfType(ImageType::Depth));
    EXPECT_TRUE(core.HasNonDefaultImageOfType(ImageType::Normal));
}
