#include "cli/QuietOutput.h"

#include <iostream>
#include <streambuf>
#include <string>

// Collects each line and passes it on to the real standard output only when it reports a failure.
class QuietOutput::Filter : public std::streambuf
{
public:
    explicit Filter(std::streambuf* target) : destination(target) {}
    ~Filter() override { Flush(); }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

protected:
    int_type overflow(int_type character) override
    {
        if (traits_type::eq_int_type(character, traits_type::eof()))
            return traits_type::not_eof(character);
        line.push_back(traits_type::to_char_type(character));
        if (character == '\n')
            Flush();
        return character;
    }
    int sync() override { return destination->pubsync(); }

private:
    void Flush()
    {
        if (!line.empty() && ReportsFailure(line))
            destination->sputn(line.data(), static_cast<std::streamsize>(line.size()));
        line.clear();
    }

    std::streambuf* destination;
    std::string line;
};

QuietOutput::QuietOutput(bool enabled)
{
    if (!enabled)
        return;
    filter = std::make_unique<Filter>(std::cout.rdbuf());
    previous = std::cout.rdbuf(filter.get());
}

QuietOutput::~QuietOutput()
{
    if (!filter)
        return;
    std::cout.flush();
    std::cout.rdbuf(previous);
}

bool QuietOutput::ReportsFailure(const std::string& line)
{
    // The engine's progress lines never contain these; its few failure lines on standard output do
    // ("No palette generated - ...").
    for (const char* mark : {"No ", "fail", "Fail", "Couldn't", "rror", "not enough", "Not enough"})
        if (line.find(mark) != std::string::npos)
            return true;
    return false;
}
