#pragma once
#include <QByteArray>
#include <QStringList>

#include <string>
#include <vector>

// What one run of the real BrondelCLI executable did.
struct CLIProcessResult
{
    int status = -1; // -1 when it crashed or was stopped at the time limit
    bool timedOut = false;
    std::string out;
    std::string err;
};

// Runs BrondelCLI in folder with no display; environment entries are "NAME=value" additions.
// `input` is fed to its standard input.
CLIProcessResult RunBrondelCLI(const std::string& folder, const std::vector<std::string>& words,
                               const QStringList& environment = {}, int timeLimitMs = 60000,
                               const QByteArray& input = {});

QByteArray FileBytes(const std::string& path);

// A 16 x 16 dome lit from each side, saved as base + suffix + extension: Left, Right, Top, Bottom,
// Front, a Diffuse with transparent corners, and a Flow map.
void WriteDome(const std::string& base, const std::string& extension = ".png");
