#include "editor/PageBoundarySnapping.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

// A frame store of `count` frames whose pages are given as [first, last] runs.
struct Run {
    int64_t first;
    int64_t last;
    int page;
};

Frames framesWithRuns(int64_t count, const std::vector<Run>& runs)
{
    Frames frames;
    frames.ensureFrameCount(static_cast<double>(count) / 30.0, 30);
    for (const Run& run : runs) {
        for (int64_t i = run.first; i <= run.last; ++i)
            frames.getFrame(i)->assignedImageIndex = run.page;
    }
    return frames;
}

} // namespace

TEST(PageBoundarySnappingTest, BoundariesAreWherePagesChangeGapsIncluded)
{
    const Frames frames = framesWithRuns(600, {{0, 299, 0}, {360, 599, 1}});
    EXPECT_EQ(pageBoundaryFrames(frames), (std::vector<int64_t>{0, 300, 360}));
}

TEST(PageBoundarySnappingTest, UnassignedStartIsNoBoundary)
{
    const Frames frames = framesWithRuns(300, {{90, 299, 3}});
    EXPECT_EQ(pageBoundaryFrames(frames), (std::vector<int64_t>{90}));
    EXPECT_TRUE(pageBoundaryFrames(Frames()).empty());
}

TEST(PageBoundarySnappingTest, HalfASecondAfterABoundarySnapsToIt)
{
    const Frames frames = framesWithRuns(900, {{0, 299, 0}, {300, 899, 1}});
    const auto boundaries = pageBoundaryFrames(frames);
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(10.5, boundaries, 30), 10.0);
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(9.5, boundaries, 30), 10.0);
}

TEST(PageBoundarySnappingTest, OnePointTwoSecondsAfterABoundaryDoesNotSnap)
{
    const Frames frames = framesWithRuns(900, {{0, 299, 0}, {300, 899, 1}});
    const auto boundaries = pageBoundaryFrames(frames);
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(11.2, boundaries, 30), 11.2);
}

TEST(PageBoundarySnappingTest, ExactlyThirtyFramesAwayStillSnaps)
{
    const std::vector<int64_t> boundaries{300};
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(11.0, boundaries, 30), 10.0);
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(11.0 + 1.0 / 30.0, boundaries, 30), 11.0 + 1.0 / 30.0);
}

TEST(PageBoundarySnappingTest, EqualDistanceTheEarlierBoundaryWins)
{
    // Boundaries at 300 and 320; frame 310 is 10 frames from both.
    const Frames frames = framesWithRuns(600, {{0, 299, 0}, {300, 319, 1}, {320, 599, 2}});
    const auto boundaries = pageBoundaryFrames(frames);
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(310.0 / 30.0, boundaries, 30), 10.0);
    // One frame later the later boundary is nearer.
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(311.0 / 30.0, boundaries, 30), 320.0 / 30.0);
}

TEST(PageBoundarySnappingTest, FrameTruncationForgivesAMillionthLikeThePlayhead)
{
    // 123 / 30.0 x 30 is a hair below 123; the frame is still 123, 30 frames after 93.
    const std::vector<int64_t> boundaries{93};
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(123.0 / 30.0, boundaries, 30), 93.0 / 30.0);
    // A time inside frame 123 truncates to it as well.
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(123.5 / 30.0, boundaries, 30), 93.0 / 30.0);
    // Frame 124 is too far.
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(124.0 / 30.0, boundaries, 30), 124.0 / 30.0);
}

TEST(PageBoundarySnappingTest, NoBoundariesLeavesTheTime)
{
    EXPECT_DOUBLE_EQ(snapTimeToPageBoundary(4.2, {}, 30), 4.2);
}

TEST(PageBoundarySnappingDeathTest, NonFiniteTimeStopsTheProgram)
{
    EXPECT_DEATH(snapTimeToPageBoundary(std::numeric_limits<double>::quiet_NaN(), {300}, 30), "");
}
