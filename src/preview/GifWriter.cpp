#include "preview/GifWriter.h"

#include <QSaveFile>

#include <algorithm>
#include <cstring>

namespace {
// Palette entry 0 is black and doubles as the transparent index of every frame.
constexpr int kTransparentIndex = 0;
constexpr std::size_t kLzwCodes = 4096;

void PutByte(std::vector<std::uint8_t>& out, int value)
{
    out.push_back(static_cast<std::uint8_t>(value));
}

void PutWord(std::vector<std::uint8_t>& out, std::uint32_t value)
{
    out.push_back(static_cast<std::uint8_t>(value & 0xff));
    out.push_back(static_cast<std::uint8_t>((value >> 8) & 0xff));
}

std::string FileError(const GifWriter& writer, const std::string& what)
{
    const QString name = writer.file ? writer.file->fileName() : QString();
    const QString reason = writer.file ? writer.file->errorString() : QString();
    return "Couldn't " + what + " \"" + name.toStdString() + "\": " + reason.toStdString();
}

// Hands the bytes encoded so far to the file; the frames are encoded in memory and flushed one by one.
bool Flush(GifWriter* writer, std::vector<std::uint8_t>& bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    const bool written = writer->file->write(reinterpret_cast<const char*>(bytes.data()), size) == size;
    bytes.clear();
    if (!written)
        writer->error = FileError(*writer, "write");
    return written;
}
} // namespace

GifWriter::GifWriter() = default;
GifWriter::~GifWriter() = default;

int GifIMax(int l, int r)
{
    return l > r ? l : r;
}

int GifIMin(int l, int r)
{
    return l < r ? l : r;
}

int GifIAbs(int i)
{
    return i < 0 ? -i : i;
}

void GifGetClosestPaletteColor(const GifPalette* palette, int r, int g, int b, int& bestIndex, int& bestDiff,
                               int treeRoot)
{
    const int leaves = 1 << palette->bitDepth;
    if (treeRoot >= leaves)
    {
        const int index = treeRoot - leaves;
        if (index == kTransparentIndex)
            return;
        const int diff =
            GifIAbs(r - palette->r[index]) + GifIAbs(g - palette->g[index]) + GifIAbs(b - palette->b[index]);
        if (diff < bestDiff)
        {
            bestIndex = index;
            bestDiff = diff;
        }
        return;
    }
    // Nearest side first; the far side only when the splitting plane is closer than the best so far.
    const int components[3] = {r, g, b};
    const int value = components[palette->splitChannel[treeRoot]];
    const int split = palette->splitValue[treeRoot];
    if (value >= split)
    {
        GifGetClosestPaletteColor(palette, r, g, b, bestIndex, bestDiff, treeRoot * 2 + 1);
        if (bestDiff > value - split)
            GifGetClosestPaletteColor(palette, r, g, b, bestIndex, bestDiff, treeRoot * 2);
    }
    else
    {
        GifGetClosestPaletteColor(palette, r, g, b, bestIndex, bestDiff, treeRoot * 2);
        if (bestDiff > split - value)
            GifGetClosestPaletteColor(palette, r, g, b, bestIndex, bestDiff, treeRoot * 2 + 1);
    }
}

void GifSwapPixels(std::uint8_t* image, int pixA, int pixB)
{
    std::uint8_t* a = image + 4 * static_cast<std::ptrdiff_t>(pixA);
    std::uint8_t* b = image + 4 * static_cast<std::ptrdiff_t>(pixB);
    std::swap_ranges(a, a + 3, b);
    b[3] = a[3];
}

int GifPartition(std::uint8_t* image, int left, int right, int channel, int pivotIndex)
{
    const int pivotValue = image[4 * pivotIndex + channel];
    GifSwapPixels(image, pivotIndex, right - 1);
    int storeIndex = left;
    // Runs of values equal to the pivot go alternately low and high, so a flat region splits evenly.
    bool split = false;
    for (int i = left; i < right - 1; ++i)
    {
        const int value = image[4 * i + channel];
        if (value < pivotValue)
        {
            GifSwapPixels(image, i, storeIndex);
            ++storeIndex;
        }
        else if (value == pivotValue)
        {
            if (split)
            {
                GifSwapPixels(image, i, storeIndex);
                ++storeIndex;
            }
            split = !split;
        }
    }
    GifSwapPixels(image, storeIndex, right - 1);
    return storeIndex;
}

void GifPartitionByMedian(std::uint8_t* image, int left, int right, int channel, int targetIndex)
{
    while (left < right - 1)
    {
        const int pivot = GifPartition(image, left, right, channel, left + (right - left) / 2);
        if (pivot > targetIndex)
            right = pivot;
        else if (pivot < targetIndex)
            left = pivot + 1;
        else
            return;
    }
}

void GifSplitPalette(std::uint8_t* image, int numPixels, int firstEntry, int lastEntry, int middleEntry,
                     int middleStep, int node, bool forDither, GifPalette* palette)
{
    if (lastEntry <= firstEntry || numPixels == 0)
        return;
    if (lastEntry == firstEntry + 1)
    {
        // Dithering needs the darkest and brightest colours present to reach the extremes.
        if (forDither && (firstEntry == 1 || firstEntry == (1 << palette->bitDepth) - 1))
        {
            const bool minimum = firstEntry == 1;
            std::uint8_t extreme[3] = {minimum ? std::uint8_t{255} : std::uint8_t{0},
                                       minimum ? std::uint8_t{255} : std::uint8_t{0},
                                       minimum ? std::uint8_t{255} : std::uint8_t{0}};
            for (int i = 0; i < numPixels; ++i)
                for (int c = 0; c < 3; ++c)
                    extreme[c] = minimum ? std::min(extreme[c], image[4 * i + c])
                                         : std::max(extreme[c], image[4 * i + c]);
            palette->r[firstEntry] = extreme[0];
            palette->g[firstEntry] = extreme[1];
            palette->b[firstEntry] = extreme[2];
            return;
        }
        std::uint64_t sums[3] = {0, 0, 0};
        for (int i = 0; i < numPixels; ++i)
            for (int c = 0; c < 3; ++c)
                sums[c] += image[4 * i + c];
        const auto count = static_cast<std::uint64_t>(numPixels);
        palette->r[firstEntry] = static_cast<std::uint8_t>((sums[0] + count / 2) / count);
        palette->g[firstEntry] = static_cast<std::uint8_t>((sums[1] + count / 2) / count);
        palette->b[firstEntry] = static_cast<std::uint8_t>((sums[2] + count / 2) / count);
        return;
    }

    int low[3] = {255, 255, 255};
    int high[3] = {0, 0, 0};
    for (int i = 0; i < numPixels; ++i)
        for (int c = 0; c < 3; ++c)
        {
            low[c] = GifIMin(low[c], image[4 * i + c]);
            high[c] = GifIMax(high[c], image[4 * i + c]);
        }
    const int rRange = high[0] - low[0];
    const int gRange = high[1] - low[1];
    const int bRange = high[2] - low[2];
    int channel = gRange >= bRange ? 1 : 2;
    if (rRange > gRange && rRange > bRange)
        channel = 0;

    // In 64 bits: a 4096 x 4096 frame times half the palette would overflow an int.
    const int lowCount = static_cast<int>(static_cast<std::int64_t>(numPixels) * (middleEntry - firstEntry) /
                                          (lastEntry - firstEntry));
    const int highCount = numPixels - lowCount;
    GifPartitionByMedian(image, 0, numPixels, channel, lowCount);
    palette->splitChannel[node] = static_cast<std::uint8_t>(channel);
    palette->splitValue[node] = image[4 * lowCount + channel];

    GifSplitPalette(image, lowCount, firstEntry, middleEntry, middleEntry - middleStep, middleStep / 2,
                    node * 2, forDither, palette);
    GifSplitPalette(image + 4 * static_cast<std::ptrdiff_t>(lowCount), highCount, middleEntry, lastEntry,
                    middleEntry + middleStep, middleStep / 2, node * 2 + 1, forDither, palette);
}

int GifPickChangedPixels(const std::uint8_t* previous, std::uint8_t* frame, int numPixels)
{
    int changed = 0;
    std::uint8_t* write = frame;
    for (int i = 0; i < numPixels; ++i, previous += 4, frame += 4)
    {
        if (previous[0] == frame[0] && previous[1] == frame[1] && previous[2] == frame[2])
            continue;
        write[0] = frame[0];
        write[1] = frame[1];
        write[2] = frame[2];
        write += 4;
        ++changed;
    }
    return changed;
}

void GifMakePalette(const std::uint8_t* previous, const std::uint8_t* image, std::uint32_t width,
                    std::uint32_t height, int bitDepth, bool forDither, GifPalette* palette)
{
    palette->bitDepth = bitDepth;
    const std::size_t bytes = static_cast<std::size_t>(width) * height * 4;
    std::vector<std::uint8_t> pixels(image, image + bytes);
    int count = static_cast<int>(static_cast<std::size_t>(width) * height);
    if (previous != nullptr)
        count = GifPickChangedPixels(previous, pixels.data(), count);

    const int lastEntry = 1 << bitDepth;
    const int middleEntry = lastEntry / 2;
    const int middleStep = middleEntry / 2;
    GifSplitPalette(pixels.data(), count, 1, lastEntry, middleEntry, middleStep, 1, forDither, palette);

    // The node that would split off entry 0 has nothing to split: the transparent entry stays black.
    palette->splitValue[1 << (bitDepth - 1)] = 0;
    palette->splitChannel[1 << (bitDepth - 1)] = 0;
    palette->r[0] = palette->g[0] = palette->b[0] = 0;
}

void GifDitherImage(const std::uint8_t* previous, const std::uint8_t* image, std::uint8_t* out,
                    std::uint32_t width, std::uint32_t height, GifPalette* palette)
{
    const auto w = static_cast<std::int64_t>(width);
    const auto h = static_cast<std::int64_t>(height);
    const std::size_t count = static_cast<std::size_t>(w * h);
    // Fixed point with 8 fractional bits, so the spread error keeps its fractions.
    std::vector<std::int32_t> work(count * 4);
    for (std::size_t i = 0; i < count * 4; ++i)
        work[i] = image[i] * 256;

    const auto spread = [&](std::int64_t x, std::int64_t y, const int error[3], int sixteenths) {
        if (x < 0 || x >= w || y >= h)
            return;
        std::int32_t* pixel = work.data() + 4 * (y * w + x);
        for (int c = 0; c < 3; ++c)
            pixel[c] += GifIMax(-pixel[c], error[c] * sixteenths / 16);
    };

    for (std::int64_t y = 0; y < h; ++y)
        for (std::int64_t x = 0; x < w; ++x)
        {
            std::int32_t* pixel = work.data() + 4 * (y * w + x);
            const std::uint8_t* last = previous ? previous + 4 * (y * w + x) : nullptr;
            int rounded[3];
            for (int c = 0; c < 3; ++c)
                rounded[c] = GifIMin(255, GifIMax(0, (pixel[c] + 127) / 256));
            if (last && last[0] == rounded[0] && last[1] == rounded[1] && last[2] == rounded[2])
            {
                for (int c = 0; c < 3; ++c)
                    pixel[c] = last[c];
                pixel[3] = kTransparentIndex;
                continue;
            }
            int bestIndex = 1;
            int bestDiff = 1000000;
            GifGetClosestPaletteColor(palette, rounded[0], rounded[1], rounded[2], bestIndex, bestDiff);
            const int chosen[3] = {palette->r[bestIndex], palette->g[bestIndex], palette->b[bestIndex]};
            int error[3];
            for (int c = 0; c < 3; ++c)
            {
                error[c] = pixel[c] - chosen[c] * 256;
                pixel[c] = chosen[c];
            }
            pixel[3] = bestIndex;
            spread(x + 1, y, error, 7);
            spread(x - 1, y + 1, error, 3);
            spread(x, y + 1, error, 5);
            spread(x + 1, y + 1, error, 1);
        }

    for (std::size_t i = 0; i < count * 4; ++i)
        out[i] = static_cast<std::uint8_t>(work[i]);
}

void GifThresholdImage(const std::uint8_t* previous, const std::uint8_t* image, std::uint8_t* out,
                       std::uint32_t width, std::uint32_t height, GifPalette* palette)
{
    const std::size_t count = static_cast<std::size_t>(width) * height;
    for (std::size_t i = 0; i < count; ++i, image += 4, out += 4)
    {
        if (previous && previous[0] == image[0] && previous[1] == image[1] && previous[2] == image[2])
        {
            out[0] = previous[0];
            out[1] = previous[1];
            out[2] = previous[2];
            out[3] = kTransparentIndex;
        }
        else
        {
            int bestIndex = 1;
            int bestDiff = 1000000;
            GifGetClosestPaletteColor(palette, image[0], image[1], image[2], bestIndex, bestDiff);
            out[0] = palette->r[bestIndex];
            out[1] = palette->g[bestIndex];
            out[2] = palette->b[bestIndex];
            out[3] = static_cast<std::uint8_t>(bestIndex);
        }
        if (previous)
            previous += 4;
    }
}

void GifWriteBit(GifBitStatus& stat, std::uint32_t bit)
{
    stat.byte = static_cast<std::uint8_t>(stat.byte | ((bit & 1u) << stat.bitIndex));
    ++stat.bitIndex;
    if (stat.bitIndex > 7)
    {
        stat.chunk[stat.chunkIndex++] = stat.byte;
        stat.bitIndex = 0;
        stat.byte = 0;
    }
}

void GifWriteChunk(std::vector<std::uint8_t>& out, GifBitStatus& stat)
{
    PutByte(out, static_cast<int>(stat.chunkIndex));
    out.insert(out.end(), stat.chunk, stat.chunk + stat.chunkIndex);
    stat.bitIndex = 0;
    stat.byte = 0;
    stat.chunkIndex = 0;
}

void GifWriteCode(std::vector<std::uint8_t>& out, GifBitStatus& stat, std::uint32_t length,
                  std::uint32_t code)
{
    for (std::uint32_t i = 0; i < length; ++i)
    {
        GifWriteBit(stat, code);
        code >>= 1;
        if (stat.chunkIndex == 255)
            GifWriteChunk(out, stat);
    }
}

void GifWritePalette(const GifPalette* palette, std::vector<std::uint8_t>& out)
{
    // Entry 0, the transparent one, is always written black.
    out.insert(out.end(), {0, 0, 0});
    for (int i = 1; i < (1 << palette->bitDepth); ++i)
        out.insert(out.end(), {palette->r[i], palette->g[i], palette->b[i]});
}

void GifWriteLzwImage(std::vector<std::uint8_t>& out, std::vector<std::uint16_t>& table,
                      const std::uint8_t* image, std::uint32_t left, std::uint32_t top, std::uint32_t width,
                      std::uint32_t height, std::uint32_t delay, const GifPalette* palette)
{
    // Graphic control extension: leave the frame in place, index 0 transparent.
    out.insert(out.end(), {0x21, 0xf9, 0x04, 0x05});
    PutWord(out, delay);
    out.insert(out.end(), {kTransparentIndex, 0});
    // Image descriptor with a local colour table.
    PutByte(out, 0x2c);
    PutWord(out, left);
    PutWord(out, top);
    PutWord(out, width);
    PutWord(out, height);
    PutByte(out, 0x80 + palette->bitDepth - 1);
    GifWritePalette(palette, out);

    const int minCodeSize = palette->bitDepth;
    const std::uint32_t clearCode = 1u << palette->bitDepth;
    PutByte(out, minCodeSize);

    // table[code * 256 + index] is the code for `code` followed by `index`, 0 when there is none yet.
    table.assign(kLzwCodes * 256, 0);
    std::int32_t current = -1;
    std::uint32_t codeSize = static_cast<std::uint32_t>(minCodeSize) + 1;
    std::uint32_t maxCode = clearCode + 1;
    GifBitStatus stat;
    GifWriteCode(out, stat, codeSize, clearCode);
    const std::size_t count = static_cast<std::size_t>(width) * height;
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::uint8_t next = image[4 * i + 3];
        if (current < 0)
        {
            current = next;
            continue;
        }
        std::uint16_t& extension = table[static_cast<std::size_t>(current) * 256 + next];
        if (extension != 0)
        {
            current = extension;
            continue;
        }
        GifWriteCode(out, stat, codeSize, static_cast<std::uint32_t>(current));
        extension = static_cast<std::uint16_t>(++maxCode);
        if (maxCode >> codeSize)
            ++codeSize;
        if (maxCode == 4095)
        {
            // The table is full: start again with single indices.
            GifWriteCode(out, stat, codeSize, clearCode);
            std::fill(table.begin(), table.end(), std::uint16_t{0});
            codeSize = static_cast<std::uint32_t>(minCodeSize) + 1;
            maxCode = clearCode + 1;
        }
        current = next;
    }
    GifWriteCode(out, stat, codeSize, static_cast<std::uint32_t>(current));
    GifWriteCode(out, stat, codeSize, clearCode);
    GifWriteCode(out, stat, static_cast<std::uint32_t>(minCodeSize) + 1, clearCode + 1);
    while (stat.bitIndex)
        GifWriteBit(stat, 0);
    if (stat.chunkIndex)
        GifWriteChunk(out, stat);
    PutByte(out, 0);
}

bool GifBegin(GifWriter* writer, const char* filename, std::uint32_t width, std::uint32_t height,
              std::uint32_t delay, int /*bitDepth*/, bool /*dither*/)
{
    writer->firstFrame = true;
    writer->error.clear();
    writer->file = std::make_unique<QSaveFile>(QString::fromUtf8(filename));
    if (width == 0 || height == 0 || width > 0xffff || height > 0xffff)
    {
        writer->error = "Couldn't write \"" + std::string(filename) +
                        "\": a GIF frame must be 1 to 65535 pixels wide "
                        "and high, not " +
                        std::to_string(width) + " x " + std::to_string(height) + ".";
        writer->file.reset();
        return false;
    }
    if (!writer->file->open(QIODevice::WriteOnly))
    {
        writer->error = FileError(*writer, "create");
        writer->file.reset();
        return false;
    }
    writer->oldImage.assign(static_cast<std::size_t>(width) * height * 4, 0);

    std::vector<std::uint8_t> out;
    const char* signature = "GIF89a";
    out.insert(out.end(), signature, signature + 6);
    PutWord(out, width);
    PutWord(out, height);
    // A global colour table of two black entries, eight bits of colour resolution.
    out.insert(out.end(), {0xf0, 0, 0, 0, 0, 0, 0, 0, 0});
    if (delay != 0)
    {
        // The application extension that makes viewers loop the animation forever.
        out.insert(out.end(), {0x21, 0xff, 11});
        const char* application = "NETSCAPE2.0";
        out.insert(out.end(), application, application + 11);
        out.insert(out.end(), {3, 1, 0, 0, 0});
    }
    if (!Flush(writer, out))
    {
        writer->file.reset();
        return false;
    }
    return true;
}

bool GifWriteFrame(GifWriter* writer, const std::uint8_t* image, std::uint32_t width, std::uint32_t height,
                   std::uint32_t delay, int bitDepth, bool dither)
{
    if (!writer->file)
        return false;
    if (writer->oldImage.size() != static_cast<std::size_t>(width) * height * 4 || bitDepth < 1 ||
        bitDepth > 8)
    {
        writer->error = "Couldn't add a " + std::to_string(width) + " x " + std::to_string(height) +
                        " frame to \"" + writer->file->fileName().toStdString() +
                        "\": it does not match the "
                        "animation's size.";
        return false;
    }
    const std::uint8_t* previous = writer->firstFrame ? nullptr : writer->oldImage.data();
    writer->firstFrame = false;

    GifPalette palette;
    GifMakePalette(dither ? nullptr : previous, image, width, height, bitDepth, dither, &palette);
    if (dither)
        GifDitherImage(previous, image, writer->oldImage.data(), width, height, &palette);
    else
        GifThresholdImage(previous, image, writer->oldImage.data(), width, height, &palette);

    std::vector<std::uint8_t> out;
    GifWriteLzwImage(out, writer->lzwTable, writer->oldImage.data(), 0, 0, width, height, delay, &palette);
    return Flush(writer, out);
}

bool GifEnd(GifWriter* writer)
{
    if (!writer->file)
        return false;
    // A frame that failed to reach the file spoils the whole animation: the old file stays.
    std::vector<std::uint8_t> out = {0x3b};
    bool written = writer->error.empty() && Flush(writer, out);
    if (!written)
        writer->file->cancelWriting();
    if (written && !writer->file->commit())
    {
        writer->error = FileError(*writer, "write");
        written = false;
    }
    writer->file.reset();
    writer->oldImage.clear();
    writer->oldImage.shrink_to_fit();
    return written;
}
