#include "audio/AudioDecoder.h"
#include "export/AudioMuxer.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cmath>
#include <numbers>
#include <ostream>

extern "C" {
#include <libavcodec/avcodec.h>
}

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

// A recording as studios and old formats make them, and what its AAC track must be.
struct RecordingCase {
    const char* name;
    int sampleRate;
    int channels;
    bool pcm24; // 24-bit integer samples instead of 32-bit float
    int aacRate;
    int aacChannels;
};

void PrintTo(const RecordingCase& recording, std::ostream* out)
{
    *out << recording.name;
}

constexpr double kToneHz = 1000.0;

// `seconds` of a 1 kHz sine at half scale, the same in every channel.
AudioBuffer oneKilohertz(int sampleRate, int channels, double seconds)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    const auto frames = size_t(std::llround(seconds * sampleRate));
    std::vector<float> samples(frames);
    for (size_t i = 0; i < frames; ++i)
        samples[i] = float(0.5 * std::sin(2.0 * std::numbers::pi * kToneHz * double(i) / sampleRate));
    buffer.channels.assign(size_t(channels), samples);
    return buffer;
}

// A RIFF/WAVE file of 24-bit little-endian integer samples (format tag 1).
QString writePcm24Wav(const QString& path, const AudioBuffer& buffer)
{
    const auto frames = uint32_t(buffer.frameCount());
    const auto channels = uint16_t(buffer.channelCount());
    const uint32_t dataBytes = frames * channels * 3;
    QByteArray bytes;
    const auto u32 = [&bytes](uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bytes.append(char((v >> (8 * i)) & 0xff));
    };
    const auto u16 = [&bytes](uint16_t v) {
        bytes.append(char(v & 0xff));
        bytes.append(char(v >> 8));
    };
    bytes.append("RIFF");
    u32(36 + dataBytes);
    bytes.append("WAVEfmt ");
    u32(16);
    u16(1);
    u16(channels);
    u32(uint32_t(buffer.sampleRate));
    u32(uint32_t(buffer.sampleRate) * channels * 3);
    u16(uint16_t(channels * 3));
    u16(24);
    bytes.append("data");
    u32(dataBytes);
    for (uint32_t i = 0; i < frames; ++i) {
        for (const std::vector<float>& channel : buffer.channels) {
            const auto value = int32_t(std::lround(double(channel[i]) * 8388607.0));
            bytes.append(char(value & 0xff));
            bytes.append(char((value >> 8) & 0xff));
            bytes.append(char((value >> 16) & 0xff));
        }
    }
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? path : QString();
}

// The power of `frequency` in the samples (Goertzel), per sample.
double powerAt(const std::vector<float>& samples, size_t first, size_t count, int sampleRate,
               double frequency)
{
    const double coefficient = 2.0 * std::cos(2.0 * std::numbers::pi * frequency / sampleRate);
    double previous = 0.0;
    double older = 0.0;
    for (size_t i = first; i < first + count; ++i) {
        const double current = double(samples[i]) + coefficient * previous - older;
        older = previous;
        previous = current;
    }
    return (previous * previous + older * older - coefficient * previous * older) / double(count * count);
}

class RecordingExport : public ExportWithAudio, public ::testing::WithParamInterface<RecordingCase> {};

} // namespace

TEST_P(RecordingExport, ExportsWithOneAacTrackCarryingTheTone)
{
    const RecordingCase& c = GetParam();
    project(45);
    const AudioBuffer recording = oneKilohertz(c.sampleRate, c.channels, 2.0);
    const QString audio = path(QStringLiteral("recording.wav"));
    ASSERT_FALSE(
            (c.pcm24 ? writePcm24Wav(audio, recording) : fixtures::writeWav(audio, recording)).isEmpty());
    editor.setAudioURL(audio);
    const QString video = path(QStringLiteral("recording.mov"));
    const auto alert = exportTo(video);
    EXPECT_EQ(alert.message, QStringLiteral("Export kész audio-val!")) << alert.informativeText.toStdString();

    const VideoProbe probe = probeVideo(video);
    EXPECT_NEAR(probe.videoDuration, 1.5, 1e-9);
    ASSERT_EQ(probe.audioStreams, 1);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
    EXPECT_EQ(probe.audioProfile, FF_PROFILE_AAC_LOW);
    EXPECT_EQ(probe.sampleRate, c.aacRate);
    EXPECT_EQ(probe.channels, c.aacChannels);
    EXPECT_LE(probe.audioBitRate, (c.aacChannels == 1 ? 128000 : 256000) * 11 / 10);
    EXPECT_NEAR(probe.audioDuration, probe.videoDuration, 1024.0 / c.aacRate);

    // The tone comes out at its frequency, in every channel, at about its level.
    const DecodeResult decoded = decodeAudioFile(video);
    ASSERT_TRUE(decoded.audio.has_value()) << decoded.error.toStdString();
    const AudioBuffer& sound = *decoded.audio;
    ASSERT_EQ(sound.channelCount(), c.aacChannels);
    const auto first = size_t(sound.sampleRate / 2);
    const auto count = size_t(sound.sampleRate / 2);
    ASSERT_GE(size_t(sound.frameCount()), first + count);
    for (const std::vector<float>& channel : sound.channels) {
        const double tone = powerAt(channel, first, count, sound.sampleRate, kToneHz);
        EXPECT_GT(tone, 0.01) << "level of the tone";
        for (const double other : {700.0, 1300.0, 2000.0, 3000.0})
            EXPECT_GT(tone, 1000.0 * powerAt(channel, first, count, sound.sampleRate, other))
                    << other << " Hz";
    }
}

INSTANTIATE_TEST_SUITE_P(Recordings, RecordingExport,
                         ::testing::Values(RecordingCase{"studio_192_kHz_24_bit", 192000, 2, true, 48000, 2},
                                           RecordingCase{"studio_176_4_kHz", 176400, 2, false, 48000, 2},
                                           RecordingCase{"cd_rom_37_8_kHz", 37800, 2, false, 48000, 2},
                                           RecordingCase{"six_channels_48_kHz", 48000, 6, false, 48000, 2},
                                           RecordingCase{"mono_22_05_kHz", 22050, 1, false, 22050, 1}),
                         [](const ::testing::TestParamInfo<RecordingCase>& tested) {
                             return std::string(tested.param.name);
                         });

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
