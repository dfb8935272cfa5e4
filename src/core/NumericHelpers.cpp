#include "core/NumericHelpers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

float DegToRad(float degrees)
{
    return degrees * 0.017453292f;
}

float RadToDeg(float radians)
{
    return radians * 57.295776f;
}

int GetRandomInt(int low, int high)
{
    return low + std::rand() % (high - low + 1);
}

float GetRandomFloat(float low, float high)
{
    return low + static_cast<float>(std::rand()) * 4.656613e-10f * (high - low);
}

double GetRandomDouble(double low, double high)
{
    return low + std::rand() / 2147483647.0 * (high - low);
}

int GetBinNumber(float low, float high, float value, int bins)
{
    // Compared as a float first so huge or not-a-number positions cannot overflow the conversion.
    const float bin = std::floor((value - low) / (high - low) * static_cast<float>(bins));
    if (!(bin >= 0.0f))
        return 0;
    if (bin >= static_cast<float>(bins))
        return bins - 1;
    return static_cast<int>(bin);
}

float Clamp(float value, float low, float high)
{
    if (low > value)
        return low;
    return std::min(value, high);
}

int Clamp(int value, int low, int high)
{
    if (low > value)
        return low;
    return std::min(value, high);
}

float Wrap(float value, float modulus)
{
    if (value >= 0.0f)
        return std::fmod(value, modulus);
    return modulus - std::fmod(-value, modulus);
}
