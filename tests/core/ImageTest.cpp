#include "core/Image.h"
#include "core/ResourceFolder.h"
#include "support/TestImages.h"

#include <QFile>
#include <QImage>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {
std::uint32_t Crc32(const char* data, int size)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (int i = 0; i < size; ++i)
    {
        crc ^= static_cast<unsigned char>(data[i]);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}
} // namespace

TEST(Image, PixelsClampOrWrapAtTheBorders)
{
    auto image = MakeImage(8, 4, [](int x, int y) { return Colour(x / 255.0f, y / 255.0f, 0.0f, 1.0f); });
    EXPECT_FLOAT_EQ(image->GetPixel(-5, 3).r, 0.0f);
    EXPECT_FLOAT_EQ(image->GetPixel(100, -2).r, 7 / 255.0f);
    EXPECT_FLOAT_EQ(image->GetPixel(100, -2).g, 0.0f);
    image->wrapX = true;
    image->wrapY = true;
    EXPECT_FLOAT_EQ(image->GetPixel(-5, 3).r, 3 / 255.0f);
    EXPECT_FLOAT_EQ(image->GetPixel(9, -1).g, 3 / 255.0f);
    EXPECT_FLOAT_EQ(image->GetPixel(9, -1).r, 1 / 255.0f);

    // Writes go through the same mapping.
    image->SetPixel(-1, 0, Colour(1, 1, 1, 1));
    EXPECT_FLOAT_EQ(image->GetPixel(7, 0).b, 1.0f);
}

TEST(Image, ChannelWritesTruncateAndSaturate)
{
    Image image(2, 1);
    const std::uint64_t before = image.GetRevision();
    image.SetPixel(0, 0, Colour(0.5f, 0.3f, 1.2f, 0.3f));
    EXPECT_NE(image.GetRevision(), before);
    EXPECT_TRUE(image.IsTextureDirty());
    Colour c = image.GetPixel(0, 0);
    EXPECT_FLOAT_EQ(c.r, 127 / 255.0f);
    EXPECT_FLOAT_EQ(c.g, 76 / 255.0f);
    EXPECT_FLOAT_EQ(c.b, 1.0f);
    EXPECT_FLOAT_EQ(c.a, 76 / 255.0f);

    image.SetPixel(1, 0, Colour(-5.0f, NAN, 300.0f, INFINITY));
    c = image.GetPixel(1, 0);
    EXPECT_FLOAT_EQ(c.r, 0.0f);
    EXPECT_FLOAT_EQ(c.g, 0.0f);
    EXPECT_FLOAT_EQ(c.b, 1.0f);
    EXPECT_FLOAT_EQ(c.a, 1.0f);

    // Every byte survives a read and a write unchanged.
    for (int v = 0; v < 256; ++v)
        EXPECT_EQ(Image::ChannelToByte(Image::ByteToChannel(static_cast<std::uint8_t>(v))), v);
}

TEST(Image, CopiesAreDeepAndEmptyAssignmentKeepsPixels)
{
    auto original = MakeGrey(3, 3, [](int x, int) { return x * 0.25f; });
    original->wrapX = true;
    Image copy(*original);
    EXPECT_TRUE(copy.wrapX);
    EXPECT_TRUE(SameBytes(copy, *original));
    copy.SetPixel(0, 0, Colour(1, 1, 1, 1));
    EXPECT_FLOAT_EQ(original->GetPixel(0, 0).r, 0.0f);
    EXPECT_NE(copy.GetRevision(), original->GetRevision());

    Image missing(std::string("/no/such/file.png"));
    EXPECT_FALSE(missing.HasPlanes());
    EXPECT_EQ(missing.GetWidth(), 0);
    Image target(*original);
    target = missing;
    EXPECT_TRUE(target.HasPlanes());
    EXPECT_TRUE(SameBytes(target, *original));

    target = copy;
    EXPECT_FLOAT_EQ(target.GetPixel(0, 0).r, 1.0f);
}

TEST(Image, SavingKeepsColourUnderTransparentPixels)
{
    TempFolder folder;
    // A normal map whose depth alpha is 0 in places: the normals there must survive the file.
    auto normalDepth = MakeImage(
        4, 2, [](int x, int y) { return Colour(0.25f + x * 0.1f, 0.75f, 0.9f, y == 0 ? 0.0f : x * 0.3f); });
    std::string error;
    ASSERT_TRUE(normalDepth->SaveToDisk(folder.File("X_NormalDepth.png"), &error)) << error;
    Image back(folder.File("X_NormalDepth.png"));
    ASSERT_TRUE(back.HasPlanes());
    EXPECT_TRUE(SameBytes(back, *normalDepth));

    // Opaque images and formats without alpha store the colour plane as it is.
    auto opaque = MakeGrey(5, 3, [](int x, int y) { return (x + 5 * y) / 15.0f; });
    ASSERT_TRUE(opaque->SaveToDisk(folder.File("X_Depth.bmp"), &error)) << error;
    EXPECT_TRUE(SameBytes(Image(folder.File("X_Depth.bmp")), *opaque));

    EXPECT_FALSE(Image(std::string("/nothing")).SaveToDisk(folder.File("a.png")));
    EXPECT_FALSE(opaque->SaveToDisk(folder.File("no_such_folder/X.png"), &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(opaque->SaveToDisk(folder.File("X.unknownformat"), &error));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(folder.File("X.unknownformat"))));
}

TEST(Image, SavingDropsAlphaOnlyWhenEveryPixelIsOpaque)
{
    TempFolder folder;
    const auto colourType = [&](const std::string& name) {
        QFile file(QString::fromStdString(folder.File(name)));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return static_cast<int>(file.read(26).at(25)); // IHDR's colour type: 2 RGB, 6 RGBA
    };
    // Rows wider than a vector register, so a scan that looked at whole blocks only would miss the tail.
    const int width = 67;
    const int height = 5;
    const auto withAlphaAt = [&](int ax, int ay, float a) {
        return MakeImage(width, height, [=](int x, int y) {
            return Colour(x / 255.0f, y / 255.0f, 0.5f, x == ax && y == ay ? a : 1.0f);
        });
    };
    ASSERT_TRUE(withAlphaAt(-1, -1, 1.0f)->SaveToDisk(folder.File("opaque.png")));
    EXPECT_EQ(colourType("opaque.png"), 2);
    ASSERT_TRUE(withAlphaAt(-1, -1, 1.0f)->SaveToDisk(folder.File("kept.png"), nullptr, true));
    EXPECT_EQ(colourType("kept.png"), 6);
    for (const auto& [x, y] : {std::pair{width - 1, height - 1}, std::pair{0, 0}, std::pair{33, 2}})
    {
        const auto image = withAlphaAt(x, y, 254 / 255.0f);
        ASSERT_TRUE(image->SaveToDisk(folder.File("translucent.png")));
        EXPECT_EQ(colourType("translucent.png"), 6) << x << "," << y;
        EXPECT_TRUE(SameBytes(Image(folder.File("translucent.png")), *image));
    }
}

TEST(Image, BadFilesLoadAsMissing)
{
    ConfigureImageReading();
    TempFolder folder;
    const auto write = [&](const std::string& name, const std::string& bytes) {
        std::ofstream(folder.File(name), std::ios::binary) << bytes;
        return folder.File(name);
    };
    EXPECT_FALSE(Image(write("empty.png", "")).HasPlanes());
    EXPECT_FALSE(Image(write("text.png", "not an image at all")).HasPlanes());

    // A valid file cut short.
    auto picture = MakeGrey(64, 64, [](int x, int y) { return ((x * 7 + y * 13) % 17) / 17.0f; });
    ASSERT_TRUE(picture->SaveToDisk(folder.File("full.png")));
    QFile full(QString::fromStdString(folder.File("full.png")));
    ASSERT_TRUE(full.open(QIODevice::ReadOnly));
    const QByteArray bytes = full.readAll();
    EXPECT_FALSE(Image(write("cut.png", bytes.left(bytes.size() / 3).toStdString())).HasPlanes());

    // A header claiming 100000 x 100000 pixels is refused by the reader's allocation limit.
    QByteArray huge = bytes;
    const unsigned char size[4] = {0x00, 0x01, 0x86, 0xA0};
    huge.replace(16, 4, reinterpret_cast<const char*>(size), 4);
    huge.replace(20, 4, reinterpret_cast<const char*>(size), 4);
    const std::uint32_t crc = Crc32(huge.constData() + 12, 17); // chunk type and header fields
    const char crcBytes[4] = {static_cast<char>(crc >> 24), static_cast<char>(crc >> 16),
                              static_cast<char>(crc >> 8), static_cast<char>(crc)};
    huge.replace(29, 4, crcBytes, 4);
    EXPECT_FALSE(Image(write("huge.png", huge.toStdString())).HasPlanes());

    // Grey and palette files read as the colours they show.
    QImage indexed(2, 1, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(10, 20, 30), qRgba(200, 100, 50, 0)});
    indexed.setPixel(0, 0, 0);
    indexed.setPixel(1, 0, 1);
    ASSERT_TRUE(indexed.save(QString::fromStdString(folder.File("indexed.png"))));
    const Image loaded(folder.File("indexed.png"));
    EXPECT_EQ(loaded.GetPixel(0, 0).GetAsString(), "(10, 20, 30, 255)");
    EXPECT_EQ(loaded.GetPixel(1, 0).GetAsString(), "(200, 100, 50, 0)");
}
