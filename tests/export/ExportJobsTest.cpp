// The export as a background job: it keeps the recording it started with whatever the user
// does meanwhile, and a failure inside it or its mux ends in the usual alert.
#include "support/Log.h"
#include "tests/support/JobFixtures.h"
#include "tests/support/VideoProbe.h"

#include <QFileInfo>

class ExportJobs : public JobFixtures::JobEditor {};

TEST_F(ExportJobs, NewProjectAndAnotherRecordingDuringAnExportLeaveItItsOwnRecording)
{
    ASSERT_TRUE(load(writeToneWav(path(QStringLiteral("first.wav")), 44100, 1, 1.0)));
    const QString firstWav = *editor->audioURL();
    pagesOnEveryFrame(false);
    steps->holdAt = "exportFrame";
    const QString video = path(QStringLiteral("video.mov"));
    editor->exportVideoFile(video);
    ASSERT_TRUE(waitUntil([&] { return steps->entered.load(); }, 30000));

    editor->newProject();
    EXPECT_TRUE(QFileInfo::exists(firstWav)) << "the running export still needs it";
    ASSERT_TRUE(load(writeToneWav(path(QStringLiteral("second.wav")), 48000, 2, 2.0)));
    const QString secondWav = *editor->audioURL();
    EXPECT_TRUE(QFileInfo::exists(firstWav));

    steps->released = true;
    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export kész audio-val!"));
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.audioStreams, 1);
    EXPECT_EQ(probe.sampleRate, 44100);
    EXPECT_EQ(probe.channels, 1);
    // Once the export has ended, only the current recording's WAV is left.
    EXPECT_EQ(renderedWavs(), QStringList{secondWav});
}

TEST_F(ExportJobs, AnExceptionOnTheRenderThreadEndsInTheExportAlert)
{
    ASSERT_TRUE(load(writeToneWav(path(QStringLiteral("tone.wav")), 44100, 1, 0.5)));
    pagesOnEveryFrame(false);
    steps->throwAt = "exportFrame";
    LogCapture log;
    editor->exportVideoFile(path(QStringLiteral("video.mov")));
    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().style, AlertStyle::critical);
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export hiba"));
    EXPECT_EQ(dialogs.alerts().back().informativeText, QStringLiteral("szándékos hiba"));
    EXPECT_TRUE(log.contains(QStringLiteral("[Export] EXCEPTION: szándékos hiba")));
    EXPECT_FALSE(editor->isSavingProject());
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("video.mov"))));
    EXPECT_TRUE(partFiles().isEmpty());
}

TEST_F(ExportJobs, AnExceptionInTheMuxEndsInTheAudioFailureAlert)
{
    ASSERT_TRUE(load(writeToneWav(path(QStringLiteral("tone.wav")), 44100, 1, 0.5)));
    pagesOnEveryFrame(false);
    steps->throwAt = "mux";
    LogCapture log;
    editor->exportVideoFile(path(QStringLiteral("video.mov")));
    ASSERT_TRUE(waitForAlerts(dialogs));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(dialogs.alerts().back().style, AlertStyle::warning);
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Video OK, audio hiba!"));
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Export hiba: szándékos hiba")));
    EXPECT_FALSE(editor->isSavingProject());
    EXPECT_TRUE(partFiles().isEmpty());
}
