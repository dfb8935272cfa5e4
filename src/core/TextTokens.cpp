#include "core/TextTokens.h"

namespace {
template <typename Text> std::vector<Text> Tokenise(const Text& s, typename Text::value_type separator)
{
    std::vector<Text> pieces;
    Text current;
    for (const auto c : s)
    {
        if (c == separator)
        {
            pieces.push_back(current);
            current.clear();
        }
        else
            current += c;
    }
    if (!current.empty())
        pieces.push_back(current);
    return pieces;
}
} // namespace

std::vector<std::string> TokeniseByChar(const std::string& s, char separator)
{
    return Tokenise(s, separator);
}

std::vector<std::wstring> TokeniseByChar(const std::wstring& s, wchar_t separator)
{
    return Tokenise(s, separator);
}
