#include "core/Image.h"
#include "reference/ReferenceNormals.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {
constexpr int kSize = 33;

// A plaster sphere of radius 14 centred in the image, lit from one direction: brightness max(0, n . light)
// with n pointing x right, y up, z out.
std::unique_ptr<Image> LitSphere(const Vector3D& light)
{
    return MakeGrey(kSize, kSize, [&](int x, int y) {
        const float dx = (x - 16) / 14.0f;
        const float dy = (16 - y) / 14.0f;
        const float r2 = dx * dx + dy * dy;
        return r2 >= 1.0f ? 0.0f
                          : std::max(0.0f, Vector3D::DotProduct({dx, dy, std::sqrt(1.0f - r2)}, light));
    });
}

struct Fixture : ProcessorFixture
{
    void LoadSphereProfiles()
    {
        Set(ImageType::Left, LitSphere({-1, 0, 0}));
        Set(ImageType::Right, LitSphere({1, 0, 0}));
        Set(ImageType::Top, LitSphere({0, 1, 0}));
        Set(ImageType::Bottom, LitSphere({0, -1, 0}));
    }
    void LoadFlatProfiles()
    {
        for (const ImageType type : {ImageType::Left, ImageType::Right, ImageType::Top, ImageType::Bottom})
            Set(type, MakeFlat(8, 8, 0.5f));
    }
    Vector3D NormalAt(int x, int y) { return processor.GetNormalArray(0)[y * processor.GetWidth() + x]; }
};
} // namespace

TEST(Normals, ALitSphereGivesNormalsPointingOutOfIt)
{
    Fixture f;
    f.LoadSphereProfiles();
    f.processor.GenerateNormals(1.0f, 0.0f, 0.0f, false, false);
    EXPECT_NEAR(f.NormalAt(16, 16).z, 1.0f, 1e-3f);
    EXPECT_GT(f.NormalAt(27, 16).x, 0.7f); // right edge leans right
    EXPECT_LT(f.NormalAt(5, 16).x, -0.7f);
    EXPECT_GT(f.NormalAt(16, 5).y, 0.7f); // upper edge leans up
    EXPECT_LT(f.NormalAt(16, 27).y, -0.7f);
    for (int i = 0; i < kSize * kSize; ++i)
        EXPECT_NEAR(f.processor.GetNormalArray(0)[i].GetMagnitude(), 1.0f, 1e-5f);

    // The map encodes them as colours; the right edge is reddish, the top greenish.
    const Image* map = f.processor.GetImage(ImageType::Normal);
    ASSERT_TRUE(f.processor.IsLoaded(ImageType::Normal) && f.processor.IsLoaded(ImageType::NormalOpacity));
    EXPECT_GT(map->GetPixel(27, 16).r, 0.8f);
    EXPECT_GT(map->GetPixel(16, 5).g, 0.8f);
    EXPECT_EQ(map->GetPixel(16, 16).GetAsString(), "(127, 127, 255, 255)");
    EXPECT_EQ(f.log.lines.at(1).rfind("Maximum flat magnitude is 0.99", 0), 0u) << f.log.lines.at(1);
    for (const char* line :
         {"Generating normals from lighting profiles...", "Creating normal map from normal array...",
          "Normal map created.", "Normal map calculations completed."})
        EXPECT_TRUE(f.log.Contains(line)) << line;

    // Flip Y inverts green only; direction 0 turns about the -y axis, tilting the flat centre towards +x.
    Fixture turned;
    turned.LoadSphereProfiles();
    turned.processor.GenerateNormals(1.0f, 0.0f, 30.0f, false, true);
    EXPECT_LT(turned.processor.GetImage(ImageType::Normal)->GetPixel(16, 5).g, 0.2f);
    EXPECT_NEAR(turned.NormalAt(16, 16).x, 0.5f, 0.01f);
    EXPECT_NEAR(turned.NormalAt(16, 16).z, 0.866f, 0.01f);
}

TEST(Normals, FlatAndFrontProfiles)
{
    Fixture off;
    off.LoadFlatProfiles();
    off.processor.GenerateNormals(2.0f, 0.0f, 0.0f, false, false);
    EXPECT_EQ(off.NormalAt(3, 3), Vector3D(0, 0, 1));
    // With autofix, a flat set multiplies zero slopes by an infinite factor: left unguarded.
    Fixture on;
    on.LoadFlatProfiles();
    on.processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    EXPECT_TRUE(std::isnan(on.NormalAt(3, 3).x));
    EXPECT_TRUE(on.log.Contains("Multiplying flat magnitude by inf"));

    // A Front profile sets z directly and autofix does nothing.
    Fixture front;
    front.LoadSphereProfiles();
    front.Set(ImageType::Front, LitSphere({0, 0, 1}));
    front.processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    const std::vector<Vector3D> withFix(front.processor.GetNormalArray(0),
                                        front.processor.GetNormalArray(0) + kSize * kSize);
    front.processor.GenerateNormals(1.0f, 0.0f, 0.0f, false, false);
    for (int i = 0; i < kSize * kSize; ++i)
        ASSERT_EQ(withFix[i], front.processor.GetNormalArray(0)[i]);
}

TEST(Normals, FastKernelsMatchThePlainLoopsBitForBit)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    const auto noise = [&] { return MakeGrey(20, 12, [&](int, int) { return byte(random) / 255.0f; }); };
    for (const bool autofix : {false, true})
        for (const int threads : {1, 2})
        {
            const ThreadCount scope(threads);
            // Each pass leaves a profile out, which then mirrors its partner.
            Fixture f;
            for (const ImageType type : autofix
                                            ? std::vector{ImageType::Right, ImageType::Bottom}
                                            : std::vector{ImageType::Left, ImageType::Top, ImageType::Bottom})
                f.Set(type, noise());
            // Transparent pixels face the viewer; half-transparent ones count as solid but carry their alpha.
            f.Set(
                ImageType::Diffuse, MakeImage(20, 12, [](int x, int y) {
                    return Colour(0.5f, 0.5f, 0.5f, (x * y) % 5 == 0 ? 0.0f : (x + y) % 3 == 0 ? 0.5f : 1.0f);
                }));
            f.processor.GenerateNormals(1.3f, 40.0f, 12.0f, autofix, false);

            const auto loaded = [&](ImageType type) {
                return f.processor.IsLoaded(type) ? f.processor.GetImage(type) : nullptr;
            };
            const ReferenceNormalInputs in{loaded(ImageType::Left),
                                           loaded(ImageType::Right),
                                           loaded(ImageType::Top),
                                           loaded(ImageType::Bottom),
                                           nullptr,
                                           loaded(ImageType::Diffuse),
                                           20,
                                           12};
            const std::vector<Vector3D> expected = ReferenceGenerateNormals(in, 1.3f, 40.0f, 12.0f, autofix);
            for (int i = 0; i < 20 * 12; ++i)
                ASSERT_EQ(expected[i], f.processor.GetNormalArray(0)[i]) << i << " threads " << threads;
            const ReferenceNormalMaps maps = ReferenceEncodeNormals(expected, 20, 12, false, in.diffuse);
            EXPECT_TRUE(SameBytes(*maps.normal, *f.processor.GetImage(ImageType::Normal)));
            EXPECT_TRUE(SameBytes(*maps.normalOpacity, *f.processor.GetImage(ImageType::NormalOpacity)));
        }

    // The pyramid, from unnormalised level-0 normals lying almost flat.
    std::uniform_real_distribution<float> component(-1.0f, 1.0f);
    for (const int threads : {1, 2})
    {
        const ThreadCount scope(threads);
        Fixture f;
        f.processor.SetImage(new Image(24, 16), ImageType::Normal);
        f.processor.InitialiseArrays();
        ASSERT_EQ(f.processor.GetMipCount(), 4);
        std::vector<Vector3D> level0(24 * 16);
        for (Vector3D& n : level0)
            n = Vector3D(component(random), component(random), component(random) * 0.05f);
        std::copy(level0.begin(), level0.end(), f.processor.GetNormalArray(0));
        f.processor.CalculateNormalMips();
        const auto expected = ReferenceNormalMips(level0, 24, 16, 4);
        for (int l = 1; l < 4; ++l)
            for (std::size_t i = 0; i < expected[l].size(); ++i)
                ASSERT_EQ(expected[l][i], f.processor.GetNormalArray(l)[i]) << l << " " << i;
    }
}
