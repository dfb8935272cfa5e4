#pragma once
#include "sets/ImageType.h"

#include <functional>
#include <string>

// How one generation ended.
enum class GenerationOutcome
{
    Finished,  // ran to the end, or refused with its own message
    Cancelled, // the artist asked it to stop; nothing to report
    Failed,    // threw: out of memory or another error, already reported
};

// The one failure boundary every generation entry point runs inside (the core's Attempt operations,
// the batch stages, the window's worker). Whatever the generator throws is caught here and reported
// through `report` as a text and a caption; a processor generation has put its set back as it was by
// then. `mapName` ("depth map") and the size name the work in the message.
// What a generated kind is called in messages: "depth map", "ambient occlusion map".
std::string DescribeMap(ImageType type);

GenerationOutcome GuardGeneration(const std::string& mapName, int width, int height,
                                  const std::function<void(std::string text, std::string caption)>& report,
                                  const std::function<void()>& generate) noexcept;
