#pragma once
#include "core/Image.h"
#include "processing/ImageProcessor.h"
#include "support/RecordingLog.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

// What a processor showed the user: (message text, title) pairs.
using Messages = std::vector<std::pair<std::string, std::string>>;

// A processor on the source tree's placeholders that keeps its log lines and the messages it shows.
struct ProcessorFixture
{
    RecordingLog log;
    Messages messages;
    ImageProcessor processor{
        [this](std::string text, std::string title) { messages.emplace_back(text, title); },
        BRONDEL_RESOURCE_DIR, &log.output};

    void Set(ImageType type, std::unique_ptr<Image> image) { processor.SetImage(image.release(), type); }
};
