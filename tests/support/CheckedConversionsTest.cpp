#include "support/CheckedConversions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {
const char* const kNonFiniteMessage =
        "Double value cannot be converted to Int because it is either infinite or NaN";
}

TEST(CheckedConversions, Int64TruncatesTowardZero)
{
    EXPECT_EQ(toInt64Checked(2.9), 2);
    EXPECT_EQ(toInt64Checked(-2.9), -2);
    EXPECT_EQ(toInt64Checked(0.0), 0);
}

TEST(CheckedConversions, FloorCeilAndRoundHalfAwayFromZero)
{
    EXPECT_EQ(floorToInt64Checked(-0.01 * 30), -1);
    EXPECT_EQ(ceilToInt64Checked(1.01 * 30), 31);
    EXPECT_EQ(roundToInt64Checked(1.5), 2);
    EXPECT_EQ(roundToInt64Checked(-1.5), -2);
    EXPECT_EQ(roundToInt64Checked(2.5), 3);
    EXPECT_EQ(roundToInt64Checked(578.5), 579);
}

TEST(CheckedConversionsDeathTest, NaNStopsTheProgram)
{
    EXPECT_DEATH(toInt64Checked(std::nan("")), kNonFiniteMessage);
}

TEST(CheckedConversionsDeathTest, InfinityStopsTheProgram)
{
    EXPECT_DEATH(toInt64Checked(std::numeric_limits<double>::infinity()), kNonFiniteMessage);
    EXPECT_DEATH(floorToInt64Checked(-std::numeric_limits<double>::infinity()), kNonFiniteMessage);
}

TEST(CheckedConversionsDeathTest, OutOfRangeStopsTheProgramWithItsOwnMessage)
{
    EXPECT_DEATH(toInt64Checked(1e19), "greater than Int.max");
    EXPECT_DEATH(toInt64Checked(-1e19), "less than Int.min");
}

TEST(CheckedConversions, FrameCountTruncatesAndTreatsSmallNegativesAsZero)
{
    EXPECT_EQ(toFrameCountChecked(88200.0), 88200u);
    EXPECT_EQ(toFrameCountChecked(0.00001 * 44100.0), 0u);
    EXPECT_EQ(toFrameCountChecked(-0.5), 0u);
    EXPECT_EQ(toFrameCountChecked(4294967295.0), 4294967295u);
}

TEST(CheckedConversionsDeathTest, FrameCountOutsideUInt32StopsTheProgram)
{
    EXPECT_DEATH(toFrameCountChecked(-1.0), "less than UInt32.min");
    EXPECT_DEATH(toFrameCountChecked(4294967296.0), "greater than UInt32.max");
    EXPECT_DEATH(toFrameCountChecked(std::nan("")), "either infinite or NaN");
}
