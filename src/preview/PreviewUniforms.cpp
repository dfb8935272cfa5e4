#include "preview/PreviewUniforms.h"

#include "core/Image.h"

#include <cmath>

namespace {
// The degree-to-radian factor the preview has always used (pi taken as 3.1416).
constexpr float kDegreesToRadians = 0.017453333f;
} // namespace

float CelShadingLevelUniform(bool celShading, int level)
{
    return celShading ? static_cast<float>(level) - 0.5f : 1000.0f;
}

float DirectionalLightUniform(bool directional)
{
    return directional ? 1.0f : -1.0f;
}

Vector3D LightPositionUniform(Vector3D position, bool directional)
{
    if (!directional)
        return position;
    const float length =
        std::sqrt(position.x * position.x + position.y * position.y + position.z * position.z);
    if (!(length > 0.0f))
        return Vector3D(0.0f, 0.0f, 1.0f); // a light at the origin still needs a usable direction
    return Vector3D(position.x / length, position.y / length, position.z / length);
}

std::array<float, 4> RotationMatrixUniform(bool meshMode, float rotationDegrees)
{
    if (meshMode)
        return {1.0f, 0.0f, 0.0f, 1.0f};
    const float angle = rotationDegrees * kDegreesToRadians;
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return {c, s, -s, c};
}

Vector2D TextureResolutionUniform(bool textureFiltering, const Image* diffuse)
{
    if (textureFiltering)
        return {1000000.0f, 1000000.0f};
    if (diffuse == nullptr || !diffuse->HasPlanes())
        return {128.0f, 128.0f};
    return {static_cast<float>(diffuse->GetWidth()), static_cast<float>(diffuse->GetHeight())};
}

Colour LowerAmbientUniform(Colour upper, Colour lower, bool lowerFollowsUpper)
{
    return lowerFollowsUpper ? upper : lower;
}

float AmplifyDepthUniform(float depthMultiply)
{
    return 0.03f * depthMultiply;
}

float SpriteAspect(const Image* normalMap)
{
    if (normalMap == nullptr || !normalMap->HasPlanes() || normalMap->GetHeight() == 0)
        return 1.0f;
    return static_cast<float>(normalMap->GetWidth()) / static_cast<float>(normalMap->GetHeight());
}

Vector3D MeshVertex(int i, int j, float aspect, float depthAtVertex, float depthMultiply)
{
    return Vector3D(static_cast<float>(i - 50) * 2.0f * aspect / 100.0f, static_cast<float>(j - 50) * -0.02f,
                    depthAtVertex * AmplifyDepthUniform(depthMultiply));
}

Vector2D TileOffset(int k, float aspect)
{
    const int column = k % 3;
    const int row = k / 3;
    return {static_cast<float>(column - 1) * 2.0f * aspect, static_cast<float>(1 - row) * 2.0f};
}

float OrbitAngle(float orbitMilliseconds)
{
    return orbitMilliseconds * 0.3f * kDegreesToRadians;
}

Vector3D VerticalOrbitPosition(float theta, float height)
{
    return Vector3D(kOrbitRadius * std::sin(theta), kOrbitRadius * std::cos(theta), height);
}

Vector3D HorizontalOrbitPosition(float theta, float height)
{
    return Vector3D(kOrbitRadius * std::sin(theta), height, kOrbitRadius * std::cos(theta));
}
