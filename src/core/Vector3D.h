#pragma once
#include "core/Vector2D.h"

#include <ostream>

// A 3-D float vector: normals, light positions and mesh points.
class Vector3D
{
public:
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;

    Vector3D() = default;
    Vector3D(float xValue, float yValue, float zValue) : x(xValue), y(yValue), z(zValue) {}
    explicit Vector3D(const Vector2D& v) : x(v.x), y(v.y) {}
    Vector3D(const Vector2D& v, float zValue) : x(v.x), y(v.y), z(zValue) {}
    Vector3D& operator=(const Vector2D& v);

    Vector3D operator+(const Vector3D& o) const { return {x + o.x, y + o.y, z + o.z}; }
    Vector3D operator-(const Vector3D& o) const { return {x - o.x, y - o.y, z - o.z}; }
    Vector3D operator-() const { return {-x, -y, -z}; }
    Vector3D operator*(float s) const { return {x * s, y * s, z * s}; }
    Vector3D operator/(float s) const { return {x / s, y / s, z / s}; }
    Vector3D& operator+=(const Vector3D& o);
    Vector3D& operator-=(const Vector3D& o);
    Vector3D& operator*=(float s);
    Vector3D& operator/=(float s);
    bool operator==(const Vector3D& o) const { return x == o.x && y == o.y && z == o.z; }
    bool operator!=(const Vector3D& o) const { return !(*this == o); }

    float GetMagnitude() const;
    float GetMagnitudeSquared() const { return x * x + y * y + z * z; }
    Vector3D GetNormalised() const;
    // No guard: a zero vector becomes not-a-number.
    void Normalise();
    Vector2D XY() const { return {x, y}; }
    Vector2D XZ() const { return {x, z}; }
    Vector2D YZ() const { return {y, z}; }

    static float DotProduct(const Vector3D& a, const Vector3D& b)
    {
        return a.x * b.x + a.y * b.y + a.z * b.z;
    }
    static Vector3D CrossProduct(const Vector3D& a, const Vector3D& b);
    static Vector3D GetPointBetween(const Vector3D& a, const Vector3D& b, float t) { return a + (b - a) * t; }
};

std::ostream& operator<<(std::ostream& out, const Vector3D& v);
