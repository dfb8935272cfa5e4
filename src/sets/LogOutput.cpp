#include "sets/LogOutput.h"

#include <iostream>

void LogOutput::AppendText(std::string text) const
{
    if (window)
        window->AppendLine(text);
    else
        std::cout << text << std::endl;
}
