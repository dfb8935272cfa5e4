#include "EndToEndReport.h"

#include <QImage>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>

std::optional<double> Median(std::vector<double> values)
{
    if (values.empty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    if (values.size() % 2 == 1)
        return values[middle];
    return (values[middle - 1] + values[middle]) / 2.0;
}

PixelComparison ComparePixels(const QString& a, const QString& b)
{
    PixelComparison result;
    const QImage first = QImage(a).convertToFormat(QImage::Format_ARGB32);
    const QImage second = QImage(b).convertToFormat(QImage::Format_ARGB32);
    if (first.isNull() || second.isNull())
    {
        result.reason = "cannot read " + (first.isNull() ? a : b).toStdString();
        return result;
    }
    if (first.size() != second.size())
    {
        std::ostringstream text;
        text << first.width() << "x" << first.height() << " against " << second.width() << "x"
             << second.height();
        result.reason = text.str();
        return result;
    }
    // Row by row: a line may be padded past its last pixel, and the padding is no one's business.
    const std::size_t rowBytes = static_cast<std::size_t>(first.width()) * 4;
    long long differing = 0;
    int firstX = -1, firstY = -1;
    for (int y = 0; y < first.height(); ++y)
    {
        const uchar* p = first.constScanLine(y);
        const uchar* q = second.constScanLine(y);
        if (std::memcmp(p, q, rowBytes) == 0)
            continue;
        for (int x = 0; x < first.width(); ++x)
            if (std::memcmp(p + 4 * x, q + 4 * x, 4) != 0)
            {
                if (differing == 0)
                {
                    firstX = x;
                    firstY = y;
                }
                ++differing;
            }
    }
    if (differing == 0)
    {
        result.identical = true;
        return result;
    }
    std::ostringstream text;
    text << differing << " pixels differ, the first at (" << firstX << ", " << firstY << "): #" << std::hex
         << first.pixel(firstX, firstY) << " against #" << second.pixel(firstX, firstY);
    result.reason = text.str();
    return result;
}

std::optional<double> SpeedUp(const Row& row)
{
    if (!row.beforeSeconds || !row.afterSeconds || *row.afterSeconds <= 0.0)
        return std::nullopt;
    return *row.beforeSeconds / *row.afterSeconds;
}

std::string Verdict(const Row& row)
{
    const std::optional<double> speedUp = SpeedUp(row);
    const bool peakMissed =
        row.maxAfterPeakMiB && row.afterPeakMiB && *row.afterPeakMiB > *row.maxAfterPeakMiB;
    if (row.anyRunFailed || row.pixelsIdentical == false || peakMissed ||
        (speedUp && *speedUp < row.minSpeedUp))
        return "MISS";
    // A run that never happened proves nothing either way.
    if (!speedUp || !row.pixelsIdentical || (row.maxAfterPeakMiB && !row.afterPeakMiB))
        return "n/a";
    return "PASS";
}

namespace {
std::string Fixed(std::optional<double> value, int decimals, const char* suffix = "")
{
    if (!value)
        return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f%s", decimals, *value, suffix);
    return text;
}

std::string Target(const Row& row)
{
    std::string text = ">= " + Fixed(row.minSpeedUp, 1, "x");
    if (row.maxAfterPeakMiB)
        text += ", <= " + Fixed(row.maxAfterPeakMiB, 1, " MiB");
    return text;
}

void Line(std::ostringstream& out, const std::vector<std::string>& cells)
{
    // The scenario reads best flush left, the figures flush right.
    static const int widths[] = {-31, 9, 9, 8, 23, 10, 10, 8, 7};
    for (std::size_t i = 0; i < cells.size(); ++i)
    {
        char cell[128];
        std::snprintf(cell, sizeof cell, "%*s", widths[i], cells[i].c_str());
        out << (i == 0 ? "" : " ") << cell;
    }
    out << "\n";
}
} // namespace

std::string FormatTable(const std::vector<Row>& rows)
{
    std::ostringstream out;
    Line(out, {"Scenario", "base s", "new s", "ratio", "target", "base MiB", "new MiB", "pixels", "result"});
    for (const Row& row : rows)
    {
        const char* pixels = !row.pixelsIdentical ? "-" : *row.pixelsIdentical ? "yes" : "NO";
        Line(out, {row.scenario, Fixed(row.beforeSeconds, 2), Fixed(row.afterSeconds, 2),
                   Fixed(SpeedUp(row), 2, "x"), Target(row), Fixed(row.beforePeakMiB, 1),
                   Fixed(row.afterPeakMiB, 1), pixels, Verdict(row)});
    }
    return out.str();
}
