#pragma once
#include <string>

// Whatever shows log lines in a window; the desktop interface's log window implements it.
class LogWindow
{
public:
    virtual ~LogWindow() = default;
    virtual void AppendLine(const std::string& text) = 0;
};

// Where progress and diagnostic lines go: the log window when there is one, else standard output.
class LogOutput
{
public:
    LogOutput() = default;
    explicit LogOutput(LogWindow* logWindow) : window(logWindow) {}

    void AppendText(std::string text) const;
    LogWindow* window = nullptr;
};
