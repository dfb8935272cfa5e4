#pragma once
#include "sets/ImageType.h"
#include "sets/SuffixSet.h"

#include <string>

// The naming of one image set: every member is baseName + suffix + extension. Built from any one
// member's filename; no file needs to exist.
class ImageSet
{
public:
    ImageSet() = default;
    ImageSet(std::string filename, SuffixSet suffixes, bool caseSensitive);

    std::string GetFilenameOfType(ImageType type, SuffixSet suffixes) const;

    std::string baseName;
    std::string extension;
    bool isValid = false;
};

// Same base name and extension, byte for byte; validity is not compared.
bool operator==(const ImageSet& a, const ImageSet& b);
