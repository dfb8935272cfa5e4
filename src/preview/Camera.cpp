#include "preview/Camera.h"

#include "core/TransformMatrix.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions_2_1>
#include <QOpenGLVersionFunctionsFactory>

Camera::Camera(int pixelWidthValue, int pixelHeightValue)
    : height(2.0f), pixelWidth(pixelWidthValue), pixelHeight(pixelHeightValue)
{
    width = height * GetAspectRatio();
}

float Camera::GetAspectRatio() const
{
    return static_cast<float>(pixelWidth) / static_cast<float>(pixelHeight);
}

void Camera::SetHeight(float h)
{
    height = h;
    width = h * GetAspectRatio();
}

void Camera::Zoom(float delta)
{
    const float h = height + delta;
    if (h < kMinHeight || h > kMaxHeight)
        return;
    SetHeight(h);
}

void Camera::Reset()
{
    position = Vector2D(0.0f, 0.0f);
    SetHeight(2.0f);
}

void Camera::Resize(int newPixelWidth, int newPixelHeight)
{
    pixelWidth = newPixelWidth;
    pixelHeight = newPixelHeight;
    width = height * GetAspectRatio();
}

void Camera::SetOpenGLMatrices() const
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (context == nullptr)
        return;
    auto* gl = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_1>(context);
    if (gl == nullptr)
        return;
    gl->glMatrixMode(GL_PROJECTION);
    gl->glLoadIdentity();
    gl->glOrtho(GetLeftExtreme(), GetRightExtreme(), GetBottomExtreme(), GetTopExtreme(), -10.0, 10.0);
}

Vector2D Camera::GetPositionFromPixel(int pixelX, int pixelY, float rotationDegrees) const
{
    const float fx = (static_cast<float>(pixelX) + 0.5f) / static_cast<float>(pixelWidth) * width;
    const float fy = (1.0f - (static_cast<float>(pixelY) + 0.5f) / static_cast<float>(pixelHeight)) * height;
    Vector3D p(GetLeftExtreme() + fx, GetBottomExtreme() + fy, 0.0f);
    TransformMatrix rotation;
    // 3.1416 rather than the exact pi, as the artist's earlier files and positions were made with it.
    rotation.MakeRotationAboutZ(-rotationDegrees * 3.1416f / 180.0f);
    p *= rotation;
    return {p.x, p.y};
}
