#include "sets/ImageSet.h"
#include "sets/StringHelpers.h"

#include <gtest/gtest.h>

TEST(StringHelpers, PathPiecesUseOnlySlashAndDot)
{
    EXPECT_EQ(GetFilenameWithoutExtension("art/v1.2/Head_Left.png"), "Head_Left");
    EXPECT_EQ(GetFilenameWithoutExtension("Head"), "Head");
    EXPECT_EQ(GetFileExtension("art/Head_Left.png"), ".png");
    EXPECT_EQ(GetFileExtension("dir.old/Sprite_Left"), ".old/Sprite_Left");
    EXPECT_EQ(GetFileExtension("Head"), "");
    EXPECT_EQ(GetDirectoryWithoutFilename("a/b/c.png"), "a/b");
    EXPECT_EQ(GetDirectoryWithoutFilename("c.png"), "");
    EXPECT_EQ(MakeLower("AbC_1"), "abc_1");

    EXPECT_TRUE(EndsWith("abcabc", "abc", true));
    EXPECT_FALSE(EndsWith("ab", "abc", true));
    EXPECT_TRUE(EndsWith("X_LEFT", "_Left", false));
    EXPECT_FALSE(EndsWith("X_LEFT", "_Left", true));
}

TEST(StringHelpers, TokenisingKeepsInnerEmptiesButNotATrailingOne)
{
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(TokeniseByChar("a,,b", ','), (Pieces{"a", "", "b"}));
    EXPECT_EQ(TokeniseByChar(",a", ','), (Pieces{"", "a"}));
    EXPECT_EQ(TokeniseByChar("a,", ','), (Pieces{"a"}));
    EXPECT_EQ(TokeniseByChar("", ','), Pieces{});
    EXPECT_EQ(TokeniseByChar("  x", ' '), (Pieces{"", "", "x"}));
    EXPECT_EQ(TokeniseByChar(std::wstring(L"a;b;"), L';'), (std::vector<std::wstring>{L"a", L"b"}));
}

TEST(ImageSet, NamesEveryMemberFromOneFilename)
{
    const SuffixSet suffixes;
    EXPECT_EQ(suffixes.GetSuffix(ImageType::Top), "_Top");
    EXPECT_EQ(suffixes.GetSuffix(ImageType::NormalOpacity), "_NormalOpacity");
    EXPECT_EQ(suffixes.GetSuffix(ImageType::Index), "_Index");

    const ImageSet set("dir/Sprite_Front.jpg", suffixes, true);
    EXPECT_TRUE(set.isValid);
    EXPECT_EQ(set.baseName, "dir/Sprite");
    EXPECT_EQ(set.extension, ".jpg");
    EXPECT_EQ(set.GetFilenameOfType(ImageType::Normal, suffixes), "dir/Sprite_Normal.jpg");

    EXPECT_EQ(ImageSet("dir/Sprite_NormalDepth.png", suffixes, true).baseName, "dir/Sprite");
    EXPECT_EQ(ImageSet("dir/Sprite_Normal_Depth.png", suffixes, true).baseName, "dir/Sprite_Normal");

    const ImageSet bare("dir/Sprite_Left", suffixes, true);
    EXPECT_TRUE(bare.isValid);
    EXPECT_EQ(bare.GetFilenameOfType(ImageType::AO, suffixes), "dir/Sprite_AO");

    // A bare name still gets the separator: callers pass full paths.
    EXPECT_EQ(ImageSet("Head_Left.png", suffixes, true).baseName, "/Head");
}

TEST(ImageSet, RefusesNamesWithoutAWholeSuffix)
{
    const SuffixSet suffixes;
    for (const char* name : {"dir/Sprite_front.png", "dir/Head_Left2.png", "dir/Head_LeftSide.png",
                             "dir/_Diffuse.png", "dir/Head.png"})
    {
        const ImageSet set(name, suffixes, true);
        EXPECT_FALSE(set.isValid) << name;
        EXPECT_EQ(set.baseName, "") << name;
    }
    // Without case sensitivity the suffix matches, yet members keep the table's spelling.
    const ImageSet loose("dir/sprite_front.png", suffixes, false);
    EXPECT_TRUE(loose.isValid);
    EXPECT_EQ(loose.GetFilenameOfType(ImageType::Diffuse, suffixes), "dir/sprite_Diffuse.png");

    EXPECT_TRUE(ImageSet("a/B_Left.png", suffixes, true) == ImageSet("a/B_Diffuse.png", suffixes, true));
    EXPECT_FALSE(ImageSet("a/B_Left.png", suffixes, true) == ImageSet("a/B_Left.PNG", suffixes, true));
}
