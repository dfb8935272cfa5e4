#pragma once
#include "core/TextTokens.h"

#include <string>
#include <vector>

// Filename and text helpers. '/' is the only directory separator and '.' the only extension mark.

std::string GetFilenameWithoutExtension(std::string path);
std::string GetFileExtension(std::string path); // dot included; empty without a dot
std::string GetDirectoryWithoutFilename(std::string path);
std::string MakeLower(std::string s);
bool EndsWith(std::string s, std::string end, bool caseSensitive);
