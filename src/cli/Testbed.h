#pragma once
#include "sets/BrondelCore.h"

#include <array>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// Console stand-in for the message box, usable as the core's message callback: prints
// "MESSAGE BOX: " and the caption, the text, and "end of message box", each on its own line.
void FakeMessageBoxPrint(std::string text, std::string caption);

inline constexpr int kTestbedCommandCount = 39;
inline constexpr int kTestbedSlotCount = 99;

// Slot of a command word in the test bed's table: 0 to 38 for the command words, compared exactly;
// an empty word lands on the first empty slot (39); anything else gives -1.
int FindTestbedCommand(const std::string& word);

// Runs test-bed command lines against a core, so a job over several sets can be scripted. Each
// command word drives the core operation or setting it names, with its arguments after it; a bad
// argument is refused with a one-line error and changes nothing.
class Testbed
{
public:
    // While the test bed lives it counts the core's messages, so a command that made the core complain
    // is reported as failed.
    Testbed(BrondelCore& core, std::ostream& out, std::ostream& err);
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    // Runs one line. False when the command was refused or its work failed; lines that are not
    // commands are ignored and count as fine.
    bool HandleTestbedInput(std::string line);
    // Runs every line; returns how many failed.
    int RunScript(std::istream& input);

private:
    using Arguments = std::vector<std::string>;
    using Action = std::function<bool(const std::string& word, const Arguments& arguments)>;

    void Bind(const char* word, Action action);
    bool Error(const std::string& word, const std::string& text) const;
    bool RequireSet(const std::string& word) const;

    Action ParameterSetter(const ParameterDescription& description);
    Action Generate(void (BrondelCore::*single)(), void (BrondelCore::*all)());
    Action SaveMap(ImageType type);
    Action Unavailable(const char* reason);

    bool LoadSets(const std::string& word, const Arguments& arguments);
    bool LoadImage(const std::string& word, const Arguments& arguments);
    bool SaveOutputSet(const std::string& word, const Arguments& arguments);
    bool ClearImage(const std::string& word, const Arguments& arguments);
    bool ExamineImage(const std::string& word, const Arguments& arguments);
    // Saves the listed kinds under their default names, for every set when asked to.
    BrondelCore::SaveOutcome SaveWithDefaultNames(const std::vector<ImageType>& types);

    BrondelCore& core;
    std::ostream& out;
    std::ostream& err;
    BrondelCore::MessageCallback previousCallback;
    int messageCount = 0;
    bool processAllSets = false;
    bool saveAllSets = false;
    std::array<Action, kTestbedCommandCount> actions;
};

// Runs a script file ("-" for standard input) through a test bed; returns 0 when every line
// succeeded, 1 when some failed, 2 when the script cannot be read.
int RunTestbedScript(BrondelCore& core, const std::string& path);
