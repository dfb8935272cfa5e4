#pragma once
#include <iosfwd>
#include <memory>
#include <string>

// While alive and enabled, standard output keeps only the lines that report a failure; progress and
// housekeeping lines, which also reach std::cout from inside the engine, are dropped.
class QuietOutput
{
public:
    explicit QuietOutput(bool enabled);
    ~QuietOutput();
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

    // True for the lines -quiet keeps.
    static bool ReportsFailure(const std::string& line);

private:
    class Filter;
    std::unique_ptr<Filter> filter;
    std::streambuf* previous = nullptr;
};
