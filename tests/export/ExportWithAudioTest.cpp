#include "audio/FloatWavWriter.h"
#include "export/AudioMuxer.h"
#include "support/EventLoop.h"
#include "support/ExportFixtures.h"
#include "support/Log.h"
#include "support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <random>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// A page of random pixels: it does not compress, so a few frames make a sizeable file.
QImage noisePage(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    std::mt19937 random(42);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = qRgb(int(random() % 256), int(random() % 256), int(random() % 256));
    }
    return image;
}

// A recording of white noise: AAC cannot make it small.
QString writeNoiseWav(const QString& path, double seconds)
{
    AudioBuffer buffer = tone(48000, 2, seconds);
    std::mt19937 random(7);
    for (auto& channel : buffer.channels)
        for (float& sample : channel)
            sample = float(int(random() % 2001) - 1000) / 2000.0f;
    QString error;
    return writeFloatWav(path, buffer, &error) ? path : QString();
}

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

// The file system refuses to grow files past a limit (as a full disk does) in a child
// process, where the limit cannot touch the rest of the test run.
namespace {

void exportUnderFileSizeLimit(const QString& folder, rlim_t limit, bool withAudio)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit current{};
    getrlimit(RLIMIT_FSIZE, &current);
    rlimit small{limit, current.rlim_max};
    if (setrlimit(RLIMIT_FSIZE, &small) != 0)
        std::_Exit(3);
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor(testEnvironment(dialogs));
    setPages(editor, {noisePage(QSize(1920, 1080))});
    ensureFrames(editor, 90);
    assignFrames(editor, 0, 90, 0);
    if (withAudio)
        editor.setAudioURL(folder + QStringLiteral("/noise.wav"));
    editor.exportVideoFile(folder + QStringLiteral("/full.mov"));
    if (!waitForAlerts(dialogs, 1, 120000))
        std::_Exit(4);
    QThread::msleep(100);
    drainEvents();
    const auto alerts = dialogs.alerts();
    std::fprintf(stderr, "alerts=%zu style=%d message=%s temp=%d\n", alerts.size(), int(alerts.back().style),
                 alerts.back().message.toUtf8().constData(),
                 int(QFile::exists(folder + QStringLiteral("/") + kTemporaryMuxName)));
    std::fflush(stderr);
    std::_Exit(0);
}

} // namespace

TEST(ExportFaults, DiskFillingUpDuringTheVideoEndsInExportHiba)
{
    QTemporaryDir dir;
    EXPECT_EXIT(exportUnderFileSizeLimit(dir.path(), 100 * 1024, false), ::testing::ExitedWithCode(0),
                "alerts=1 style=2 message=Export hiba temp=0");
}

TEST(ExportFaults, DiskFillingUpDuringTheMuxKeepsTheSilentVideoAndLeavesNoTemporaryFile)
{
    QTemporaryDir dir;
    ASSERT_FALSE(writeNoiseWav(dir.filePath(QStringLiteral("noise.wav")), 3.0).isEmpty());
    // Measure the silent video first, then allow it but not it plus its sound.
    {
        ScriptedDialogs dialogs;
        VideoEditorViewModel editor(testEnvironment(dialogs));
        setPages(editor, {noisePage(QSize(1920, 1080))});
        ensureFrames(editor, 90);
        assignFrames(editor, 0, 90, 0);
        editor.exportVideoFile(dir.filePath(QStringLiteral("full.mov")));
        ASSERT_TRUE(waitForAlerts(dialogs));
        ASSERT_EQ(dialogs.alerts().back().message, QStringLiteral("Export kész!"));
    }
    const qint64 silentSize = QFileInfo(dir.filePath(QStringLiteral("full.mov"))).size();
    ASSERT_GT(silentSize, 100000);
    // Three seconds of noise at 256 kb/s add about 96 kB.
    const rlim_t limit = static_cast<rlim_t>(silentSize + 40 * 1024);
    EXPECT_EXIT(exportUnderFileSizeLimit(dir.path(), limit, true), ::testing::ExitedWithCode(0),
                "alerts=1 style=1 message=Video OK, audio hiba! temp=0");
    const VideoProbe probe = probeVideo(dir.filePath(QStringLiteral("full.mov")));
    EXPECT_EQ(probe.videoPackets, 90);
    EXPECT_EQ(probe.audioStreams, 0);
}
