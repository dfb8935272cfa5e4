#include "cli/BatchOptions.h"

#include "cli/CommandLineArgumentSet.h"
#include "sets/GenerationParameters.h"

#include <algorithm>
#include <iomanip>
#include <limits>
#include <locale>
#include <map>
#include <sstream>

namespace {
constexpr std::array<SaveOption, 8> kSaveOptions = {{
    {"-nSave", ImageType::Normal, "normal map"},
    {"-noSave", ImageType::NormalOpacity, "normal map with opacity"},
    {"-dSave", ImageType::Depth, "depth map"},
    {"-ndSave", ImageType::NormalDepth, "normal map with depth"},
    {"-aoSave", ImageType::AO, "ambient occlusion map"},
    {"-aSave", ImageType::Aniso, "anisotropy map"},
    {"-pSave", ImageType::Palette, "palette map"},
    {"-iSave", ImageType::Index, "index map"},
}};

enum class Takes
{
    Nothing,
    Value,
    OptionalFile,
};

struct KnownWord
{
    std::string word;
    Takes takes;
};

const std::vector<KnownWord>& KnownWords()
{
    static const std::vector<KnownWord> words = [] {
        std::vector<KnownWord> list = {{"-source", Takes::Value}};
        for (const SaveOption& save : kSaveOptions)
            list.push_back({save.option, Takes::OptionalFile});
        for (const ParameterDescription& description : GenerationParameterTable())
            if (description.batchOption != nullptr)
                list.push_back({description.batchOption,
                                description.kind == ParameterKind::Flag ? Takes::Nothing : Takes::Value});
        for (const char* value : {"-outDir", "-script"})
            list.push_back({value, Takes::Value});
        for (const char* flag : {"-strict", "-quiet", "--help", "-h", "--version"})
            list.push_back({flag, Takes::Nothing});
        return list;
    }();
    return words;
}

const KnownWord* FindKnown(const std::string& word)
{
    for (const KnownWord& known : KnownWords())
        if (known.word == word)
            return &known;
    return nullptr;
}

// A word that starts a new option rather than being a value: negative numbers are values.
bool IsOptionWord(const std::string& word)
{
    return word.size() > 1 && word[0] == '-' && !IsCompleteNumber(word, false);
}

std::string Number(double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string Choices(const ParameterDescription& description)
{
    std::string text;
    for (std::size_t position = 0; position < description.choices.size(); ++position)
    {
        if (position > 0)
            text += position + 1 == description.choices.size() ? " or " : ", ";
        text += description.choices[position];
    }
    return text;
}

std::string DefaultText(const ParameterDescription& description)
{
    switch (description.kind)
    {
    case ParameterKind::Flag:
        return description.batchDefault != 0.0 ? "on" : "off";
    case ParameterKind::Choice:
        return description.choices.at(static_cast<std::size_t>(description.batchDefault));
    default:
        return Number(description.batchDefault);
    }
}

// Options the window's "copy parameters" buttons write but the batch mode never reads.
const std::map<std::string, std::string> kNotRead = {
    {"-nRotDirect", "the batch mode reads the rotation direction from -nRotAngle"},
};
} // namespace

const std::array<SaveOption, 8>& SaveOptions()
{
    return kSaveOptions;
}

BatchOptions::BatchOptions(const CommandLineArgumentSet& argumentSet) : arguments(argumentSet) {}

std::vector<std::string> BatchOptions::CheckWords() const
{
    std::vector<std::string> candidates;
    for (const KnownWord& known : KnownWords())
        candidates.push_back(known.word);

    const std::vector<std::string>& words = arguments.Words();
    std::vector<std::string> warnings;
    std::map<std::string, std::size_t> firstSeen;
    for (std::size_t i = 1; i < words.size(); ++i)
    {
        const std::string& word = words[i];
        const bool hasNext = i + 1 < words.size();
        if (const KnownWord* known = FindKnown(word))
        {
            std::size_t valueAt = 0;
            if (known->takes == Takes::Value && hasNext && !IsOptionWord(words[i + 1]))
                valueAt = i + 1;
            // An empty file name is a value too: it asks for the default name.
            if (known->takes == Takes::OptionalFile && hasNext &&
                (words[i + 1].empty() || words[i + 1][0] != '-'))
                valueAt = i + 1;
            const auto first = firstSeen.find(word);
            if (first == firstSeen.end())
                firstSeen[word] = i;
            else
            {
                // Every reader looks at the first occurrence only.
                std::string text = word + " is given more than once; only the first counts";
                const std::size_t firstValue = first->second + 1;
                if (known->takes != Takes::Nothing && firstValue < words.size() &&
                    !IsOptionWord(words[firstValue]))
                    text += " (" + word + " " + words[firstValue] + ")";
                warnings.push_back(text);
            }
            if (valueAt != 0)
                i = valueAt;
            continue;
        }
        if (IsOptionWord(word))
        {
            std::string text = "unknown option " + word;
            const auto notRead = kNotRead.find(word);
            const std::string suggestion = ClosestWord(word, candidates);
            if (notRead != kNotRead.end())
                text += "; " + notRead->second;
            else if (!suggestion.empty())
                text += "; did you mean " + suggestion + "?";
            warnings.push_back(text);
            // Its value, if it has one, is not a second mistake.
            if (hasNext && !IsOptionWord(words[i + 1]))
                ++i;
            continue;
        }
        std::string text = "unexpected word " + Quoted(word);
        const KnownWord* previous = FindKnown(words[i - 1]);
        if (previous != nullptr && previous->takes == Takes::Nothing)
            text += " (" + words[i - 1] + " takes no value)";
        else if (i == 1)
            text += " (the set's file is named with -source)";
        warnings.push_back(text);
    }
    return warnings;
}

GenerationParameters BatchOptions::ReadParameters(std::vector<std::string>& warnings) const
{
    const std::vector<std::string>& words = arguments.Words();
    // The text after an option's first occurrence, for messages; null when there is none.
    const auto valueText = [&words](const char* option) -> const std::string* {
        const auto found = std::find(words.begin(), words.end(), option);
        return found == words.end() || found + 1 == words.end() ? nullptr : &*(found + 1);
    };

    GenerationParameters parameters = BatchDefaults();
    for (const ParameterDescription& description : GenerationParameterTable())
    {
        const char* option = description.batchOption;
        if (option == nullptr || !arguments.HasArgument(option))
            continue;
        const std::string* text = valueText(option);
        const std::string written = std::string(option) + (text ? " " + *text : "");
        const std::string fallback = "; using the default " + DefaultText(description);
        switch (description.kind)
        {
        case ParameterKind::Flag:
            description.set(parameters, 1.0);
            break;
        case ParameterKind::Float:
        case ParameterKind::Int:
        {
            const bool whole = description.kind == ParameterKind::Int;
            try
            {
                const double value =
                    whole ? arguments.GetIntArg(option, static_cast<int>(description.minimum),
                                                static_cast<int>(description.maximum))
                          : arguments.GetFloatArg(option, static_cast<float>(description.minimum),
                                                  static_cast<float>(description.maximum));
                description.set(parameters, value);
                // Trailing text is ignored by the number rules: "1e9" steps reads as 1, "0,5" as 0.
                if (!IsCompleteNumber(*text, whole))
                    warnings.push_back(written + ": only the leading number is read; using " +
                                       Number(description.get(parameters)));
            }
            catch (const Exception_CLI&)
            {
                std::string reason;
                if (text == nullptr || IsOptionWord(*text))
                    reason = option + std::string(" has no value");
                else
                {
                    bool readable = true;
                    double read = 0.0;
                    try
                    {
                        read = whole ? ParseIntArg(*text, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max())
                                     : ParseFloatArg(*text, std::numeric_limits<float>::lowest(),
                                                     std::numeric_limits<float>::max());
                    }
                    catch (const Exception_CLI&)
                    {
                        readable = false;
                    }
                    const std::string range = "out of range (" + Number(description.minimum) + " to " +
                                              Number(description.maximum) + ")";
                    reason = written;
                    if (!readable)
                        reason += whole ? " is not a whole number" : " is not a number";
                    else if (IsCompleteNumber(*text, whole))
                        reason += " is " + range;
                    else
                        reason += " reads as " + Number(read) + ", which is " + range;
                }
                reason += fallback;
                warnings.push_back(reason);
            }
            break;
        }
        case ParameterKind::Choice:
        {
            bool matched = false;
            try
            {
                const std::string word = arguments.GetStringArg(option);
                for (std::size_t position = 0; position < description.choices.size(); ++position)
                    if (word == description.choices[position])
                    {
                        description.set(parameters, static_cast<double>(position));
                        matched = true;
                    }
            }
            catch (const Exception_CLI&)
            {}
            if (!matched)
            {
                std::string reason = text == nullptr || IsOptionWord(*text)
                                         ? option + std::string(" has no value")
                                         : written + " is not one of " + Choices(description);
                reason += fallback;
                warnings.push_back(reason);
            }
            break;
        }
        }
    }
    // Batch depth never has painted edges to respect, whatever the command line says.
    parameters.depth.respectSelectedEdges = false;
    return parameters;
}

std::string BatchOptions::UsageText()
{
    return "Usage: BrondelCLI -source <one file of the set> [save options] [settings]\n"
           "                  [-outDir DIR] [-strict] [-quiet]\n"
           "       BrondelCLI -script <script file, or - for standard input>\n";
}

std::string BatchOptions::HelpText()
{
    std::ostringstream help;
    help.imbue(std::locale::classic());
    // Two columns, the right one wrapped at word ends to keep each line within 100 characters.
    const auto row = [&help](const std::string& left, const std::string& right) {
        constexpr std::size_t kIndent = 27;
        constexpr std::size_t kWidth = 100 - kIndent;
        help << "  " << std::left << std::setw(kIndent - 3) << left << " ";
        std::size_t start = 0;
        while (right.size() - start > kWidth)
        {
            std::size_t end = right.rfind(' ', start + kWidth);
            if (end == std::string::npos || end <= start)
                end = start + kWidth;
            help << right.substr(start, end - start) << "\n" << std::string(kIndent, ' ');
            start = right[end] == ' ' ? end + 1 : end;
        }
        help << right.substr(start) << "\n";
    };
    help << "To select your input filename (and thus, the associated set of images) use:\n"
         << "-source <input filename>\n"
         << "Brondel will automatically generate the images necessary for what you want to save.\n\n"
         << UsageText() << "\n";
    help << "The set: every file in the folder of -source that shares its base name and extension, one per\n"
            "suffix (_Left, _Right, _Top, _Bottom, _Front, _Diffuse, _Specular, _Emissive, _Silhouette,\n"
            "_Flow, _Palette, and maps of earlier runs). Missing members are replaced by blank "
            "placeholders.\n\n";
    help << "Save options: each takes an optional file name; without one the map is written beside the\n"
            "inputs (or into -outDir) under its suffix. Only what the requested maps need is generated.\n";
    for (const SaveOption& save : kSaveOptions)
        row(std::string(save.option) + " [FILE]", save.description);
    help << "\nSettings (range, default: meaning). A value that is missing, unreadable or out of range is\n"
            "replaced by the default, with a warning on standard error.\n";
    for (const ParameterDescription& description : GenerationParameterTable())
    {
        if (description.batchOption == nullptr)
            continue;
        std::string left = description.batchOption;
        std::string range;
        switch (description.kind)
        {
        case ParameterKind::Flag:
            range = "flag, default " + DefaultText(description);
            break;
        case ParameterKind::Choice:
            left += " WORD";
            range = Choices(description) + ", default " + DefaultText(description);
            break;
        case ParameterKind::Int:
            left += " N";
            range = "whole number " + Number(description.minimum) + " to " + Number(description.maximum) +
                    ", default " + DefaultText(description);
            break;
        case ParameterKind::Float:
            left += " X";
            range = Number(description.minimum) + " to " + Number(description.maximum) + ", default " +
                    DefaultText(description);
            break;
        }
        row(left, range + ": " + description.meaning);
    }
    help << "\nRun options:\n";
    row("-outDir DIR",
        "write default-named maps into DIR (created when missing) instead of beside the inputs");
    row("-strict", "treat every warning as an error: exit 2 before any work");
    row("-quiet", "print only the lines that report failures on standard output");
    row("-script FILE", "run test-bed commands from FILE (- for standard input), one per line");
    row("--help, -h", "this text");
    row("--version", "the version");
    help << "\nSafety: a map is never written over a member of the set loaded as an input, nor two maps to "
            "one\n"
            "file; every output is checked (folder, permission, format) before anything is generated.\n";
    help << "\nExit status:\n";
    row("0", "every requested map was written");
    row("1", "a map could not be generated or written, or a member of the set could not be read");
    row("2", "no -source, an unreadable script, or a warning under -strict");
    help << "\nEnvironment:\n";
    row("BRONDEL_RESOURCES", "folder that holds BlankTextures (default: beside the executable, then "
                             "../share/brondel beside it, then the working directory)");
    row("BRONDEL_THREADS", "number of worker threads (default: every core); the maps are the same whatever "
                           "the number");
    row("BRONDEL_MEMORY_LIMIT", "ceiling in MiB on the generators' working memory; past it a generator fails "
                                "with \"Not enough memory ...\" and the run exits 1");
    return help.str();
}
