#include "processing/ImageBuffers.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "core/PngReader.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {
int ChannelOffset(Channel channel)
{
    return channel == Channel::Green ? 1 : channel == Channel::Blue ? 2 : 0;
}

// A width x height grid of bytes from a plane: `step` bytes apart along rows `stride` apart from `first`,
// with coordinates beyond the plane placed by mapX and mapY. A plane that covers the grid is read as it
// lies.
template <typename MapX, typename MapY>
SheetVector<std::uint8_t> SampleGrid(const std::uint8_t* first, std::size_t stride, int step, int planeWidth,
                                     int planeHeight, int width, int height, MapX mapX, MapY mapY)
{
    SheetVector<std::uint8_t> out(static_cast<std::size_t>(width) * height);
    const bool direct = planeWidth >= width && planeHeight >= height;
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            std::uint8_t* dst = out.data() + static_cast<std::size_t>(y) * width;
            const std::uint8_t* row = first + static_cast<std::size_t>(direct ? y : mapY(y)) * stride;
            if (direct)
                for (int x = 0; x < width; ++x)
                    dst[x] = row[step * x];
            else
                for (int x = 0; x < width; ++x)
                    dst[x] = row[step * mapX(x)];
        }
    });
    return out;
}
} // namespace

SheetVector<std::uint8_t> ReadChannelBytes(const Image& image, Channel channel, int width, int height)
{
    if (!image.HasPlanes())
        return SheetVector<std::uint8_t>(static_cast<std::size_t>(width) * height);
    const bool isAlpha = channel == Channel::Alpha;
    const PlaneView<const std::uint8_t> plane = isAlpha ? image.AlphaView() : image.ColourView();
    return SampleGrid(
        plane.data + (isAlpha ? 0 : ChannelOffset(channel)), static_cast<std::size_t>(plane.stride),
        isAlpha ? 1 : 3, plane.width, plane.height, width, height, [&](int x) { return image.MapX(x); },
        [&](int y) { return image.MapY(y); });
}

SheetVector<std::uint8_t> ReadRedChannel(const std::string& filename, int& width, int& height)
{
    SheetVector<std::uint8_t> red;
    const PngReadResult result =
        ReadPngRed(filename, [&](int planeWidth, int planeHeight, PlaneView<std::uint8_t>& plane) {
            try
            {
                red.resize(static_cast<std::size_t>(planeWidth) * planeHeight);
            }
            catch (const std::exception&)
            {
                return false; // the general path then fails the same way and reports it
            }
            plane = {red.data(), planeWidth, planeWidth, planeHeight};
            width = planeWidth;
            height = planeHeight;
            return true;
        });
    if (result != PngReadResult::Decoded)
        return {};
    return red;
}

SheetVector<std::uint8_t> SampleBytes(const std::uint8_t* plane, int planeWidth, int planeHeight, int width,
                                      int height)
{
    return SampleGrid(
        plane, static_cast<std::size_t>(planeWidth), 1, planeWidth, planeHeight, width, height,
        [=](int x) { return std::min(x, planeWidth - 1); },
        [=](int y) { return std::min(y, planeHeight - 1); });
}

SheetVector<float> ReadChannel(const Image& image, Channel channel, int width, int height)
{
    const SheetVector<std::uint8_t> bytes = ReadChannelBytes(image, channel, width, height);
    SheetVector<float> out(bytes.size());
    ParallelFor(0, height, [&](int from, int to) {
        for (std::size_t i = static_cast<std::size_t>(from) * width; i < static_cast<std::size_t>(to) * width;
             ++i)
            out[i] = Image::ByteToChannel(bytes[i]);
    });
    return out;
}

Image* MakeGreyImage(const float* values, int width, int height)
{
    auto image = std::make_unique<Image>(width, height);
    RequirePixels(*image);
    PlaneView<std::uint8_t> colour = image->ColourView();
    PlaneView<std::uint8_t> alpha = image->AlphaView();
    ParallelFor(0, height, [&](int from, int to) {
        for (int y = from; y < to; ++y)
        {
            const float* src = values + static_cast<std::size_t>(y) * width;
            std::uint8_t* rgb = colour.Row(y);
            std::uint8_t* a = alpha.Row(y);
            for (int x = 0; x < width; ++x)
            {
                const std::uint8_t v = Image::ChannelToByte(src[x]);
                rgb[3 * x] = v;
                rgb[3 * x + 1] = v;
                rgb[3 * x + 2] = v;
                a[x] = 255;
            }
        }
    });
    image->MarkChanged();
    return image.release();
}

void RequirePixels(const Image& image)
{
    if (!image.HasPlanes())
        throw std::bad_alloc();
}

Image* RequirePixels(Image* image)
{
    if (image == nullptr || !image->HasPlanes())
    {
        delete image;
        throw std::bad_alloc();
    }
    return image;
}
