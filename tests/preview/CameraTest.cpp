#include "preview/Camera.h"

#include <gtest/gtest.h>

TEST(Camera, PixelsMapToTheirCentresAndTurnWithTheSprite)
{
    const Camera camera(100, 100);
    const Vector2D centre = camera.GetPositionFromPixel(50, 50, 0.0f);
    EXPECT_NEAR(centre.x, 0.01f, 1e-6f);
    EXPECT_NEAR(centre.y, -0.01f, 1e-6f);
    const Vector2D corner = camera.GetPositionFromPixel(0, 0, 0.0f);
    EXPECT_NEAR(corner.x, -0.99f, 1e-6f);
    EXPECT_NEAR(corner.y, 0.99f, 1e-6f);

    // The point right of centre, seen on a sprite turned 90 degrees, lies below the sprite's centre
    // in the sprite's own frame (turned back by -90 degrees).
    const Vector2D turned = camera.GetPositionFromPixel(99, 49, 90.0f);
    EXPECT_NEAR(turned.x, 0.01f, 1e-4f);
    EXPECT_NEAR(turned.y, -0.99f, 1e-4f);

    Camera panned(100, 100);
    panned.Pan(Vector2D(1.0f, 2.0f));
    EXPECT_NEAR(panned.GetPositionFromPixel(50, 50, 0.0f).x, 1.01f, 1e-6f);
    EXPECT_FLOAT_EQ(panned.GetLeftExtreme(), 0.0f);
    EXPECT_FLOAT_EQ(panned.GetTopExtreme(), 3.0f);
}

TEST(Camera, ZoomRefusesStepsPastItsLimitsInsteadOfClamping)
{
    Camera camera(200, 100);
    camera.Zoom(-1.85f);
    EXPECT_FLOAT_EQ(camera.GetHeight(), 0.15f);
    camera.Zoom(-0.1f); // would reach 0.05
    EXPECT_FLOAT_EQ(camera.GetHeight(), 0.15f);
    EXPECT_FLOAT_EQ(camera.GetWidth(), 0.3f);

    camera.SetHeight(349.0f);
    camera.Zoom(2.0f); // would reach 351
    EXPECT_FLOAT_EQ(camera.GetHeight(), 349.0f);
    camera.Zoom(1.0f);
    EXPECT_FLOAT_EQ(camera.GetHeight(), 350.0f);

    camera.Pan(Vector2D(3.0f, 3.0f));
    camera.Reset();
    EXPECT_FLOAT_EQ(camera.GetHeight(), 2.0f);
    EXPECT_FLOAT_EQ(camera.GetWidth(), 4.0f);
    EXPECT_EQ(camera.GetPosition(), Vector2D(0.0f, 0.0f));
}

TEST(Camera, ResizeKeepsTheVisibleHeight)
{
    Camera camera(400, 400);
    camera.Zoom(1.0f);
    camera.Resize(800, 400);
    EXPECT_FLOAT_EQ(camera.GetHeight(), 3.0f);
    EXPECT_FLOAT_EQ(camera.GetWidth(), 6.0f);
    EXPECT_FLOAT_EQ(camera.GetLeftExtreme(), -3.0f);
}
