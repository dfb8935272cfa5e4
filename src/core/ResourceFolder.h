#pragma once
#include <string>

// Where Brondel's run-time files (Shaders, BlankTextures, Examples, ...) live: $BRONDEL_RESOURCES if
// set, else the executable's folder when it holds Shaders/, else <executable folder>/../share/brondel/,
// else the working directory. The result ends with '/', or is empty for the working directory, so
// resource paths can be appended to it directly. Call after the Qt application object exists.
std::string FindResourceFolder();

// Process-wide image reading settings: Qt's default allocation limit refuses large sprite sheets, so it
// is raised to 2 GiB; files claiming more are still refused and load as missing.
void ConfigureImageReading();
