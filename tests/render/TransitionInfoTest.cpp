#include "render/TransitionInfo.h"
#include "render/FrameSnapshot.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/ExportFixtures.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using Pages = std::vector<std::optional<int>>;

// Page A for frames [0, a), page B after it, n frames in all.
Pages twoPages(int a, int n)
{
    Pages pages;
    for (int i = 0; i < n; ++i)
        pages.push_back(i < a ? 0 : 1);
    return pages;
}

} // namespace

TEST(TransitionInfo, ZeroTransitionDurationNeverBlends)
{
    const Pages pages = twoPages(10, 40);
    for (int64_t i = 0; i < 40; ++i)
        EXPECT_FALSE(transitionInfo(pages, i, 0.0, 30).has_value()) << i;
}

TEST(TransitionInfo, HalfSecondAtThirtyFpsBlendsFifteenFramesFromOneFifteenthToOne)
{
    const Pages pages = twoPages(10, 60);
    for (int64_t i = 0; i < 10; ++i)
        EXPECT_FALSE(transitionInfo(pages, i, 0.5, 30).has_value()) << i;
    for (int k = 0; k < 15; ++k) {
        const auto info = transitionInfo(pages, 10 + k, 0.5, 30);
        ASSERT_TRUE(info.has_value()) << k;
        EXPECT_DOUBLE_EQ(info->blendFactor, double(k + 1) / 15.0);
        EXPECT_EQ(info->prevFrameIndex, 9);
    }
    EXPECT_DOUBLE_EQ(transitionInfo(pages, 24, 0.5, 30)->blendFactor, 1.0);
    for (int64_t i = 25; i < 60; ++i)
        EXPECT_FALSE(transitionInfo(pages, i, 0.5, 30).has_value()) << i;
}

TEST(TransitionInfo, FadeLengthFollowsTheExportFrameRate)
{
    EXPECT_EQ(transitionFrameCount(0.5, 24), 12);
    EXPECT_EQ(transitionFrameCount(0.5, 60), 30);
    const Pages pages = twoPages(5, 60);
    EXPECT_DOUBLE_EQ(transitionInfo(pages, 5, 0.5, 60)->blendFactor, 1.0 / 30.0);
    EXPECT_DOUBLE_EQ(transitionInfo(pages, 5 + 11, 0.5, 24)->blendFactor, 1.0);
    EXPECT_FALSE(transitionInfo(pages, 5 + 12, 0.5, 24).has_value());
}

TEST(TransitionInfo, TransitionShorterThanOneFrameNeverBlends)
{
    const Pages pages = twoPages(3, 20);
    EXPECT_EQ(transitionFrameCount(0.02, 30), 0);
    for (int64_t i = 0; i < 20; ++i)
        EXPECT_FALSE(transitionInfo(pages, i, 0.02, 30).has_value()) << i;
}

TEST(TransitionInfo, PageChangeAtFrameOneBlendsWithFrameZero)
{
    const Pages pages = twoPages(1, 5);
    const auto info = transitionInfo(pages, 1, 0.5, 30);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->prevFrameIndex, 0);
    EXPECT_DOUBLE_EQ(info->blendFactor, 1.0 / 15.0);
}

TEST(TransitionInfo, RunReachingBackToFrameZeroNeverBlends)
{
    const Pages pages(50, 0);
    for (int64_t i = 0; i < 50; ++i)
        EXPECT_FALSE(transitionInfo(pages, i, 0.5, 30).has_value()) << i;
}

TEST(TransitionInfo, UnassignedFrameHasNoTransition)
{
    Pages pages = twoPages(5, 10);
    pages[7] = std::nullopt;
    EXPECT_FALSE(transitionInfo(pages, 7, 0.5, 30).has_value());
}

TEST(TransitionInfo, RunAfterAnUnassignedFrameFadesEveryFrameInFromItsOwnPredecessor)
{
    // Frames 0-4 unassigned, then page 0 for 30 frames: the walk back meets the unassigned
    // frame before any other page, so each frame starts its own run.
    Pages pages(5, std::nullopt);
    for (int i = 0; i < 30; ++i)
        pages.push_back(0);
    for (int64_t i = 5; i < 35; ++i) {
        const auto info = transitionInfo(pages, i, 0.5, 30);
        ASSERT_TRUE(info.has_value()) << i;
        EXPECT_DOUBLE_EQ(info->blendFactor, 1.0 / 15.0) << i;
        EXPECT_EQ(info->prevFrameIndex, i - 1) << i;
    }
}

TEST(TransitionInfo, ConsecutiveRunsOfTheSameIndexAreOneRun)
{
    // Page 1 from frame 3 to 40 (written in two recordings): one fade at frame 3 only.
    const Pages pages = twoPages(3, 40);
    EXPECT_TRUE(transitionInfo(pages, 3, 0.5, 30).has_value());
    EXPECT_FALSE(transitionInfo(pages, 20, 0.5, 30).has_value());
}

TEST(TransitionInfo, SnapshotRendererFollowsTheSameRuleOnRandomTimelines)
{
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        const int count = 1 + int(random() % 120);
        Pages pages;
        for (int i = 0; i < count; ++i) {
            const unsigned pick = random() % 10;
            if (pick == 0)
                pages.push_back(std::nullopt);
            else if (pick < 7 && !pages.empty())
                pages.push_back(pages.back());
            else
                pages.push_back(int(random() % 3));
        }
        std::vector<FrameSnapshot> frames;
        for (const auto& page : pages)
            frames.push_back(FrameSnapshot{std::nullopt, QRect(), Qt::white, page});
        const double duration = double(random() % 30) / 30.0;
        const int fps = (round % 3 == 0) ? 24 : (round % 3 == 1 ? 30 : 60);
        const SnapshotRenderer renderer(frames, duration, fps);
        for (int64_t i = 0; i < count; ++i)
            ASSERT_EQ(renderer.transitionAt(i), transitionInfo(pages, i, duration, fps)) << round << " " << i;
    }
}

TEST(TransitionInfo, EditorReadsTheFrameStoreWithItsExportSettings)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 40);
    assignFrames(editor, 0, 10, 0);
    assignFrames(editor, 10, 40, 1);
    editor.setExportFPS(60);
    const auto info = EditorTestAccess::calculateTransitionInfo(editor, 10);
    ASSERT_TRUE(info.has_value());
    EXPECT_DOUBLE_EQ(info->blendFactor, 1.0 / 30.0);
    EXPECT_EQ(info->prevFrameIndex, 9);
    editor.setTransitionDuration(0.0);
    EXPECT_FALSE(EditorTestAccess::calculateTransitionInfo(editor, 10).has_value());
    EXPECT_FALSE(EditorTestAccess::calculateTransitionInfo(editor, -1).has_value());
    EXPECT_FALSE(EditorTestAccess::calculateTransitionInfo(editor, 40).has_value());
}
