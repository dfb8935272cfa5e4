#pragma once
#include <ostream>

// A 2-D float vector: image-plane directions, anisotropy orientations and screen positions.
class Vector2D
{
public:
    float x = 0.0f;
    float y = 0.0f;

    Vector2D() = default;
    Vector2D(float xValue, float yValue) : x(xValue), y(yValue) {}

    Vector2D operator+(const Vector2D& o) const { return {x + o.x, y + o.y}; }
    Vector2D operator-(const Vector2D& o) const { return {x - o.x, y - o.y}; }
    Vector2D operator-() const { return {-x, -y}; }
    Vector2D operator*(float s) const { return {x * s, y * s}; }
    Vector2D operator/(float s) const { return {x / s, y / s}; }
    Vector2D& operator+=(const Vector2D& o);
    Vector2D& operator-=(const Vector2D& o);
    Vector2D& operator*=(float s);
    Vector2D& operator/=(float s);
    bool operator==(const Vector2D& o) const { return x == o.x && y == o.y; }
    bool operator!=(const Vector2D& o) const { return !(*this == o); }

    float GetMagnitude() const;
    float GetMagnitudeSquared() const { return x * x + y * y; }
    Vector2D GetNormalised() const;
    // No guard: a zero vector becomes not-a-number.
    void Normalise();

    void RotatePoint(float angle);
    void RotatePointBy90();
    void RotatePointBy180();
    void RotatePointBy270();
    Vector2D GetReflectedAbout(const Vector2D& axis) const;
    // An undirected orientation in [0, pi), not a compass bearing.
    float GetBearing() const;

    static float DotProduct(const Vector2D& a, const Vector2D& b) { return a.x * b.x + a.y * b.y; }
    static Vector2D GetPointBetween(const Vector2D& a, const Vector2D& b, float t) { return a + (b - a) * t; }
    static Vector2D GetParallelComponent(const Vector2D& v, const Vector2D& axis);
    static Vector2D GetPerpendicularComponent(const Vector2D& v, const Vector2D& axis);
    static float GetAngleBetween(const Vector2D& a, const Vector2D& b);
    // Two equal directions give a full turn (2 pi), never 0.
    static float GetAnticlockwiseTurn(const Vector2D& a, const Vector2D& b);
};

std::ostream& operator<<(std::ostream& out, const Vector2D& v);
