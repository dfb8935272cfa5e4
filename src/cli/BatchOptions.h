#pragma once
#include "sets/ImageType.h"

#include <array>
#include <string>
#include <vector>

class CommandLineArgumentSet;
struct GenerationParameters;

// One save option of the batch mode and the map it writes.
struct SaveOption
{
    const char* option;
    ImageType type;
    const char* description;
};

const std::array<SaveOption, 8>& SaveOptions();

// Every word the batch mode understands: the save options, the settings of the parameter table and the
// run's own switches. Checks a command line against them, reads the settings with a warning for each
// value it cannot use as written, and writes the help text from them, so none of the three can drift
// from what the batch mode really reads.
class BatchOptions
{
public:
    explicit BatchOptions(const CommandLineArgumentSet& arguments);

    // Unknown words (with the option they probably meant), stray words and repeated options.
    std::vector<std::string> CheckWords() const;
    // The settings to run with: each option that is present and readable, the batch default for the
    // rest. Every value that is not used exactly as written adds a warning naming the value used.
    GenerationParameters ReadParameters(std::vector<std::string>& warnings) const;

    // The full --help text.
    static std::string HelpText();
    // The short reminder printed to standard error when a run cannot start.
    static std::string UsageText();

private:
    const CommandLineArgumentSet& arguments;
};
