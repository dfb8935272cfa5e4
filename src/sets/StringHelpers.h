#pragma once
#include <string>
#include <vector>

// Filename and text helpers. '/' is the only directory separator and '.' the only extension mark.

std::string GetFilenameWithoutExtension(std::string path);
std::string GetFileExtension(std::string path); // dot included; empty without a dot
std::string GetDirectoryWithoutFilename(std::string path);
std::string MakeLower(std::string s);
bool EndsWith(std::string s, std::string end, bool caseSensitive);

// Pieces between separators. Empty pieces count, except a trailing one: "a,,b" gives three pieces,
// ",a" two, "a," one, and "" none.
std::vector<std::string> TokeniseByChar(const std::string& s, char separator);
std::vector<std::wstring> TokeniseByChar(const std::wstring& s, wchar_t separator);
