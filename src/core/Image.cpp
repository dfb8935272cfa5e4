#include "core/Image.h"

#include "core/NumericHelpers.h"
#include "core/PngReader.h"
#include "core/PngWriter.h"
#include "core/ZeroedMemory.h"

#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QSaveFile>

#include <atomic>
#include <climits>
#include <cstdlib>

namespace {
// Each image starts its revisions in a block of its own, so a texture cache keyed on revisions never
// mistakes a new image for an old one at the same address.
std::uint64_t NewRevisionBlock()
{
    static std::atomic<std::uint64_t> blocks{0};
    return (blocks.fetch_add(1, std::memory_order_relaxed) + 1) << 32;
}

// A plane of zero bytes. The memory comes zeroed from the system and is cleared page by page as the
// generators first write it, on all their threads, instead of by one thread up front.
QImage* NewPlane(int width, int height, QImage::Format format, int bytesPerPixel)
{
    if (width <= 0 || height <= 0 || width > (INT_MAX - 3) / bytesPerPixel)
        return new QImage();
    const qsizetype bytesPerLine = (static_cast<qsizetype>(width) * bytesPerPixel + 3) / 4 * 4;
    struct Block
    {
        void* data;
        std::size_t bytes;
    };
    auto* block =
        new Block{nullptr, static_cast<std::size_t>(height) * static_cast<std::size_t>(bytesPerLine)};
    block->data = AllocateZeroed(block->bytes);
    if (block->data == nullptr)
    {
        delete block;
        return new QImage();
    }
    const auto release = [](void* info) {
        auto* owned = static_cast<Block*>(info);
        FreeZeroed(owned->data, owned->bytes);
        delete owned;
    };
    return new QImage(static_cast<uchar*>(block->data), width, height, bytesPerLine, format, release, block);
}

QImage* NewColourPlane(int width, int height)
{
    return NewPlane(width, height, QImage::Format_RGB888, 3);
}

QImage* NewAlphaPlane(int width, int height)
{
    return NewPlane(width, height, QImage::Format_Grayscale8, 1);
}

bool FormatKeepsAlpha(const QByteArray& format)
{
    return format == "png" || format == "tif" || format == "tiff" || format == "webp";
}
} // namespace

Image::Image(int width, int height)
    : colour(NewColourPlane(width, height)), alpha(NewAlphaPlane(width, height))
{
    revision = NewRevisionBlock();
    if (colour->isNull() || alpha->isNull())
        DestroyPlanes();
}

Image::Image(std::string filename)
{
    revision = NewRevisionBlock();
    // PNG files in the usual layouts go straight into the planes; every other file, and any PNG the
    // fast reader is not sure of, takes the general path below, which the fast one matches byte for byte.
    const PngReadResult fast = ReadPng(
        filename, [this](int width, int height, PlaneView<std::uint8_t>& rgb, PlaneView<std::uint8_t>& a) {
            colour = NewColourPlane(width, height);
            alpha = NewAlphaPlane(width, height);
            if (colour->isNull() || alpha->isNull())
                return false;
            rgb = ColourView();
            a = AlphaView();
            return true;
        });
    if (fast == PngReadResult::Decoded)
        return;
    DestroyPlanes();
    const QImage loaded(QString::fromUtf8(filename.c_str()));
    if (loaded.isNull())
        return;
    // Every plane is kept in one layout so bulk loops can read rows directly; the alpha of the file
    // moves to its own plane, and the colour under zero alpha is kept as the file holds it.
    const QImage argb = loaded.convertToFormat(QImage::Format_ARGB32);
    if (argb.isNull())
        return;
    const int width = argb.width();
    const int height = argb.height();
    colour = NewColourPlane(width, height);
    alpha = NewAlphaPlane(width, height);
    if (colour->isNull() || alpha->isNull())
    {
        DestroyPlanes();
        return;
    }
    for (int y = 0; y < height; ++y)
    {
        const auto* src = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        std::uint8_t* rgb = colour->scanLine(y);
        std::uint8_t* a = alpha->scanLine(y);
        for (int x = 0; x < width; ++x)
        {
            rgb[3 * x] = static_cast<std::uint8_t>(qRed(src[x]));
            rgb[3 * x + 1] = static_cast<std::uint8_t>(qGreen(src[x]));
            rgb[3 * x + 2] = static_cast<std::uint8_t>(qBlue(src[x]));
            a[x] = static_cast<std::uint8_t>(qAlpha(src[x]));
        }
    }
}

Image::Image(QImage* source)
{
    revision = NewRevisionBlock();
    if (source == nullptr || source->isNull())
        return;
    colour = new QImage(source->convertToFormat(QImage::Format_RGB888));
    alpha = NewAlphaPlane(source->width(), source->height());
    if (colour->isNull() || alpha->isNull())
        DestroyPlanes();
}

Image::Image(const Image& other) : wrapX(other.wrapX), wrapY(other.wrapY)
{
    revision = NewRevisionBlock();
    if (other.HasPlanes())
    {
        colour = new QImage(other.colour->copy());
        alpha = new QImage(other.alpha->copy());
    }
}

Image& Image::operator=(const Image& other)
{
    if (this == &other)
        return *this;
    wrapX = other.wrapX;
    wrapY = other.wrapY;
    if (!other.HasPlanes())
        return *this;
    DestroyPlanes();
    colour = new QImage(other.colour->copy());
    alpha = new QImage(other.alpha->copy());
    ++revision;
    return *this;
}

Image::~Image()
{
    DestroyPlanes();
}

void Image::DestroyPlanes()
{
    delete colour;
    delete alpha;
    colour = nullptr;
    alpha = nullptr;
}

int Image::GetWidth() const
{
    return colour ? colour->width() : 0;
}

int Image::GetHeight() const
{
    return colour ? colour->height() : 0;
}

int Image::MapX(int x) const
{
    const int width = colour->width();
    return wrapX ? Wrap(x, width) % width : Clamp(x, 0, width - 1);
}

int Image::MapY(int y) const
{
    const int height = colour->height();
    return wrapY ? Wrap(y, height) % height : Clamp(y, 0, height - 1);
}

void Image::SetPixel(int x, int y, Colour c)
{
    if (!colour)
        return;
    x = MapX(x);
    y = MapY(y);
    std::uint8_t* rgb = colour->scanLine(y) + 3 * x;
    rgb[0] = ChannelToByte(c.r);
    rgb[1] = ChannelToByte(c.g);
    rgb[2] = ChannelToByte(c.b);
    alpha->scanLine(y)[x] = ChannelToByte(c.a);
    MarkChanged();
}

Colour Image::GetPixel(int x, int y) const
{
    if (!colour)
        return {};
    x = MapX(x);
    y = MapY(y);
    const std::uint8_t* rgb = colour->constScanLine(y) + 3 * x;
    return {ByteToChannel(rgb[0]), ByteToChannel(rgb[1]), ByteToChannel(rgb[2]),
            ByteToChannel(alpha->constScanLine(y)[x])};
}

void Image::SetFiltering(bool value)
{
    if (filtering == value)
        return;
    filtering = value;
    textureDirty = true;
}

void Image::SetVerticalWrap(bool value)
{
    if (verticalWrap == value)
        return;
    verticalWrap = value;
    textureDirty = true;
}

void Image::MarkChanged()
{
    textureDirty = true;
    ++revision;
}

PlaneView<const std::uint8_t> Image::ColourView() const
{
    if (!colour)
        return {};
    return {colour->constBits(), static_cast<int>(colour->bytesPerLine()), colour->width(), colour->height()};
}

PlaneView<const std::uint8_t> Image::AlphaView() const
{
    if (!alpha)
        return {};
    return {alpha->constBits(), static_cast<int>(alpha->bytesPerLine()), alpha->width(), alpha->height()};
}

PlaneView<std::uint8_t> Image::ColourView()
{
    if (!colour)
        return {};
    return {colour->bits(), static_cast<int>(colour->bytesPerLine()), colour->width(), colour->height()};
}

PlaneView<std::uint8_t> Image::AlphaView()
{
    if (!alpha)
        return {};
    return {alpha->bits(), static_cast<int>(alpha->bytesPerLine()), alpha->width(), alpha->height()};
}

bool Image::SaveToDisk(std::string filename, std::string* errorText, bool keepAlpha) const
{
    const auto fail = [errorText](const QString& reason) {
        if (errorText)
            *errorText = reason.toStdString();
        return false;
    };
    if (!colour)
        return fail(QStringLiteral("the image has no pixels"));

    const QString path = QString::fromUtf8(filename.c_str());
    const QByteArray format = QFileInfo(path).suffix().toLower().toLatin1();
    if (!QImageWriter::supportedImageFormats().contains(format))
        return fail(QStringLiteral("unsupported image format \"%1\"").arg(QString::fromLatin1(format)));

    // Fully opaque images are written without alpha. Otherwise the colour is stored exactly as the
    // colour plane holds it, even where alpha is 0: a normal-depth map keeps its normals under zero
    // depth. (QImage::setAlphaChannel would premultiply and erase them.)
    // Each row is reduced with AND rather than searched, so the scan runs many bytes at a time.
    bool opaque = !keepAlpha;
    const PlaneView<const std::uint8_t> a = AlphaView();
    for (int y = 0; y < a.height && opaque; ++y)
    {
        const std::uint8_t* row = a.Row(y);
        std::uint8_t all = 255;
        for (int x = 0; x < a.width; ++x)
            all &= row[x];
        opaque = all == 255;
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());
    if (format == "png")
    {
        const std::vector<char> png = EncodePng(ColourView(), opaque ? PlaneView<const std::uint8_t>() : a);
        if (png.empty() ||
            file.write(png.data(), static_cast<qint64>(png.size())) != static_cast<qint64>(png.size()))
        {
            // Read before cancelling: afterwards the file only says "Writing canceled by application"
            // instead of the system's reason, such as a full disk.
            const QString reason =
                png.empty() ? QStringLiteral("the image could not be compressed") : file.errorString();
            file.cancelWriting();
            return fail(reason);
        }
    }
    else
    {
        QImage out;
        if (opaque || !FormatKeepsAlpha(format))
            out = *colour;
        else
        {
            out = QImage(colour->width(), colour->height(), QImage::Format_ARGB32);
            if (out.isNull())
                return fail(QStringLiteral("out of memory"));
            const PlaneView<const std::uint8_t> c = ColourView();
            for (int y = 0; y < c.height; ++y)
            {
                const std::uint8_t* rgb = c.Row(y);
                const std::uint8_t* alphaRow = a.Row(y);
                auto* dst = reinterpret_cast<QRgb*>(out.scanLine(y));
                for (int x = 0; x < c.width; ++x)
                    dst[x] = qRgba(rgb[3 * x], rgb[3 * x + 1], rgb[3 * x + 2], alphaRow[x]);
            }
        }
        QImageWriter writer(&file, format);
        if (!writer.write(out))
        {
            const QString reason =
                file.error() != QFileDevice::NoError ? file.errorString() : writer.errorString();
            file.cancelWriting();
            return fail(reason);
        }
    }
    if (!file.commit())
        return fail(file.errorString());
    return true;
}
