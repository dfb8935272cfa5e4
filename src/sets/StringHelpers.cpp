#include "sets/StringHelpers.h"

#include <cctype>

std::string GetFilenameWithoutExtension(std::string path)
{
    const std::size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos)
        name.erase(dot);
    return name;
}

std::string GetFileExtension(std::string path)
{
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos ? std::string() : path.substr(dot);
}

std::string GetDirectoryWithoutFilename(std::string path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string MakeLower(std::string s)
{
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool EndsWith(std::string s, std::string end, bool caseSensitive)
{
    if (!caseSensitive)
    {
        s = MakeLower(s);
        end = MakeLower(end);
    }
    if (end.size() > s.size())
        return false;
    const std::size_t at = s.rfind(end);
    return at != std::string::npos && at == s.size() - end.size();
}
