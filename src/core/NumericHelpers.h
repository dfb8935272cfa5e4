#pragma once

// Angle conversion, random numbers, clamping, wrapping and binning shared by every layer.

float DegToRad(float degrees);
float RadToDeg(float radians);

// The random helpers use the C library's process-wide rand() seed; nothing here seeds it.
int GetRandomInt(int low, int high);         // inclusive of both ends
float GetRandomFloat(float low, float high); // never quite reaches high
double GetRandomDouble(double low, double high);

int GetBinNumber(float low, float high, float value, int bins);

float Clamp(float value, float low, float high);
int Clamp(int value, int low, int high);

// A negative exact multiple maps to the modulus itself (Wrap(-4, 4) == 4), not to 0: pixel
// lookups built on it have always behaved so.
inline int Wrap(int value, int modulus)
{
    if (value >= 0)
        return value % modulus;
    return modulus - ((-value) % modulus);
}
float Wrap(float value, float modulus);

inline float FAbs(float v)
{
    return v > 0.0f ? v : -v;
}
