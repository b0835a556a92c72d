#include "model/Frames.h"
#include "render/Placement.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/PlaybackFixtures.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTimer>

namespace {

// Five portrait pages of different colours and one landscape page, as a score might have.
std::vector<QImage> scorePages()
{
    return {makePageImage(1240, 1754, Qt::red),  makePageImage(1240, 1754, Qt::green),
            makePageImage(1240, 1754, Qt::blue), makePageImage(1240, 1754, Qt::yellow),
            makePageImage(3508, 2480, Qt::cyan), makePageImage(1240, 1754, Qt::magenta)};
}

Placement rectangleOf(const FrameData& frame)
{
    return Placement{frame.bgImageX, frame.bgImageY, frame.bgImageWidth, frame.bgImageHeight};
}

const Placement kPortraitPage{578, 0, 764, 1080};
const Placement kLandscapePage{196, 0, 1528, 1080};

class Recording : public ::testing::Test {
protected:
    Recording()
        : fixture(60.0)
        , editor(fixture.editor())
        , pages(scorePages())
    {
        editor.setImages(makePageItems(pages));
    }

    // Tick number k of a clock running on a 50 ms grid: k / 20 seconds, exact at whole and
    // half seconds.
    void tick(int k) { fixture.tickAt(k / 20.0); }

    PlaybackEditor fixture;
    VideoEditorViewModel& editor;
    std::vector<QImage> pages;
};

} // namespace

TEST_F(Recording, StartAtTenSecondsOnPageThreeFillsFromFrameThreeHundredOnTheFirstTick)
{
    editor.seekTo(10.0);
    editor.setSelectedImageIndex(3);
    editor.startRecording();
    EXPECT_TRUE(editor.isRecording());
    EXPECT_TRUE(editor.isPlaying());
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 299);
    EXPECT_EQ(editor.currentAssignmentIndex(), 3);
    EXPECT_EQ(editor.currentAssignmentPlacement(), kPortraitPage);
    // Nothing is written at the start itself.
    EXPECT_EQ(fixture.pageOfFrame(300), std::nullopt);

    fixture.tickAt(10.05);

    EXPECT_EQ(fixture.pageOfFrame(299), std::nullopt);
    EXPECT_EQ(fixture.pageOfFrame(300), 3);
    EXPECT_EQ(fixture.pageOfFrame(301), 3);
    EXPECT_EQ(fixture.pageOfFrame(302), std::nullopt);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 301);
    const auto record = editor.getFrameManager().getFrame(300);
    EXPECT_EQ(record->bgImage->cacheKey(), pages[3].cacheKey());
    EXPECT_EQ(rectangleOf(*record), kPortraitPage);
}

TEST_F(Recording, StartWithNothingSelectedUsesPageZeroAndSelectsIt)
{
    editor.startRecording();
    EXPECT_TRUE(editor.isRecording());
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_EQ(editor.selectedImageIndex(), 0);
}

TEST_F(Recording, StartWithASelectionPastTheEndUsesPageZero)
{
    EditorTestAccess::setCurrentAssignmentIndex(editor, 4);
    editor.setSelectedImageIndex(6);
    editor.startRecording();
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_EQ(editor.selectedImageIndex(), 0);
}

TEST_F(Recording, StartWithoutAudioDoesNothing)
{
    editor.setAudioURL(std::nullopt);
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);
    editor.startRecording();
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_EQ(editor.lastAssignedFrameIndex(), -1);
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(Recording, StartWithoutPagesDoesNothing)
{
    editor.setImages({});
    editor.startRecording();
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_FALSE(editor.currentAssignmentPlacement().has_value());
}

TEST_F(Recording, NextPageOnTheLastPageChangesNothing)
{
    editor.setSelectedImageIndex(5);
    editor.startRecording();
    tick(20);
    const auto before = editor.getFrameManager().getFrame(30);
    ASSERT_EQ(before->assignedImageIndex, 5);
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);
    editor.nextPageDuringRecording();
    EXPECT_EQ(editor.currentAssignmentIndex(), 5);
    EXPECT_EQ(editor.selectedImageIndex(), 5);
    EXPECT_EQ(fixture.pageOfFrame(30), 5);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(Recording, PreviousPageOnTheFirstPageChangesNothing)
{
    editor.startRecording();
    tick(20);
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);
    editor.previousPageDuringRecording();
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_EQ(editor.selectedImageIndex(), 0);
    EXPECT_EQ(fixture.pageOfFrame(30), 0);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(Recording, PagePressesOutsideRecordingDoNothing)
{
    editor.setSelectedImageIndex(2);
    EditorTestAccess::setCurrentAssignmentIndex(editor, 2);
    editor.nextPageDuringRecording();
    editor.previousPageDuringRecording();
    EXPECT_EQ(editor.currentAssignmentIndex(), 2);
    EXPECT_EQ(fixture.pageOfFrame(0), std::nullopt);
}

TEST_F(Recording, NextPageAtTwentySecondsTakesFrameSixHundredAtOnce)
{
    editor.seekTo(19.0);
    editor.setSelectedImageIndex(1);
    editor.startRecording();
    for (int k = 381; k <= 400; ++k)
        tick(k);
    ASSERT_EQ(editor.lastAssignedFrameIndex(), 600);
    ASSERT_EQ(fixture.pageOfFrame(600), 1);

    editor.nextPageDuringRecording();

    EXPECT_EQ(editor.currentAssignmentIndex(), 2);
    EXPECT_EQ(editor.selectedImageIndex(), 2);
    EXPECT_EQ(fixture.pageOfFrame(599), 1);
    EXPECT_EQ(fixture.pageOfFrame(600), 2);
    EXPECT_EQ(editor.getFrameManager().getFrame(600)->bgImage->cacheKey(), pages[2].cacheKey());
    // The press does not move the sweep.
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 600);

    tick(401);
    EXPECT_EQ(fixture.pageOfFrame(601), 2);
    EXPECT_EQ(fixture.pageOfFrame(599), 1);
}

TEST_F(Recording, PageChangeComputesThePlacementOfTheNewPage)
{
    editor.setSelectedImageIndex(3);
    editor.startRecording();
    tick(10);
    editor.nextPageDuringRecording();
    EXPECT_EQ(editor.currentAssignmentPlacement(), kLandscapePage);
    tick(11);
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(16)), kLandscapePage);
    editor.previousPageDuringRecording();
    EXPECT_EQ(editor.currentAssignmentPlacement(), kPortraitPage);
    EXPECT_EQ(fixture.pageOfFrame(16), 3);
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(16)), kPortraitPage);
}

TEST_F(Recording, PageChangeLeavesFramesAfterThePlayheadFromAnEarlierTakeAlone)
{
    for (int64_t frame = 0; frame < 900; ++frame)
        EditorTestAccess::assignImageWithIndex(editor, pages[4], frame, 4);
    editor.seekTo(5.0);
    editor.setSelectedImageIndex(1);
    editor.startRecording();
    tick(101);
    editor.nextPageDuringRecording();
    EXPECT_EQ(fixture.pageOfFrame(150), 1);
    EXPECT_EQ(fixture.pageOfFrame(151), 2);
    EXPECT_EQ(fixture.pageOfFrame(152), 4);
    EXPECT_EQ(fixture.pageOfFrame(899), 4);
}

TEST_F(Recording, SecondTakeOverwritesOnlyUpToWhereItStops)
{
    editor.startRecording();
    for (int k = 1; k <= 400; ++k)
        tick(k);
    editor.stopRecording();
    ASSERT_EQ(fixture.pageOfFrame(600), 0);

    editor.seekTo(5.0);
    editor.setSelectedImageIndex(1);
    editor.startRecording();
    for (int k = 101; k <= 200; ++k)
        tick(k);
    editor.stopRecording();

    for (int64_t frame = 0; frame < 150; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 0) << "frame " << frame;
    for (int64_t frame = 150; frame <= 300; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 1) << "frame " << frame;
    for (int64_t frame = 301; frame <= 600; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 0) << "frame " << frame;
    EXPECT_EQ(fixture.pageOfFrame(601), std::nullopt);
}

TEST_F(Recording, PlainPlaybackOverUnassignedFramesKeepsTheSelection)
{
    editor.setSelectedImageIndex(2);
    editor.play();
    QSignalSpy selections(&editor, &VideoEditorViewModel::selectedImageIndexChanged);
    for (int k = 1; k <= 40; ++k)
        tick(k);
    EXPECT_EQ(editor.selectedImageIndex(), 2);
    EXPECT_EQ(selections.count(), 0);
    EXPECT_EQ(fixture.pageOfFrame(30), std::nullopt);
}

TEST_F(Recording, PlainPlaybackSelectsThePageOnScreen)
{
    for (int64_t frame = 30; frame < 60; ++frame)
        EditorTestAccess::assignImageWithIndex(editor, pages[4], frame, 4);
    editor.setSelectedImageIndex(1);
    editor.play();
    tick(10);
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    QSignalSpy selections(&editor, &VideoEditorViewModel::selectedImageIndexChanged);
    tick(20);
    tick(21);
    EXPECT_EQ(editor.selectedImageIndex(), 4);
    // Set once, when it differed; the next tick on the same page leaves it alone.
    EXPECT_EQ(selections.count(), 1);
    tick(40);
    EXPECT_EQ(editor.selectedImageIndex(), 4);
}

TEST_F(Recording, EveryRecordingTickSelectsThePageBeingRecorded)
{
    editor.setSelectedImageIndex(2);
    editor.startRecording();
    tick(1);
    editor.setSelectedImageIndex(0);
    tick(1);
    EXPECT_EQ(editor.selectedImageIndex(), 2);
}

TEST_F(Recording, AssignImageWithIndexWritesTheGivenIndexAndLeavesTheRecordingStateAlone)
{
    EditorTestAccess::setCurrentAssignmentIndex(editor, 2);
    const Placement odd{1, 2, 3, 4};
    EditorTestAccess::setCurrentAssignmentPlacement(editor, odd);
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);

    EditorTestAccess::assignImageWithIndex(editor, pages[5], 10, 5);

    const auto record = editor.getFrameManager().getFrame(10);
    EXPECT_EQ(record->assignedImageIndex, 5);
    EXPECT_EQ(record->bgImage->cacheKey(), pages[5].cacheKey());
    EXPECT_EQ(rectangleOf(*record), kPortraitPage);
    EXPECT_EQ(editor.currentAssignmentIndex(), 2);
    EXPECT_EQ(editor.currentAssignmentPlacement(), odd);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(Recording, AssignImageWritesTheRecordedPageIndexWhateverTheImage)
{
    EditorTestAccess::setCurrentAssignmentIndex(editor, 3);
    EditorTestAccess::assignImage(editor, pages[4], 7);
    const auto record = editor.getFrameManager().getFrame(7);
    EXPECT_EQ(record->assignedImageIndex, 3);
    EXPECT_EQ(record->bgImage->cacheKey(), pages[4].cacheKey());
    // Without a stored placement it is computed from the image passed.
    EXPECT_EQ(rectangleOf(*record), kLandscapePage);
}

TEST_F(Recording, AssignImageUsesTheStoredPlacementWhenThereIsOne)
{
    const Placement stored{11, 12, 13, 14};
    EditorTestAccess::setCurrentAssignmentPlacement(editor, stored);
    EditorTestAccess::assignImage(editor, pages[0], 7);
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(7)), stored);
}

TEST_F(Recording, WritesOutsideTheFrameStoreAreSkipped)
{
    const int64_t count = editor.getFrameManager().getFrameCount();
    EditorTestAccess::assignImage(editor, pages[0], -1);
    EditorTestAccess::assignImage(editor, pages[0], count);
    EditorTestAccess::assignImageWithIndex(editor, pages[0], -1, 0);
    EditorTestAccess::assignImageWithIndex(editor, pages[0], count, 0);
    editor.assignImagePublic(pages[1], count + 5, 1);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), count);
    for (int64_t frame = 0; frame < count; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), std::nullopt);
}

TEST_F(Recording, AssignImagePublicMakesThePageTheOneBeingRecorded)
{
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);
    editor.assignImagePublic(pages[4], 12, 4);
    EXPECT_EQ(editor.currentAssignmentIndex(), 4);
    EXPECT_EQ(editor.currentAssignmentPlacement(), kLandscapePage);
    EXPECT_EQ(fixture.pageOfFrame(12), 4);
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(12)), kLandscapePage);
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(Recording, StopRecordingKeepsThePositionPausesAndSchedulesAnAutosave)
{
    editor.seekTo(2.0);
    editor.startRecording();
    tick(60);
    QStringList events;
    QObject::connect(&editor, &VideoEditorViewModel::isRecordingChanged,
                     [&] { events << QStringLiteral("recording"); });
    QObject::connect(&editor, &VideoEditorViewModel::isPlayingChanged,
                     [&] { events << QStringLiteral("playing"); });
    QObject::connect(&editor, &VideoEditorViewModel::autoSaveScheduled,
                     [&] { events << QStringLiteral("autosave"); });

    editor.stopRecording();

    EXPECT_EQ(events, (QStringList{QStringLiteral("recording"), QStringLiteral("playing"),
                                   QStringLiteral("autosave")}));
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_TRUE(editor.wasPaused());
    EXPECT_DOUBLE_EQ(editor.currentTime(), 3.0);
    EXPECT_EQ(editor.playbackTimer(), nullptr);
}

TEST_F(Recording, PauseDuringRecordingKeepsRecordingAndPlayContinuesTheSweep)
{
    editor.startRecording();
    tick(20);
    editor.togglePlayback();
    EXPECT_TRUE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    editor.togglePlayback();
    EXPECT_TRUE(editor.isPlaying());
    tick(22);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 33);
    for (int64_t frame = 0; frame <= 33; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 0) << "frame " << frame;
}

TEST_F(Recording, LateTickFillsTheWholeGap)
{
    editor.startRecording();
    tick(1);
    fixture.tickAt(4.0);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 120);
    for (int64_t frame = 0; frame <= 120; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 0) << "frame " << frame;
    EXPECT_EQ(fixture.pageOfFrame(121), std::nullopt);
}

TEST_F(Recording, FramesWrittenByATickAreAnnouncedOnce)
{
    editor.startRecording();
    QSignalSpy changes(&editor, &VideoEditorViewModel::changed);

    tick(1); // fills frames 0 and 1
    const qsizetype oneOrTwoFrames = changes.count();
    changes.clear();
    fixture.tickAt(10.0); // fills 298 frames after a stall
    const qsizetype manyFrames = changes.count();
    changes.clear();
    fixture.tickAt(10.0); // fills nothing
    const qsizetype noFrames = changes.count();

    EXPECT_EQ(manyFrames, oneOrTwoFrames);
    EXPECT_EQ(noFrames, manyFrames - 1);
}

TEST_F(Recording, PositionMovingBackWithoutASeekFillsNothingUntilItPassesTheSweep)
{
    editor.startRecording();
    fixture.tickAt(2.0);
    ASSERT_EQ(editor.lastAssignedFrameIndex(), 60);
    EditorTestAccess::setCurrentAssignmentIndex(editor, 1);
    fixture.tickAt(1.0);
    EXPECT_EQ(fixture.pageOfFrame(30), 0);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 60);
    fixture.tickAt(2.1);
    EXPECT_EQ(fixture.pageOfFrame(60), 0);
    EXPECT_EQ(fixture.pageOfFrame(61), 1);
    EXPECT_EQ(fixture.pageOfFrame(63), 1);
}

TEST_F(Recording, ThumbnailClickDuringRecordingRecordsTheClickedPageFromThePlayhead)
{
    editor.setSelectedImageIndex(0);
    editor.startRecording();
    tick(40);
    editor.switchRecordingToPage(4);
    EXPECT_EQ(editor.selectedImageIndex(), 4);
    EXPECT_EQ(editor.currentAssignmentIndex(), 4);
    EXPECT_EQ(editor.currentAssignmentPlacement(), kLandscapePage);
    EXPECT_EQ(fixture.pageOfFrame(59), 0);
    EXPECT_EQ(fixture.pageOfFrame(60), 4);
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(60)), kLandscapePage);
    tick(41);
    EXPECT_EQ(fixture.pageOfFrame(61), 4);
}

TEST_F(Recording, ThumbnailClickOutsideRecordingChangesNoFrame)
{
    editor.switchRecordingToPage(4);
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_EQ(fixture.pageOfFrame(0), std::nullopt);
}

// The whole path of a take: pages in the list, recording started at 10 s on page 3, the
// clock ticking every 50 ms, next page at 20 s, stop at 25 s.
TEST_F(Recording, RecordingATakeEndToEnd)
{
    editor.seekTo(10.0);
    editor.setSelectedImageIndex(3);
    editor.startRecording();
    for (int k = 201; k <= 400; ++k)
        tick(k);
    editor.nextPageDuringRecording();
    for (int k = 401; k <= 500; ++k)
        tick(k);
    editor.stop();

    EXPECT_FALSE(editor.isRecording());
    EXPECT_DOUBLE_EQ(editor.currentTime(), 10.0);
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(frames.getFrameCount(), 1800);
    const Placement untouched{0, 0, 1920, 1080};
    for (int64_t i = 0; i < frames.getFrameCount(); ++i) {
        const auto frame = frames.getFrame(i);
        if (i < 300 || i > 750) {
            ASSERT_FALSE(frame->assignedImageIndex.has_value()) << "frame " << i;
            ASSERT_FALSE(frame->bgImage.has_value()) << "frame " << i;
            ASSERT_EQ(rectangleOf(*frame), untouched) << "frame " << i;
        } else if (i < 600) {
            ASSERT_EQ(frame->assignedImageIndex, 3) << "frame " << i;
            ASSERT_EQ(frame->bgImage->cacheKey(), pages[3].cacheKey()) << "frame " << i;
            ASSERT_EQ(rectangleOf(*frame), kPortraitPage) << "frame " << i;
        } else {
            ASSERT_EQ(frame->assignedImageIndex, 4) << "frame " << i;
            ASSERT_EQ(frame->bgImage->cacheKey(), pages[4].cacheKey()) << "frame " << i;
            ASSERT_EQ(rectangleOf(*frame), kLandscapePage) << "frame " << i;
        }
    }
}

// ---- The page being recorded leaves the list ----

TEST_F(Recording, RemovingThePageBeingRecordedRecordsThePageNowAtItsPosition)
{
    editor.setSelectedImageIndex(3);
    editor.startRecording();
    tick(40);
    editor.removeImage(3);
    // The landscape page moved up into position 3 and is recorded from the playhead on, in
    // its own rectangle.
    EXPECT_TRUE(editor.isRecording());
    EXPECT_EQ(editor.currentAssignmentIndex(), 3);
    EXPECT_EQ(editor.selectedImageIndex(), 3);
    EXPECT_EQ(editor.currentAssignmentPlacement(), kLandscapePage);
    tick(41);
    const auto record = editor.getFrameManager().getFrame(61);
    EXPECT_EQ(record->assignedImageIndex, 3);
    EXPECT_EQ(record->bgImage->cacheKey(), pages[4].cacheKey());
    EXPECT_EQ(rectangleOf(*record), kLandscapePage);
    EXPECT_EQ(fixture.pageOfFrame(59), 3);
    EXPECT_EQ(editor.getFrameManager().getFrame(59)->bgImage->cacheKey(), pages[3].cacheKey());
}

TEST_F(Recording, RemovingTheLastPageWhileItIsRecordedStopsTheRecording)
{
    editor.setSelectedImageIndex(5);
    editor.startRecording();
    tick(40);
    QSignalSpy autoSaves(&editor, &VideoEditorViewModel::autoSaveScheduled);
    editor.removeImage(5);
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_GE(autoSaves.count(), 1);
    tick(41);
    EXPECT_EQ(fixture.pageOfFrame(61), std::nullopt);
}

TEST_F(Recording, RemovingAnotherPageLeavesTheRecordingAlone)
{
    editor.setSelectedImageIndex(1);
    editor.startRecording();
    tick(40);
    editor.removeImage(4);
    EXPECT_TRUE(editor.isRecording());
    EXPECT_EQ(editor.currentAssignmentIndex(), 1);
    tick(41);
    EXPECT_EQ(editor.getFrameManager().getFrame(61)->bgImage->cacheKey(), pages[1].cacheKey());
}

TEST_F(Recording, DeletingEveryPageWhileRecordingStopsTheRecording)
{
    editor.startRecording();
    tick(40);
    editor.deleteAllImages();
    EXPECT_FALSE(editor.isRecording());
}

TEST_F(Recording, DeletingThePortraitsWhileOneIsRecordedRecordsThePageNowAtItsPosition)
{
    editor.setSelectedImageIndex(0);
    editor.startRecording();
    tick(40);
    editor.deletePortraitImages();
    ASSERT_EQ(editor.images().size(), 1u);
    EXPECT_TRUE(editor.isRecording());
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_EQ(editor.currentAssignmentPlacement(), kLandscapePage);
    tick(41);
    EXPECT_EQ(editor.getFrameManager().getFrame(61)->bgImage->cacheKey(), pages[4].cacheKey());
}

TEST_F(Recording, MergingThePageBeingRecordedRecordsThePageNowAtItsPosition)
{
    editor.setSelectedImageIndex(2);
    editor.startRecording();
    tick(40);
    editor.setSelectedImageIndices({1, 2});
    editor.mergeSelectedImages();
    ASSERT_EQ(editor.images().size(), 5u);
    EXPECT_TRUE(editor.isRecording());
    // Position 2 now holds the page that followed the merged pair.
    EXPECT_EQ(editor.currentAssignmentIndex(), 2);
    tick(41);
    EXPECT_EQ(editor.getFrameManager().getFrame(61)->bgImage->cacheKey(), pages[3].cacheKey());
}
