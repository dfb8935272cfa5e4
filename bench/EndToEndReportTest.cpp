#include "EndToEndReport.h"

#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(EndToEndReport, MedianOfOddAndEvenCountsWhateverTheOrder)
{
    EXPECT_EQ(Median({7.0, 1.0, 3.0}), 3.0);
    EXPECT_EQ(Median({4.0, 1.0, 3.0, 2.0}), 2.5);
    EXPECT_EQ(Median({5.0}), 5.0);
    EXPECT_FALSE(Median({}).has_value());
}

// The new build may encode a map differently (another filter, alpha dropped when opaque); only the
// decoded pixels decide.
TEST(EndToEndReport, PixelsCompareDecodedNotAsFileBytes)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QImage rgba(5, 3, QImage::Format_RGBA8888);
    rgba.fill(QColor(10, 200, 30, 255));
    rgba.setPixelColor(1, 2, QColor(0, 0, 0, 255));
    const QString a = folder.filePath(QStringLiteral("a.png"));
    const QString b = folder.filePath(QStringLiteral("b.png"));
    ASSERT_TRUE(rgba.save(a));
    ASSERT_TRUE(rgba.convertToFormat(QImage::Format_RGB888).save(b, "PNG", 0));
    const PixelComparison same = ComparePixels(a, b);
    EXPECT_TRUE(same.identical) << same.reason;
    EXPECT_TRUE(same.reason.empty());

    QImage changed = rgba;
    changed.setPixelColor(4, 1, QColor(10, 200, 31, 255));
    changed.setPixelColor(2, 2, QColor(10, 200, 30, 254));
    const QString c = folder.filePath(QStringLiteral("c.png"));
    ASSERT_TRUE(changed.save(c));
    const PixelComparison differs = ComparePixels(a, c);
    EXPECT_FALSE(differs.identical);
    EXPECT_NE(differs.reason.find("2 pixels differ, the first at (4, 1)"), std::string::npos)
        << differs.reason;

    const QString small = folder.filePath(QStringLiteral("small.png"));
    ASSERT_TRUE(rgba.copy(0, 0, 5, 2).save(small));
    EXPECT_EQ(ComparePixels(a, small).reason, "5x3 against 5x2");

    const PixelComparison missing = ComparePixels(a, folder.filePath(QStringLiteral("none.png")));
    EXPECT_FALSE(missing.identical);
    EXPECT_NE(missing.reason.find("cannot read"), std::string::npos);
}

TEST(EndToEndReport, VerdictNeedsEveryTargetAndIdenticalPixels)
{
    Row row;
    row.scenario = "(a) 4096 all eight maps";
    row.beforeSeconds = 7.0;
    row.afterSeconds = 3.0;
    row.minSpeedUp = 2.0;
    row.beforePeakMiB = 1800.0;
    row.afterPeakMiB = 1100.0;
    row.maxAfterPeakMiB = 1228.8;
    row.pixelsIdentical = true;
    EXPECT_EQ(Verdict(row), "PASS");

    Row slow = row;
    slow.afterSeconds = 3.6;
    EXPECT_EQ(Verdict(slow), "MISS");

    Row heavy = row;
    heavy.afterPeakMiB = 1228.9;
    EXPECT_EQ(Verdict(heavy), "MISS");

    Row wrong = row;
    wrong.pixelsIdentical = false;
    EXPECT_EQ(Verdict(wrong), "MISS");

    // The runs that succeeded were fast, but a failure is never hidden behind them.
    Row failed = row;
    failed.anyRunFailed = true;
    EXPECT_EQ(Verdict(failed), "MISS");

    Row alone = row;
    alone.beforeSeconds.reset();
    alone.beforePeakMiB.reset();
    alone.pixelsIdentical.reset();
    EXPECT_EQ(Verdict(alone), "n/a");
    alone.afterPeakMiB = 1300.0;
    EXPECT_EQ(Verdict(alone), "MISS");
}

TEST(EndToEndReport, TableShowsFiguresAndMarksWhatIsUnknown)
{
    Row measured;
    measured.scenario = "(c) 4096 palette";
    measured.beforeSeconds = 11.0;
    measured.afterSeconds = 1.1;
    measured.minSpeedUp = 10.0;
    measured.beforePeakMiB = 400.3;
    measured.afterPeakMiB = 300.0;
    measured.pixelsIdentical = true;
    Row alone;
    alone.scenario = "(d) 4096 index";
    alone.afterSeconds = 1.4;
    alone.minSpeedUp = 10.0;
    alone.afterPeakMiB = 310.0;

    const std::string table = FormatTable({measured, alone});
    const std::size_t second = table.find('\n') + 1;
    const std::size_t third = table.find('\n', second) + 1;
    const std::string first = table.substr(second, third - second);
    const std::string last = table.substr(third);
    EXPECT_NE(first.find("11.00"), std::string::npos) << first;
    EXPECT_NE(first.find("10.00x"), std::string::npos) << first;
    EXPECT_NE(first.find(">= 10.0x"), std::string::npos) << first;
    EXPECT_NE(first.find("400.3"), std::string::npos) << first;
    EXPECT_NE(first.find(" yes "), std::string::npos) << first;
    EXPECT_EQ(first.substr(first.size() - 5), "PASS\n");
    EXPECT_EQ(last.substr(last.size() - 4), "n/a\n");
    // Columns line up, so each line is as long as the heading.
    EXPECT_EQ(first.size(), second);
    EXPECT_EQ(last.size(), second);
}
