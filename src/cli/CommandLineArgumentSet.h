#pragma once
#include <exception>
#include <string>
#include <vector>

// Thrown for any command-line value that is missing or cannot be read; the batch mode catches it and
// falls back to the option's default.
class Exception_CLI : public std::exception
{
public:
    const char* what() const noexcept override;
};

// The words of a command line (program name included), and lookups of flags and option values.
class CommandLineArgumentSet
{
public:
    CommandLineArgumentSet(char** argv, int argc);
    explicit CommandLineArgumentSet(std::vector<std::string> words) : arguments(std::move(words)) {}

    bool HasArgument(std::string name) const;
    // The word after the first occurrence of name; it may not start with '-'.
    std::string GetStringArg(std::string name) const;
    int GetIntArg(std::string name, int min, int max) const;
    float GetFloatArg(std::string name, float min, float max) const;
    const std::vector<std::string>& Words() const { return arguments; }

private:
    const std::string& ValueAfter(const std::string& name) const;

    std::vector<std::string> arguments;
};

// Number conversions with the C library's rules (leading blanks, optional sign, trailing text ignored)
// but independent of the process locale, range-checked inclusively; any failure throws Exception_CLI.
int ParseIntArg(const std::string& text, int min, int max);
float ParseFloatArg(const std::string& text, float min, float max);
// True when the conversions above would read the whole text as one number: "1e9" as a whole number,
// or "0,5" as any number, leaves text unread that the user probably meant.
bool IsCompleteNumber(const std::string& text, bool whole);

// The candidate a mistyped word most probably meant: the same word in another case, else the nearest
// by edit distance when it is close enough to be a slip; empty when none is.
std::string ClosestWord(const std::string& word, const std::vector<std::string>& candidates);

// A file name with no folder, made relative to the working directory ("Head_Left.png" becomes
// "./Head_Left.png"): set naming always puts a folder before the base name, and a bare name would
// otherwise point at the root folder.
std::string WithExplicitFolder(const std::string& filename);
