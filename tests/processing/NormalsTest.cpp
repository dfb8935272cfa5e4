#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/ImageProcessor.h"
#include "processing/NormalKernels.h"
#include "reference/ReferenceNormals.h"
#include "support/RecordingLog.h"
#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {
constexpr int kSize = 33;

// The sphere of radius 14 centred in the image, normal (x right, y up, z out), or null outside.
bool SphereNormal(int x, int y, Vector3D& n)
{
    const float dx = (x - 16) / 14.0f;
    const float dy = (16 - y) / 14.0f;
    const float r2 = dx * dx + dy * dy;
    if (r2 >= 1.0f)
        return false;
    n = Vector3D(dx, dy, std::sqrt(1.0f - r2));
    return true;
}

// A plaster sphere lit from one direction: brightness max(0, n . light).
std::unique_ptr<Image> LitSphere(const Vector3D& light)
{
    return MakeGrey(kSize, kSize, [&](int x, int y) {
        Vector3D n;
        return SphereNormal(x, y, n) ? std::max(0.0f, Vector3D::DotProduct(n, light)) : 0.0f;
    });
}

struct Fixture
{
    RecordingLog log;
    ImageProcessor processor{nullptr, BRONDEL_RESOURCE_DIR, &log.output};

    void LoadSphereProfiles()
    {
        processor.SetImage(LitSphere({-1, 0, 0}).release(), Left);
        processor.SetImage(LitSphere({1, 0, 0}).release(), Right);
        processor.SetImage(LitSphere({0, 1, 0}).release(), Top);
        processor.SetImage(LitSphere({0, -1, 0}).release(), Bottom);
    }
    Vector3D NormalAt(int x, int y) { return processor.GetNormalArray(0)[y * processor.GetWidth() + x]; }
};

std::unique_ptr<Image> RandomGrey(std::mt19937& random, int w, int h)
{
    std::uniform_int_distribution<int> byte(0, 255);
    return MakeGrey(w, h, [&](int, int) { return byte(random) / 255.0f; });
}
} // namespace

TEST(Normals, ALitSphereGivesNormalsPointingOutOfIt)
{
    Fixture f;
    f.LoadSphereProfiles();
    f.processor.GenerateNormals(1.0f, 0.0f, 0.0f, false, false);

    const Vector3D centre = f.NormalAt(16, 16);
    EXPECT_NEAR(centre.z, 1.0f, 1e-3f);
    EXPECT_GT(f.NormalAt(27, 16).x, 0.7f); // right edge leans right
    EXPECT_LT(f.NormalAt(5, 16).x, -0.7f);
    EXPECT_GT(f.NormalAt(16, 5).y, 0.7f); // upper edge leans up
    EXPECT_LT(f.NormalAt(16, 27).y, -0.7f);
    for (int i = 0; i < kSize * kSize; ++i)
        EXPECT_NEAR(f.processor.GetNormalArray(0)[i].GetMagnitude(), 1.0f, 1e-5f);

    // The map encodes them as colours; the right edge is reddish, the top greenish.
    const Image* map = f.processor.GetImage(Normal);
    ASSERT_TRUE(f.processor.IsLoaded(Normal) && f.processor.IsLoaded(NormalOpacity));
    EXPECT_GT(map->GetPixel(27, 16).r, 0.8f);
    EXPECT_GT(map->GetPixel(16, 5).g, 0.8f);
    EXPECT_EQ(map->GetPixel(16, 16).GetAsString(), "(127, 127, 255, 255)");

    // Flip Y inverts green only.
    Fixture flipped;
    flipped.LoadSphereProfiles();
    flipped.processor.GenerateNormals(1.0f, 0.0f, 0.0f, false, true);
    EXPECT_LT(flipped.processor.GetImage(Normal)->GetPixel(16, 5).g, 0.2f);

    EXPECT_EQ(f.log.lines.at(1).rfind("Maximum flat magnitude is 0.99", 0), 0u) << f.log.lines.at(1);
    for (const char* line :
         {"Generating normals from lighting profiles...", "Creating normal map from normal array...",
          "Normal map created.", "Normal map calculations completed."})
        EXPECT_TRUE(f.log.Contains(line)) << line;
}

TEST(Normals, TransparentDiffusePixelsFaceTheViewerAndCarryTheirAlpha)
{
    Fixture f;
    f.LoadSphereProfiles();
    // Transparent left half; a half-transparent pixel elsewhere.
    f.processor.SetImage(MakeImage(kSize, kSize,
                                   [](int x, int y) {
                                       const float a = x < 16 ? 0.0f : (x == 20 && y == 16 ? 0.5f : 1.0f);
                                       return Colour(0.3f, 0.3f, 0.3f, a);
                                   })
                             .release(),
                         Diffuse);
    f.processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    EXPECT_EQ(f.NormalAt(5, 16), Vector3D(0, 0, 1));
    EXPECT_GT(f.NormalAt(27, 16).x, 0.5f);
    const Image* opacity = f.processor.GetImage(NormalOpacity);
    EXPECT_FLOAT_EQ(opacity->GetPixel(5, 16).a, 0.0f);
    EXPECT_FLOAT_EQ(opacity->GetPixel(20, 16).a, 127 / 255.0f);
    EXPECT_FLOAT_EQ(f.processor.GetImage(Normal)->GetPixel(5, 16).a, 1.0f);
}

TEST(Normals, MissingProfilesMirrorTheirPartner)
{
    const std::vector<float> leftRed = {0.0f, 0.25f, 0.5f, 0.75f};
    NormalInputs in;
    in.width = 4;
    in.height = 1;
    in.left = leftRed.data();
    std::vector<Vector3D> normals(4);
    EXPECT_FLOAT_EQ(ComputeProfileSlopes(in, normals.data()), 1.0f);
    for (int x = 0; x < 4; ++x)
    {
        EXPECT_FLOAT_EQ(normals[x].x, 1.0f - 2.0f * leftRed[x]);
        EXPECT_FLOAT_EQ(normals[x].y, 0.0f);
    }
    in.left = nullptr;
    in.bottom = leftRed.data();
    ComputeProfileSlopes(in, normals.data());
    EXPECT_FLOAT_EQ(normals[1].y, 0.5f); // T = 1 - B, so y = 1 - 2B
}

TEST(Normals, FlatProfilesAndTheFrontProfile)
{
    const auto flat = [] { return MakeGrey(8, 8, [](int, int) { return 0.5f; }); };
    Fixture off;
    off.processor.SetImage(flat().release(), Left);
    off.processor.SetImage(flat().release(), Right);
    off.processor.SetImage(flat().release(), Top);
    off.processor.SetImage(flat().release(), Bottom);
    off.processor.GenerateNormals(2.0f, 0.0f, 0.0f, false, false);
    EXPECT_EQ(off.NormalAt(3, 3), Vector3D(0, 0, 1));

    // With autofix, a flat set multiplies zero slopes by an infinite factor: left unguarded.
    Fixture on;
    on.processor.SetImage(flat().release(), Left);
    on.processor.SetImage(flat().release(), Right);
    on.processor.SetImage(flat().release(), Top);
    on.processor.SetImage(flat().release(), Bottom);
    on.processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    EXPECT_TRUE(std::isnan(on.NormalAt(3, 3).x));
    EXPECT_TRUE(on.log.Contains("Multiplying flat magnitude by inf"));

    // A Front profile sets z directly and autofix does nothing.
    Fixture front;
    front.LoadSphereProfiles();
    front.processor.SetImage(LitSphere({0, 0, 1}).release(), Front);
    front.processor.GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    std::vector<Vector3D> withFix(front.processor.GetNormalArray(0),
                                  front.processor.GetNormalArray(0) + kSize * kSize);
    front.processor.GenerateNormals(1.0f, 0.0f, 0.0f, false, false);
    for (int i = 0; i < kSize * kSize; ++i)
        ASSERT_EQ(withFix[i], front.processor.GetNormalArray(0)[i]);
}

TEST(Normals, RotationTiltsEveryNormal)
{
    Fixture f;
    f.LoadSphereProfiles();
    f.processor.GenerateNormals(1.0f, 0.0f, 30.0f, false, false);
    // Direction 0 turns about the -y axis, which tilts the flat centre towards +x.
    const Vector3D centre = f.NormalAt(16, 16);
    EXPECT_NEAR(centre.x, 0.5f, 0.01f);
    EXPECT_NEAR(centre.z, 0.866f, 0.01f);
}

TEST(Normals, FastKernelsMatchThePlainLoopsBitForBit)
{
    std::mt19937 random(7);
    for (const bool autofix : {false, true})
        for (const int threads : {1, 2})
        {
            SetWorkerThreadCount(threads);
            const int w = 20;
            const int h = 12;
            Fixture f;
            f.processor.SetImage(RandomGrey(random, w, h).release(), Left);
            f.processor.SetImage(RandomGrey(random, w, h).release(), Top);
            f.processor.SetImage(RandomGrey(random, w, h).release(), Bottom);
            f.processor.SetImage(MakeImage(w, h,
                                           [&](int x, int y) {
                                               return Colour(0.5f, 0.5f, 0.5f,
                                                             (x * y) % 5 == 0 ? 0.0f : 1.0f);
                                           })
                                     .release(),
                                 Diffuse);
            f.processor.GenerateNormals(1.3f, 40.0f, 12.0f, autofix, false);

            ReferenceNormalInputs in;
            in.left = f.processor.GetImage(Left);
            in.top = f.processor.GetImage(Top);
            in.bottom = f.processor.GetImage(Bottom);
            in.diffuse = f.processor.GetImage(Diffuse);
            in.width = w;
            in.height = h;
            const std::vector<Vector3D> expected = ReferenceGenerateNormals(in, 1.3f, 40.0f, 12.0f, autofix);
            for (int i = 0; i < w * h; ++i)
                ASSERT_EQ(expected[i], f.processor.GetNormalArray(0)[i]) << i << " threads " << threads;
            const ReferenceNormalMaps maps = ReferenceEncodeNormals(expected, w, h, false, in.diffuse);
            EXPECT_TRUE(SameBytes(*maps.normal, *f.processor.GetImage(Normal)));
            EXPECT_TRUE(SameBytes(*maps.normalOpacity, *f.processor.GetImage(NormalOpacity)));
        }
    SetWorkerThreadCount(0);
}

TEST(Normals, MipsMatchThePlainLoops)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> component(-1.0f, 1.0f);
    for (const int threads : {1, 2})
    {
        SetWorkerThreadCount(threads);
        Fixture f;
        f.processor.SetImage(new Image(24, 16), Normal);
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
    SetWorkerThreadCount(0);
}
