#pragma once
#include <string>
#include <vector>

// Loads whole image sets by file name. The desktop build implements it over the core controller's
// LoadMultipleImageSets, so an atlas page arrives with its normal, depth and other generated maps
// while the Spine code never sees the controller.
class SpineImageSetLoader
{
public:
    virtual ~SpineImageSetLoader() = default;
    virtual void LoadImageSets(const std::vector<std::string>& filenames) = 0;
};
