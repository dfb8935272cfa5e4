#include "cli/CommandLineArgumentSet.h"

#include <algorithm>
#include <cctype>
#include <charconv>

const char* Exception_CLI::what() const noexcept
{
    return "CLI parameter not found or malformed exception.";
}

CommandLineArgumentSet::CommandLineArgumentSet(char** argv, int argc)
{
    for (int i = 0; i < argc; ++i)
        arguments.emplace_back(argv[i] ? argv[i] : "");
}

bool CommandLineArgumentSet::HasArgument(std::string name) const
{
    for (const std::string& word : arguments)
        if (word == name)
            return true;
    return false;
}

const std::string& CommandLineArgumentSet::ValueAfter(const std::string& name) const
{
    // Only the first occurrence counts, even when it has no usable value.
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        if (arguments[i] != name)
            continue;
        if (i + 1 >= arguments.size())
            throw Exception_CLI();
        return arguments[i + 1];
    }
    throw Exception_CLI();
}

std::string CommandLineArgumentSet::GetStringArg(std::string name) const
{
    const std::string& value = ValueAfter(name);
    // A value starting with '-' is the next option, never this one's value.
    if (!value.empty() && value[0] == '-')
        throw Exception_CLI();
    return value;
}

int CommandLineArgumentSet::GetIntArg(std::string name, int min, int max) const
{
    return ParseIntArg(ValueAfter(name), min, max);
}

float CommandLineArgumentSet::GetFloatArg(std::string name, float min, float max) const
{
    return ParseFloatArg(ValueAfter(name), min, max);
}

namespace {
// Skips what strtol/strtof skip (C-locale blanks) and an explicit '+', which from_chars refuses.
// Returns null when the sign is followed by another sign, which the C library would not read either.
const char* NumberStart(const std::string& text)
{
    const char* p = text.c_str();
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\v' || *p == '\f' || *p == '\r')
        ++p;
    if (*p == '+')
    {
        ++p;
        if (*p == '+' || *p == '-')
            return nullptr;
    }
    return p;
}
} // namespace

// from_chars rather than stoi/stof: Qt sets the process locale from the environment, and a locale
// with a decimal comma would read "2.5" as 2.
int ParseIntArg(const std::string& text, int min, int max)
{
    const char* start = NumberStart(text);
    if (!start)
        throw Exception_CLI();
    const char* end = text.c_str() + text.size();
    int value = 0;
    const std::from_chars_result result = std::from_chars(start, end, value, 10);
    if (result.ec != std::errc() || value < min || value > max)
        throw Exception_CLI();
    return value;
}

float ParseFloatArg(const std::string& text, float min, float max)
{
    const char* start = NumberStart(text);
    if (!start)
        throw Exception_CLI();
    const char* end = text.c_str() + text.size();
    float value = 0.0f;
    const std::from_chars_result result = std::from_chars(start, end, value);
    // Written so that NaN, which compares false with everything, is refused too.
    if (result.ec != std::errc() || !(value >= min && value <= max))
        throw Exception_CLI();
    return value;
}

bool IsCompleteNumber(const std::string& text, bool whole)
{
    const char* start = NumberStart(text);
    if (!start)
        return false;
    const char* end = text.c_str() + text.size();
    std::from_chars_result result{};
    if (whole)
    {
        int value = 0;
        result = std::from_chars(start, end, value, 10);
    }
    else
    {
        float value = 0.0f;
        result = std::from_chars(start, end, value);
    }
    return result.ec == std::errc() && result.ptr == end;
}

namespace {
std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::size_t EditDistance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i)
    {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j)
        {
            const std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}
} // namespace

std::string ClosestWord(const std::string& word, const std::vector<std::string>& candidates)
{
    const std::string lower = Lower(word);
    for (const std::string& candidate : candidates)
        if (Lower(candidate) == lower)
            return candidate;
    // Case is ignored for the distance too: "-DSAVE" and "-dsave" are the same slip. A third of the
    // word's length allows a doubled or dropped letter in a short option but not a different option.
    std::string best;
    std::size_t bestDistance = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : candidates)
    {
        const std::size_t distance = EditDistance(lower, Lower(candidate));
        if (distance < bestDistance)
        {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}

std::string WithExplicitFolder(const std::string& filename)
{
    if (filename.empty() || filename.find('/') != std::string::npos)
        return filename;
    return "./" + filename;
}
