#include "sets/ImageSet.h"

#include "sets/StringHelpers.h"

ImageSet::ImageSet(std::string filename, SuffixSet suffixes, bool caseSensitive)
{
    const std::string nameOnly = GetFilenameWithoutExtension(filename);
    const std::string directory = GetDirectoryWithoutFilename(filename);
    extension = GetFileExtension(filename);

    std::string base;
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        const std::string suffix = suffixes.GetSuffix(static_cast<ImageType>(type));
        if (EndsWith(nameOnly, suffix, caseSensitive))
        {
            base = nameOnly.substr(0, nameOnly.size() - suffix.size());
            break;
        }
    }
    // The separator is added even for a bare name ("/Head"): callers always pass full paths.
    if (!base.empty())
    {
        baseName = directory + "/" + base;
        isValid = true;
    }
}

std::string ImageSet::GetFilenameOfType(ImageType type, SuffixSet suffixes) const
{
    return baseName + suffixes.GetSuffix(type) + extension;
}

bool operator==(const ImageSet& a, const ImageSet& b)
{
    return a.baseName == b.baseName && a.extension == b.extension;
}
