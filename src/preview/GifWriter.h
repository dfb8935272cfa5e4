#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class QSaveFile;

// A small GIF89a encoder for the preview's light animations: one palette per frame built by median cut
// over a k-d tree, frames that leave unchanged pixels transparent over the previous one, optional
// Floyd-Steinberg dithering, and LZW coding. Frames are RGBA8; the fourth byte is ignored on input.
//
// The file is written through a QSaveFile: it replaces an existing file only when GifEnd succeeds, so a
// render that fails or is abandoned never leaves half a GIF over the artist's file.

struct GifPalette
{
    int bitDepth = 8;
    std::uint8_t r[256] = {};
    std::uint8_t g[256] = {};
    std::uint8_t b[256] = {};
    // The k-d tree: node n has children 2n and 2n + 1; numbers from 1 << bitDepth on are the leaves,
    // one per palette entry. Each internal node splits on one channel (0 red, 1 green, 2 blue). The
    // internal nodes are 1 to 255, so the arrays hold 256 entries; slot 0 is never used.
    std::uint8_t splitChannel[256] = {};
    std::uint8_t splitValue[256] = {};
};

struct GifBitStatus
{
    std::uint8_t bitIndex = 0; // next bit to fill in `byte`
    std::uint8_t byte = 0;
    std::uint32_t chunkIndex = 0;
    std::uint8_t chunk[256] = {};
};

struct GifWriter
{
    GifWriter();
    ~GifWriter();
    GifWriter(const GifWriter&) = delete;
    GifWriter& operator=(const GifWriter&) = delete;

    std::unique_ptr<QSaveFile> file;
    // Width x height x 4 bytes: the colour last written for each pixel, its palette index in the fourth.
    std::vector<std::uint8_t> oldImage;
    bool firstFrame = true;
    // The LZW code table, 4096 codes x 256 next indices, kept between frames to spare the allocation.
    std::vector<std::uint16_t> lzwTable;
    // Why the last operation failed, with the file's name; empty when none did.
    std::string error;
};

int GifIMax(int l, int r);
int GifIMin(int l, int r);
int GifIAbs(int i);

void GifGetClosestPaletteColor(const GifPalette* palette, int r, int g, int b, int& bestIndex, int& bestDiff,
                               int treeRoot = 1);
void GifSwapPixels(std::uint8_t* image, int pixA, int pixB);
int GifPartition(std::uint8_t* image, int left, int right, int channel, int pivotIndex);
void GifPartitionByMedian(std::uint8_t* image, int left, int right, int channel, int targetIndex);
void GifSplitPalette(std::uint8_t* image, int numPixels, int firstEntry, int lastEntry, int middleEntry,
                     int middleStep, int node, bool forDither, GifPalette* palette);
int GifPickChangedPixels(const std::uint8_t* previous, std::uint8_t* frame, int numPixels);
void GifMakePalette(const std::uint8_t* previous, const std::uint8_t* image, std::uint32_t width,
                    std::uint32_t height, int bitDepth, bool forDither, GifPalette* palette);
void GifDitherImage(const std::uint8_t* previous, const std::uint8_t* image, std::uint8_t* out,
                    std::uint32_t width, std::uint32_t height, GifPalette* palette);
void GifThresholdImage(const std::uint8_t* previous, const std::uint8_t* image, std::uint8_t* out,
                       std::uint32_t width, std::uint32_t height, GifPalette* palette);

void GifWriteBit(GifBitStatus& stat, std::uint32_t bit);
void GifWriteChunk(std::vector<std::uint8_t>& out, GifBitStatus& stat);
void GifWriteCode(std::vector<std::uint8_t>& out, GifBitStatus& stat, std::uint32_t length,
                  std::uint32_t code);
void GifWritePalette(const GifPalette* palette, std::vector<std::uint8_t>& out);
// One frame: graphic control extension, image descriptor, local colour table and LZW data. `image` holds
// each pixel's palette index in its fourth byte.
void GifWriteLzwImage(std::vector<std::uint8_t>& out, std::vector<std::uint16_t>& table,
                      const std::uint8_t* image, std::uint32_t left, std::uint32_t top, std::uint32_t width,
                      std::uint32_t height, std::uint32_t delay, const GifPalette* palette);

// Opens the file and writes the header (with the looping extension when delay is not 0). False when the
// file cannot be opened; writer->error then says why.
bool GifBegin(GifWriter* writer, const char* filename, std::uint32_t width, std::uint32_t height,
              std::uint32_t delay, int bitDepth = 8, bool dither = false);
// Encodes one RGBA8 frame of the size given to GifBegin. False when no file is open.
bool GifWriteFrame(GifWriter* writer, const std::uint8_t* image, std::uint32_t width, std::uint32_t height,
                   std::uint32_t delay, int bitDepth = 8, bool dither = false);
// Writes the trailer and commits the file. False when no file is open or the file could not be written.
bool GifEnd(GifWriter* writer);
