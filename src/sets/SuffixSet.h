#pragma once
#include "sets/ImageType.h"

#include <string>
#include <vector>

// The filename suffix of each image kind ("_Left", "_Normal", ...), in ImageType order.
class SuffixSet
{
public:
    SuffixSet();
    std::string GetSuffix(ImageType type) const { return suffixes[static_cast<std::size_t>(type)]; }

private:
    std::vector<std::string> suffixes;
};
