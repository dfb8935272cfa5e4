#pragma once
#include "core/Colour.h"

#include <string>

// The preview's lighting parameters (colours, multipliers and switches) and the text file in which the
// artist's preferred defaults are kept.
class LightSettings
{
public:
    Colour backgroundColour{0.1f, 0.1f, 0.1f, 1.0f};
    Colour directLightColour{1.0f, 1.0f, 0.85f, 1.0f};
    Colour upperAmbientColour{1.0f, 1.0f, 0.85f, 1.0f};
    Colour lowerAmbientColour{0.85f, 0.85f, 1.0f, 1.0f};
    float directLightMultiplier = 0.8f;
    float upperAmbientMultiplier = 0.2f;
    float lowerAmbientMultiplier = 0.1f;
    bool ambientLock = false;
    bool usingDirectionalLight = false;
    bool renderLightSourceIcon = true;
    float lightAttenuationFactor = 0.0f;
    float lightWrapAmount = 0.0f;

    static constexpr const char* kDefaultFilename = "DefaultLightSettings.txt";

    // Twelve label/value line pairs. The file is replaced whole or not at all; returns false (with the
    // reason in errorText when given) when it could not be written.
    bool WriteToFile(std::string filename, std::string* errorText = nullptr) const;
    // Reads by position, never comparing labels. A missing file changes nothing; a bad colour line
    // keeps that colour; a float or bool line that is not a number throws std::invalid_argument (or
    // std::out_of_range) and leaves the entries after it unread.
    void ReadFromFile(std::string filename);
    // ReadFromFile for callers that must keep running: on a bad number every value returns to what it
    // was before the read, and false is returned.
    bool ReadFromFileKeepingValues(std::string filename);

    // The saved defaults live in the user's configuration folder, because an installed resource folder
    // is not writable; the copy shipped in the resource folder is read until the artist saves one.
    static std::string GetDefaultsPathForReading(const std::string& resourceFolder);
    static std::string GetDefaultsPathForWriting();
};
