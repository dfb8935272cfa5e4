#include "reference/ReferenceImageLoad.h"

#include "core/Image.h"

#include <QImage>

std::unique_ptr<Image> ReferenceLoadImage(const std::string& path)
{
    const QImage loaded(QString::fromUtf8(path.c_str()));
    if (loaded.isNull())
        return nullptr;
    const QImage argb = loaded.convertToFormat(QImage::Format_ARGB32);
    if (argb.isNull())
        return nullptr;
    auto image = std::make_unique<Image>(argb.width(), argb.height());
    if (!image->HasPlanes())
        return nullptr;
    const PlaneView<std::uint8_t> colour = image->ColourView();
    const PlaneView<std::uint8_t> alpha = image->AlphaView();
    for (int y = 0; y < argb.height(); ++y)
    {
        const auto* src = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x)
        {
            colour.Row(y)[3 * x] = static_cast<std::uint8_t>(qRed(src[x]));
            colour.Row(y)[3 * x + 1] = static_cast<std::uint8_t>(qGreen(src[x]));
            colour.Row(y)[3 * x + 2] = static_cast<std::uint8_t>(qBlue(src[x]));
            alpha.Row(y)[x] = static_cast<std::uint8_t>(qAlpha(src[x]));
        }
    }
    return image;
}
