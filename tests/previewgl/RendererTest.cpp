#include "GLTestSupport.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "preview/TextureCache.h"
#include "support/TestImages.h"

#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_2_1>
#include <cmath>
#include <gtest/gtest.h>
#include <set>

namespace {
constexpr float kTolerance = 3.0f / 255.0f;

class Renderer : public ::testing::Test, public PreviewGLFixture
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(MakeTestContextCurrent()) << "the GL tests need a display (run them under xvfb-run)";
        preview.LoadShaders();
        for (int shader = 0; shader < kShaderProgramCount; ++shader)
            ASSERT_TRUE(preview.IsShaderUsable(static_cast<ShaderEnum>(shader))) << shader;
    }
    void TearDown() override { preview.ClearShaders(); }
};

void ExpectColourNear(const Colour& actual, const Colour& expected, const char* where)
{
    EXPECT_NEAR(actual.r, expected.r, kTolerance) << where;
    EXPECT_NEAR(actual.g, expected.g, kTolerance) << where;
    EXPECT_NEAR(actual.b, expected.b, kTolerance) << where;
}

// The normal the shader decodes from an 8-bit normal-map texel.
Vector3D DecodedNormal(const Image& map, int x, int y)
{
    const Colour c = map.GetPixel(x, y);
    Vector3D n(2.0f * c.r - 1.0f, 2.0f * c.g - 1.0f, 2.0f * c.b - 1.0f);
    const float length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
    return Vector3D(n.x / length, n.y / length, n.z / length);
}

float Dot(Vector3D a, Vector3D b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3D Normalised(Vector3D v)
{
    const float length = std::sqrt(Dot(v, v));
    return Vector3D(v.x / length, v.y / length, v.z / length);
}

float Luminance(const Colour& c)
{
    return (c.r + c.g + c.b) / 3.0f;
}
} // namespace

// Point light in front of a flat sprite: diffuse, two-colour ambient, Blinn highlight and attenuation,
// pixel by pixel against the same formula worked out here.
TEST_F(Renderer, FlatSpriteUnderAPointLightMatchesTheLightingFormula)
{
    const Colour albedo(0.8f, 0.6f, 0.4f, 1.0f);
    SetMap(ImageType::Diffuse, [&](int, int) { return albedo; });
    SetMap(ImageType::Specular, [](int, int) { return Colour(0.5f, 0.5f, 0.5f, 1.0f); });
    const Colour direct(0.7f, 0.7f, 0.6f), upper(0.2f, 0.2f, 0.2f), lower(0.1f, 0.1f, 0.3f);
    preview.SetDirectLightColour(direct);
    preview.SetUpperAmbientColour(upper);
    preview.SetLowerAmbientColour(lower);
    preview.SetLightPosition(Vector3D(0.2f, -0.1f, 0.6f));
    preview.SetAttenuationStrength(0.5f);
    const QImage frame = Render();

    const Vector3D n = DecodedNormal(*processor.GetImage(ImageType::Normal), 0, 0);
    for (const auto& [x, y] : {std::pair{5, 5}, {32, 32}, {60, 10}, {20, 50}, {40, 36}})
    {
        const Vector3D surface(-1.0f + (static_cast<float>(x) + 0.5f) / 32.0f,
                               1.0f - (static_cast<float>(y) + 0.5f) / 32.0f, 0.0f);
        const Vector3D offset(0.2f - surface.x, -0.1f - surface.y, 0.6f - surface.z);
        const float distanceSquared = Dot(offset, offset);
        const Vector3D l = Normalised(offset);
        const float lit = std::clamp(Dot(n, l), 0.0f, 1.0f);
        const float attenuation = 1.0f / (1.0f + 0.5f * distanceSquared);
        const float shine =
            std::pow(std::max(0.0f, Dot(n, Normalised(Vector3D(l.x, l.y, l.z + 1.0f)))), 40.0f);
        const float up = n.y * 0.5f + 0.5f;
        Colour expected;
        const auto channel = [&](float a, float d, float u, float lo) {
            return a * (lo + (u - lo) * up + d * lit * attenuation) + d * 0.5f * shine * attenuation;
        };
        expected.r = channel(albedo.r, direct.r, upper.r, lower.r);
        expected.g = channel(albedo.g, direct.g, upper.g, lower.g);
        expected.b = channel(albedo.b, direct.b, upper.b, lower.b);
        ExpectColourNear(PixelAt(frame, x, y), expected,
                         (std::to_string(x) + "," + std::to_string(y)).c_str());
    }
}

TEST_F(Renderer, SphereLitFromTheLeftIsBrighterOnItsLeft)
{
    SetMap(ImageType::Normal, [](int x, int y) { return SphereNormal(x, y, kSize); });
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(-1.0f, 0.0f, 0.25f));
    const QImage frame = Render();

    const Vector3D l = Normalised(Vector3D(-1.0f, 0.0f, 0.25f));
    float left = 0.0f, right = 0.0f;
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x)
            (x < kSize / 2 ? left : right) += Luminance(PixelAt(frame, x, y));
    EXPECT_GT(left, 3.0f * right);
    for (const auto& [x, y] : {std::pair{10, 32}, {32, 20}, {50, 40}})
    {
        const float expected =
            std::max(0.0f, Dot(DecodedNormal(*processor.GetImage(ImageType::Normal), x, y), l));
        EXPECT_NEAR(PixelAt(frame, x, y).r, expected, kTolerance) << x << "," << y;
    }
}

TEST_F(Renderer, AmbientOcclusionDarkensOnlyTheAmbientLightByItsStrength)
{
    SetMap(ImageType::AO,
           [](int x, int) { return x < kSize / 2 ? Colour(1, 1, 1, 1) : Colour(0.25f, 0.25f, 0.25f, 1); });
    preview.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetUpperAmbientColour(Colour(0.5f, 0.5f, 0.5f));
    preview.SetLowerAmbientColour(Colour(0.5f, 0.5f, 0.5f));
    QImage frame = Render();
    EXPECT_NEAR(PixelAt(frame, 10, 30).r, 0.5f, kTolerance);
    EXPECT_NEAR(PixelAt(frame, 50, 30).r, 0.125f, kTolerance);

    preview.SetAOIntensity(0.5f);
    frame = Render();
    EXPECT_NEAR(PixelAt(frame, 50, 30).r, 0.5f * 0.625f, kTolerance);

    // Direct light is not occluded.
    preview.SetUpperAmbientColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetLowerAmbientColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetDirectLightColour(Colour(0.5f, 0.5f, 0.5f));
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(0.0f, 0.0f, 1.0f));
    frame = Render();
    EXPECT_NEAR(PixelAt(frame, 10, 30).r, PixelAt(frame, 50, 30).r, kTolerance);
}

TEST_F(Renderer, CelShadingCutsASphereIntoThatManyBands)
{
    SetMap(ImageType::Normal, [](int x, int y) { return SphereNormal(x, y, kSize); });
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(0.0f, 0.0f, 1.0f));
    preview.SetCelShading(true);
    for (int levels : {3, 5})
    {
        preview.SetCelShadingLevel(levels);
        const QImage frame = Render();
        std::set<int> bands;
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x)
                if (InsideSphere(x, y, kSize))
                    bands.insert(qRed(frame.pixel(x, y)) / 8); // a few levels of rounding noise
        EXPECT_EQ(static_cast<int>(bands.size()), levels);
        EXPECT_EQ(qRed(frame.pixel(32, 32)), 255); // the brightest band is full light
    }
}

TEST_F(Renderer, PaletteShadingReadsTheIndexedColumnAtTheLightsRow)
{
    constexpr int kColumns = 4, kRows = 8;
    Set(ImageType::Palette, MakeImage(kColumns, kRows, [](int x, int y) {
            return Colour(static_cast<float>(x) / kColumns, static_cast<float>(y) / kRows, 0.5f, 1.0f);
        }));
    // Codes that land in the centres of columns 1 and 2.
    SetMap(ImageType::Index, [](int x, int) {
        const float code = x < kSize / 2 ? 96.0f / 255.0f : 159.0f / 255.0f;
        return Colour(code, code, code, 1.0f);
    });
    preview.SelectShader(ShaderEnums::CelPalette);
    preview.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    // Smooth texture filtering must not blend palette columns or index codes.
    preview.SetTextureFiltering(true);
    for (const auto& [light, row] : {std::pair{0.8f, 4}, {0.4f, 6}, {1.6f, 1}})
    {
        preview.SetUpperAmbientColour(Colour(light, light, light));
        preview.SetLowerAmbientColour(Colour(light, light, light));
        const QImage frame = Render();
        for (const auto& [x, column] : {std::pair{10, 1}, {50, 2}})
            ExpectColourNear(
                PixelAt(frame, x, 30),
                Colour(static_cast<float>(column) / kColumns, static_cast<float>(row) / kRows, 0.5f),
                ("light " + std::to_string(light)).c_str());
    }
}

TEST_F(Renderer, AnisotropicHighlightTurnsWithTheAnisotropyMap)
{
    SetMap(ImageType::Diffuse, [](int, int) { return Colour(0.0f, 0.0f, 0.0f, 1.0f); });
    SetMap(ImageType::Specular, [](int, int) { return Colour(1.0f, 1.0f, 1.0f, 1.0f); });
    preview.SelectShader(ShaderEnums::PhongWard);
    preview.SetLightPosition(Vector3D(0.0f, 0.0f, 0.5f));
    preview.SetDirectLightColour(Colour(0.2f, 0.2f, 0.2f));
    // Sums of brightness along the middle row and the middle column.
    const auto spread = [this] {
        const QImage frame = Render();
        float row = 0.0f, column = 0.0f;
        for (int i = 0; i < kSize; ++i)
        {
            row += PixelAt(frame, i, kSize / 2).r;
            column += PixelAt(frame, kSize / 2, i).r;
        }
        return std::pair{row, column};
    };
    const auto [rowAlongX, columnAlongX] = spread();
    SetMap(ImageType::Aniso, [](int, int) { return Colour(0.5f, 1.0f, 0.5f, 1.0f); });
    const auto [rowAlongY, columnAlongY] = spread();
    EXPECT_GT(columnAlongX, 1.5f * rowAlongX);
    EXPECT_GT(rowAlongY, 1.5f * columnAlongY);
    EXPECT_NEAR(rowAlongY, columnAlongX, 0.05f * columnAlongX);
}

TEST_F(Renderer, ShadowsDarkenTheFarSideOfARaisedBlock)
{
    // A ridge across the middle, raised well above the ground, and a low light from the left.
    SetMap(ImageType::Depth,
           [](int x, int) { return x >= 24 && x < 40 ? Colour(1, 1, 1, 1) : Colour(0, 0, 0, 1); });
    preview.SetDepthMultiplier(10.0f);
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(-2.0f, 0.0f, 1.0f));
    preview.SetUpperAmbientColour(Colour(0.1f, 0.1f, 0.1f));
    preview.SetLowerAmbientColour(Colour(0.1f, 0.1f, 0.1f));
    const float lit = 0.1f + 1.0f / std::sqrt(5.0f);

    const QImage unshadowed = Render();
    preview.SetShadowing(true);
    const QImage shadowed = Render();
    for (int y : {5, 32, 60})
    {
        EXPECT_NEAR(PixelAt(unshadowed, 44, y).r, lit, kTolerance);
        EXPECT_NEAR(PixelAt(shadowed, 44, y).r, 0.1f, kTolerance); // behind the ridge
        EXPECT_NEAR(PixelAt(shadowed, 10, y).r, lit, kTolerance);  // in front of it
        EXPECT_NEAR(PixelAt(shadowed, 32, y).r, lit, kTolerance);  // on top of it
        EXPECT_NEAR(PixelAt(shadowed, 62, y).r, lit, kTolerance);  // beyond its reach
    }
}

TEST_F(Renderer, TiledModeShowsNineCopies)
{
    SetMap(ImageType::Diffuse, [](int x, int y) {
        return x < kSize / 2 && y < kSize / 2 ? Colour(1, 0, 0, 1) : Colour(0, 0, 1, 1);
    });
    preview.SetUpperAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetLowerAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    // A view three sprites tall: each copy covers 32 x 32 pixels.
    QImage frame = Render(96, 96, 6.0f);
    EXPECT_EQ(qRed(frame.pixel(8, 8)), 0) << "only the middle copy without tiling";
    EXPECT_EQ(qRed(frame.pixel(40, 40)), 255);

    preview.SetTilePreview(true);
    frame = Render(96, 96, 6.0f);
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
        {
            const int x = column * 32, y = row * 32;
            EXPECT_EQ(frame.pixel(x + 8, y + 8), qRgb(255, 0, 0)) << column << "," << row;
            EXPECT_EQ(frame.pixel(x + 24, y + 24), qRgb(0, 0, 255)) << column << "," << row;
        }
}

TEST_F(Renderer, MeshModeMovesVerticesTowardsTheViewerByDepth)
{
    // Depth rising from left to right; the mesh's depth shows in the depth buffer (0.5 at z = 0, less
    // nearer the viewer).
    SetMap(ImageType::Depth, [](int x, int) {
        const float d = static_cast<float>(x) / (kSize - 1);
        return Colour(d, d, d, 1.0f);
    });
    processor.PopulateDepthArrayFromMap();
    preview.SetDepthMultiplier(100.0f);
    const auto depthAt = [this](int x) {
        QOpenGLFramebufferObject frameBuffer(kSize, kSize, QOpenGLFramebufferObject::CombinedDepthStencil);
        Camera camera(kSize, kSize);
        frameBuffer.bind();
        QOpenGLFunctions_2_1* gl = TestGL();
        gl->glViewport(0, 0, kSize, kSize);
        gl->glEnable(GL_DEPTH_TEST);
        preview.RenderScene(camera);
        float depth = 0.0f;
        gl->glReadPixels(x, kSize / 2, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        frameBuffer.release();
        return depth;
    };
    EXPECT_NEAR(depthAt(2), 0.5f, 0.002f);
    EXPECT_NEAR(depthAt(61), 0.5f, 0.002f) << "a billboard is flat";
    preview.SetDrawingAsMesh(true);
    EXPECT_NEAR(depthAt(2), 0.5f, 0.003f);
    // z = 0.1 * 2.55 * depth * 0.03 * 100 at the right edge, depth = 0.5 - z / 20.
    EXPECT_NEAR(depthAt(61), 0.5f - 0.765f * 0.95f / 20.0f, 0.004f);
}

TEST_F(Renderer, MeshModeWithoutADepthMapDrawsTheBillboard)
{
    SetMap(ImageType::Normal, [](int x, int y) { return SphereNormal(x, y, kSize); });
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(-1.0f, 1.0f, 1.0f));
    processor.LoadDefaultImage(ImageType::Depth);
    ASSERT_FALSE(processor.IsLoaded(ImageType::Depth));
    const QImage billboard = Render();
    preview.SetDrawingAsMesh(true);
    EXPECT_EQ(Render(), billboard);
}

TEST_F(Renderer, TexturesAreSentAgainOnlyWhenTheImageChanged)
{
    preview.SetUpperAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetLowerAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    Render();
    TextureCache* cache = preview.GetTextureCache();
    ASSERT_NE(cache, nullptr);
    const int afterFirst = cache->GetUploadCount();
    EXPECT_EQ(afterFirst, 9);
    Render();
    EXPECT_EQ(cache->GetUploadCount(), afterFirst);

    Image* diffuse = processor.GetImage(ImageType::Diffuse);
    diffuse->SetPixel(10, 10, Colour(0.0f, 1.0f, 0.0f, 1.0f));
    const QImage frame = Render();
    EXPECT_EQ(cache->GetUploadCount(), afterFirst + 1);
    EXPECT_EQ(frame.pixel(10, 10), qRgb(0, 255, 0));
    EXPECT_EQ(frame.pixel(11, 10), qRgb(255, 255, 255));

    // A small edit can go up as a rectangle without a whole upload.
    diffuse->SetPixel(40, 40, Colour(1.0f, 0.0f, 0.0f, 1.0f));
    cache->UpdateRegion(TestGL(), diffuse, 40, 40, 1, 1);
    EXPECT_EQ(Render().pixel(40, 40), qRgb(255, 0, 0));
    EXPECT_EQ(cache->GetUploadCount(), afterFirst + 1);
}

TEST_F(Renderer, DepthEditingShowsSelectionEdgesAndContours)
{
    SetMap(ImageType::Depth, [](int x, int) {
        const float d = static_cast<float>(x) / (kSize - 1);
        return Colour(d, d, d, 1.0f);
    });
    processor.PopulateDepthArrayFromMap(); // also gives the processor its depth editor
    DepthEditor* editor = processor.GetDepthEditor();
    ASSERT_NE(editor, nullptr);
    const std::vector<float> selected(8 * 8, 1.0f);
    editor->CopySelectionBlock(40, 40, 8, 8, selected.data());
    const bool edges[4] = {true, true, true, true};
    editor->CopyEdgeBlock(10, 50, 4, 1, edges, edges);
    preview.SelectShader(ShaderEnums::DepthEditing);
    preview.SetDepthEditMode(true);
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(0.0f, 0.0f, 1.0f));

    QImage frame = Render();
    const Colour plain = PixelAt(frame, 20, 20);
    EXPECT_NEAR(plain.r, plain.b, kTolerance) << "unselected plaster is grey";
    const Colour tinted = PixelAt(frame, 44, 44);
    EXPECT_GT(tinted.r - tinted.b, 0.3f) << "the selection is tinted";
    const Colour edge = PixelAt(frame, 11, 50);
    EXPECT_GT(edge.r, 0.9f);
    EXPECT_LT(edge.g, 0.2f);

    // Contours only when asked for: the depth ramp then crosses ten bands along a row.
    const auto countLines = [&](const QImage& image) {
        int lines = 0;
        for (int x = 1; x < kSize; ++x)
            lines +=
                PixelAt(image, x, 10).r < 0.5f * plain.r && PixelAt(image, x - 1, 10).r >= 0.5f * plain.r;
        return lines;
    };
    EXPECT_EQ(countLines(frame), 0);
    preview.SetContourDisplay(true);
    frame = Render();
    const int lines = countLines(frame);
    EXPECT_GE(lines, 8);
    EXPECT_LE(lines, 11);
}

TEST_F(Renderer, TheLightMarkerIsDrawnAtTheLightUnlessHiddenAndNeverInRenders)
{
    const auto withMarker = [this] {
        QOpenGLFramebufferObject frameBuffer(kSize, kSize, QOpenGLFramebufferObject::CombinedDepthStencil);
        frameBuffer.bind();
        TestGL()->glViewport(0, 0, kSize, kSize);
        preview.RenderScene(Camera(kSize, kSize));
        frameBuffer.release();
        return frameBuffer.toImage();
    };
    preview.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetLightPosition(Vector3D(0.5f, 0.5f, 1.0f));
    // Scene point (0.5, 0.5) is pixel (48, 16) of a 64-pixel view two units tall.
    EXPECT_EQ(withMarker().pixel(48, 16), qRgb(0, 0, 0));
    preview.SetLightIconVisibility(true);
    const QImage frame = withMarker();
    EXPECT_NE(frame.pixel(48, 16), qRgb(0, 0, 0));
    EXPECT_EQ(frame.pixel(16, 48), qRgb(0, 0, 0));
    EXPECT_EQ(Render().pixel(48, 16), qRgb(0, 0, 0)) << "stills and GIFs show the sprite only";
}

// A turned mesh turns its normals with it: the side facing the light is lit whatever the rotation.
TEST_F(Renderer, ATurnedMeshIsLitFromWhereTheLightIs)
{
    SetMap(ImageType::Normal, [](int x, int y) { return SphereNormal(x, y, kSize); });
    processor.PopulateDepthArrayFromMap();
    preview.SetDrawingAsMesh(true);
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(-1.0f, 0.0f, 0.25f));
    for (float degrees : {90.0f, 200.0f})
    {
        preview.SetPreviewRotation(degrees);
        const QImage frame = Render();
        float left = 0.0f, right = 0.0f;
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x)
                (x < kSize / 2 ? left : right) += Luminance(PixelAt(frame, x, y));
        EXPECT_GT(left, 3.0f * right) << degrees;
    }
}
