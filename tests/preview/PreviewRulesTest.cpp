#include "preview/LightingPreview.h"
#include "preview/PreviewUniforms.h"

#include "core/Image.h"
#include "support/ProcessorFixture.h"
#include "support/TestImages.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
// A preview on a processor with no context anywhere: everything here must work without OpenGL.
struct PreviewFixture : ProcessorFixture
{
    LightingPreview preview{&processor, BRONDEL_RESOURCE_DIR, &log.output};
};
} // namespace

TEST(PreviewUniforms, ValueRules)
{
    EXPECT_FLOAT_EQ(CelShadingLevelUniform(false, 4), 1000.0f);
    EXPECT_FLOAT_EQ(CelShadingLevelUniform(true, 4), 3.5f);
    EXPECT_FLOAT_EQ(DirectionalLightUniform(true), 1.0f);
    EXPECT_FLOAT_EQ(DirectionalLightUniform(false), -1.0f);

    const std::array<float, 4> quarter = RotationMatrixUniform(false, 90.0f);
    EXPECT_NEAR(quarter[0], 0.0f, 1e-4f);
    EXPECT_NEAR(quarter[1], 1.0f, 1e-6f);
    EXPECT_NEAR(quarter[2], -1.0f, 1e-6f);
    EXPECT_NEAR(quarter[3], 0.0f, 1e-4f);
    EXPECT_EQ(RotationMatrixUniform(true, 90.0f), (std::array<float, 4>{1.0f, 0.0f, 0.0f, 1.0f}));

    const Vector3D direction = LightPositionUniform(Vector3D(3.0f, 0.0f, 4.0f), true);
    EXPECT_FLOAT_EQ(direction.x, 0.6f);
    EXPECT_FLOAT_EQ(direction.z, 0.8f);
    const Vector3D point = LightPositionUniform(Vector3D(3.0f, 0.0f, 4.0f), false);
    EXPECT_FLOAT_EQ(point.x, 3.0f);

    EXPECT_EQ(TextureResolutionUniform(true, nullptr), Vector2D(1000000.0f, 1000000.0f));
    EXPECT_EQ(TextureResolutionUniform(false, nullptr), Vector2D(128.0f, 128.0f));
    const Image diffuse(30, 20);
    EXPECT_EQ(TextureResolutionUniform(false, &diffuse), Vector2D(30.0f, 20.0f));
    EXPECT_FLOAT_EQ(AmplifyDepthUniform(2.0f), 0.06f);
}

TEST(PreviewUniforms, GeometryFollowsTheNormalMapsShape)
{
    const Image wide(200, 100);
    EXPECT_FLOAT_EQ(SpriteAspect(&wide), 2.0f);
    EXPECT_FLOAT_EQ(SpriteAspect(nullptr), 1.0f);

    // The mesh spans -a..a and 1..-1, pushed towards the viewer by the depth.
    const Vector3D first = MeshVertex(0, 0, 2.0f, 0.5f, 1.0f);
    const Vector3D last = MeshVertex(100, 100, 2.0f, 0.0f, 1.0f);
    EXPECT_FLOAT_EQ(first.x, -2.0f);
    EXPECT_FLOAT_EQ(first.y, 1.0f);
    EXPECT_FLOAT_EQ(first.z, 0.015f);
    EXPECT_FLOAT_EQ(last.x, 2.0f);
    EXPECT_FLOAT_EQ(last.y, -1.0f);

    // Nine copies side by side, the middle one at the origin, none overlapping.
    EXPECT_EQ(TileOffset(4, 2.0f), Vector2D(0.0f, 0.0f));
    EXPECT_EQ(TileOffset(0, 2.0f), Vector2D(-4.0f, 2.0f));
    EXPECT_EQ(TileOffset(8, 2.0f), Vector2D(4.0f, -2.0f));
}

TEST(LightingPreviewState, UniformsFollowTheSettings)
{
    PreviewFixture f;
    f.processor.SetImage(new Image(40, 10), ImageType::Diffuse);
    f.preview.SetUpperAmbientColour(Colour(0.3f, 0.2f, 0.1f));
    f.preview.SetLowerAmbientColour(Colour(0.0f, 0.0f, 1.0f));
    f.preview.SetLightPosition(Vector3D(0.0f, 3.0f, 4.0f));

    PreviewUniformValues v = f.preview.ComputeUniformValues();
    EXPECT_EQ(v.ambientLightColour2, Colour(0.0f, 0.0f, 1.0f));
    EXPECT_FLOAT_EQ(v.useDirectionalLight, -1.0f);
    EXPECT_FLOAT_EQ(v.lightPosition.y, 3.0f);
    EXPECT_FLOAT_EQ(v.celShadingLevel, 1000.0f);
    EXPECT_EQ(v.textureResolution, Vector2D(40.0f, 10.0f));

    f.preview.SetAmbientColourLock(true);
    f.preview.SetDirectionalLight(true);
    f.preview.SetCelShading(true);
    f.preview.SetCelShadingLevel(4);
    f.preview.SetPreviewRotation(90.0f);
    f.preview.SetTextureFiltering(true);
    v = f.preview.ComputeUniformValues();
    EXPECT_EQ(v.ambientLightColour2, Colour(0.3f, 0.2f, 0.1f));
    EXPECT_FLOAT_EQ(v.useDirectionalLight, 1.0f);
    EXPECT_FLOAT_EQ(v.lightPosition.y, 0.6f);
    EXPECT_FLOAT_EQ(v.celShadingLevel, 3.5f);
    EXPECT_NEAR(v.rotationMatrix[2], -1.0f, 1e-6f);
    EXPECT_EQ(v.textureResolution, Vector2D(1000000.0f, 1000000.0f));

    f.preview.SetDrawingAsMesh(true);
    EXPECT_FLOAT_EQ(f.preview.ComputeUniformValues().rotationMatrix[2], 0.0f);
}

TEST(LightingPreviewState, OrbitsAdvanceByElapsedTimeAndDraggingPlacesTheLight)
{
    PreviewFixture f;
    f.preview.SetLightZPosition(0.5f);
    f.preview.SetLightAnimation(AnimationTypes::VerticalOrbit);
    EXPECT_TRUE(f.preview.IsAnimating());
    f.preview.StepFrame(300.0f); // 90 degrees
    Vector3D light = f.preview.GetLightPosition();
    EXPECT_NEAR(light.x, 1.5f, 1e-3f);
    EXPECT_NEAR(light.y, 0.0f, 1e-3f);
    EXPECT_FLOAT_EQ(light.z, 0.5f);

    // The horizontal orbit carries on from the same orbit time, in the horizontal plane.
    f.preview.SetLightAnimation(AnimationTypes::HorizontalOrbit);
    f.preview.StepFrame(300.0f); // 180 degrees
    light = f.preview.GetLightPosition();
    EXPECT_NEAR(light.x, 0.0f, 1e-3f);
    EXPECT_FLOAT_EQ(light.y, -0.5f);
    EXPECT_NEAR(light.z, -1.5f, 1e-3f);

    f.preview.SetLightAnimation(AnimationTypes::NoAnimation);
    f.preview.StepFrame(300.0f);
    EXPECT_EQ(f.preview.GetLightPosition().z, light.z);

    // Left button: the light follows the cursor, whether or not an orbit runs.
    f.preview.GetCamera() = Camera(100, 100);
    f.preview.SetLightAnimation(AnimationTypes::VerticalOrbit);
    f.preview.SetLeftHeld(true);
    f.preview.MouseMoved(0, 0);
    f.preview.StepFrame(1000.0f);
    light = f.preview.GetLightPosition();
    EXPECT_NEAR(light.x, -0.99f, 1e-5f);
    EXPECT_NEAR(light.y, 0.99f, 1e-5f);
    EXPECT_FLOAT_EQ(light.z, 0.5f);

    // While depth editing the drag goes to the editor, one event behind, and the light stays.
    Vector2D dragged(100.0f, 100.0f);
    f.preview.SetDepthEditDragHandler([&dragged](Vector2D p) { dragged = p; });
    f.preview.SetDepthEditMode(true);
    f.preview.MouseMoved(99, 99);
    EXPECT_NEAR(dragged.x, -0.99f, 1e-5f);
    EXPECT_NEAR(f.preview.GetLightPosition().x, -0.99f, 1e-5f);
}

TEST(LightingPreviewState, MouseDragsPanAndZoomTheCamera)
{
    PreviewFixture f;
    f.preview.GetCamera() = Camera(100, 100);
    f.preview.MouseMoved(50, 50);
    f.preview.SetRightHeld(true);
    f.preview.MouseMoved(60, 50); // the scene follows the cursor to the right
    EXPECT_NEAR(f.preview.GetCamera().GetPosition().x, -0.2f, 1e-5f);

    f.preview.SetLeftHeld(true);
    f.preview.MouseMoved(60, 40); // both buttons: dragging up zooms out
    EXPECT_NEAR(f.preview.GetCamera().GetHeight(), 2.2f, 1e-5f);
    EXPECT_NEAR(f.preview.GetCamera().GetPosition().x, -0.2f, 1e-5f);
}
