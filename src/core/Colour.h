#pragma once
#include "core/Vector3D.h"

#include <cstdint>
#include <exception>
#include <string>

class QColor;

// Thrown when a colour's text form cannot be read; callers keep their previous colour.
class Exception_ColourRead : public std::exception
{
public:
    const char* what() const noexcept override;
};

// One RGBA colour of four floats, nominally 0..1 and never clamped. Also carries the normal-map
// encoding (channel = 0.5 * component + 0.5), brightness ordering and the "(r, g, b, a)" text form.
class Colour
{
public:
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
    float a = 1.0f;

    Colour() = default;
    Colour(float red, float green, float blue) : r(red), g(green), b(blue) {}
    Colour(float red, float green, float blue, float alphaValue) : r(red), g(green), b(blue), a(alphaValue) {}

    Vector3D GetAsNormal() const;
    void SetFromNormal(Vector3D n);

    // Sector units 0..6, with the red branch dividing by max/min rather than the difference.
    float GetHue() const;
    float GetBrightness() const;
    float GetSaturation() const;

    void AlphaMult();
    Colour& operator*=(const float& factor);
    Colour operator*(const float& factor) const;
    // Equal when the summed channel differences are strictly below 0.01.
    bool operator==(const Colour& other) const;
    bool operator!=(const Colour& other) const { return !(*this == other); }
    // Orders by brightness only.
    bool operator<(const Colour& other) const;

    void GetFromString(std::string text);
    std::string GetAsString() const;
};

std::uint64_t Hash(const Colour& colour);

// Hash used to collect the distinct colours of a palette; alpha takes no part in it.
struct ColourHash
{
    std::uint64_t operator()(const Colour& colour) const;
};

namespace QtBD {
QColor BDToQt(Colour colour);
Colour QtToBD(QColor colour);
} // namespace QtBD
