#include "export/AudioMuxer.h"
#include "support/EventLoop.h"
#include "support/ExportFixtures.h"
#include "support/Log.h"
#include "support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

class ExportWithAudio : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    void project(int64_t frames)
    {
        setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
        ensureFrames(editor, frames);
        assignFrames(editor, 0, frames / 2, 0, QRect(100, 100, 600, 400));
        assignFrames(editor, frames / 2, frames, 1, QRect(1200, 580, 600, 400));
    }

    ScriptedDialogs::Alert exportTo(const QString& path)
    {
        dialogs.queueSavePath(path);
        editor.exportVideo();
        EXPECT_TRUE(waitForAlerts(dialogs)) << "no final alert";
        QThread::msleep(50);
        drainEvents();
        EXPECT_EQ(dialogs.alerts().size(), 1u);
        return dialogs.alerts().empty() ? ScriptedDialogs::Alert{} : dialogs.alerts().back();
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
    LogCapture log;
};

} // namespace

TEST_F(ExportWithAudio, AudioAlertReplacesTheSuccessAlertAndTheFileHoldsAnAacTrack)
{
    project(45);
    editor.setAudioURL(writeToneWav(path(QStringLiteral("audio.wav")), 48000, 2, 3.0));
    std::vector<QString> texts;
    QObject::connect(&editor, &VideoEditorViewModel::savingProgressTextChanged,
                     [&] { texts.push_back(editor.savingProgressText()); });
    const QString video = path(QStringLiteral("with-audio.mov"));
    const auto alert = exportTo(video);
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész audio-val!"));
    EXPECT_EQ(alert.informativeText, QStringLiteral("45 frame + audio exportálva:\n") + video);
    EXPECT_FALSE(editor.isSavingProject());
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], QStringLiteral("100%\nKész!"));
    EXPECT_EQ(texts.back(), QStringLiteral("Video kész, audio hozzáadása..."));
    const QStringList lines = log.lines();
    const qsizetype done = lines.indexOf(QStringLiteral("[Export] Video kész, audio hozzáadása..."));
    ASSERT_GE(done, 0);
    EXPECT_GT(done, lines.indexOf(QStringLiteral("[Export] KÉSZ! Status: 2")));
    EXPECT_EQ(lines.mid(done + 1), (QStringList{QStringLiteral("[Audio] Export session start..."),
                                                QStringLiteral("[Audio] Export kész, fájl csere..."),
                                                QStringLiteral("[Audio] Audio hozzáadva!")}));

    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(probe.videoPackets, 45);
    EXPECT_NEAR(probe.videoDuration, 1.5, 1e-9);
    ASSERT_EQ(probe.audioStreams, 1);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
    EXPECT_EQ(probe.sampleRate, 48000);
    EXPECT_EQ(probe.channels, 2);
    EXPECT_NEAR(probe.audioDuration, probe.videoDuration, 1024.0 / 48000);
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
    // The pictures survive the copy.
    const auto frames = decodeVideoFrames(video, {10, 40});
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_TRUE(colorNear(frames.at(10).pixel(400, 780), Qt::red, 12));
    EXPECT_TRUE(colorNear(frames.at(40).pixel(1500, 300), Qt::blue, 12));
}

TEST_F(ExportWithAudio, AtOtherRatesTheRecordingIsStillCutToTheVideo)
{
    project(48);
    editor.setExportFPS(24);
    editor.setAudioURL(writeToneWav(path(QStringLiteral("audio.wav")), 44100, 2, 5.0));
    const QString video = path(QStringLiteral("rate24.mov"));
    EXPECT_EQ(exportTo(video).message, QStringLiteral("Export kész audio-val!"));
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.videoPackets, 48);
    EXPECT_NEAR(probe.videoDuration, 2.0, 1e-9);
    EXPECT_NEAR(probe.audioDuration, 2.0, 1024.0 / 44100);
}

TEST_F(ExportWithAudio, RecordingDeletedBeforeMuxingLeavesTheSilentVideo)
{
    project(30);
    const QString audio = writeToneWav(path(QStringLiteral("audio.wav")), 48000, 2, 2.0);
    editor.setAudioURL(audio);
    const QString video = path(QStringLiteral("silent.mov"));
    editor.exportVideoFile(video);
    ASSERT_TRUE(QFile::remove(audio));
    ASSERT_TRUE(waitForAlerts(dialogs));
    const auto alert = dialogs.alerts().back();
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.message, QStringLiteral("Video OK, audio hiba!"));
    EXPECT_EQ(alert.informativeText,
              QStringLiteral("A video exportálva, de az audio hozzáadása sikertelen:\n") + video);
    EXPECT_TRUE(log.contains(QStringLiteral("[Audio] Audio track hiba")));
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.videoPackets, 30);
    EXPECT_EQ(probe.audioStreams, 0);
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
    EXPECT_FALSE(editor.isSavingProject());
}

TEST_F(ExportWithAudio, RecordingReplacedDuringTheExportIsMuxedAsItIsAtTheEnd)
{
    project(60);
    const QString audio = writeToneWav(path(QStringLiteral("audio.wav")), 48000, 2, 4.0);
    editor.setAudioURL(audio);
    const QString video = path(QStringLiteral("replaced.mov"));
    editor.exportVideoFile(video);
    QThread::msleep(20);
    writeToneWav(audio, 48000, 2, 0.5);
    ASSERT_TRUE(waitForAlerts(dialogs));
    EXPECT_EQ(dialogs.alerts().back().message, QStringLiteral("Export kész audio-val!"));
    EXPECT_NEAR(probeVideo(video).audioDuration, 0.5, 1024.0 / 48000);
}

TEST_F(ExportWithAudio, ZeroFramesWithAudioKeepTheEmptyVideoAndWarn)
{
    editor.setAudioURL(writeToneWav(path(QStringLiteral("audio.wav")), 48000, 2, 1.0));
    const QString video = path(QStringLiteral("nothing.mov"));
    const auto alert = exportTo(video);
    EXPECT_EQ(alert.message, QStringLiteral("Video OK, audio hiba!"));
    EXPECT_TRUE(QFile::exists(video));
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
}
