#include "editor/PageBoundaries.h"

#include <gtest/gtest.h>

namespace {

// A store of `count` frames with the given page on each run [first, last].
struct Run {
    int64_t first;
    int64_t last;
    int page;
};

Frames storeWith(int64_t count, std::initializer_list<Run> runs)
{
    Frames frames;
    frames.ensureFrameCount(static_cast<double>(count) / 30.0, 30);
    EXPECT_EQ(frames.getFrameCount(), count);
    for (const Run& run : runs) {
        for (int64_t i = run.first; i <= run.last; ++i)
            frames.getFrame(i)->assignedImageIndex = run.page;
    }
    return frames;
}

} // namespace

TEST(PageBoundaries, PageOfFrameIsNoneForMissingAndUnassignedFrames)
{
    const Frames frames = storeWith(10, {{2, 3, 7}});
    EXPECT_EQ(pageOfFrame(frames, 2), 7);
    EXPECT_EQ(pageOfFrame(frames, 1), std::nullopt);
    EXPECT_EQ(pageOfFrame(frames, -1), std::nullopt);
    EXPECT_EQ(pageOfFrame(frames, 10), std::nullopt);
}

TEST(PageBoundaries, NextPageStartIsTheFirstFrameOfAnotherPage)
{
    const Frames frames = storeWith(900, {{0, 299, 0}, {300, 599, 1}, {600, 899, 2}});
    EXPECT_EQ(nextPageStart(frames, 450), 600);
    EXPECT_EQ(nextPageStart(frames, 0), 300);
    EXPECT_EQ(nextPageStart(frames, 299), 300);
    EXPECT_EQ(nextPageStart(frames, 600), std::nullopt);
}

TEST(PageBoundaries, NextPageStartPassesOverGaps)
{
    const Frames frames = storeWith(900, {{0, 299, 0}, {360, 599, 1}});
    EXPECT_EQ(nextPageStart(frames, 100), 360);
    EXPECT_EQ(nextPageStart(frames, 320), std::nullopt);
}

TEST(PageBoundaries, NextPageStartStopsAtARunOfAnyOtherPageEvenIfThePageComesBack)
{
    const Frames frames = storeWith(300, {{0, 99, 2}, {100, 199, 0}, {200, 299, 2}});
    EXPECT_EQ(nextPageStart(frames, 50), 100);
    EXPECT_EQ(nextPageStart(frames, 150), 200);
    EXPECT_EQ(nextPageStart(frames, 250), std::nullopt);
}

TEST(PageBoundaries, PreviousPageTargetGoesToThePageStartThenToThePageBefore)
{
    const Frames frames = storeWith(900, {{0, 299, 0}, {300, 599, 1}, {600, 899, 2}});
    EXPECT_EQ(previousPageTarget(frames, 450), 300);
    EXPECT_EQ(previousPageTarget(frames, 300), 0);
    EXPECT_EQ(previousPageTarget(frames, 601), 600);
    EXPECT_EQ(previousPageTarget(frames, 600), 300);
    EXPECT_EQ(previousPageTarget(frames, 0), std::nullopt);
}

TEST(PageBoundaries, PreviousPageTargetPassesOverGapsAndTheSamePage)
{
    const Frames gap = storeWith(900, {{0, 299, 0}, {360, 599, 1}});
    EXPECT_EQ(previousPageTarget(gap, 360), 0);
    EXPECT_EQ(previousPageTarget(gap, 330), std::nullopt);
    // The run before a gap on the same page is passed over too.
    const Frames samePage = storeWith(400, {{0, 99, 3}, {100, 199, 1}, {250, 399, 1}});
    EXPECT_EQ(previousPageTarget(samePage, 250), 0);
}

TEST(PageBoundaries, PreviousPageTargetWithNothingBeforeThePageIsNone)
{
    const Frames frames = storeWith(300, {{100, 299, 1}});
    EXPECT_EQ(previousPageTarget(frames, 200), 100);
    EXPECT_EQ(previousPageTarget(frames, 100), std::nullopt);
}

TEST(PageBoundaries, LastAssignedFrameIsTheEndOfTheLastPage)
{
    EXPECT_EQ(lastAssignedFrame(storeWith(900, {{0, 299, 0}, {600, 700, 2}})), 700);
    EXPECT_EQ(lastAssignedFrame(storeWith(900, {})), std::nullopt);
    EXPECT_EQ(lastAssignedFrame(Frames()), std::nullopt);
}
