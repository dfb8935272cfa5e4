#include "preview/GifSaver.h"

#include "core/Image.h"
#include "sets/LogOutput.h"

#include <QImage>

#include <array>
#include <vector>

namespace {
constexpr std::uint32_t kOpeningDelay = 30;
constexpr std::uint32_t kFrameDelay = 5; // hundredths of a second
constexpr int kBitDepth = 8;

// Each stored byte as the animation writes it: the channel as a float times 255, truncated.
const std::array<std::uint8_t, 256>& ChannelBytes()
{
    static const std::array<std::uint8_t, 256> table = [] {
        std::array<std::uint8_t, 256> bytes{};
        for (int v = 0; v < 256; ++v)
            bytes[static_cast<std::size_t>(v)] = static_cast<std::uint8_t>(
                static_cast<double>(Image::ByteToChannel(static_cast<std::uint8_t>(v))) * 255.0);
        return bytes;
    }();
    return table;
}
} // namespace

GifSaver::GifSaver(int rendererId, std::string filename, int frameWidth, int frameHeight)
    : renderer(rendererId), width(frameWidth), height(frameHeight), writer(std::make_unique<GifWriter>())
{
    GifBegin(writer.get(), filename.c_str(), static_cast<std::uint32_t>(std::max(0, width)),
             static_cast<std::uint32_t>(std::max(0, height)), kOpeningDelay, kBitDepth);
}

GifSaver::~GifSaver() = default;

bool GifSaver::Add(const std::uint8_t* rgba)
{
    if (!GifWriteFrame(writer.get(), rgba, static_cast<std::uint32_t>(width),
                       static_cast<std::uint32_t>(height), kFrameDelay, kBitDepth, false))
        return false;
    ++frameCount;
    return true;
}

bool GifSaver::AddFrame(QImage* frame)
{
    if (frame == nullptr || frame->width() != width || frame->height() != height)
        return false;
    // Straight (not premultiplied) colour, as QImage::pixel gives it for a frame read back with alpha;
    // the fourth byte becomes 255.
    const QImage rgba = frame->convertToFormat(QImage::Format_RGBA8888);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y)
    {
        std::uint8_t* out = pixels.data() + static_cast<std::size_t>(y) * width * 4;
        std::copy_n(rgba.constScanLine(y), static_cast<std::size_t>(width) * 4, out);
        for (int x = 0; x < width; ++x)
            out[4 * x + 3] = 255;
    }
    return Add(pixels.data());
}

bool GifSaver::AddFrame(Image* frame)
{
    if (frame == nullptr || frame->GetWidth() != width || frame->GetHeight() != height || !frame->HasPlanes())
        return false;
    const auto& bytes = ChannelBytes();
    const PlaneView<const std::uint8_t> colour = std::as_const(*frame).ColourView();
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y)
    {
        const std::uint8_t* rgb = colour.Row(y);
        std::uint8_t* out = pixels.data() + static_cast<std::size_t>(y) * width * 4;
        for (int x = 0; x < width; ++x)
        {
            out[4 * x] = bytes[rgb[3 * x]];
            out[4 * x + 1] = bytes[rgb[3 * x + 1]];
            out[4 * x + 2] = bytes[rgb[3 * x + 2]];
            out[4 * x + 3] = 255;
        }
    }
    return Add(pixels.data());
}

bool GifSaver::SaveGif(LogOutput* log)
{
    const bool saved = GifEnd(writer.get());
    if (!saved && !writer->error.empty())
    {
        if (log)
            log->AppendText(writer->error);
        else
            LogOutput().AppendText(writer->error);
    }
    return saved;
}
