#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTimer>

#include <string>
#include <utility>
#include <vector>

namespace {

EditorEnvironment testEnvironment(ScriptedDialogs& dialogs)
{
    EditorEnvironment environment;
    environment.dialogs = &dialogs;
    return environment;
}

} // namespace

TEST(VideoEditorViewModel, FreshEditorHasTheDefaults)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    EXPECT_EQ(editor.exportFPS(), 30);
    EXPECT_EQ(VideoEditorViewModel::FPS, 30);
    EXPECT_DOUBLE_EQ(editor.transitionDuration(), 0.5);
    EXPECT_DOUBLE_EQ(editor.startSilenceDuration(), 3.0);
    EXPECT_DOUBLE_EQ(editor.endSilenceDuration(), 5.0);
    EXPECT_DOUBLE_EQ(editor.volumeBoost(), 100.0);
    EXPECT_EQ(editor.fillColor(), QColor(Qt::white));
    EXPECT_EQ(editor.videoFormat(), VideoFormat::landscape);
    EXPECT_EQ(editor.lastAssignedFrameIndex(), -1);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
}

TEST(VideoEditorViewModel, FreshEditorHasNoProjectAndNothingRunning)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    EXPECT_FALSE(editor.showAudioSettings());
    EXPECT_FALSE(editor.audioLoudnessDB().has_value());
    EXPECT_DOUBLE_EQ(editor.previousStartSilence(), 3.0);
    EXPECT_DOUBLE_EQ(editor.previousEndSilence(), 5.0);
    EXPECT_TRUE(editor.images().empty());
    EXPECT_FALSE(editor.audioURL().has_value());
    EXPECT_FALSE(editor.originalAudioURL().has_value());
    EXPECT_FALSE(editor.isPlaying());
    EXPECT_DOUBLE_EQ(editor.currentTime(), 0.0);
    EXPECT_DOUBLE_EQ(editor.duration(), 0.0);
    EXPECT_TRUE(editor.waveformData().empty());
    EXPECT_FALSE(editor.isLoadingAudio());
    EXPECT_DOUBLE_EQ(editor.loadingProgress(), 0.0);
    EXPECT_FALSE(editor.isRecording());
    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_DOUBLE_EQ(editor.savingProgress(), 0.0);
    EXPECT_TRUE(editor.savingProgressText().isEmpty());
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_EQ(editor.audioPlayer(), nullptr);
    EXPECT_EQ(editor.playbackTimer(), nullptr);
    EXPECT_EQ(editor.autoSaveTimer(), nullptr);
    EXPECT_EQ(editor.currentAssignmentIndex(), 0);
    EXPECT_DOUBLE_EQ(editor.lastStartPlayPosition(), 0.0);
    EXPECT_FALSE(editor.wasPaused());
    EXPECT_FALSE(editor.currentAssignmentPlacement().has_value());
}

TEST(VideoEditorViewModel, ChangingExportFpsDoesNotChangeTheFrameStoreRate)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    editor.setExportFPS(60);
    EXPECT_EQ(editor.exportFPS(), 60);
    EXPECT_EQ(VideoEditorViewModel::FPS, 30);
    editor.getFrameManager().ensureFrameCount(1.0, VideoEditorViewModel::FPS);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 30);
}

TEST(VideoEditorViewModel, UpdateFillColorOnAnEmptyStoreOnlyChangesTheDefault)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    editor.updateFillColor(QColor(10, 20, 30));
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_EQ(editor.getFrameManager().defaultFillColor(), QColor(10, 20, 30));
    // The published colour is the view's business; the call only reaches the frames.
    EXPECT_EQ(editor.fillColor(), QColor(Qt::white));
}

TEST(VideoEditorViewModel, UpdateFillColorRecoloursExistingAndLaterFrames)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    Frames& frames = editor.getFrameManager();
    frames.ensureFrameCount(1.0, VideoEditorViewModel::FPS);
    editor.updateFillColor(QColor(Qt::black));
    EXPECT_EQ(frames.getFrame(0)->bgColor, QColor(Qt::black));
    EXPECT_EQ(frames.getFrame(29)->bgColor, QColor(Qt::black));
    frames.ensureFrameCount(2.0, VideoEditorViewModel::FPS);
    EXPECT_EQ(frames.getFrame(59)->bgColor, QColor(Qt::black));
}

TEST(VideoEditorViewModel, UpdateFillColorConvertsToSrgb)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    editor.updateFillColor(QColor::fromHsv(120, 255, 255));
    const QColor stored = editor.getFrameManager().defaultFillColor();
    EXPECT_EQ(stored.spec(), QColor::Rgb);
    EXPECT_EQ(stored, QColor(0, 255, 0));
}

TEST(VideoEditorViewModel, EveryAssignmentNotifiesEvenWithTheSameValue)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    QSignalSpy timeSpy(&editor, &VideoEditorViewModel::currentTimeChanged);
    QSignalSpy changedSpy(&editor, &VideoEditorViewModel::changed);
    editor.setCurrentTime(1.0);
    editor.setCurrentTime(1.0);
    EXPECT_EQ(timeSpy.count(), 2);
    EXPECT_EQ(changedSpy.count(), 2);

    QSignalSpy boostSpy(&editor, &VideoEditorViewModel::volumeBoostChanged);
    editor.setVolumeBoost(150.0);
    EXPECT_EQ(boostSpy.count(), 1);
    EXPECT_EQ(changedSpy.count(), 3);
}

TEST(VideoEditorViewModel, PageColorPaletteHasSixteenOpaqueColoursInOrder)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    const auto& colors = editor.pageColors();
    ASSERT_EQ(colors.size(), 16u);
    EXPECT_NEAR(colors[0].redF(), 0.91, 1e-4);
    EXPECT_NEAR(colors[1].blueF(), 0.91, 1e-4);
    EXPECT_NEAR(colors[11].blueF(), 0.97, 1e-4);
    EXPECT_NEAR(colors[15].redF(), 0.90, 1e-4);
    EXPECT_NEAR(colors[15].greenF(), 0.82, 1e-4);
    EXPECT_NEAR(colors[15].blueF(), 0.72, 1e-4);
    for (const QColor& color : colors)
        EXPECT_DOUBLE_EQ(color.alphaF(), 1.0);
}

TEST(VideoEditorViewModel, VideoAndCanvasSizeFollowTheFormat)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    EXPECT_EQ(editor.videoSize(), QSizeF(1920, 1080));
    editor.setVideoFormat(VideoFormat::portrait);
    EXPECT_EQ(editor.videoSize(), QSizeF(1080, 1920));
    EXPECT_EQ(editor.canvasSize(), editor.videoSize());
}

TEST(VideoEditorViewModel, GetFrameManagerReturnsTheStoreItself)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    editor.getFrameManager().ensureFrameCount(1.0, VideoEditorViewModel::FPS);
    editor.getFrameManager().getFrame(5)->assignedImageIndex = 3;
    EXPECT_EQ(&editor.getFrameManager(), &editor.getFrameManager());
    EXPECT_EQ(editor.getFrameManager().getFrame(5)->assignedImageIndex, 3);
}

TEST(VideoEditorViewModel, ScheduleAutoSaveAnnouncesEachRequest)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    QSignalSpy spy(&editor, &VideoEditorViewModel::autoSaveScheduled);
    editor.scheduleAutoSave();
    editor.scheduleAutoSave();
    EXPECT_EQ(spy.count(), 2);
}

namespace {

// Records the names of the overlay's and the loudness figures' signals, and of changed(), in
// the order they arrive.
class SignalLog {
public:
    explicit SignalLog(VideoEditorViewModel& editor)
    {
        watch(editor, &VideoEditorViewModel::isSavingProjectChanged, "isSavingProject");
        watch(editor, &VideoEditorViewModel::savingProgressChanged, "savingProgress");
        watch(editor, &VideoEditorViewModel::savingProgressTextChanged, "savingProgressText");
        watch(editor, &VideoEditorViewModel::audioLoudnessDBChanged, "audioLoudnessDB");
        watch(editor, &VideoEditorViewModel::integratedLoudnessLUFSChanged, "integratedLoudnessLUFS");
        watch(editor, &VideoEditorViewModel::truePeakDBTPChanged, "truePeakDBTP");
        watch(editor, &VideoEditorViewModel::isMeasuringLoudnessChanged, "isMeasuringLoudness");
        watch(editor, &VideoEditorViewModel::changed, "changed");
    }

    // The names recorded since the last call.
    std::vector<std::string> take() { return std::exchange(m_names, {}); }

private:
    void watch(VideoEditorViewModel& editor, void (VideoEditorViewModel::*signal)(), std::string name)
    {
        QObject::connect(&editor, signal, &editor, [this, name] { m_names.push_back(name); });
    }

    std::vector<std::string> m_names;
};

using Names = std::vector<std::string>;

} // namespace

TEST(VideoEditorViewModel, OverlaySettersEachSetTheirOwnFieldAndNotifyItThenTheWhole)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    SignalLog log(editor);

    editor.setIsSavingProject(true);
    EXPECT_EQ(log.take(), (Names{"isSavingProject", "changed"}));
    editor.setSavingProgress(0.25);
    EXPECT_EQ(log.take(), (Names{"savingProgress", "changed"}));
    editor.setSavingProgressText(QStringLiteral("25%\nMentés..."));
    EXPECT_EQ(log.take(), (Names{"savingProgressText", "changed"}));
    editor.setIsSavingProject(false);
    EXPECT_EQ(log.take(), (Names{"isSavingProject", "changed"}));

    EXPECT_FALSE(editor.isSavingProject());
    EXPECT_DOUBLE_EQ(editor.savingProgress(), 0.25);
    EXPECT_EQ(editor.savingProgressText(), QStringLiteral("25%\nMentés..."));
}

TEST(VideoEditorViewModel, LoudnessSettersEachSetTheirOwnFigureAndNotifyItThenTheWhole)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    SignalLog log(editor);

    editor.setAudioLoudnessDB(-20.0);
    EXPECT_EQ(log.take(), (Names{"audioLoudnessDB", "changed"}));
    editor.setIntegratedLoudnessLUFS(-15.0);
    EXPECT_EQ(log.take(), (Names{"integratedLoudnessLUFS", "changed"}));
    editor.setTruePeakDBTP(-2.5);
    EXPECT_EQ(log.take(), (Names{"truePeakDBTP", "changed"}));
    editor.setIsMeasuringLoudness(true);
    EXPECT_EQ(log.take(), (Names{"isMeasuringLoudness", "changed"}));

    EXPECT_EQ(editor.audioLoudnessDB(), -20.0);
    EXPECT_EQ(editor.integratedLoudnessLUFS(), -15.0);
    EXPECT_EQ(editor.truePeakDBTP(), -2.5);
    EXPECT_TRUE(editor.isMeasuringLoudness());
}

TEST(VideoEditorViewModel, CallingOffAudioJobsEndsARunningMeasurementWithOneNotification)
{
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    editor.setIsMeasuringLoudness(true);
    SignalLog log(editor);
    editor.cancelAudioJobs();
    EXPECT_EQ(log.take(), (Names{"isMeasuringLoudness", "changed"}));
    EXPECT_FALSE(editor.isMeasuringLoudness());
    // Nothing is measured any more: nothing to tell.
    editor.cancelAudioJobs();
    EXPECT_TRUE(log.take().empty());
}
