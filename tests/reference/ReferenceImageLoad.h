#pragma once
#include <memory>
#include <string>

class Image;

// Loads a file the general way, as every image was loaded before PNG files got their own reader:
// QImage, a conversion to non-premultiplied ARGB32 and a split into the colour and alpha planes. Null
// when the file does not load. The PNG reader's planes are checked against it byte for byte, and the
// benchmarks time it as the old path.
std::unique_ptr<Image> ReferenceLoadImage(const std::string& path);
