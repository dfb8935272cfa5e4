#include "spine/runtime/SpineAtlas.h"

#include <QList>
#include <QString>

namespace {
// Integer values of a property; anything unreadable becomes 0 so a damaged line cannot derail the rest.
std::vector<int> Integers(const QStringList& values)
{
    std::vector<int> numbers;
    for (const QString& value : values)
    {
        bool ok = false;
        const int number = value.toInt(&ok);
        numbers.push_back(ok ? number : 0);
    }
    return numbers;
}

int Degrees(const QString& value)
{
    if (value.compare(QStringLiteral("true"), Qt::CaseInsensitive) == 0)
        return 90;
    bool ok = false;
    const int degrees = value.toInt(&ok);
    if (!ok)
        return 0;
    const int wrapped = ((degrees % 360) + 360) % 360;
    // Packers only rotate by quarter turns; anything else is treated as unrotated.
    return wrapped % 90 == 0 ? wrapped : 0;
}

// Pixel values are kept to a range where sums of a few of them stay far from overflow.
int Sane(int value)
{
    return value < -1000000 ? -1000000 : (value > 1000000 ? 1000000 : value);
}
} // namespace

std::unique_ptr<SpineAtlas> SpineAtlas::Load(const std::string& path, SpinePageLoader* loader,
                                             const SpineFileReader& reader, std::string& error)
{
    QByteArray text;
    if (!(reader ? reader : ReadSpineFileFromDisk)(path, text))
    {
        error = "Could not read the atlas " + path;
        return nullptr;
    }
    auto atlas = Parse(text, error);
    if (!atlas)
    {
        error += " (" + path + ")";
        return nullptr;
    }
    const std::size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    if (loader)
    {
        for (SpineAtlasPage& page : atlas->pages)
            loader->LoadPage(page, folder + page.name);
    }
    return atlas;
}

std::unique_ptr<SpineAtlas> SpineAtlas::Parse(const QByteArray& text, std::string& error)
{
    auto atlas = std::make_unique<SpineAtlas>();
    bool inPage = false;
    bool hasOffsets = false;
    SpineAtlasRegion* region = nullptr;
    const auto finishRegion = [&]() {
        if (region && !hasOffsets)
        {
            region->originalWidth = region->width;
            region->originalHeight = region->height;
        }
        region = nullptr;
        hasOffsets = false;
    };
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray& rawLine : lines)
    {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty())
        {
            finishRegion();
            inPage = false;
            continue;
        }
        const qsizetype colon = line.indexOf(QLatin1Char(':'));
        if (colon < 0)
        {
            finishRegion();
            if (!inPage)
            {
                atlas->pages.push_back({});
                atlas->pages.back().name = line.toStdString();
                // 3.x atlases have no pma flag; exporters mark premultiplied pages in the file name.
                atlas->pages.back().premultipliedAlpha = line.contains(QStringLiteral("-pma."));
                inPage = true;
            }
            else
            {
                atlas->regions.push_back({});
                region = &atlas->regions.back();
                region->name = line.toStdString();
                region->page = static_cast<int>(atlas->pages.size()) - 1;
            }
            continue;
        }
        if (!inPage)
            continue; // header lines before the first page
        const QString key = line.left(colon).trimmed();
        QStringList values = line.mid(colon + 1).split(QLatin1Char(','));
        for (QString& value : values)
            value = value.trimmed();
        const std::vector<int> numbers = Integers(values);
        const auto number = [&](std::size_t i) { return i < numbers.size() ? Sane(numbers[i]) : 0; };
        if (!region)
        {
            SpineAtlasPage& page = atlas->pages.back();
            if (key == QStringLiteral("size"))
            {
                page.width = number(0);
                page.height = number(1);
            }
            else if (key == QStringLiteral("filter"))
            {
                page.minFilter = values.value(0).toStdString();
                page.magFilter = values.value(1, values.value(0)).toStdString();
            }
            else if (key == QStringLiteral("repeat"))
                page.repeat = values.value(0).toStdString();
            else if (key == QStringLiteral("pma"))
                page.premultipliedAlpha = values.value(0) == QStringLiteral("true");
            continue;
        }
        if (key == QStringLiteral("xy"))
        {
            region->x = number(0);
            region->y = number(1);
        }
        else if (key == QStringLiteral("size"))
        {
            region->width = number(0);
            region->height = number(1);
        }
        else if (key == QStringLiteral("bounds"))
        {
            region->x = number(0);
            region->y = number(1);
            region->width = number(2);
            region->height = number(3);
        }
        else if (key == QStringLiteral("offset"))
        {
            region->offsetX = number(0);
            region->offsetY = number(1);
        }
        else if (key == QStringLiteral("orig"))
        {
            region->originalWidth = number(0);
            region->originalHeight = number(1);
            hasOffsets = true;
        }
        else if (key == QStringLiteral("offsets"))
        {
            region->offsetX = number(0);
            region->offsetY = number(1);
            region->originalWidth = number(2);
            region->originalHeight = number(3);
            hasOffsets = true;
        }
        else if (key == QStringLiteral("rotate"))
            region->degrees = Degrees(values.value(0));
        else if (key == QStringLiteral("index"))
            region->index = number(0);
        else
            region->values[key.toStdString()] = numbers;
    }
    finishRegion();
    if (atlas->pages.empty())
    {
        error = "The atlas holds no page";
        return nullptr;
    }
    return atlas;
}

const SpineAtlasRegion* SpineAtlas::FindRegion(const std::string& name) const
{
    for (const SpineAtlasRegion& region : regions)
    {
        if (region.name == name)
            return &region;
    }
    return nullptr;
}

void SpineAtlas::MapToPage(const SpineAtlasRegion& region, float imageX, float imageY, float& u,
                           float& v) const
{
    const SpineAtlasPage& page = pages[static_cast<std::size_t>(region.page)];
    const float w = static_cast<float>(region.width);
    const float h = static_cast<float>(region.height);
    // Position inside the packed (stripped) image, from its top-left corner.
    const float px = imageX - static_cast<float>(region.offsetX);
    const float py = imageY - static_cast<float>(region.originalHeight - region.offsetY - region.height);
    float fx = px;
    float fy = py;
    // A rotated region is stored turned counter-clockwise by its angle.
    switch (region.degrees)
    {
    case 90:
        fx = py;
        fy = w - px;
        break;
    case 180:
        fx = w - px;
        fy = h - py;
        break;
    case 270:
        fx = h - py;
        fy = px;
        break;
    default:
        break;
    }
    const float pageWidth = page.width > 0 ? static_cast<float>(page.width) : 1.0f;
    const float pageHeight = page.height > 0 ? static_cast<float>(page.height) : 1.0f;
    u = (static_cast<float>(region.x) + fx) / pageWidth;
    v = (static_cast<float>(region.y) + fy) / pageHeight;
}
