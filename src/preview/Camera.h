#pragma once
#include "core/Vector2D.h"

// The preview's orthographic 2-D view: a centre, a visible height in world units (the sprite is about
// 2 units tall at the reset view) and the widget's size in pixels.
class Camera
{
public:
    static constexpr float kMinHeight = 0.1f;
    static constexpr float kMaxHeight = 350.0f;

    Camera() = default;
    Camera(int pixelWidth, int pixelHeight);

    float GetAspectRatio() const;
    float GetLeftExtreme() const { return position.x - 0.5f * width; }
    float GetRightExtreme() const { return position.x + 0.5f * width; }
    float GetTopExtreme() const { return position.y + 0.5f * height; }
    float GetBottomExtreme() const { return position.y - 0.5f * height; }
    float GetWidth() const { return width; }
    float GetHeight() const { return height; }
    int GetPixelWidth() const { return pixelWidth; }
    int GetPixelHeight() const { return pixelHeight; }
    Vector2D GetPosition() const { return position; }

    void Pan(Vector2D offset) { position += offset; }
    void SetHeight(float h);
    // Positive zooms out. A step that would leave 0.1..350 is refused whole rather than clamped.
    void Zoom(float delta);
    void Reset();
    // Keeps the visible height, so a wider widget shows more of the scene sideways.
    void Resize(int newPixelWidth, int newPixelHeight);
    // Orthographic projection over the extremes, near -10 and far 10. Needs a current context.
    void SetOpenGLMatrices() const;
    // A widget pixel (origin top left, y down) to the world point under its centre, turned back by the
    // sprite's rotation so the result is in the sprite's own frame.
    Vector2D GetPositionFromPixel(int pixelX, int pixelY, float rotationDegrees) const;

private:
    float width = 0.0f;
    float height = 0.0f;
    int pixelWidth = 0;
    int pixelHeight = 0;
    Vector2D position{0.0f, 0.0f};
};
