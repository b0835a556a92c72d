#include "render/TimeRuler.h"

#include <gtest/gtest.h>

TEST(TimeRulerTest, TenMinutesInEightHundredPointsTicksEveryFortyFiveSeconds)
{
    // 1.33 points per second: no candidate reaches 60 points, so the ticks are 60 / 1.33 s
    // apart.
    EXPECT_DOUBLE_EQ(timeRulerInterval(800.0, 600.0), 45.0);
    const std::vector<double> ticks = timeRulerTicks(800.0, 600.0);
    ASSERT_EQ(ticks.size(), 14u);
    EXPECT_DOUBLE_EQ(ticks[0], 0.0);
    EXPECT_DOUBLE_EQ(ticks[1], 45.0);
    EXPECT_DOUBLE_EQ(ticks.back(), 585.0);
}

TEST(TimeRulerTest, TakesTheFirstCandidateSpacedAtLeastSixtyPoints)
{
    // 80 points per second: 0.25 s is 20 points, 0.5 s 40, 1 s 80.
    EXPECT_DOUBLE_EQ(timeRulerInterval(800.0, 10.0), 1.0);
    // 300 points per second: 0.25 s is 75 points.
    EXPECT_DOUBLE_EQ(timeRulerInterval(600.0, 2.0), 0.25);
    // 4 points per second: 10 s is 40, 30 s is 120 points.
    EXPECT_DOUBLE_EQ(timeRulerInterval(800.0, 200.0), 30.0);
    // Exactly 60 points is enough.
    EXPECT_DOUBLE_EQ(timeRulerInterval(120.0, 4.0), 2.0);
}

TEST(TimeRulerTest, ThirtySecondsBetweenFortyAndSixtyPointsIsKept)
{
    // 1.5 points per second: 30 s is 45 points, no candidate reaches 60, but 45 is not crowded.
    EXPECT_DOUBLE_EQ(timeRulerInterval(900.0, 600.0), 30.0);
}

TEST(TimeRulerTest, TicksIncludeTheDurationWhenItIsAMultiple)
{
    const std::vector<double> ticks = timeRulerTicks(800.0, 10.0);
    ASSERT_EQ(ticks.size(), 11u);
    EXPECT_DOUBLE_EQ(ticks.back(), 10.0);
}

TEST(TimeRulerTest, NoTicksWithoutWidthOrDuration)
{
    EXPECT_TRUE(timeRulerTicks(0.0, 10.0).empty());
    EXPECT_TRUE(timeRulerTicks(800.0, 0.0).empty());
}

TEST(TimeRulerTest, LabelsAreMinutesAndSecondsWithTwoDigits)
{
    EXPECT_EQ(timeRulerLabel(0.0), QStringLiteral("00:00"));
    EXPECT_EQ(timeRulerLabel(45.0), QStringLiteral("00:45"));
    EXPECT_EQ(timeRulerLabel(125.75), QStringLiteral("02:05"));
    EXPECT_EQ(timeRulerLabel(600.0), QStringLiteral("10:00"));
}
