#include "export/StretchPlanner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Runs the planner over frames given as a string: 'c' a frame that changed, 's' a frame
// equal to its predecessor. Returns one letter per frame: C encode in the changing
// stretch, I still stretch's IDR, k skip, R the IDR again.
std::string plan(const std::string& frames, int64_t interval)
{
    StretchPlanner planner(interval);
    std::string actions;
    int64_t expected = 0;
    auto take = [&](const std::optional<StretchStep>& step) {
        if (!step)
            return;
        EXPECT_EQ(step->frameIndex, expected++);
        switch (step->action) {
        case StretchAction::encodeChanging:
            actions += 'C';
            break;
        case StretchAction::encodeStillIdr:
            actions += 'I';
            break;
        case StretchAction::writeSkip:
            actions += 'k';
            break;
        case StretchAction::repeatIdr:
            actions += 'R';
            break;
        }
    };
    for (size_t i = 0; i < frames.size(); ++i)
        take(planner.add(static_cast<int64_t>(i), frames[i] == 's'));
    take(planner.finish());
    EXPECT_FALSE(planner.finish().has_value());
    return actions;
}

} // namespace

TEST(StretchPlanner, NothingComesOutUntilTheNextFrameIsKnown)
{
    StretchPlanner planner(60);
    EXPECT_FALSE(planner.add(0, false).has_value());
    const std::optional<StretchStep> first = planner.add(1, true);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(*first, (StretchStep{0, StretchAction::encodeStillIdr}));
}

TEST(StretchPlanner, StillStretchIsAnIdrThenSkips)
{
    EXPECT_EQ(plan("csssss", 60), "Ikkkkk");
}

TEST(StretchPlanner, FadeIsEncodedAndTheFirstFrameOfTheNextPageIsAnIdr)
{
    // A page, a three-frame fade whose last frame stays, then the page stays.
    EXPECT_EQ(plan("csscccsss", 60), "IkkCCIkkk");
}

TEST(StretchPlanner, CutStartsANewStillStretch)
{
    EXPECT_EQ(plan("csscss", 60), "IkkIkk");
}

TEST(StretchPlanner, FramesThatAllDifferAreOneChangingStretch)
{
    EXPECT_EQ(plan("cccc", 60), "CCCC");
    EXPECT_EQ(plan("c", 60), "C");
    EXPECT_EQ(plan("", 60), "");
}

TEST(StretchPlanner, FirstFrameStartsAStretchEvenWhenCalledSame)
{
    EXPECT_EQ(plan("sss", 60), "Ikk");
}

TEST(StretchPlanner, LongStillStretchRepeatsItsIdrWithinTheInterval)
{
    // Interval 5: the IDR again 4 frames after the last keyframe.
    EXPECT_EQ(plan("c" + std::string(13, 's'), 5), "IkkkRkkkRkkkRk");
}

TEST(StretchPlanner, IdrIsNotRepeatedOnTheLastFrameOfAStillStretch)
{
    // Frame 4 would be due, but frame 5 starts a new stretch with an IDR of its own, at
    // distance 5 from the last keyframe: two IDR pictures never follow each other.
    EXPECT_EQ(plan("csssscs", 5), "IkkkkIk");
    EXPECT_EQ(plan("cssssc", 5), "IkkkkC");
}

TEST(StretchPlanner, KeyframesAreNeverFartherApartThanTheInterval)
{
    // A long mixed sequence: the distance between keyframes (I, R, and the first C of a
    // changing stretch) never exceeds the interval.
    std::string frames;
    for (int block = 0; block < 40; ++block) {
        frames += 'c';
        frames += std::string(static_cast<size_t>((block * 7) % 23), 's');
        if (block % 3 == 0)
            frames += "ccc";
    }
    const int64_t interval = 8;
    const std::string actions = plan(frames, interval);
    ASSERT_EQ(actions.size(), frames.size());
    int64_t lastKey = 0;
    for (size_t i = 0; i < actions.size(); ++i) {
        const bool changingStart = actions[i] == 'C' && (i == 0 || actions[i - 1] != 'C');
        if (actions[i] == 'I' || actions[i] == 'R' || changingStart) {
            EXPECT_LE(static_cast<int64_t>(i) - lastKey, interval) << "at frame " << i;
            EXPECT_FALSE(i > 0 && actions[i - 1] == 'R' && actions[i] != 'k') << "at frame " << i;
            lastKey = static_cast<int64_t>(i);
        } else if (actions[i] == 'k') {
            EXPECT_LT(static_cast<int64_t>(i) - lastKey, interval) << "at frame " << i;
        }
    }
}
