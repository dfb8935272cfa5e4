#include "cli/Testbed.h"

#include "cli/CommandLineArgumentSet.h"
#include "cli/SetMembers.h"
#include "core/Image.h"
#include "processing/ImageProcessor.h"
#include "sets/ImageSet.h"
#include "sets/StringHelpers.h"

#include <QFileInfo>

#include <cassert>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

namespace {
// The command vocabulary, in the order words are compared; the empty slots after the 39 words are part
// of the table, so a line whose first token is empty (it starts with a space) matches one of them.
const std::array<const char*, kTestbedSlotCount> kCommandWords = {
    "loadimageset",
    "loadimage",
    "setprocessallimagesets",
    "setsavealloutputsets",
    "setanimate",
    "setmillisecondsperframe",
    "saveoutputset",
    "clearimage",
    "examineimage",
    "setrotnormalsamount",
    "setrotnormalsdirection",
    "setbentnormalsamount",
    "setflipy",
    "setautofixflatnormals",
    "attemptnormalmapgeneration",
    "savenormalmap",
    "setdepthlowfreqemphasis",
    "setdepthrefinementsteps",
    "setrespectselectededges",
    "attemptdepthmapgen",
    "savedepthmap",
    "setambientlightflatness",
    "setconegradient",
    "setboxsize",
    "setstepsize",
    "attemptaogen",
    "saveaomap",
    "setdirectlight",
    "setupperambient",
    "setlowerambient",
    "setbackground",
    "setdrawlight",
    "setlightanimtype",
    "setlightwrap",
    "setattenuationstrength",
    "setlightyz",
    "resetlighting",
    "savelighting",
    "setaointensity",
    // The remaining 60 slots are empty (value-initialised to null, read as "").
};

// A kind by its name (any case) or its number.
bool ParseType(const std::string& text, ImageType& type)
{
    for (int index = 0; index < kImageTypeCount; ++index)
        if (MakeLower(text) == MakeLower(ImageTypeName(static_cast<ImageType>(index))))
        {
            type = static_cast<ImageType>(index);
            return true;
        }
    try
    {
        type = static_cast<ImageType>(ParseIntArg(text, 0, kImageTypeCount - 1));
        // "3x" would read as 3; a kind named in a script should be exact.
        return std::to_string(static_cast<int>(type)) == text;
    }
    catch (const Exception_CLI&)
    {
        return false;
    }
}

bool ParseBool(const std::string& text, bool& value)
{
    const std::string lower = MakeLower(text);
    if (lower == "1" || lower == "true" || lower == "on" || lower == "yes")
        value = true;
    else if (lower == "0" || lower == "false" || lower == "off" || lower == "no")
        value = false;
    else
        return false;
    return true;
}

BrondelCore::SaveOutcome Worse(BrondelCore::SaveOutcome a, BrondelCore::SaveOutcome b)
{
    using Outcome = BrondelCore::SaveOutcome;
    if (a == Outcome::Failed || b == Outcome::Failed)
        return Outcome::Failed;
    return a == Outcome::Saved || b == Outcome::Saved ? Outcome::Saved : Outcome::NothingToSave;
}
} // namespace

void FakeMessageBoxPrint(std::string text, std::string caption)
{
    std::cout << "MESSAGE BOX: " << caption << std::endl;
    std::cout << text << std::endl;
    std::cout << "end of message box" << std::endl;
}

int FindTestbedCommand(const std::string& word)
{
    for (int slot = 0; slot < kTestbedSlotCount; ++slot)
    {
        const char* entry = kCommandWords[static_cast<std::size_t>(slot)];
        if (word == (entry ? entry : ""))
            return slot;
    }
    return -1;
}

std::string TestbedCommandWord(int slot)
{
    if (slot < 0 || slot >= kTestbedSlotCount)
        return {};
    const char* entry = kCommandWords[static_cast<std::size_t>(slot)];
    return entry ? entry : "";
}

bool SplitScriptLine(const std::string& line, std::vector<std::string>& words, std::string& error)
{
    words.clear();
    std::string text = line;
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    std::size_t i = 0;
    while (i < text.size())
    {
        if (text[i] == ' ' || text[i] == '\t')
        {
            ++i;
            continue;
        }
        if (text[i] == '#')
            break;
        std::string word;
        // A word may mix quoted and plain pieces: "my art"/Head_Left.png is one word.
        while (i < text.size() && text[i] != ' ' && text[i] != '\t')
        {
            if (text[i] != '"')
            {
                word += text[i++];
                continue;
            }
            const std::size_t close = text.find('"', i + 1);
            if (close == std::string::npos)
            {
                error = "a double quote is not closed";
                return false;
            }
            word += text.substr(i + 1, close - i - 1);
            i = close + 1;
        }
        words.push_back(word);
    }
    return true;
}

Testbed::Testbed(BrondelCore& target, std::ostream& output, std::ostream& errors)
    : core(target), out(output), err(errors), previousCallback(target.GetMessageCallback())
{
    core.SetMessageCallback([this](std::string text, std::string caption) {
        ++messageCount;
        if (previousCallback)
            previousCallback(std::move(text), std::move(caption));
    });

    using namespace std::placeholders;
    const auto member = [this](bool (Testbed::*handler)(const std::string&, const Arguments&)) {
        return Action(std::bind(handler, this, _1, _2));
    };
    const char* const lighting = "it drives the lighting preview";
    const char* const animation = "it drives the desktop window's image-set animation";

    for (const ParameterDescription& description : GenerationParameterTable())
        if (description.testbedWord != nullptr)
            Bind(description.testbedWord, ParameterSetter(description));
    Bind("loadimageset", member(&Testbed::LoadSets));
    Bind("loadimage", member(&Testbed::LoadImage));
    Bind("setprocessallimagesets", [this](const std::string& word, const Arguments& arguments) {
        return arguments.size() == 1 && ParseBool(arguments[0], processAllSets)
                   ? true
                   : Error(word, "expects 1 or 0");
    });
    Bind("setsavealloutputsets", [this](const std::string& word, const Arguments& arguments) {
        return arguments.size() == 1 && ParseBool(arguments[0], saveAllSets) ? true
                                                                             : Error(word, "expects 1 or 0");
    });
    Bind("setanimate", Unavailable(animation));
    Bind("setmillisecondsperframe", Unavailable(animation));
    Bind("saveoutputset", member(&Testbed::SaveOutputSet));
    Bind("clearimage", member(&Testbed::ClearImage));
    Bind("examineimage", member(&Testbed::ExamineImage));
    Bind("attemptnormalmapgeneration",
         Generate(&BrondelCore::AttemptNormalGeneration, &BrondelCore::AttemptNormalGenerationAll));
    Bind("savenormalmap", SaveMap(ImageType::Normal));
    Bind("attemptdepthmapgen",
         Generate(&BrondelCore::AttemptDepthGeneration, &BrondelCore::AttemptDepthGenerationAll));
    Bind("savedepthmap", SaveMap(ImageType::Depth));
    Bind("attemptaogen", Generate(&BrondelCore::AttemptAOGeneration, &BrondelCore::AttemptAOGenerationAll));
    Bind("saveaomap", SaveMap(ImageType::AO));
    for (const char* word : {"setdirectlight", "setupperambient", "setlowerambient", "setbackground",
                             "setdrawlight", "setlightanimtype", "setlightwrap", "setattenuationstrength",
                             "setlightyz", "resetlighting", "savelighting", "setaointensity"})
        Bind(word, Unavailable(lighting));
}

Testbed::~Testbed()
{
    core.SetMessageCallback(previousCallback);
}

void Testbed::Bind(const char* word, Action action)
{
    const int slot = FindTestbedCommand(word);
    assert(slot >= 0 && slot < kTestbedCommandCount);
    actions[static_cast<std::size_t>(slot)] = std::move(action);
}

bool Testbed::Error(const std::string& word, const std::string& text) const
{
    err << linePrefix << word << ": " << text << std::endl;
    ++errorCount;
    return false;
}

std::string Testbed::InScriptFolder(const std::string& filename) const
{
    if (scriptFolder.empty() || filename.empty() || filename[0] == '/')
        return filename;
    return scriptFolder + "/" + filename;
}

bool Testbed::RequireSet(const std::string& word) const
{
    if (core.GetCurrentImageSet())
        return true;
    return Error(word, "no image set is loaded (use loadimageset first)");
}

bool Testbed::HandleTestbedInput(std::string line)
{
    return RunCommand(TokeniseByChar(line, ' '));
}

bool Testbed::RunCommand(const std::vector<std::string>& tokens)
{
    if (tokens.empty())
        return true;
    const int slot = FindTestbedCommand(tokens[0]);
    // Unknown words and the empty slots do nothing.
    if (slot < 0 || slot >= kTestbedCommandCount || !actions[static_cast<std::size_t>(slot)])
        return true;
    const Arguments arguments(tokens.begin() + 1, tokens.end());
    const int messagesBefore = messageCount;
    const bool done = actions[static_cast<std::size_t>(slot)](tokens[0], arguments);
    // A message from the core (refused generation, unreadable set, failed write) has already been shown.
    return done && messageCount == messagesBefore;
}

int Testbed::RunScript(std::istream& input)
{
    std::vector<std::string> candidates;
    candidates.reserve(kTestbedCommandCount);
    for (int slot = 0; slot < kTestbedCommandCount; ++slot)
        candidates.push_back(TestbedCommandWord(slot));
    std::string line;
    for (int number = 1; std::getline(input, line); ++number)
    {
        // Editors on Windows start a UTF-8 file with a byte-order mark.
        if (number == 1 && line.rfind("\xEF\xBB\xBF", 0) == 0)
            line.erase(0, 3);
        linePrefix = "line " + std::to_string(number) + ": ";
        std::vector<std::string> words;
        std::string problem;
        bool done = SplitScriptLine(line, words, problem);
        if (!done)
            err << linePrefix << problem << std::endl;
        else if (!words.empty() &&
                 (FindTestbedCommand(words[0]) < 0 || FindTestbedCommand(words[0]) >= kTestbedCommandCount))
        {
            // In a script a mistyped word would silently skip the work the line was written for.
            const std::string suggestion = ClosestWord(words[0], candidates);
            err << linePrefix << "unknown command \"" << words[0] << "\""
                << (suggestion.empty() ? std::string() : "; did you mean " + suggestion + "?") << std::endl;
            done = false;
        }
        else
        {
            const int errorsBefore = errorCount;
            done = RunCommand(words);
            // A failure the core reported through its message callback has no line number of its own.
            if (!done && errorCount == errorsBefore)
                err << linePrefix << words[0] << " failed" << std::endl;
        }
        if (!done)
        {
            err << "The script stopped at line " << number << "." << std::endl;
            linePrefix.clear();
            return 1;
        }
    }
    linePrefix.clear();
    return 0;
}

// --- Argument readers shared by the settings

// A setting from the parameter table: its range and kind decide what the word accepts.
Testbed::Action Testbed::ParameterSetter(const ParameterDescription& description)
{
    return [this, &description](const std::string& word, const Arguments& arguments) {
        if (description.kind == ParameterKind::Flag)
        {
            bool value = false;
            if (arguments.size() != 1 || !ParseBool(arguments[0], value))
                return Error(word, "expects 1 or 0");
            core.SetGenerationParameter(description.id, value ? 1.0 : 0.0);
            return true;
        }
        const bool whole = description.kind != ParameterKind::Float;
        try
        {
            if (arguments.size() != 1)
                throw Exception_CLI();
            const double value = whole ? ParseIntArg(arguments[0], static_cast<int>(description.minimum),
                                                     static_cast<int>(description.maximum))
                                       : ParseFloatArg(arguments[0], static_cast<float>(description.minimum),
                                                       static_cast<float>(description.maximum));
            core.SetGenerationParameter(description.id, value);
            return true;
        }
        catch (const Exception_CLI&)
        {
            std::ostringstream text;
            text << "expects one " << (whole ? "whole number" : "number") << " from "
                 << static_cast<float>(description.minimum) << " to "
                 << static_cast<float>(description.maximum);
            return Error(word, text.str());
        }
    };
}

Testbed::Action Testbed::Generate(void (BrondelCore::*single)(), void (BrondelCore::*all)())
{
    return [this, single, all](const std::string& word, const Arguments& arguments) {
        if (!arguments.empty())
            return Error(word, "takes no arguments");
        if (!RequireSet(word))
            return false;
        (core.*(processAllSets ? all : single))();
        return true;
    };
}

Testbed::Action Testbed::Unavailable(const char* reason)
{
    return [this, reason](const std::string& word, const Arguments&) {
        out << word << ": not available in batch mode (" << reason << ")." << std::endl;
        return true;
    };
}

// --- Loading, inspecting and saving

bool Testbed::LoadSets(const std::string& word, const Arguments& arguments)
{
    if (arguments.empty())
        return Error(word, "expects the filename of one member of each set to load");
    bool allRead = true;
    const SuffixSet suffixes;
    for (const std::string& argument : arguments)
    {
        const std::string filename = WithExplicitFolder(InScriptFolder(argument));
        const ImageSet set(filename, suffixes, !BrondelCore::IsRunningWindows());
        std::unique_ptr<SetMembers> members;
        if (set.isValid)
        {
            // Looked at before loading: a FIFO named like a member would block the loader for ever.
            members = std::make_unique<SetMembers>(set, suffixes, filename);
            if (members->AnyUnopenable())
            {
                for (int type = 0; type < kImageTypeCount; ++type)
                    if (members->Exists(static_cast<ImageType>(type)) &&
                        !QFileInfo(QString::fromUtf8(members->Filename(static_cast<ImageType>(type)).c_str()))
                             .isFile())
                        Error(word, "\"" + members->Filename(static_cast<ImageType>(type)) +
                                        "\" is not a regular file; the set was not loaded");
                allRead = false;
                continue;
            }
        }
        const int messagesBefore = messageCount;
        core.LoadImageSet(filename);
        if (messageCount != messagesBefore)
        {
            allRead = false;
            continue;
        }
        bool anyLoaded = false;
        for (int type = 0; type < kImageTypeCount; ++type)
            anyLoaded = anyLoaded || core.HasNonDefaultImageOfType(static_cast<ImageType>(type));
        if (!anyLoaded)
        {
            allRead = Error(word, "none of the images of the set of \"" + argument + "\" could be read");
            continue;
        }
        if (members && core.GetCurrentProcessor())
        {
            members->Examine(*core.GetCurrentProcessor());
            for (const std::string& warning : members->Warnings())
                err << linePrefix << "warning: " << warning << std::endl;
            for (const std::string& line : members->Unreadable())
                allRead = Error(word, line);
        }
    }
    return allRead;
}

bool Testbed::LoadImage(const std::string& word, const Arguments& arguments)
{
    ImageType type = ImageType::Top;
    if (arguments.size() != 2 || !ParseType(arguments[1], type))
        return Error(word, "expects a filename and an image kind (such as Left or Diffuse)");
    if (!core.GetCurrentProcessor())
        return Error(word, "no image set is loaded (use loadimageset first)");
    const std::string filename = InScriptFolder(arguments[0]);
    if (QFileInfo(QString::fromUtf8(filename.c_str())).exists() &&
        !QFileInfo(QString::fromUtf8(filename.c_str())).isFile())
        return Error(word, "\"" + filename + "\" is not a regular file");
    core.LoadImageOfType(filename, type);
    if (!core.HasNonDefaultImageOfType(type))
        return Error(word, "couldn't read \"" + filename + "\"");
    return true;
}

bool Testbed::ClearImage(const std::string& word, const Arguments& arguments)
{
    ImageType type = ImageType::Top;
    if (arguments.size() != 1 || !ParseType(arguments[0], type))
        return Error(word, "expects an image kind (such as Left or Diffuse)");
    if (!RequireSet(word))
        return false;
    core.LoadDefaultImageOfType(type);
    return true;
}

bool Testbed::ExamineImage(const std::string& word, const Arguments& arguments)
{
    ImageType type = ImageType::Top;
    if (arguments.size() != 1 || !ParseType(arguments[0], type))
        return Error(word, "expects an image kind (such as Left or Diffuse)");
    if (!RequireSet(word))
        return false;
    const Image* image = core.GetCurrentBitmapByType(type);
    out << ImageTypeName(type) << ": ";
    if (!image || !image->HasPlanes())
        out << "no image";
    else
        out << image->GetWidth() << "x" << image->GetHeight() << ", "
            << (core.HasNonDefaultImageOfType(type) ? "loaded or generated" : "placeholder");
    out << " (" << core.GetFilenameFromCurrentSet(type) << ")" << std::endl;
    return true;
}

BrondelCore::SaveOutcome Testbed::SaveWithDefaultNames(const std::vector<ImageType>& types)
{
    BrondelCore::SaveOutcome outcome = BrondelCore::SaveOutcome::NothingToSave;
    const auto saveCurrent = [&] {
        for (const ImageType type : types)
            outcome = Worse(outcome, core.SaveCurrentImageByType(type));
    };
    if (!saveAllSets)
    {
        saveCurrent();
        return outcome;
    }
    const int previous = core.GetCurrentIndex();
    for (int index = 0; index < core.GetImageSetCount(); ++index)
    {
        core.SelectImageSet(index);
        saveCurrent();
    }
    core.SelectImageSet(previous);
    return outcome;
}

bool Testbed::SaveOutputSet(const std::string& word, const Arguments& arguments)
{
    // The same outputs, in the same order, as the window's "save output set".
    std::vector<ImageType> types = {ImageType::Normal,  ImageType::Depth, ImageType::AO,
                                    ImageType::Palette, ImageType::Index, ImageType::Aniso};
    if (!arguments.empty())
    {
        types.clear();
        for (const std::string& name : arguments)
        {
            ImageType type = ImageType::Top;
            if (!ParseType(name, type))
                return Error(word, "\"" + name + "\" is not an image kind (such as Normal or AO)");
            types.push_back(type);
        }
    }
    if (!RequireSet(word))
        return false;
    const BrondelCore::SaveOutcome outcome = SaveWithDefaultNames(types);
    if (outcome == BrondelCore::SaveOutcome::NothingToSave)
        return Error(word, "nothing has been generated to save");
    return outcome == BrondelCore::SaveOutcome::Saved;
}

Testbed::Action Testbed::SaveMap(ImageType type)
{
    return [this, type](const std::string& word, const Arguments& arguments) {
        if (arguments.size() > 1)
            return Error(word, "expects at most one filename");
        if (!RequireSet(word))
            return false;
        const BrondelCore::SaveOutcome outcome =
            arguments.empty() ? SaveWithDefaultNames({type})
                              : core.SaveCurrentImageByType(type, InScriptFolder(arguments[0]));
        if (outcome == BrondelCore::SaveOutcome::NothingToSave)
            return Error(word, "the current set has no " + ImageTypeName(type) + " map to save");
        return outcome == BrondelCore::SaveOutcome::Saved;
    };
}

int RunTestbedScript(BrondelCore& core, const std::string& path)
{
    Testbed testbed(core, std::cout, std::cerr);
    if (path == "-")
        return testbed.RunScript(std::cin) > 0 ? 1 : 0;
    // A script names its files as seen from its own folder, wherever it is run from.
    testbed.SetScriptFolder(GetDirectoryWithoutFilename(path));
    std::ifstream file(path);
    if (!file)
    {
        std::cerr << "Couldn't read the script \"" << path << "\"." << std::endl;
        return 2;
    }
    return testbed.RunScript(file) > 0 ? 1 : 0;
}
