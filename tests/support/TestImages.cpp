#include "support/TestImages.h"

#include "core/Image.h"

#include <QDir>
#include <QTemporaryDir>

std::unique_ptr<Image> MakeImage(int width, int height, const std::function<Colour(int x, int y)>& pixel)
{
    auto image = std::make_unique<Image>(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image->SetPixel(x, y, pixel(x, y));
    return image;
}

std::unique_ptr<Image> MakeGrey(int width, int height, const std::function<float(int x, int y)>& value)
{
    return MakeImage(width, height, [&](int x, int y) {
        const float v = value(x, y);
        return Colour(v, v, v, 1.0f);
    });
}

TempFolder::TempFolder()
{
    QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/brondel-test-XXXXXX"));
    dir.setAutoRemove(false);
    path = dir.path().toStdString();
}

TempFolder::~TempFolder()
{
    QDir(QString::fromStdString(path)).removeRecursively();
}

std::string TempFolder::File(const std::string& name) const
{
    return path + "/" + name;
}

bool SameBytes(const Image& a, const Image& b)
{
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight())
        return false;
    const auto ca = a.ColourView();
    const auto cb = b.ColourView();
    const auto aa = a.AlphaView();
    const auto ab = b.AlphaView();
    for (int y = 0; y < a.GetHeight(); ++y)
        for (int x = 0; x < a.GetWidth(); ++x)
        {
            for (int k = 0; k < 3; ++k)
                if (ca.Row(y)[3 * x + k] != cb.Row(y)[3 * x + k])
                    return false;
            if (aa.Row(y)[x] != ab.Row(y)[x])
                return false;
        }
    return true;
}
