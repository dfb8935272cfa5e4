// What a long generation owes the artist besides its pixels: memory that comes back, a cancel that
// leaves the set as it was, and a failed allocation that is reported instead of ending the program.
#include "core/Image.h"
#include "core/ZeroedMemory.h"
#include "processing/GenerationGuard.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <unistd.h>

namespace {
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t resident = 0;
    statm >> pages >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Profiles of a lit dome at size x size, with a flow map: every generator has real work to do.
struct DomeSet : ProcessorFixture
{
    explicit DomeSet(int size)
    {
        const float c = (size - 1) / 2.0f;
        const auto lit = [=](float lx, float ly) {
            return MakeGrey(size, size, [=](int x, int y) {
                const float nx = (x - c) / c;
                const float ny = (c - y) / c;
                const float nz = std::sqrt(std::fmax(0.0f, 1.0f - nx * nx - ny * ny));
                return std::fmax(0.0f, nx * lx + ny * ly + 0.2f * nz);
            });
        };
        Set(ImageType::Left, lit(-1, 0));
        Set(ImageType::Right, lit(1, 0));
        Set(ImageType::Top, lit(0, 1));
        Set(ImageType::Bottom, lit(0, -1));
        Set(ImageType::Flow,
            MakeGrey(size, size, [=](int x, int y) { return ((x * 7 + y * 3) % 64) / 63.0f; }));
        processor.ComputeBestDimensions();
    }

    void Normals(const GenerationProgress& token = GenerationProgress::Uncancellable())
    {
        processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false, token);
    }
    void Depth(float emphasis, int steps = 20,
               const GenerationProgress& token = GenerationProgress::Uncancellable())
    {
        processor.GenerateDepthMapFromNormals(steps, false, emphasis, token);
    }
};

// Everything a cancelled or failed generation must leave untouched.
struct SetState
{
    std::vector<std::unique_ptr<Image>> images;
    std::vector<bool> loaded;
    std::vector<std::vector<float>> depth;
    std::vector<float> normals;
    const void* editor = nullptr;

    explicit SetState(DomeSet& set)
    {
        ImageProcessor& p = set.processor;
        for (int type = 0; type < kImageTypeCount; ++type)
        {
            const Image* image = p.GetImage(static_cast<ImageType>(type));
            images.push_back(image ? std::make_unique<Image>(*image) : nullptr);
            loaded.push_back(p.IsLoaded(static_cast<ImageType>(type)));
        }
        for (int level = 0; level < p.GetMipCount(); ++level)
            if (const float* d = p.GetDepthArray(level))
                depth.emplace_back(d, d + p.MipWidth(level) * p.MipHeight(level));
        if (const Vector3D* n = p.GetNormalArray(0))
            for (int i = 0; i < p.GetWidth() * p.GetHeight(); ++i)
                normals.insert(normals.end(), {n[i].x, n[i].y, n[i].z});
        editor = p.GetDepthEditor();
    }

    void ExpectSame(const SetState& other) const
    {
        for (std::size_t type = 0; type < images.size(); ++type)
        {
            EXPECT_EQ(loaded[type], other.loaded[type]) << "kind " << type;
            ASSERT_EQ(images[type] == nullptr, other.images[type] == nullptr) << "kind " << type;
            if (images[type])
            {
                EXPECT_TRUE(SameBytes(*images[type], *other.images[type])) << "kind " << type;
            }
        }
        ASSERT_EQ(depth.size(), other.depth.size());
        for (std::size_t level = 0; level < depth.size(); ++level)
            EXPECT_TRUE(SameBits(depth[level], other.depth[level])) << "depth level " << level;
        EXPECT_TRUE(SameBits(normals, other.normals));
        EXPECT_EQ(editor, other.editor);
    }
};

// A token that asks to stop once the generation reports `at` percent or more.
struct CancelAt
{
    explicit CancelAt(int at)
        : token([this, at](int percent) {
              reports.push_back(percent);
              if (percent >= at)
                  token.RequestCancel();
          })
    {}
    std::vector<int> reports;
    GenerationProgress token;
};

struct MemoryLimit
{
    explicit MemoryLimit(std::size_t bytes) { SetZeroedMemoryLimit(bytes); }
    ~MemoryLimit() { SetZeroedMemoryLimit(0); }
};
} // namespace

TEST(GenerationSafety, RepeatedGenerationsGiveTheirMemoryBack)
{
    DomeSet set(1024);
    const auto generate = [&] {
        set.Normals();
        set.Depth(0.5f);
    };
    generate();
    generate();
    const std::size_t inUse = ZeroedBytesInUse();
    const std::size_t resident = ResidentBytes();
    for (int run = 0; run < 8; ++run)
        generate();
    EXPECT_EQ(ZeroedBytesInUse(), inUse);
    // Each generation at this size works on about 30 MB of sheet-sized arrays; a leak of those shows
    // as hundreds of MB here. The sanitizer's quarantine keeps freed memory resident, so there the leak
    // checker does this job instead.
    if (!kSanitized)
    {
        EXPECT_LT(ResidentBytes(), resident + (std::size_t{48} << 20));
    }
}

TEST(GenerationSafety, ACancelledGenerationLeavesTheSetAsItWas)
{
    DomeSet set(256);
    set.Normals();
    set.Depth(0.2f);
    const SetState before(set);

    CancelAt depth(30);
    EXPECT_THROW(set.Depth(1.5f, 120, depth.token), GenerationCancelled);
    SetState(set).ExpectSame(before);
    // Progress climbs, and stops at the first report past the mark.
    ASSERT_FALSE(depth.reports.empty());
    EXPECT_TRUE(std::is_sorted(depth.reports.begin(), depth.reports.end()));
    EXPECT_GE(depth.reports.back(), 30);
    EXPECT_LT(depth.reports.back(), 100);

    CancelAt normals(50);
    EXPECT_THROW(set.Normals(normals.token), GenerationCancelled);
    SetState(set).ExpectSame(before);

    CancelAt anisotropy(50);
    EXPECT_THROW(set.processor.GenerateAnisotropyMap(3, 0, anisotropy.token), GenerationCancelled);
    EXPECT_FALSE(set.processor.IsLoaded(ImageType::Aniso));

    // After all that, the set still generates exactly what it generated before (with a new editor).
    set.Depth(0.2f);
    SetState after(set);
    after.editor = before.editor;
    after.ExpectSame(before);
}

TEST(GenerationSafety, RefusedMemoryIsReportedAndLeavesTheSetAsItWas)
{
    DomeSet set(128);
    set.Normals();
    const SetState before(set);
    std::vector<std::string> said;
    const auto report = [&](std::string text, std::string caption) { said.push_back(caption + ": " + text); };
    {
        MemoryLimit limit(ZeroedBytesInUse() + 1024);
        const auto [width, height] = set.processor.GetGenerationSize(ImageType::Depth);
        EXPECT_EQ(
            GuardGeneration(DescribeMap(ImageType::Depth), width, height, report, [&] { set.Depth(0.5f); }),
            GenerationOutcome::Failed);
        EXPECT_EQ(GuardGeneration(DescribeMap(ImageType::Aniso), width, height, report,
                                  [&] { set.processor.GenerateAnisotropyMap(3, 0); }),
                  GenerationOutcome::Failed);
    }
    ASSERT_EQ(said.size(), 2u);
    EXPECT_EQ(said[0],
              "Not enough memory: Not enough memory to generate the depth map for a 128 x 128 image. "
              "Close other programs or work on a smaller image.");
    EXPECT_FALSE(set.processor.IsLoaded(ImageType::Depth));
    EXPECT_FALSE(set.processor.IsLoaded(ImageType::Aniso));
    EXPECT_FALSE(set.processor.IsLoaded(ImageType::NormalDepth));
    for (ImageType kept : {ImageType::Normal, ImageType::NormalOpacity})
        EXPECT_TRUE(SameBytes(*set.processor.GetImage(kept), *before.images[kept]));

    // Any other exception is reported with its own words; a cancel is not reported at all.
    EXPECT_EQ(GuardGeneration("map", 1, 1, report, [] { throw std::runtime_error("disk on fire"); }),
              GenerationOutcome::Failed);
    EXPECT_EQ(said.back(), "Generation failed: Couldn't generate the map: disk on fire");
    EXPECT_EQ(GuardGeneration("map", 1, 1, report, [] { throw GenerationCancelled(); }),
              GenerationOutcome::Cancelled);
    EXPECT_EQ(said.size(), 3u);
}
