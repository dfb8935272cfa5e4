#pragma once
#include <string>
#include <vector>

// Splitting text at one separator character. It sits in core because colour strings are read with it;
// the filename helpers of sets offer it to their users too.

// Pieces between separators. Empty pieces count, except a trailing one: "a,,b" gives three pieces,
// ",a" two, "a," one, and "" none.
std::vector<std::string> TokeniseByChar(const std::string& s, char separator);
std::vector<std::wstring> TokeniseByChar(const std::wstring& s, wchar_t separator);
