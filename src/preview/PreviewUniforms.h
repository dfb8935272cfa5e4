#pragma once
#include "core/Colour.h"
#include "core/Vector2D.h"
#include "core/Vector3D.h"

#include <array>

class Image;

// The value rules of the preview's shader inputs and geometry, as plain functions so they can be
// checked without an OpenGL context.

// The shader draws floor(intensity * level) bands; sending level - 0.5 gives exactly `level` bands over
// 0..1, and 1000 is too fine to notice when cel shading is off.
float CelShadingLevelUniform(bool celShading, int level);
// 1 for a directional light, -1 (never 0) for a point light.
float DirectionalLightUniform(bool directional);
// A directional light's position is its direction, normalised; a point light's is sent as it is.
Vector3D LightPositionUniform(Vector3D position, bool directional);
// Column-major 2x2 (cos, sin; -sin, cos) of the sprite's rotation; identity in mesh mode, where the
// geometry itself turns instead.
std::array<float, 4> RotationMatrixUniform(bool meshMode, float rotationDegrees);
// Texel grid the shader snaps its lighting to: effectively none when filtering is on, else the diffuse
// map's size, or 128 x 128 without one.
Vector2D TextureResolutionUniform(bool textureFiltering, const Image* diffuse);
Colour LowerAmbientUniform(Colour upper, Colour lower, bool lowerFollowsUpper);
float AmplifyDepthUniform(float depthMultiply);

// Width over height of the normal map, or 1 without one: the sprite quad spans -a..a by -1..1.
float SpriteAspect(const Image* normalMap);
// Vertex (i, j), 0..100 each, of the displaced mesh; depthAtVertex is the processor's depth there.
Vector3D MeshVertex(int i, int j, float aspect, float depthAtVertex, float depthMultiply);
constexpr int kMeshCells = 100;
// Centre of copy k (0..8, row by row from the top left) of the 3 x 3 tiled preview.
Vector2D TileOffset(int k, float aspect);

// Orbit angle after `orbitMilliseconds` of animation: 0.3 degrees a millisecond.
float OrbitAngle(float orbitMilliseconds);
constexpr float kOrbitRadius = 1.5f;
// Light on its orbit at angle theta. `height` is the light-height control: Z for a vertical orbit, the
// light's Y for a horizontal one.
Vector3D VerticalOrbitPosition(float theta, float height);
Vector3D HorizontalOrbitPosition(float theta, float height);
