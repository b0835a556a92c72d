#include "model/Frames.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PlaybackFixtures.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTimer>

#include <cmath>
#include <limits>

TEST(PlaybackClock, FrameIndexForTimeRoundsDown)
{
    PlaybackEditor fixture(60.0);
    VideoEditorViewModel& editor = fixture.editor();
    EXPECT_EQ(editor.frameIndexForTime(0.0), 0);
    EXPECT_EQ(editor.frameIndexForTime(0.0333), 0);
    EXPECT_EQ(editor.frameIndexForTime(1.0), 30);
    EXPECT_EQ(editor.frameIndexForTime(-0.01), -1);
}

TEST(PlaybackClock, TotalFrameCountRoundsUpAndMatchesTheFrameStore)
{
    PlaybackEditor fixture(10.01);
    EXPECT_EQ(fixture.editor().totalFrameCount(), 301);
    EXPECT_EQ(fixture.editor().getFrameManager().getFrameCount(), 301);
}

TEST(PlaybackClock, ExportFrameRateDoesNotChangeTheMapping)
{
    PlaybackEditor fixture(10.0);
    fixture.editor().setExportFPS(60);
    EXPECT_EQ(fixture.editor().frameIndexForTime(1.0), 30);
    EXPECT_EQ(fixture.editor().totalFrameCount(), 300);
}

TEST(PlaybackClockDeathTest, NonFiniteTimeStopsTheProgram)
{
    PlaybackEditor fixture(10.0);
    EXPECT_DEATH(fixture.editor().frameIndexForTime(std::numeric_limits<double>::quiet_NaN()),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
    EXPECT_DEATH(fixture.editor().frameIndexForTime(std::numeric_limits<double>::infinity()),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
}

TEST(PlaybackClock, SeekClampsToTheAudio)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(12.0);
    editor.seekTo(-5.0);
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
    EXPECT_DOUBLE_EQ(fixture.player().currentTime(), 0.0);
    editor.seekTo(editor.duration() + 1.0);
    EXPECT_DOUBLE_EQ(editor.currentTime(), 40.0);
    EXPECT_DOUBLE_EQ(fixture.player().currentTime(), 40.0);
}

TEST(PlaybackClock, SeekWithoutAudioStaysAtZero)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    editor.seekTo(5.0);
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
}

TEST(PlaybackClock, PlayWithoutAPlayerDoesNothing)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    editor.setDuration(10.0);
    editor.setCurrentTime(4.0);
    QSignalSpy playing(&editor, &VideoEditorViewModel::isPlayingChanged);
    editor.play();
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_EQ(editor.playbackTimer(), nullptr);
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 0.0);
    EXPECT_EQ(playing.count(), 0);
}

TEST(PlaybackClock, PauseWithoutAPlayerOnlySetsTheFlags)
{
    ScriptedDialogs dialogs;
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    VideoEditorViewModel editor(environment);
    editor.pause();
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_TRUE(editor.wasPaused());
    EXPECT_EQ(editor.playbackTimer(), nullptr);
}

TEST(PlaybackClock, PlayStartsThePlayerAtTheCurrentTimeWithARepeatingFiftyMillisecondTimer)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(7.5);
    fixture.player().setCurrentTime(0.0);
    editor.play();
    EXPECT_TRUE(editor.isPlaying());
    EXPECT_FALSE(editor.wasPaused());
    EXPECT_TRUE(fixture.player().isPlaying());
    EXPECT_DOUBLE_EQ(fixture.player().currentTime(), 7.5);
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 7.5);
    ASSERT_NE(editor.playbackTimer(), nullptr);
    EXPECT_EQ(editor.playbackTimer()->interval(), 50);
    EXPECT_FALSE(editor.playbackTimer()->isSingleShot());
    EXPECT_TRUE(editor.playbackTimer()->isActive());
}

TEST(PlaybackClock, PauseStopsThePlayerAndRemovesTheTimer)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.play();
    editor.pause();
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_TRUE(editor.wasPaused());
    EXPECT_FALSE(fixture.player().isPlaying());
    EXPECT_EQ(editor.playbackTimer(), nullptr);
}

TEST(PlaybackClock, TheRunningTimerTicksWithThePlayerClock)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.play();
    fixture.player().setCurrentTime(5.0);
    // Only the timer moves currentTime here; the timeout is generous.
    EXPECT_TRUE(waitUntil([&] { return editor.currentTime() == 5.0; }));
    editor.pause();
}

TEST(PlaybackClock, TickCopiesThePlayerPosition)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.play();
    QSignalSpy times(&editor, &VideoEditorViewModel::currentTimeChanged);
    fixture.player().advance(0.05);
    editor.playbackTick();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.05);
    EXPECT_EQ(times.count(), 1);
}

TEST(PlaybackClock, TickDoesNotNoticeTheEndOfTheAudio)
{
    PlaybackEditor fixture(2.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.play();
    fixture.player().advance(3.0);
    ASSERT_FALSE(fixture.player().isPlaying());
    editor.playbackTick();
    editor.playbackTick();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 2.0);
    EXPECT_TRUE(editor.isPlaying());
    ASSERT_NE(editor.playbackTimer(), nullptr);
    EXPECT_TRUE(editor.playbackTimer()->isActive());
}

TEST(PlaybackClock, TogglePlaybackPlaysThenPauses)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.togglePlayback();
    EXPECT_TRUE(editor.isPlaying());
    EXPECT_NE(editor.playbackTimer(), nullptr);
    editor.togglePlayback();
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_TRUE(editor.wasPaused());
    EXPECT_EQ(editor.playbackTimer(), nullptr);
}

TEST(PlaybackClock, PlayPauseResumeAndStopReturnToTheFreshStart)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(12.0);
    editor.play();
    fixture.tickAt(20.0);
    editor.pause();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 20.0);
    editor.play();
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 12.0);
    fixture.tickAt(22.0);
    editor.stop();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 12.0);
    EXPECT_DOUBLE_EQ(fixture.player().currentTime(), 12.0);
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_FALSE(editor.wasPaused());
    EXPECT_EQ(editor.playbackTimer(), nullptr);
}

TEST(PlaybackClock, SeekWhilePausedMakesTheNextPlayAFreshStart)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(12.0);
    editor.play();
    fixture.tickAt(20.0);
    editor.pause();
    editor.seekTo(30.0);
    EXPECT_FALSE(editor.wasPaused());
    editor.play();
    fixture.tickAt(31.0);
    editor.stop();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 30.0);
}

TEST(PlaybackClock, SeekWhilePlayingKeepsPlayingAndKeepsTheStart)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(5.0);
    editor.play();
    editor.seekTo(25.0);
    EXPECT_TRUE(editor.isPlaying());
    EXPECT_DOUBLE_EQ(fixture.player().currentTime(), 25.0);
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 5.0);
    editor.stop();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 5.0);
}

TEST(PlaybackClock, StopAfterStopStaysAtTheStart)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.seekTo(3.0);
    editor.play();
    fixture.tickAt(9.0);
    editor.stop();
    editor.stop();
    EXPECT_DOUBLE_EQ(editor.currentTime(), 3.0);
}

TEST(PlaybackClock, SeekBackWhileRecordingPaintsTheCurrentPageOverTheStretch)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    const QImage pageTwo = makePageImage(1240, 1754, Qt::green);
    editor.setImages(makePageItems(
            {makePageImage(1240, 1754, Qt::red), makePageImage(1240, 1754, Qt::blue), pageTwo}));
    editor.setSelectedImageIndex(2);
    editor.seekTo(20.0);
    editor.startRecording();
    ASSERT_TRUE(editor.isRecording());
    ASSERT_EQ(editor.currentAssignmentIndex(), 2);

    editor.seekTo(10.0);

    EXPECT_EQ(editor.lastAssignedFrameIndex(), 300);
    for (int64_t frame = 300; frame <= 600; ++frame) {
        const auto record = editor.getFrameManager().getFrame(frame);
        ASSERT_EQ(record->assignedImageIndex, 2) << "frame " << frame;
        ASSERT_EQ(record->bgImage->cacheKey(), pageTwo.cacheKey()) << "frame " << frame;
    }
    EXPECT_EQ(fixture.pageOfFrame(299), std::nullopt);
    EXPECT_EQ(fixture.pageOfFrame(601), std::nullopt);
}

TEST(PlaybackClock, SeekForwardWhileRecordingPaintsTheStretchToo)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.setImages(makePageItems({makePageImage(1240, 1754, Qt::red)}));
    editor.seekTo(1.0);
    editor.startRecording();
    editor.seekTo(2.0);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 60);
    for (int64_t frame = 30; frame <= 60; ++frame)
        ASSERT_EQ(fixture.pageOfFrame(frame), 0) << "frame " << frame;
    EXPECT_EQ(fixture.pageOfFrame(29), std::nullopt);
    EXPECT_EQ(fixture.pageOfFrame(61), std::nullopt);
}

TEST(PlaybackClock, StopWhileRecordingEndsTheRecordingAndSchedulesAnAutosaveBeforeReturning)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.setImages(makePageItems({makePageImage(1240, 1754, Qt::red)}));
    editor.seekTo(10.0);
    editor.startRecording();
    fixture.tickAt(11.0);
    ASSERT_EQ(fixture.pageOfFrame(330), 0);

    QStringList events;
    QObject::connect(&editor, &VideoEditorViewModel::isRecordingChanged,
                     [&] { events << QStringLiteral("recording ") + (editor.isRecording() ? u'1' : u'0'); });
    QObject::connect(&editor, &VideoEditorViewModel::autoSaveScheduled,
                     [&] { events << QStringLiteral("autosave"); });
    QObject::connect(&editor, &VideoEditorViewModel::currentTimeChanged,
                     [&] { events << QStringLiteral("time %1").arg(editor.currentTime()); });
    editor.stop();

    EXPECT_EQ(events, (QStringList{QStringLiteral("recording 0"), QStringLiteral("autosave"),
                                   QStringLiteral("time 10")}));
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isPlaying());
    // The return seek paints nothing: the recorded stretch ends where the last tick left it.
    EXPECT_EQ(editor.lastAssignedFrameIndex(), 330);
    EXPECT_EQ(fixture.pageOfFrame(299), std::nullopt);
    EXPECT_EQ(fixture.pageOfFrame(331), std::nullopt);
}

TEST(PlaybackClock, StopWithoutRecordingSchedulesNoAutosave)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    QSignalSpy autosaves(&editor, &VideoEditorViewModel::autoSaveScheduled);
    editor.play();
    fixture.tickAt(3.0);
    editor.stop();
    EXPECT_EQ(autosaves.count(), 0);
}

TEST(PlaybackClock, SeekSelectsThePageAssignedAtTheNewPosition)
{
    PlaybackEditor fixture(40.0);
    VideoEditorViewModel& editor = fixture.editor();
    const QImage page = makePageImage(1240, 1754, Qt::red);
    editor.setImages(makePageItems({page, page, page, page, page}));
    EditorTestAccess::assignImageWithIndex(editor, page, 90, 4);
    editor.setSelectedImageIndex(1);

    editor.seekTo(2.0);
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    editor.seekTo(3.0);
    EXPECT_EQ(editor.selectedImageIndex(), 4);
}

TEST(PlaybackClockMapping, EveryFrameStartTimeMapsBackToItsFrame)
{
    PlaybackEditor fixture(10.0);
    for (int64_t frame = 0; frame < 200000; ++frame)
        ASSERT_EQ(fixture.editor().frameIndexForTime(static_cast<double>(frame) / 30.0), frame);
}
