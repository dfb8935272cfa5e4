// Both atlas layouts, read through the file and page hooks, give the same regions and the same UVs,
// taken from the real page size rather than the declared one.
#include "SpineTestSkeletons.h"

namespace {
const char* OldAtlas = "\npage.png\nsize: 1022,1022\nformat: RGBA8888\nfilter: Linear,Linear\nrepeat: none\n"
                       "head\n  rotate: false\n  xy: 2, 4\n  size: 20, 10\n  orig: 24, 16\n  offset: 1, 2\n"
                       "  index: -1\narm\n  rotate: true\n  xy: 100, 200\n  size: 30, 10\n  orig: 30, 10\n"
                       "  offset: 0, 0\n  index: -1\n";
const char* NewAtlas = "page.png\n\tsize: 1022, 1022\n\tfilter: Linear, Linear\n\tpma: true\nhead\n"
                       "\tbounds: 2, 4, 20, 10\n\toffsets: 1, 2, 24, 16\narm\n\tbounds: 100, 200, 30, 10\n"
                       "\trotate: 90\n\tsplit: 1, 2, 3, 4\n";

// Stands in for the renderer: remembers the page paths and reports the real image as 1024 square.
class RealSizePages : public SpinePageLoader
{
public:
    std::vector<std::string> paths;
    bool LoadPage(SpineAtlasPage& page, const std::string& path) override
    {
        paths.push_back(path);
        page.width = 1024;
        page.height = 1024;
        return true;
    }
};

std::shared_ptr<const SpineAtlas> LoadAtlas(const char* text, RealSizePages& pages)
{
    std::string error;
    const SpineFileReader fromMemory = [&](const std::string& path, QByteArray& bytes) {
        if (path != "art/hero.atlas")
            return false;
        bytes = QByteArray(text);
        return true;
    };
    std::shared_ptr<const SpineAtlas> atlas = SpineAtlas::Load("art/hero.atlas", &pages, fromMemory, error);
    EXPECT_TRUE(atlas) << error;
    return atlas;
}

void ExpectUVs(const float* uvs, std::initializer_list<float> pixels)
{
    int i = 0;
    for (float pixel : pixels)
    {
        EXPECT_NEAR(uvs[i], pixel / 1024.0f, 1e-6f) << "uv " << i;
        ++i;
    }
}
} // namespace

TEST(SpineAtlas, BothLayoutsGiveTheSameQuadsAndUVs)
{
    const std::string skeleton = R"({"bones":[{"name":"root"}],
        "slots":[{"name":"head","bone":"root","attachment":"head"},{"name":"arm","bone":"root","attachment":"arm"},
                 {"name":"armMesh","bone":"root","attachment":"armMesh"},
                 {"name":"headMesh","bone":"root","attachment":"headMesh"}],
        "skins":{"default":{"head":{"head":{"width":24,"height":16}},"arm":{"arm":{"width":30,"height":10}},
            "armMesh":{"armMesh":{"type":"mesh","path":"arm","uvs":[0,0,1,0,0,1],"triangles":[0,1,2],
                "vertices":[0,0,1,0,0,1]}},
            "headMesh":{"headMesh":{"type":"mesh","path":"head","uvs":[0,0,1,1],"triangles":[],
                "vertices":[0,0,1,1]}}}}})";
    for (const char* text : {OldAtlas, NewAtlas})
    {
        RealSizePages pages;
        const auto atlas = LoadAtlas(text, pages);
        ASSERT_TRUE(atlas);
        EXPECT_EQ(pages.paths, std::vector<std::string>{"art/page.png"});
        ASSERT_EQ(atlas->regions.size(), 2u);
        EXPECT_EQ(atlas->regions[1].degrees, 90);
        const auto data = ReadSkeleton(skeleton, atlas);
        ASSERT_TRUE(data);
        SpineSkeleton posed(*data);

        // Head: 24 x 16 original, 20 x 10 packed, 1 pixel stripped at the left and 2 at the bottom.
        const SpineAttachment& head = *posed.slotList[0].attachment;
        const float corners[] = {-11, -6, 9, -6, 9, 4, -11, 4};
        for (int i = 0; i < 8; ++i)
            EXPECT_NEAR(head.corners[static_cast<std::size_t>(i)], corners[i], 1e-5f) << i;
        ExpectUVs(head.cornerUVs.data(), {2, 14, 22, 14, 22, 4, 2, 4});

        // Arm: stored turned a quarter turn, so its 30 x 10 image covers 10 x 30 page pixels.
        ExpectUVs(posed.slotList[1].attachment->cornerUVs.data(), {110, 230, 110, 200, 100, 200, 100, 230});
        ExpectUVs(posed.slotList[2].attachment->uvs.data(), {100, 230, 100, 200, 110, 230});
        // Mesh UVs are fractions of the original image, stripped whitespace included.
        ExpectUVs(posed.slotList[3].attachment->uvs.data(), {1, 0, 25, 16});
    }
}

TEST(SpineAtlas, PageSettingsAndExtraValuesAreKept)
{
    RealSizePages pages;
    const auto atlas = LoadAtlas(NewAtlas, pages);
    ASSERT_TRUE(atlas);
    EXPECT_TRUE(atlas->pages[0].premultipliedAlpha);
    EXPECT_EQ(atlas->pages[0].minFilter, "Linear");
    EXPECT_EQ(atlas->regions[1].values.at("split"), (std::vector<int>{1, 2, 3, 4}));
    // Without a real size the declared one is used.
    std::string error;
    const auto declared = SpineAtlas::Parse(QByteArray(OldAtlas), error);
    ASSERT_TRUE(declared);
    EXPECT_EQ(declared->pages[0].width, 1022);
    EXPECT_FALSE(declared->pages[0].premultipliedAlpha);
    const auto marked = SpineAtlas::Parse(QByteArray("hero-pma.png\nsize: 4,4\n"), error);
    ASSERT_TRUE(marked);
    EXPECT_TRUE(marked->pages[0].premultipliedAlpha);
}

// A 4.1 sequence is not animated, but shows the region of its setup frame: path + zero-padded number.
TEST(SpineAtlas, SequencesShowTheirSetupFrame)
{
    std::string error;
    std::shared_ptr<const SpineAtlas> atlas =
        SpineAtlas::Parse(QByteArray("page.png\nsize: 64, 64\nfire002\n\tbounds: 8, 0, 8, 8\n"), error);
    ASSERT_TRUE(atlas) << error;
    std::vector<std::string> warnings;
    const auto data =
        ReadSkeleton(R"({"bones":[{"name":"root"}],"slots":[{"name":"s","bone":"root","attachment":"fire"}],
        "skins":[{"name":"default","attachments":{"s":{"fire":{"width":8,"height":8,
        "sequence":{"count":3,"start":1,"digits":3,"setup":1}}}}}]})",
                     atlas, &warnings);
    ASSERT_TRUE(data);
    const SpineAttachment* fire = data->defaultSkin->Find(0, "fire");
    ASSERT_NE(fire, nullptr);
    ASSERT_NE(fire->region, nullptr);
    EXPECT_EQ(fire->region->name, "fire002");
    EXPECT_NEAR(fire->cornerUVs[0], 8.0f / 64.0f, 1e-6f);
    EXPECT_EQ(warnings.size(), 1u);
}
