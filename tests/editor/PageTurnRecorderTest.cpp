#include "editor/PageTurnRecorder.h"

#include <gtest/gtest.h>

namespace {

const Placement kWide{0, 90, 1920, 900};
const Placement kTall{660, 0, 600, 1080};

} // namespace

TEST(PageTurnRecorder, StartsOnTheFirstPageWithNothingWrittenAndNoPlacement)
{
    const PageTurnRecorder recorder;
    EXPECT_EQ(recorder.page(), 0);
    EXPECT_EQ(recorder.lastAssignedFrame(), -1);
    EXPECT_FALSE(recorder.placement().has_value());
}

TEST(PageTurnRecorder, BeginningLeavesTheFrameUnderThePlayheadForTheFirstSweep)
{
    PageTurnRecorder recorder;
    recorder.begin(3, kWide, 120);
    EXPECT_EQ(recorder.page(), 3);
    ASSERT_TRUE(recorder.placement().has_value());
    EXPECT_EQ(*recorder.placement(), kWide);
    EXPECT_EQ(recorder.lastAssignedFrame(), 119);
}

TEST(PageTurnRecorder, TurningToAPageKeepsTheSweepWhereItWas)
{
    PageTurnRecorder recorder;
    recorder.begin(0, kWide, 10);
    recorder.turnTo(2, kTall);
    EXPECT_EQ(recorder.page(), 2);
    EXPECT_EQ(*recorder.placement(), kTall);
    EXPECT_EQ(recorder.lastAssignedFrame(), 9);
    recorder.turnTo(4, std::nullopt);
    EXPECT_EQ(recorder.page(), 4);
    EXPECT_FALSE(recorder.placement().has_value());
}

TEST(PageTurnRecorder, ASweepCoversEveryFrameSinceTheLastOne)
{
    PageTurnRecorder recorder;
    recorder.begin(0, kWide, 10);
    const auto span = recorder.sweepTo(14);
    ASSERT_TRUE(span.has_value());
    EXPECT_EQ(span->first, 10);
    EXPECT_EQ(span->last, 14);
    EXPECT_EQ(recorder.lastAssignedFrame(), 14);

    const auto next = recorder.sweepTo(15);
    ASSERT_TRUE(next.has_value());
    EXPECT_EQ(next->first, 15);
    EXPECT_EQ(next->last, 15);
}

TEST(PageTurnRecorder, ASweepThatDoesNotMoveForwardWritesNothing)
{
    PageTurnRecorder recorder;
    recorder.begin(0, kWide, 10);
    recorder.sweepTo(20);
    EXPECT_FALSE(recorder.sweepTo(20).has_value());
    EXPECT_FALSE(recorder.sweepTo(12).has_value());
    EXPECT_EQ(recorder.lastAssignedFrame(), 20);
}

TEST(PageTurnRecorder, ContinuingFromAFrameMovesTheSweepEitherWay)
{
    PageTurnRecorder recorder;
    recorder.begin(0, kWide, 50);
    recorder.continueFrom(30);
    EXPECT_EQ(recorder.lastAssignedFrame(), 30);
    const auto span = recorder.sweepTo(32);
    ASSERT_TRUE(span.has_value());
    EXPECT_EQ(span->first, 31);
    recorder.continueFrom(90);
    EXPECT_EQ(recorder.lastAssignedFrame(), 90);
}

TEST(PageTurnRecorder, AStepStaysInsideThePageList)
{
    PageTurnRecorder recorder;
    recorder.begin(1, kWide, 0);
    EXPECT_EQ(recorder.pageAfterStep(+1, 3), 2);
    EXPECT_EQ(recorder.pageAfterStep(-1, 3), 0);
    recorder.turnTo(2, kWide);
    EXPECT_FALSE(recorder.pageAfterStep(+1, 3).has_value());
    recorder.turnTo(0, kWide);
    EXPECT_FALSE(recorder.pageAfterStep(-1, 3).has_value());
}

TEST(PageTurnRecorder, AStepFromAPageBeyondAShrunkListLandsOnItsLastPage)
{
    PageTurnRecorder recorder;
    recorder.begin(6, kWide, 0);
    EXPECT_EQ(recorder.pageAfterStep(+1, 3), 2);
    EXPECT_EQ(recorder.pageAfterStep(-1, 3), 2);
}

TEST(PageTurnRecorder, NoStepWithoutPages)
{
    PageTurnRecorder recorder;
    EXPECT_FALSE(recorder.pageAfterStep(+1, 0).has_value());
    EXPECT_FALSE(recorder.pageAfterStep(-1, 0).has_value());
}
