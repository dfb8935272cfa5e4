#pragma once
#include "core/Colour.h"
#include "core/Parallel.h"

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class Image;

// Small synthetic images for tests: each pixel from a function of its coordinates.
std::unique_ptr<Image> MakeImage(int width, int height, const std::function<Colour(int x, int y)>& pixel);

// A grey image, value per pixel.
std::unique_ptr<Image> MakeGrey(int width, int height, const std::function<float(int x, int y)>& value);

// One row of pixels as text: "(r, g, b, a)" per pixel, the bytes as stored.
std::string RowText(const Image& image, int y);

// A grey image of one value.
std::unique_ptr<Image> MakeFlat(int width, int height, float value);

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

bool FileExists(const std::string& path);

// Left, Right, Top and Bottom lighting profiles saved as base + suffix + ".png", each a different pattern.
void WriteProfiles(const std::string& base, int size = 8);

// True when both images have the same size and the same bytes in both planes.
bool SameBytes(const Image& a, const Image& b);

// True when both arrays hold the same floats bit for bit, so a -0 for a 0 counts as a difference.
// Whatever allocator each side uses.
template <typename A, typename B> bool SameBits(const A& a, const B& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(*a.data())) == 0;
}
// A copy in a plain std::vector, the type the reference loops take.
template <typename T, typename Allocator> std::vector<T> Plain(const std::vector<T, Allocator>& values)
{
    return {values.begin(), values.end()};
}

// Runs the parallel loops on a given number of threads until the scope ends.
struct ThreadCount
{
    explicit ThreadCount(int threads) { SetWorkerThreadCount(threads); }
    ~ThreadCount() { SetWorkerThreadCount(0); }
};
