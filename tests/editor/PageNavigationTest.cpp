#include "model/Frames.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/PlaybackFixtures.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

namespace {

class PageNavigation : public ::testing::Test {
protected:
    PageNavigation()
        : fixture(40.0)
        , editor(fixture.editor())
        , page(makePageImage(1240, 1754, Qt::red))
    {
        editor.setImages(makePageItems({page, page, page}));
    }

    void assignRun(int64_t first, int64_t last, int pageIndex)
    {
        for (int64_t i = first; i <= last; ++i)
            EditorTestAccess::assignImageWithIndex(editor, page, i, pageIndex);
    }

    void placePlayheadAt(int64_t frame) { editor.seekTo(static_cast<double>(frame) / 30.0); }

    int64_t currentFrame() const { return editor.frameIndexForTime(editor.currentTime()); }

    PlaybackEditor fixture;
    VideoEditorViewModel& editor;
    QImage page;
};

} // namespace

TEST_F(PageNavigation, JumpsBetweenThreeConsecutivePages)
{
    assignRun(0, 299, 0);
    assignRun(300, 599, 1);
    assignRun(600, 899, 2);

    placePlayheadAt(450);
    editor.jumpToPreviousPage();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 10.0);
    editor.jumpToPreviousPage();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);

    placePlayheadAt(450);
    editor.jumpToNextPage();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 20.0);

    editor.jumpToLastPage();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 899.0 / 30.0);
    EXPECT_EQ(currentFrame(), 899);
}

TEST_F(PageNavigation, PreviousPageOnTheFirstFrameOfTheFirstPageDoesNothing)
{
    assignRun(0, 299, 0);
    assignRun(300, 599, 1);
    placePlayheadAt(0);
    QSignalSpy times(&editor, &VideoEditorViewModel::currentTimeChanged);
    editor.jumpToPreviousPage();
    EXPECT_EQ(times.count(), 0);
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
}

TEST_F(PageNavigation, UnassignedGapIsPassedOverInBothDirections)
{
    assignRun(0, 299, 0);
    assignRun(360, 599, 1);
    placePlayheadAt(100);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 360);
    EXPECT_DOUBLE_EQ(editor.currentTime(), 12.0);
    editor.jumpToPreviousPage();
    EXPECT_EQ(currentFrame(), 0);
}

TEST_F(PageNavigation, OnAnUnassignedFrameNextAndPreviousDoNothing)
{
    assignRun(0, 299, 0);
    assignRun(360, 599, 1);
    placePlayheadAt(330);
    QSignalSpy times(&editor, &VideoEditorViewModel::currentTimeChanged);
    editor.jumpToNextPage();
    editor.jumpToPreviousPage();
    EXPECT_EQ(times.count(), 0);
    EXPECT_EQ(currentFrame(), 330);
}

TEST_F(PageNavigation, NextPageStopsAtEveryChangeOfPage)
{
    assignRun(0, 99, 2);
    assignRun(100, 199, 0);
    assignRun(200, 299, 2);
    placePlayheadAt(50);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 100);
    placePlayheadAt(150);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 200);
}

TEST_F(PageNavigation, NextPageOnTheLastPageDoesNothing)
{
    assignRun(0, 299, 0);
    assignRun(300, 599, 1);
    placePlayheadAt(400);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 400);
}

TEST_F(PageNavigation, LastPageWithNothingRecordedDoesNothing)
{
    placePlayheadAt(100);
    QSignalSpy times(&editor, &VideoEditorViewModel::currentTimeChanged);
    editor.jumpToLastPage();
    EXPECT_EQ(times.count(), 0);
}

TEST_F(PageNavigation, JumpBackThreeSecondsStopsAtZero)
{
    editor.seekTo(2.0);
    editor.jumpBack3Seconds();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
    editor.seekTo(10.0);
    editor.jumpBack3Seconds();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 7.0);
}

TEST_F(PageNavigation, JumpToStartGoesToZeroAndBecomesTheFreshStart)
{
    editor.seekTo(10.0);
    editor.play();
    fixture.tickAt(15.0);
    editor.pause();
    editor.jumpToStart();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 0.0);
    EXPECT_FALSE(editor.wasPaused());
}

TEST_F(PageNavigation, JumpSelectsThePageItLandsOn)
{
    assignRun(0, 299, 0);
    assignRun(300, 599, 2);
    placePlayheadAt(100);
    editor.jumpToNextPage();
    EXPECT_EQ(editor.selectedImageIndex(), 2);
}

TEST_F(PageNavigation, JumpDuringRecordingPaintsTheStretchItCrosses)
{
    assignRun(0, 299, 0);
    assignRun(300, 599, 1);
    editor.seekTo(5.0);
    editor.setSelectedImageIndex(2);
    editor.startRecording();
    editor.jumpToNextPage();
    // The seek painted page 2 from frame 150 up to the old start of page 1, so the page
    // under the new position is now the recorded page.
    EXPECT_EQ(currentFrame(), 300);
    for (int64_t i = 150; i <= 300; ++i)
        ASSERT_EQ(fixture.pageOfFrame(i), 2) << "frame " << i;
    EXPECT_EQ(fixture.pageOfFrame(301), 1);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 300);
}

TEST_F(PageNavigation, PageColourFollowsThePageIndexModuloSixteenAtNinetyPercent)
{
    EditorTestAccess::assignImageWithIndex(editor, page, 10, 17);
    const std::optional<QColor> color = editor.colorForFrame(10);
    ASSERT_TRUE(color.has_value());
    const QColor expected = QColor::fromRgbF(0.67, 0.78, 0.91, 0.9);
    EXPECT_EQ(color->rgba(), expected.rgba());
    EXPECT_NEAR(color->alphaF(), 0.9, 1e-3);
    EXPECT_EQ(editor.colorForFrame(11), std::nullopt);
}

TEST_F(PageNavigation, PageColourOfAMissingFrameIsNone)
{
    EditorTestAccess::assignImageWithIndex(editor, page, 0, 0);
    EXPECT_EQ(editor.colorForFrame(-1), std::nullopt);
    EXPECT_EQ(editor.colorForFrame(editor.getFrameManager().getFrameCount()), std::nullopt);
}

TEST_F(PageNavigation, EveryPageIndexGetsItsPaletteColour)
{
    constexpr double kPalette[16][3] = {
            {0.91, 0.67, 0.67}, {0.67, 0.78, 0.91}, {0.70, 0.90, 0.78}, {0.99, 0.83, 0.67},
            {0.82, 0.72, 0.92}, {0.99, 0.74, 0.77}, {0.68, 0.86, 0.90}, {0.95, 0.89, 0.71},
            {0.78, 0.88, 0.79}, {0.86, 0.77, 0.86}, {0.87, 0.93, 0.82}, {0.84, 0.84, 0.97},
            {0.96, 0.85, 0.88}, {0.85, 0.91, 0.96}, {0.93, 0.95, 0.80}, {0.90, 0.82, 0.72},
    };
    for (int index = 0; index < 32; ++index) {
        EditorTestAccess::assignImageWithIndex(editor, page, index, index);
        const double* rgb = kPalette[index % 16];
        const std::optional<QColor> color = editor.colorForFrame(index);
        ASSERT_TRUE(color.has_value());
        EXPECT_NEAR(color->redF(), rgb[0], 1e-4) << "page " << index;
        EXPECT_NEAR(color->greenF(), rgb[1], 1e-4) << "page " << index;
        EXPECT_NEAR(color->blueF(), rgb[2], 1e-4) << "page " << index;
        EXPECT_NEAR(color->alphaF(), 0.9, 1e-4) << "page " << index;
    }
}

TEST_F(PageNavigation, JumpLandsOnThePageEvenWhereTheFrameTimeIsInexact)
{
    // 123 / 30.0 x 30 is 122.99999999999999 in doubles: the jump must still land on the
    // first frame of the page starting at 123, and a second press must move on.
    assignRun(0, 122, 0);
    assignRun(123, 245, 1);
    assignRun(246, 400, 2);
    placePlayheadAt(50);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 123);
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    editor.jumpToNextPage();
    EXPECT_EQ(currentFrame(), 246);
    editor.jumpToPreviousPage();
    EXPECT_EQ(currentFrame(), 123);
}
