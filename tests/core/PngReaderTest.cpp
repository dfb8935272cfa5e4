#include "core/PngReader.h"
#include "core/Image.h"
#include "reference/ReferenceImageLoad.h"
#include "support/TestImages.h"

#include <QColorSpace>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdlib>
#include <fstream>

// Every file here is read twice: by the fast reader into planes of its own, and the general way
// (QImage, ARGB32, split). Files the fast reader takes must give the same bytes; files it leaves alone
// must load through Image exactly as the general way loads them.

namespace {
// --- a small PNG writer, for layouts and chunk streams ordinary writers do not produce

std::string U32(std::uint32_t v)
{
    return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
            static_cast<char>(v)};
}

std::string Chunk(const std::string& type, const std::string& data)
{
    const std::string body = type + data;
    const uLong crc = crc32(0L, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return U32(static_cast<std::uint32_t>(data.size())) + body + U32(static_cast<std::uint32_t>(crc));
}

std::string Deflate(const std::string& raw, int windowBits = 15)
{
    z_stream z{};
    deflateInit2(&z, 1, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, raw.size()), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(raw.data()));
    z.avail_in = static_cast<uInt>(raw.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

// Deterministic bytes that compress poorly, so rows take every filter's arithmetic through its range.
struct Noise
{
    std::uint32_t state;
    std::uint8_t Next()
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<std::uint8_t>(state >> 24);
    }
};

int ValueOf(char c)
{
    return static_cast<unsigned char>(c);
}

int TextbookPaeth(int a, int b, int c)
{
    const int p = a + b - c;
    const int pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    if (pa <= pb && pa <= pc)
        return a;
    return pb <= pc ? b : c;
}

std::string FilterRow(int filter, const std::string& row, const std::string& above, std::size_t step)
{
    std::string out(1, static_cast<char>(filter));
    for (std::size_t i = 0; i < row.size(); ++i)
    {
        const int a = i >= step ? ValueOf(row[i - step]) : 0;
        const int b = ValueOf(above[i]);
        const int c = i >= step ? ValueOf(above[i - step]) : 0;
        const int predicted = filter == 1   ? a
                              : filter == 2 ? b
                              : filter == 3 ? (a + b) / 2
                              : filter == 4 ? TextbookPaeth(a, b, c)
                                            : 0;
        out += static_cast<char>(ValueOf(row[i]) - predicted);
    }
    return out;
}

struct PngRecipe
{
    int width = 1;
    int height = 1;
    int depth = 8;
    int colourType = 2;
    std::vector<std::string> rows; // unfiltered bytes of each row
    // Row y uses filters[(y + filterShift) % size]. The runs of Paeth rows matter: 3 and 4 bytes a
    // pixel unfilter them in fours and pairs.
    std::vector<int> filters = {0, 1, 2, 3, 4, 4, 4, 4, 4};
    int filterShift = 0;
    std::string palette;                // PLTE data
    std::string transparency;           // tRNS data
    std::string head;                   // framed chunks after the header
    std::string middle;                 // framed chunks after the palette
    std::string tail;                   // framed chunks after the image data
    std::vector<std::size_t> idatSizes; // sizes of the first image data chunks; the rest goes in one
    int windowBits = 15;
};

std::size_t Channels(int colourType)
{
    return colourType == 2 ? 3 : colourType == 4 ? 2 : colourType == 6 ? 4 : 1;
}

std::string Header(const PngRecipe& recipe, int interlace = 0)
{
    return Chunk("IHDR",
                 U32(static_cast<std::uint32_t>(recipe.width)) +
                     U32(static_cast<std::uint32_t>(recipe.height)) +
                     std::string{static_cast<char>(recipe.depth), static_cast<char>(recipe.colourType), 0, 0,
                                 static_cast<char>(interlace)});
}

std::string ImageData(const std::string& stream, const std::vector<std::size_t>& sizes)
{
    std::string out;
    std::size_t at = 0;
    for (const std::size_t size : sizes)
    {
        out += Chunk("IDAT", stream.substr(at, size));
        at += std::min(size, stream.size() - at);
    }
    return out + Chunk("IDAT", stream.substr(at));
}

// The file with the zlib stream of its single image data chunk edited.
template <typename Edit> std::string EditStream(const std::string& png, Edit edit)
{
    const std::size_t at = png.find("IDAT") - 4;
    const std::size_t length = static_cast<std::size_t>(ValueOf(png[at]) << 24 | ValueOf(png[at + 1]) << 16 |
                                                        ValueOf(png[at + 2]) << 8 | ValueOf(png[at + 3]));
    std::string stream = png.substr(at + 8, length);
    edit(stream);
    return png.substr(0, at) + Chunk("IDAT", stream) + png.substr(at + 12 + length);
}

std::string Assemble(const PngRecipe& recipe)
{
    const std::size_t step = std::max<std::size_t>(1, Channels(recipe.colourType) * recipe.depth / 8);
    std::string filtered;
    std::string above(recipe.rows.empty() ? 0 : recipe.rows[0].size(), '\0');
    for (std::size_t y = 0; y < recipe.rows.size(); ++y)
    {
        const int filter =
            recipe.filters[(y + static_cast<std::size_t>(recipe.filterShift)) % recipe.filters.size()];
        filtered += FilterRow(filter, recipe.rows[y], above, step);
        above = recipe.rows[y];
    }
    std::string png = "\x89PNG\r\n\x1a\n" + Header(recipe) + recipe.head;
    if (!recipe.palette.empty())
        png += Chunk("PLTE", recipe.palette);
    if (!recipe.transparency.empty())
        png += Chunk("tRNS", recipe.transparency);
    return png + recipe.middle + ImageData(Deflate(filtered, recipe.windowBits), recipe.idatSizes) +
           recipe.tail + Chunk("IEND", "");
}

// Rows of noise; palette images get indices below `entries`, packed from the top bit down, with noise
// in the unused bits at the end of a row.
std::vector<std::string> NoiseRows(const PngRecipe& recipe, int entries, std::uint32_t seed)
{
    Noise noise{seed};
    std::vector<std::string> rows;
    const std::size_t bytes =
        (static_cast<std::size_t>(recipe.width) * Channels(recipe.colourType) * recipe.depth + 7) / 8;
    for (int y = 0; y < recipe.height; ++y)
    {
        std::string row(bytes, '\0');
        for (char& b : row)
            b = static_cast<char>(noise.Next());
        if (recipe.colourType == 3)
            for (int x = 0; x < recipe.width; ++x)
            {
                const int index = noise.Next() % entries;
                const int shift = 8 - recipe.depth * (x % (8 / recipe.depth) + 1);
                char& b = row[static_cast<std::size_t>(x) * recipe.depth / 8];
                b = static_cast<char>((ValueOf(b) & ~(((1 << recipe.depth) - 1) << shift)) | index << shift);
            }
        rows.push_back(row);
    }
    return rows;
}

std::string NoiseBytes(std::size_t count, std::uint32_t seed)
{
    Noise noise{seed};
    std::string out(count, '\0');
    for (char& b : out)
        b = static_cast<char>(noise.Next());
    return out;
}

// --- reading both ways

struct FastRead
{
    PngReadResult result = PngReadResult::NotHandled;
    std::unique_ptr<Image> image;
};

FastRead ReadFast(const std::string& path)
{
    FastRead read;
    read.result = ReadPng(path, [&read](int width, int height, PlaneView<std::uint8_t>& colour,
                                        PlaneView<std::uint8_t>& alpha) {
        read.image = std::make_unique<Image>(width, height);
        colour = read.image->ColourView();
        alpha = read.image->AlphaView();
        return read.image->HasPlanes();
    });
    return read;
}

struct FastRedRead
{
    PngReadResult result = PngReadResult::NotHandled;
    std::vector<std::uint8_t> red;
    int width = 0;
};

FastRedRead ReadFastRed(const std::string& path)
{
    FastRedRead read;
    read.result = ReadPngRed(path, [&read](int width, int height, PlaneView<std::uint8_t>& plane) {
        // A guard byte past the end shows a write beyond the plane.
        read.red.assign(static_cast<std::size_t>(width) * height + 1, 0xA5);
        read.width = width;
        plane = {read.red.data(), width, width, height};
        return true;
    });
    return read;
}

// The red reading of a file matches the red channel of the whole image, byte for byte, and writes
// nothing past the plane.
void ExpectSameRed(const FastRedRead& fast, const Image& reference)
{
    ASSERT_EQ(fast.result, PngReadResult::Decoded);
    ASSERT_EQ(fast.width, reference.GetWidth());
    ASSERT_EQ(fast.red.size(), static_cast<std::size_t>(reference.GetWidth()) * reference.GetHeight() + 1);
    EXPECT_EQ(fast.red.back(), 0xA5);
    const PlaneView<const std::uint8_t> colour = reference.ColourView();
    for (int y = 0; y < reference.GetHeight(); ++y)
        for (int x = 0; x < reference.GetWidth(); ++x)
            ASSERT_EQ(fast.red[static_cast<std::size_t>(y) * fast.width + x], colour.Row(y)[3 * x])
                << "at " << x << ", " << y;
}

std::string Write(const TempFolder& folder, const std::string& name, const std::string& bytes)
{
    const std::string path = folder.File(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

// The fast reader takes the file and gives the general reader's bytes, and so does Image.
void ExpectSameAsGeneralReader(const std::string& path, const std::string& label)
{
    SCOPED_TRACE(label);
    const std::unique_ptr<Image> reference = ReferenceLoadImage(path);
    ASSERT_NE(reference, nullptr) << "the general reader refuses the file";
    const FastRead fast = ReadFast(path);
    ASSERT_EQ(fast.result, PngReadResult::Decoded);
    EXPECT_TRUE(SameBytes(*fast.image, *reference));
    EXPECT_TRUE(SameBytes(Image(path), *reference));
    ExpectSameRed(ReadFastRed(path), *reference);
}

// The fast reader declines the file, and Image loads it exactly as the general reader does.
void ExpectLeftToGeneralReader(const std::string& path, const std::string& label)
{
    SCOPED_TRACE(label);
    EXPECT_EQ(ReadFast(path).result, PngReadResult::NotHandled);
    EXPECT_EQ(ReadFastRed(path).result, PngReadResult::NotHandled);
    const std::unique_ptr<Image> reference = ReferenceLoadImage(path);
    const Image loaded(path);
    if (reference == nullptr)
        EXPECT_FALSE(loaded.HasPlanes());
    else
        EXPECT_TRUE(SameBytes(loaded, *reference));
}

std::string Palette(int entries, std::uint32_t seed)
{
    return NoiseBytes(3 * static_cast<std::size_t>(entries), seed);
}
} // namespace

TEST(PngReader, EveryLayoutFilterAndOddSizeReadsAsTheGeneralReader)
{
    TempFolder folder;
    struct Layout
    {
        int colourType;
        int depth;
        int entries;     // palette entries
        int transparent; // of which have a transparency entry
    };
    const Layout layouts[] = {
        {0, 8, 0, 0},  {4, 8, 0, 0},   {2, 8, 0, 0}, {6, 8, 0, 0},   {3, 1, 2, 0},
        {3, 1, 2, 1},  {3, 1, 1, 1},   {3, 2, 3, 0}, {3, 2, 4, 2},   {3, 4, 11, 0},
        {3, 4, 16, 5}, {3, 8, 200, 0}, {3, 8, 7, 7}, {3, 8, 256, 1}, {3, 8, 256, 256},
    };
    const std::pair<int, int> sizes[] = {{1, 1}, {3, 2}, {13, 5}, {67, 6}, {1, 9}, {2, 7}};
    int file = 0;
    for (const Layout& layout : layouts)
        for (const auto& [width, height] : sizes)
            for (int shift = 0; shift < 9; ++shift) // every filter on every row over the nine files
            {
                PngRecipe recipe;
                recipe.width = width;
                recipe.height = height;
                recipe.depth = layout.depth;
                recipe.colourType = layout.colourType;
                recipe.filterShift = shift;
                recipe.rows =
                    NoiseRows(recipe, std::max(1, layout.entries), static_cast<std::uint32_t>(file));
                if (layout.colourType == 3)
                {
                    recipe.palette = Palette(layout.entries, static_cast<std::uint32_t>(file) + 7);
                    recipe.transparency =
                        NoiseBytes(static_cast<std::size_t>(layout.transparent), file + 11u);
                }
                // Image data split at odd places, with empty chunks among them.
                if (shift % 2 == 1)
                    recipe.idatSizes = {1, 0, 2, 5, 0};
                const std::string label =
                    "type " + std::to_string(layout.colourType) + " depth " + std::to_string(layout.depth) +
                    " palette " + std::to_string(layout.entries) + "/" + std::to_string(layout.transparent) +
                    " " + std::to_string(width) + "x" + std::to_string(height) + " filters from " +
                    std::to_string(shift);
                ExpectSameAsGeneralReader(Write(folder, std::to_string(file++) + ".png", Assemble(recipe)),
                                          label);
            }
}

TEST(PngReader, TallImagesReadTheSameOnOneThreadAndOnSeveral)
{
    // Rows of about 2 KB, so the image data goes through several bands of rows and, with more than one
    // thread, through the queue between the inflating and the unfiltering thread, round its buffers.
    TempFolder folder;
    struct Layout
    {
        int colourType;
        int depth;
        int width;
    };
    const Layout layouts[] = {{2, 8, 683},  {6, 8, 511},  {0, 8, 2047},
                              {4, 8, 1001}, {3, 8, 1999}, {3, 2, 8191}};
    int file = 0;
    for (const Layout& layout : layouts)
    {
        PngRecipe recipe;
        recipe.width = layout.width;
        recipe.height = 600;
        recipe.depth = layout.depth;
        recipe.colourType = layout.colourType;
        recipe.filters = {4, 4, 4, 4, 4, 4, 4, 3, 4, 4, 4, 4, 1, 4, 2, 4, 4, 0};
        recipe.rows = NoiseRows(recipe, 3, static_cast<std::uint32_t>(file));
        if (layout.colourType == 3)
            recipe.palette = Palette(3, 5);
        recipe.idatSizes = {100, 0, 70000, 1, 30000};
        const std::string png = Assemble(recipe);
        const std::string label = "colour type " + std::to_string(layout.colourType) + " depth " +
                                  std::to_string(layout.depth) + " on ";
        for (const int threads : {1, 2})
        {
            const ThreadCount count(threads);
            ExpectSameAsGeneralReader(Write(folder, std::to_string(file++) + ".png", png),
                                      label + std::to_string(threads) + " threads");
        }

        // Damage far into the image: an unknown filter type on the last row, and a stream that ends a
        // band early. Either thread gives up without waiting for the other forever.
        std::string filtered;
        std::string above(recipe.rows[0].size(), '\0');
        for (const std::string& row : recipe.rows)
        {
            filtered += FilterRow(&row == &recipe.rows.back() ? 5 : 2, row, above, 1);
            above = row;
        }
        const std::string damaged[] = {
            "\x89PNG\r\n\x1a\n" + Header(recipe) + Chunk("IDAT", Deflate(filtered)) + Chunk("IEND", ""),
            "\x89PNG\r\n\x1a\n" + Header(recipe) +
                Chunk("IDAT",
                      Deflate(filtered.substr(0, filtered.size() - 300 * (recipe.rows[0].size() + 1)))) +
                Chunk("IEND", ""),
        };
        for (const int threads : {1, 2})
            for (const std::string& bytes : damaged)
            {
                const ThreadCount count(threads);
                ExpectLeftToGeneralReader(Write(folder, std::to_string(file++) + ".png", bytes),
                                          label + std::to_string(threads) + " threads, damaged");
            }
    }
}

TEST(PngReader, ColourSpaceAndOtherAncillaryChunksLeaveThePixelsAsTheGeneralReaderHasThem)
{
    TempFolder folder;
    // Values that would change the pixels if a reader applied them: a gamma of 1.0, a wide-gamut
    // profile, 3 significant bits per channel, a black background.
    const QByteArray profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    const std::string compressedProfile = [&profile] {
        std::string out = "Adobe\0\0"; // name, terminator and compression method
        out.resize(7);
        return out + Deflate(std::string(profile.constData(), static_cast<std::size_t>(profile.size())));
    }();
    const std::string chromaticities =
        U32(31270) + U32(32900) + U32(64000) + U32(33000) + U32(30000) + U32(60000) + U32(15000) + U32(6000);
    int file = 0;
    for (const int colourType : {0, 2, 3, 4, 6})
    {
        const std::size_t sampleCount = colourType == 3 ? 3 : Channels(colourType);
        const std::size_t backgroundBytes = colourType == 3 ? 1 : colourType == 0 || colourType == 4 ? 2 : 6;
        const std::string chunks[] = {
            Chunk("gAMA", U32(100000)),
            Chunk("sRGB", std::string(1, '\0')),
            Chunk("cHRM", chromaticities),
            Chunk("iCCP", compressedProfile),
            Chunk("sBIT", std::string(sampleCount, '\3')),
            Chunk("gAMA", U32(45455)) + Chunk("sRGB", std::string(1, '\3')) +
                Chunk("pHYs", U32(2835) + U32(2835) + '\1') +
                Chunk("tEXt", std::string("Software\0test", 13)) +
                Chunk("tIME", std::string("\x07\xe8\1\2\3\4\5", 7)) + Chunk("prVt", "private data"),
        };
        for (const std::string& head : chunks)
        {
            PngRecipe recipe;
            recipe.width = 9;
            recipe.height = 4;
            recipe.colourType = colourType;
            recipe.rows = NoiseRows(recipe, 5, static_cast<std::uint32_t>(file));
            if (colourType == 3)
            {
                recipe.palette = Palette(5, 1);
                recipe.transparency = "\x10\xff";
            }
            recipe.head = head;
            recipe.tail = Chunk("tEXt", std::string("Comment\0after", 13)) + Chunk("zzZz", "more");
            recipe.middle = Chunk("bKGD", std::string(backgroundBytes, '\0'));
            ExpectSameAsGeneralReader(Write(folder, std::to_string(file++) + ".png", Assemble(recipe)),
                                      "colour type " + std::to_string(colourType) + " with " +
                                          head.substr(4, 4));
        }
    }
}

TEST(PngReader, FilesFromOtherWritersReadAsTheGeneralReader)
{
    TempFolder folder;
    // The general writer: every format it stores as 8-bit PNG, with and without a colour space.
    Noise noise{42};
    for (const QSize size : {QSize(1, 1), QSize(45, 31)})
    {
        QImage argb(size, QImage::Format_ARGB32);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                argb.setPixel(x, y, qRgba(noise.Next(), noise.Next(), noise.Next(), noise.Next() & 0x8F));
        QImage indexed(size, QImage::Format_Indexed8);
        indexed.setColorTable(
            {qRgb(10, 20, 30), qRgba(200, 100, 50, 0), qRgba(1, 2, 3, 128), qRgb(255, 0, 9)});
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                indexed.setPixel(x, y, noise.Next() % 4);
        QImage mono = argb.convertToFormat(QImage::Format_Mono);
        QImage wide = argb.convertToFormat(QImage::Format_RGB32);
        wide.setColorSpace(QColorSpace(QColorSpace::DisplayP3));
        QImage srgb = argb.copy();
        srgb.setColorSpace(QColorSpace(QColorSpace::SRgb));
        const std::pair<const char*, QImage> images[] = {
            {"argb", argb},
            {"rgb", argb.convertToFormat(QImage::Format_RGB32)},
            {"rgb888", argb.convertToFormat(QImage::Format_RGB888)},
            {"grey", argb.convertToFormat(QImage::Format_Grayscale8)},
            {"indexed", indexed},
            {"mono", mono},
            {"wide", wide},
            {"srgb", srgb},
        };
        for (const auto& [name, image] : images)
        {
            const std::string path = folder.File(name + std::to_string(size.width()) + ".png");
            QImageWriter writer(QString::fromStdString(path), "png");
            writer.setText(QStringLiteral("Title"), QStringLiteral("written by the general writer"));
            ASSERT_TRUE(writer.write(image)) << name;
            ExpectSameAsGeneralReader(path, name + std::string(" from QImageWriter"));
        }
    }

    // Brondel's own writer: image data over several chunks of 1 MiB, RGB and RGBA; a capital suffix.
    const auto pattern = [](int x, int y) {
        const std::uint32_t h =
            static_cast<std::uint32_t>(x) * 73856093u ^ static_cast<std::uint32_t>(y) * 19349663u;
        return Colour((h & 255) / 255.0f, ((h >> 8) & 255) / 255.0f, (x % 7) / 6.0f, ((h >> 16) % 3) / 2.0f);
    };
    const std::unique_ptr<Image> noisy = MakeImage(800, 700, pattern);
    ASSERT_TRUE(noisy->SaveToDisk(folder.File("rgba.png")));
    ExpectSameAsGeneralReader(folder.File("rgba.png"), "RGBA from SaveToDisk");
    EXPECT_TRUE(SameBytes(Image(folder.File("rgba.png")), *noisy));
    const std::unique_ptr<Image> opaque =
        MakeImage(301, 7, [](int x, int y) { return Colour(x / 300.0f, y / 6.0f, 0.5f, 1.0f); });
    ASSERT_TRUE(opaque->SaveToDisk(folder.File("opaque.PNG")));
    ExpectSameAsGeneralReader(folder.File("opaque.PNG"), "RGB from SaveToDisk");
}

TEST(PngReader, UnusualOrDamagedFilesAreLeftToTheGeneralReader)
{
    TempFolder folder;
    PngRecipe rgb;
    rgb.width = 21;
    rgb.height = 9;
    rgb.rows = NoiseRows(rgb, 1, 1);
    const std::string good = Assemble(rgb);
    ExpectSameAsGeneralReader(Write(folder, "good.png", good), "the file the others are made from");
    const std::size_t firstData = good.find("IDAT") + 4;
    const std::size_t end = good.find("IEND") - 4;

    const auto flip = [](std::string bytes, std::size_t at) {
        bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
        return bytes;
    };
    // The file with its recipe changed and new rows of noise, with palette indices below `entries`.
    const auto variant = [&rgb](auto change, int entries = 1) {
        PngRecipe recipe = rgb;
        change(recipe);
        recipe.rows = NoiseRows(recipe, entries, 3);
        return Assemble(recipe);
    };
    // The same image data under a header claiming another height.
    const auto withHeight = [&](int height) {
        PngRecipe recipe = rgb;
        recipe.height = height;
        return "\x89PNG\r\n\x1a\n" + Header(recipe) + good.substr(33);
    };
    std::vector<std::pair<std::string, std::string>> cases = {
        {"damaged image data checksum", flip(good, end - 1)},
        {"damaged header checksum", flip(good, 30)},
        {"damaged deflate data", flip(good, firstData + 20)},
        {"damaged zlib checksum", EditStream(good, [](std::string& stream) { stream.back() ^= 1; })},
        {"cut in the image data", good.substr(0, firstData + 30)},
        {"cut before the end chunk", good.substr(0, end)},
        {"cut in the end chunk's checksum", good.substr(0, good.size() - 2)},
        {"bytes after the end chunk", good + "trailing"},
        {"damaged ancillary chunk",
         flip(variant([](PngRecipe& s) { s.head = Chunk("tEXt", "Title"); }), 33 + 9)},
        {"unknown critical chunk", variant([](PngRecipe& s) { s.head = Chunk("CRIT", "x"); })},
        {"chunk name with a digit", variant([](PngRecipe& s) { s.head = Chunk("ab1c", "x"); })},
        {"animated PNG", variant([](PngRecipe& s) { s.head = Chunk("acTL", U32(1) + U32(0)); })},
        {"suggested palette in an RGB image", variant([](PngRecipe& s) { s.palette = Palette(4, 1); })},
        {"16-bit samples", variant([](PngRecipe& s) { s.depth = 16; })},
        {"2-bit grey", variant([](PngRecipe& s) { s.colourType = 0, s.depth = 2; })},
        {"grey with a colour key", variant([](PngRecipe& s) {
             s.colourType = 0, s.transparency = {'\0', ' '};
         })},
        {"RGB with a colour key", variant([](PngRecipe& s) { s.transparency = std::string(6, ' '); })},
        {"palette without its chunk", variant([](PngRecipe& s) { s.colourType = 3; })},
        {"palette index beyond the palette",
         variant([](PngRecipe& s) { s.colourType = 3, s.palette = Palette(5, 3); }, 6)},
        {"transparency longer than the palette", variant([](PngRecipe& s) {
             s.colourType = 3, s.palette = Palette(2, 3), s.transparency = "\1\2\3";
         })},
        {"more palette entries than the depth can name",
         variant([](PngRecipe& s) { s.colourType = 3, s.depth = 1, s.palette = Palette(3, 3); }, 2)},
        {"image data interrupted by another chunk",
         [&] {
             const std::string stream = Deflate(FilterRow(0, rgb.rows[0], std::string(63, '\0'), 3));
             PngRecipe recipe = rgb;
             recipe.height = 1;
             return "\x89PNG\r\n\x1a\n" + Header(recipe) + Chunk("IDAT", stream.substr(0, 10)) +
                    Chunk("tEXt", std::string("a\0b", 3)) + Chunk("IDAT", stream.substr(10)) +
                    Chunk("IEND", "");
         }()},
        {"more rows in the stream than the image has", withHeight(8)},
        {"fewer rows in the stream than the image has", withHeight(10)},
        {"unknown filter type",
         [&] {
             std::string filtered;
             for (const std::string& row : rgb.rows)
                 filtered += std::string(1, '\5') + row;
             return "\x89PNG\r\n\x1a\n" + Header(rgb) + Chunk("IDAT", Deflate(filtered)) + Chunk("IEND", "");
         }()},
        {"stream claiming a smaller window than it uses",
         [&] {
             // Far references need a window larger than the 512 bytes the stream header now claims.
             PngRecipe recipe = rgb;
             recipe.width = 200;
             recipe.height = 12;
             recipe.rows.assign(12, NoiseBytes(600, 9));
             return EditStream(Assemble(recipe), [](std::string& stream) {
                 stream[0] = 0x18;
                 stream[1] = static_cast<char>(31 - (0x18 * 256) % 31);
             });
         }()},
        {"interlaced",
         [&] {
             // Adam7: seven reduced images, each row with its filter type.
             const int passes[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                       {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
             std::string filtered;
             for (const auto& pass : passes)
                 for (int y = pass[1]; y < rgb.height; y += pass[3])
                 {
                     if (pass[0] >= rgb.width)
                         break;
                     filtered += '\0';
                     for (int x = pass[0]; x < rgb.width; x += pass[2])
                         filtered +=
                             rgb.rows[static_cast<std::size_t>(y)].substr(3 * static_cast<std::size_t>(x), 3);
                 }
             return "\x89PNG\r\n\x1a\n" + Header(rgb, 1) + Chunk("IDAT", Deflate(filtered)) +
                    Chunk("IEND", "");
         }()},
        {"not a PNG", "GIF89a and more"},
        {"empty", ""},
    };
    for (const auto& [label, bytes] : cases)
        ExpectLeftToGeneralReader(Write(folder, label + ".png", bytes), label);

    // A PNG under another suffix, which the general reader may hand to another decoder first.
    ExpectLeftToGeneralReader(Write(folder, "sheet.bmp", good), "PNG bytes under a .bmp suffix");
    ExpectLeftToGeneralReader(folder.File("missing.png"), "missing file");

    // A small window is fine when the whole image fits in it.
    PngRecipe small = rgb;
    small.width = 5;
    small.height = 4;
    small.rows = NoiseRows(small, 1, 4);
    small.windowBits = 9;
    ExpectSameAsGeneralReader(Write(folder, "small-window.png", Assemble(small)), "512-byte window");
}

TEST(PngReader, ImagesOverTheReadersAllocationLimitAreLeftToIt)
{
    // 600 x 600 pixels take 1.4 MiB as 32-bit pixels: the general reader refuses the RGBA file under a
    // 1 MiB limit, and reads the 1-bit one, which it holds at one bit a pixel, only to convert it after.
    TempFolder folder;
    PngRecipe rgba;
    rgba.width = 600;
    rgba.height = 600;
    rgba.colourType = 6;
    rgba.rows = NoiseRows(rgba, 1, 1);
    PngRecipe mono = rgba;
    mono.colourType = 3;
    mono.depth = 1;
    mono.palette = Palette(2, 1);
    mono.rows = NoiseRows(mono, 2, 1);
    const std::string rgbaPath = Write(folder, "rgba.png", Assemble(rgba));
    const std::string monoPath = Write(folder, "mono.png", Assemble(mono));
    const int limit = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(1);
    ExpectLeftToGeneralReader(rgbaPath, "RGBA over the limit");
    EXPECT_FALSE(Image(rgbaPath).HasPlanes());
    ExpectLeftToGeneralReader(monoPath, "1-bit palette over the limit");
    QImageReader::setAllocationLimit(2);
    ExpectSameAsGeneralReader(rgbaPath, "RGBA under the limit");
    QImageReader::setAllocationLimit(limit);
}

TEST(PngReader, SizeProbesReadOnlyTheHeader)
{
    TempFolder folder;
    PngRecipe recipe;
    recipe.width = 70000;
    recipe.height = 3;
    // The image data is not even there: only the header is read.
    const std::string header = "\x89PNG\r\n\x1a\n" + Header(recipe);
    EXPECT_EQ(ReadPngSize(Write(folder, "header.png", header)), QSize(70000, 3));
    EXPECT_EQ(ProbeImageSize(folder.File("header.png")), QSize(70000, 3));
    std::string damaged = header;
    damaged[20] = '\1';
    EXPECT_FALSE(ReadPngSize(Write(folder, "damaged.png", damaged)).isValid());
    EXPECT_FALSE(ReadPngSize(folder.File("missing.png")).isValid());

    // Other formats go through the general reader's probe.
    const std::unique_ptr<Image> image = MakeFlat(17, 5, 0.5f);
    ASSERT_TRUE(image->SaveToDisk(folder.File("grey.bmp")));
    EXPECT_FALSE(ReadPngSize(folder.File("grey.bmp")).isValid());
    EXPECT_EQ(ProbeImageSize(folder.File("grey.bmp")), QSize(17, 5));
    EXPECT_FALSE(ProbeImageSize(folder.File("missing.jpg")).isValid());
}
