#pragma once
// The arithmetic and the verdicts behind the end-to-end table, apart from the process handling so
// they can be checked without running anything.

#include <optional>
#include <string>
#include <vector>

class QString;

// The middle value; the mean of the middle two for an even count; nullopt for none.
std::optional<double> Median(std::vector<double> values);

// Whether two image files hold the same pixels once decoded, whatever their encoding: each is read and
// converted to 8-bit ARGB before the bytes are compared. reason says how they differ (or why one
// could not be read) and is empty when they match.
struct PixelComparison
{
    bool identical = false;
    std::string reason;
};
PixelComparison ComparePixels(const QString& a, const QString& b);

// One line of the table. "before" is the build or setting being beaten (the baseline build, or one
// worker thread), "after" the one that should win; speed-up is before / after.
struct Row
{
    std::string scenario;
    std::optional<double> beforeSeconds, afterSeconds; // medians of the runs that succeeded
    std::optional<double> beforePeakMiB, afterPeakMiB; // the highest over those runs
    double minSpeedUp = 1.0;
    std::optional<double> maxAfterPeakMiB;
    std::optional<bool> pixelsIdentical; // nullopt when nothing was compared
    bool anyRunFailed = false;
};

std::optional<double> SpeedUp(const Row& row);

// "PASS" when every run succeeded, the pixels match and each target is met; "MISS" when a target is
// missed or a run failed or the pixels differ; "n/a" when there is nothing to compare against.
std::string Verdict(const Row& row);

std::string FormatTable(const std::vector<Row>& rows);
