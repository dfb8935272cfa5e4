#pragma once
#include "sets/LogOutput.h"

#include <algorithm>
#include <string>
#include <vector>

// A log window that keeps its lines, so tests can check what a generator reported.
class RecordingLog : public LogWindow
{
public:
    void AppendLine(const std::string& text) override { lines.push_back(text); }
    bool Contains(const std::string& line) const { return Count(line) > 0; }
    int Count(const std::string& line) const
    {
        return static_cast<int>(std::count(lines.begin(), lines.end(), line));
    }

    std::vector<std::string> lines;
    LogOutput output{this};
};
