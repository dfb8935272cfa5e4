#include "core/PngWriter.h"
#include "core/Parallel.h"
#include "support/TestImages.h"

#include <QImage>
#include <gtest/gtest.h>

// Pixels that exercise every row filter: gradients, noise-like patterns and flat runs.
static Colour Pattern(int x, int y)
{
    return Colour(((x * 7 + y * 3) % 256) / 255.0f, ((x * y) % 251) / 255.0f, (y % 2 ? 0.2f : 0.9f),
                  ((x + y) % 5) / 4.0f);
}

TEST(PngWriter, QtReadsBackEveryPixelWhateverTheThreadCount)
{
    // 601 x 900 RGB rows split into several compressed pieces; 3 x 1 is a single tiny piece.
    for (const auto& [w, h] : {std::pair{601, 900}, std::pair{3, 1}})
    {
        const std::unique_ptr<const Image> image = MakeImage(w, h, Pattern);
        std::vector<char> encoded[2];
        for (const bool withAlpha : {false, true})
        {
            for (const int threads : {1, 2})
            {
                SetWorkerThreadCount(threads);
                encoded[threads - 1] = EncodePng(
                    image->ColourView(), withAlpha ? image->AlphaView() : PlaneView<const std::uint8_t>());
            }
            SetWorkerThreadCount(0);
            ASSERT_FALSE(encoded[0].empty());
            EXPECT_EQ(encoded[0], encoded[1]) << "bytes depend on the thread count";

            const QImage read = QImage::fromData(reinterpret_cast<const uchar*>(encoded[0].data()),
                                                 static_cast<int>(encoded[0].size()), "PNG");
            ASSERT_FALSE(read.isNull()) << w << "x" << h;
            ASSERT_EQ(read.hasAlphaChannel(), withAlpha);
            const QImage argb = read.convertToFormat(QImage::Format_ARGB32);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                {
                    const Colour c = image->GetPixel(x, y);
                    const QRgb p = argb.pixel(x, y);
                    ASSERT_EQ(qRed(p), Image::ChannelToByte(c.r)) << x << "," << y;
                    ASSERT_EQ(qGreen(p), Image::ChannelToByte(c.g));
                    ASSERT_EQ(qBlue(p), Image::ChannelToByte(c.b));
                    ASSERT_EQ(qAlpha(p), withAlpha ? Image::ChannelToByte(c.a) : 255);
                }
        }
    }
}
