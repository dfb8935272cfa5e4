// The GIF writer checked from the outside: the bytes a viewer reads, the frames Qt's own reader decodes,
// and the palette indices recovered by decoding the LZW stream here.
#include "preview/GifWriter.h"
#include "core/Image.h"
#include "preview/GifSaver.h"
#include "sets/LogOutput.h"
#include "support/TestImages.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {
using Bytes = std::vector<std::uint8_t>;

Bytes ReadAll(const std::string& path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    return Bytes(data.begin(), data.end());
}

// A lit ball on a dark ground with the light at angle `t` turns: what a light animation records.
Bytes LitBall(int size, double t)
{
    Bytes rgba(static_cast<std::size_t>(size) * size * 4);
    const double lx = std::sin(t), ly = std::cos(t);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
        {
            const double nx = (x - size / 2.0) / (size / 2.5), ny = (y - size / 2.0) / (size / 2.5);
            const double r2 = nx * nx + ny * ny;
            double shade = 0.1;
            if (r2 < 1.0)
                shade = std::max(0.05, nx * lx + ny * ly + std::sqrt(1.0 - r2) * 0.5);
            std::uint8_t* p = rgba.data() + 4 * (static_cast<std::size_t>(y) * size + x);
            p[0] = static_cast<std::uint8_t>(std::min(255.0, 230 * shade));
            p[1] = static_cast<std::uint8_t>(std::min(255.0, 180 * shade));
            p[2] = static_cast<std::uint8_t>(std::min(255.0, 120 * shade + 20));
            p[3] = 255;
        }
    return rgba;
}

// What a GIF holds, walked block by block: the frames' delays, palettes and LZW-decoded indices.
struct ParsedGif
{
    int width = 0, height = 0;
    bool loops = false;
    int loopCount = -1;
    bool trailer = false;
    struct Frame
    {
        int delay = -1, transparent = -1, disposal = -1;
        Bytes palette;
        Bytes indices;
    };
    std::vector<Frame> frames;
};

Bytes DecodeLzw(const Bytes& data, int minCodeSize, std::size_t pixels)
{
    const int clear = 1 << minCodeSize, end = clear + 1;
    std::vector<Bytes> table;
    const auto reset = [&] {
        table.assign(static_cast<std::size_t>(clear + 2), {});
        for (int i = 0; i < clear; ++i)
            table[static_cast<std::size_t>(i)] = {static_cast<std::uint8_t>(i)};
    };
    reset();
    int size = minCodeSize + 1;
    std::size_t bit = 0;
    Bytes out, previous;
    while (bit + static_cast<std::size_t>(size) <= data.size() * 8)
    {
        int code = 0;
        for (int i = 0; i < size; ++i, ++bit)
            code |= ((data[bit / 8] >> (bit % 8)) & 1) << i;
        if (code == clear)
        {
            reset();
            size = minCodeSize + 1;
            previous.clear();
            continue;
        }
        if (code == end)
            break;
        Bytes entry;
        if (code < static_cast<int>(table.size()))
            entry = table[static_cast<std::size_t>(code)];
        else
        {
            entry = previous;
            entry.push_back(previous.at(0));
        }
        if (!previous.empty())
        {
            Bytes added = previous;
            added.push_back(entry.at(0));
            table.push_back(added);
            if (table.size() == (1u << size) && size < 12)
                ++size;
        }
        out.insert(out.end(), entry.begin(), entry.end());
        previous = entry;
    }
    EXPECT_EQ(out.size(), pixels);
    return out;
}

ParsedGif Parse(const Bytes& file)
{
    ParsedGif gif;
    std::size_t at = 0;
    const auto byte = [&]() -> int { return at < file.size() ? file[at++] : -1; };
    const auto word = [&] {
        const int lo = byte();
        return lo | (byte() << 8);
    };
    const auto subBlocks = [&] {
        Bytes data;
        for (int length = byte(); length > 0; length = byte())
            for (int i = 0; i < length; ++i)
                data.push_back(static_cast<std::uint8_t>(byte()));
        return data;
    };
    if (file.size() < 13 || std::string(file.begin(), file.begin() + 6) != "GIF89a")
        return gif;
    at = 6;
    gif.width = word();
    gif.height = word();
    const int flags = byte();
    byte();
    byte();
    if (flags & 0x80)
        at += 3u * (2u << (flags & 7));
    ParsedGif::Frame frame;
    while (at < file.size())
    {
        const int kind = byte();
        if (kind == 0x3b)
        {
            gif.trailer = true;
            break;
        }
        if (kind == 0x21)
        {
            const int label = byte();
            const Bytes data = subBlocks();
            if (label == 0xf9 && data.size() == 4)
            {
                frame.disposal = (data[0] >> 2) & 7;
                frame.delay = data[1] | (data[2] << 8);
                frame.transparent = (data[0] & 1) ? data[3] : -1;
            }
            else if (label == 0xff && data.size() >= 14 &&
                     std::string(data.begin(), data.begin() + 11) == "NETSCAPE2.0")
            {
                gif.loops = true;
                gif.loopCount = data[12] | (data[13] << 8);
            }
            continue;
        }
        if (kind != 0x2c)
            break;
        at += 4;
        const int w = word(), h = word(), local = byte();
        if (local & 0x80)
        {
            const std::size_t bytes = 3u * (2u << (local & 7));
            frame.palette.assign(file.begin() + static_cast<long>(at),
                                 file.begin() + static_cast<long>(at + bytes));
            at += bytes;
        }
        const int minCodeSize = byte();
        frame.indices = DecodeLzw(subBlocks(), minCodeSize, static_cast<std::size_t>(w) * h);
        gif.frames.push_back(frame);
        frame = {};
    }
    return gif;
}

int MaxError(const QImage& decoded, const Bytes& rgba)
{
    const QImage image = decoded.convertToFormat(QImage::Format_RGBA8888);
    int worst = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width() * 4; ++x)
            if (x % 4 != 3)
                worst = std::max(worst, std::abs(image.constScanLine(y)[x] -
                                                 rgba[static_cast<std::size_t>(y) * image.width() * 4 + x]));
    return worst;
}
} // namespace

TEST(GifWriter, ALightAnimationLoopsForeverAndDecodesToItsFrames)
{
    TempFolder folder;
    const std::string path = folder.File("Head_Preview.gif");
    const int size = 96;
    std::vector<Bytes> frames;
    {
        GifSaver saver(0, path, size, size);
        for (int i = 0; i < 30; ++i)
        {
            frames.push_back(LitBall(size, 2 * 3.1416 * i / 30));
            QImage frame(frames.back().data(), size, size, QImage::Format_RGBA8888);
            ASSERT_TRUE(saver.AddFrame(&frame));
        }
        ASSERT_TRUE(saver.SaveGif(nullptr));
        EXPECT_EQ(saver.GetFrameCount(), 30);
    }

    const Bytes file = ReadAll(path);
    // Header, logical screen and the two-entry global table, then the looping extension.
    const Bytes head = {'G', 'I', 'F', '8', '9', 'a', size, 0, size, 0, 0xf0, 0, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_GT(file.size(), head.size());
    EXPECT_TRUE(std::equal(head.begin(), head.end(), file.begin()));
    // NETSCAPE2.0 with a loop count of 0: loop forever.
    const Bytes loop = {0x21, 0xff, 11, 'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0', 3, 1, 0, 0, 0};
    ASSERT_GT(file.size(), head.size() + loop.size());
    EXPECT_TRUE(std::equal(loop.begin(), loop.end(), file.begin() + static_cast<long>(head.size())));
    // The first frame: graphic control extension (keep the frame, index 0 transparent, 5 hundredths),
    // then an image descriptor for the whole screen with a local table of 256 entries.
    const Bytes frameHead = {0x21, 0xf9, 4, 0x05, 5, 0, 0, 0, 0x2c, 0, 0, 0, 0, size, 0, size, 0, 0x87};
    EXPECT_TRUE(std::equal(frameHead.begin(), frameHead.end(),
                           file.begin() + static_cast<long>(head.size() + loop.size())));
    EXPECT_EQ(file.back(), 0x3b);
    const ParsedGif gif = Parse(file);
    EXPECT_TRUE(gif.loops);
    EXPECT_EQ(gif.loopCount, 0);
    EXPECT_TRUE(gif.trailer);
    ASSERT_EQ(gif.frames.size(), 30u);
    for (const ParsedGif::Frame& frame : gif.frames)
    {
        EXPECT_EQ(frame.delay, 5);
        EXPECT_EQ(frame.transparent, 0);
        EXPECT_EQ(frame.disposal, 1);
        ASSERT_EQ(frame.palette.size(), 768u);
        EXPECT_EQ(frame.palette[0] + frame.palette[1] + frame.palette[2], 0);
    }

    // Qt's reader composes the delta frames back into what was drawn, within the palette's error.
    QImageReader reader(QString::fromStdString(path));
    ASSERT_TRUE(reader.canRead());
    for (int i = 0; i < 30; ++i)
    {
        const QImage decoded = reader.read();
        ASSERT_FALSE(decoded.isNull()) << "frame " << i << ": " << reader.errorString().toStdString();
        EXPECT_LE(MaxError(decoded, frames[static_cast<std::size_t>(i)]), 24) << "frame " << i;
    }
}

TEST(GifWriter, UnchangedPixelsAreTransparentAndTheCodeTableResetsCleanly)
{
    TempFolder folder;
    const std::string path = folder.File("noise.gif");
    const std::uint32_t size = 200;
    // Noise gives the LZW table no runs to reuse, so its 4096 codes fill up and reset several times.
    std::mt19937 random(7);
    Bytes noise(size * size * 4);
    for (std::uint8_t& b : noise)
        b = static_cast<std::uint8_t>(random());
    GifWriter writer;
    ASSERT_TRUE(GifBegin(&writer, path.c_str(), size, size, 0));
    ASSERT_TRUE(GifWriteFrame(&writer, noise.data(), size, size, 7));
    Bytes written(size * size);
    for (std::size_t i = 0; i < written.size(); ++i)
        written[i] = writer.oldImage[4 * i + 3];
    // A frame the same as what is already shown (the first frame as its palette drew it) costs nothing.
    const Bytes shown = writer.oldImage;
    ASSERT_TRUE(GifWriteFrame(&writer, shown.data(), size, size, 7));
    ASSERT_TRUE(GifEnd(&writer));

    const ParsedGif gif = Parse(ReadAll(path));
    EXPECT_FALSE(gif.loops); // no delay at the start: no looping extension
    ASSERT_EQ(gif.frames.size(), 2u);
    EXPECT_EQ(gif.frames[0].indices, written);
    EXPECT_EQ(gif.frames[1].indices, Bytes(size * size, 0));
    // Qt's reader, which knows nothing of our table, agrees colour for colour across the resets.
    const QImage decoded(QString::fromStdString(path));
    ASSERT_FALSE(decoded.isNull());
    EXPECT_EQ(MaxError(decoded, shown), 0);
}

TEST(GifWriter, AFailedRecordingLeavesTheExistingFileAlone)
{
    TempFolder folder;
    const std::string path = folder.File("Head_Preview.gif");
    {
        QFile old(QString::fromStdString(path));
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("old animation");
    }
    const Bytes frame = LitBall(16, 0);
    {
        // Abandoned before SaveGif: nothing replaces the file.
        GifSaver saver(0, path, 16, 16);
        QImage image(frame.data(), 16, 16, QImage::Format_RGBA8888);
        EXPECT_TRUE(saver.AddFrame(&image));
        QImage wrongSize(8, 8, QImage::Format_RGB32);
        EXPECT_FALSE(saver.AddFrame(&wrongSize));
    }
    EXPECT_EQ(ReadAll(path), Bytes({'o', 'l', 'd', ' ', 'a', 'n', 'i', 'm', 'a', 't', 'i', 'o', 'n'}));
    EXPECT_EQ(QDir(QString::fromStdString(folder.File(""))).entryList(QDir::Files),
              QStringList{QStringLiteral("Head_Preview.gif")}); // and no temporary file is left behind

    // A folder that does not exist: the saver refuses its frames and the log says which file and why.
    GifSaver nowhere(0, folder.File("missing/folder/x.gif"), 16, 16);
    QImage image(frame.data(), 16, 16, QImage::Format_RGBA8888);
    EXPECT_FALSE(nowhere.AddFrame(&image));
    EXPECT_EQ(nowhere.GetFrameCount(), 0);
    struct Lines : LogWindow
    {
        void AppendLine(const std::string& text) override { lines.push_back(text); }
        std::vector<std::string> lines;
    } window;
    LogOutput log(&window);
    EXPECT_FALSE(nowhere.SaveGif(&log));
    ASSERT_EQ(window.lines.size(), 1u);
    EXPECT_NE(window.lines[0].find("missing/folder/x.gif"), std::string::npos) << window.lines[0];
    EXPECT_GT(window.lines[0].size(), window.lines[0].find("\": ") + 3) << "no reason: " << window.lines[0];
    EXPECT_FALSE(QFile::exists(QString::fromStdString(folder.File("missing/folder/x.gif"))));
}

TEST(GifWriter, DitheringStaysCloseAndImagesAddLikeTheirBytes)
{
    TempFolder folder;
    const int size = 64;
    const Bytes frame = LitBall(size, 1.0);
    GifWriter writer;
    ASSERT_TRUE(GifBegin(&writer, folder.File("dither.gif").c_str(), size, size, 5, 8, true));
    ASSERT_TRUE(GifWriteFrame(&writer, frame.data(), size, size, 5, 8, true));
    ASSERT_TRUE(GifEnd(&writer));
    const QImage decoded(QString::fromStdString(folder.File("dither.gif")));
    ASSERT_FALSE(decoded.isNull());
    EXPECT_LE(MaxError(decoded, frame), 40);

    // An Image frame records the same colours as the QImage of its bytes.
    auto image = MakeImage(size, size, [&](int x, int y) {
        const std::uint8_t* p = frame.data() + 4 * (static_cast<std::size_t>(y) * size + x);
        return Colour(p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f, 1.0f);
    });
    GifSaver saver(0, folder.File("image.gif"), size, size);
    ASSERT_TRUE(saver.AddFrame(image.get()));
    ASSERT_TRUE(saver.SaveGif(nullptr));
    EXPECT_LE(MaxError(QImage(QString::fromStdString(folder.File("image.gif"))), frame), 24);
}
