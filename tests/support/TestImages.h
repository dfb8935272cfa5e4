#pragma once
#include "core/Colour.h"

#include <functional>
#include <memory>
#include <string>

class Image;

// Small synthetic images for tests: each pixel from a function of its coordinates.
std::unique_ptr<Image> MakeImage(int width, int height, const std::function<Colour(int x, int y)>& pixel);

// A grey image, value per pixel.
std::unique_ptr<Image> MakeGrey(int width, int height, const std::function<float(int x, int y)>& value);

// A fresh empty folder under the system's temporary folder, removed when the object dies.
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    // Path of a file inside the folder.
    std::string File(const std::string& name) const;
    const std::string& Path() const { return path; }

private:
    std::string path;
};

// True when both images have the same size and the same bytes in both planes.
bool SameBytes(const Image& a, const Image& b);
