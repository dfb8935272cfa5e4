#include "support/TestImages.h"

#include "core/Image.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstring>

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

std::unique_ptr<Image> MakeFlat(int width, int height, float value)
{
    return MakeGrey(width, height, [value](int, int) { return value; });
}

std::string RowText(const Image& image, int y)
{
    std::string text;
    for (int x = 0; x < image.GetWidth(); ++x)
        text += image.GetPixel(x, y).GetAsString();
    return text;
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

bool FileExists(const std::string& path)
{
    return QFileInfo::exists(QString::fromStdString(path));
}

void WriteProfiles(const std::string& base, int size)
{
    for (const char* suffix : {"_Left", "_Right", "_Top", "_Bottom"})
        MakeGrey(size, size, [suffix](int x, int y) {
            return static_cast<float>((x + 3 * y + suffix[1]) % 8) / 7.0f;
        })->SaveToDisk(base + suffix + ".png");
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
        if (std::memcmp(ca.Row(y), cb.Row(y), 3 * static_cast<std::size_t>(a.GetWidth())) != 0 ||
            std::memcmp(aa.Row(y), ab.Row(y), static_cast<std::size_t>(a.GetWidth())) != 0)
            return false;
    return true;
}
