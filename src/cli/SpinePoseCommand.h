#pragma once
#include <ostream>

// BrondelCLI -spinePose FILE.json [-spineSkin NAME] [-spineAnimation NAME] [-spineTime SECONDS]: loads a
// skeleton with no display and prints its pose as JSON, so a pipeline can check an export.

// True when the command line asks for a pose.
bool IsSpinePoseCommand(int argc, char** argv);
// Writes the pose to `out` and any messages to `err`; returns the exit status (0 printed, 1 the file
// could not be read or a named skin or animation does not exist, 2 a malformed option).
int RunSpinePoseCommand(int argc, char** argv, std::ostream& out, std::ostream& err);
