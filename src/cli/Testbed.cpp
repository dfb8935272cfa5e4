#include "cli/Testbed.h"

#include "cli/CommandLineArgumentSet.h"
#include "core/Image.h"
#include "sets/StringHelpers.h"

#include <cassert>
#include <fstream>
#include <iostream>
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

const std::array<const char*, kImageTypeCount> kTypeNames = {
    "Top",      "Bottom",      "Left",          "Right", "Front",   "Diffuse",
    "Specular", "Emissive",    "Silhouette",    "Flow",  "Palette", "Normal",
    "Depth",    "NormalDepth", "NormalOpacity", "AO",    "Aniso",   "Index"};

// A kind by its name (any case) or its number.
bool ParseType(const std::string& text, ImageType& type)
{
    for (int index = 0; index < kImageTypeCount; ++index)
        if (MakeLower(text) == MakeLower(kTypeNames[static_cast<std::size_t>(index)]))
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

std::string TypeName(ImageType type)
{
    return kTypeNames[static_cast<std::size_t>(type)];
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
    err << word << ": " << text << std::endl;
    return false;
}

bool Testbed::RequireSet(const std::string& word) const
{
    if (core.GetCurrentImageSet())
        return true;
    return Error(word, "no image set is loaded (use loadimageset first)");
}

bool Testbed::HandleTestbedInput(std::string line)
{
    const std::vector<std::string> tokens = TokeniseByChar(line, ' ');
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
    int failures = 0;
    std::string line;
    while (std::getline(input, line))
    {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!HandleTestbedInput(line))
            ++failures;
    }
    return failures;
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
    for (const std::string& filename : arguments)
    {
        const int messagesBefore = messageCount;
        core.LoadImageSet(WithExplicitFolder(filename));
        if (messageCount != messagesBefore)
        {
            allRead = false;
            continue;
        }
        bool anyLoaded = false;
        for (int type = 0; type < kImageTypeCount; ++type)
            anyLoaded = anyLoaded || core.HasNonDefaultImageOfType(static_cast<ImageType>(type));
        if (!anyLoaded)
            allRead = Error(word, "none of the images of the set of \"" + filename + "\" could be read");
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
    core.LoadImageOfType(arguments[0], type);
    if (!core.HasNonDefaultImageOfType(type))
        return Error(word, "couldn't read \"" + arguments[0] + "\"");
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
    out << TypeName(type) << ": ";
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
        const BrondelCore::SaveOutcome outcome = arguments.empty()
                                                     ? SaveWithDefaultNames({type})
                                                     : core.SaveCurrentImageByType(type, arguments[0]);
        if (outcome == BrondelCore::SaveOutcome::NothingToSave)
            return Error(word, "the current set has no " + TypeName(type) + " map to save");
        return outcome == BrondelCore::SaveOutcome::Saved;
    };
}

int RunTestbedScript(BrondelCore& core, const std::string& path)
{
    Testbed testbed(core, std::cout, std::cerr);
    if (path == "-")
        return testbed.RunScript(std::cin) > 0 ? 1 : 0;
    std::ifstream file(path);
    if (!file)
    {
        std::cerr << "Couldn't read the script \"" << path << "\"." << std::endl;
        return 2;
    }
    return testbed.RunScript(file) > 0 ? 1 : 0;
}
