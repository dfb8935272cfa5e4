#include "core/Colour.h"

#include "core/TextTokens.h"

#include <QColor>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

namespace {
// Float to unsigned conversion of a negative, huge or not-a-number value is undefined in C++;
// such colours hash to the ends of the range instead.
std::uint64_t TruncateToUnsigned(double value)
{
    if (!(value >= 0.0))
        return 0;
    if (value >= 18446744073709551615.0)
        return UINT64_MAX;
    return static_cast<std::uint64_t>(value);
}

int TruncateChannel(float channel)
{
    const double scaled = static_cast<double>(channel) * 255.0;
    if (!(scaled > -2147483648.0 && scaled < 2147483647.0))
        return scaled > 0.0 ? 2147483647 : 0;
    return static_cast<int>(scaled);
}
} // namespace

const char* Exception_ColourRead::what() const noexcept
{
    return "Reading colour from string exception.";
}

Vector3D Colour::GetAsNormal() const
{
    return {2.0f * r - 1.0f, 2.0f * g - 1.0f, 2.0f * b - 1.0f};
}

void Colour::SetFromNormal(Vector3D n)
{
    if (n.GetMagnitudeSquared() < 0.001f)
        n = Vector3D(0.0f, 0.0f, 1.0f);
    r = 0.5f * n.x + 0.5f;
    g = 0.5f * n.y + 0.5f;
    b = 0.5f * n.z + 0.5f;
    a = 1.0f;
}

float Colour::GetHue() const
{
    const float max = std::max({r, g, b});
    const float min = std::min({r, g, b});
    if (r > g && r > b)
        return (g - b) / (max / min);
    if (r <= g && b <= g)
        return (b - r) / (max - min) + 2.0f;
    return (r - g) / (max - min) + 4.0f;
}

float Colour::GetBrightness() const
{
    return std::max({r, g, b});
}

float Colour::GetSaturation() const
{
    const float max = std::max({r, g, b});
    const float min = std::min({r, g, b});
    if (max == 0.0f)
        return 0.0f;
    return (max - min) / max;
}

void Colour::AlphaMult()
{
    r *= a;
    g *= a;
    b *= a;
}

Colour& Colour::operator*=(const float& factor)
{
    r *= factor;
    g *= factor;
    b *= factor;
    return *this;
}

Colour Colour::operator*(const float& factor) const
{
    return {r * factor, g * factor, b * factor, a};
}

bool Colour::operator==(const Colour& other) const
{
    return std::fabs(r - other.r) + std::fabs(g - other.g) + std::fabs(b - other.b) + std::fabs(a - other.a) <
           0.01f;
}

bool Colour::operator<(const Colour& other) const
{
    return GetBrightness() < other.GetBrightness();
}

void Colour::GetFromString(std::string text)
{
    if (text.size() < 2)
        throw Exception_ColourRead();
    if (text.front() != '(' || text.back() != ')')
        throw Exception_ColourRead();
    const std::vector<std::string> fields = TokeniseByChar(text.substr(1, text.size() - 2), ',');
    if (fields.size() < 3)
        throw Exception_ColourRead();
    if (fields.size() > 4)
        return; // Lenient on purpose: extra fields leave the colour as it was.
    // Each channel is assigned as soon as it is read, so a bad later field keeps the earlier ones.
    r = static_cast<float>(std::stoi(fields[0]) / 255.0);
    g = static_cast<float>(std::stoi(fields[1]) / 255.0);
    b = static_cast<float>(std::stoi(fields[2]) / 255.0);
    a = fields.size() == 4 ? static_cast<float>(std::stoi(fields[3]) / 255.0) : 1.0f;
}

std::string Colour::GetAsString() const
{
    std::ostringstream out;
    out << "(" << TruncateChannel(r) << ", " << TruncateChannel(g) << ", " << TruncateChannel(b) << ", "
        << TruncateChannel(a) << ")";
    return out.str();
}

std::uint64_t Hash(const Colour& colour)
{
    return TruncateToUnsigned(static_cast<double>(colour.r + colour.g + colour.b + colour.a) * 200.0);
}

std::uint64_t ColourHash::operator()(const Colour& colour) const
{
    return TruncateToUnsigned((static_cast<double>(colour.r + colour.g + colour.b) + 1.0) * 200.0);
}

namespace QtBD {
QColor BDToQt(Colour colour)
{
    // QColor refuses channels outside 0..255, which unclamped colours can produce.
    const auto channel = [](float c) { return std::clamp(TruncateChannel(c), 0, 255); };
    QColor result;
    result.setRgb(channel(colour.r), channel(colour.g), channel(colour.b), channel(colour.a));
    return result;
}

Colour QtToBD(QColor colour)
{
    return {static_cast<float>(colour.redF()), static_cast<float>(colour.greenF()),
            static_cast<float>(colour.blueF()), static_cast<float>(colour.alphaF())};
}
} // namespace QtBD
