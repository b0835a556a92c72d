#include "export/AudioMuxer.h"
#include "media/AacEncoder.h"
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <atomic>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

class AudioMuxing : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    // Calls addAudioToVideo and waits for its completion; returns its argument.
    bool mux(const QString& video, const QString& audio)
    {
        calls = 0;
        editor.addAudioToVideo(video, audio, [this](bool ok) {
            result = ok;
            ++calls;
        });
        EXPECT_TRUE(waitUntil([this] { return calls.load() > 0; }, 60000));
        // A second call would come now if there were one.
        QThread::msleep(50);
        drainEvents();
        EXPECT_EQ(calls.load(), 1);
        return result.load();
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
    LogCapture log;
    std::atomic<int> calls = 0;
    std::atomic<bool> result = false;
};

} // namespace

TEST_F(AudioMuxing, StereoRecordingBecomesAnAacTrackAsLongAsTheVideo)
{
    ASSERT_TRUE(writeSolidVideo(path(QStringLiteral("v.mov")), 60, 30));
    writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 5.0);
    EXPECT_TRUE(mux(path(QStringLiteral("v.mov")), path(QStringLiteral("a.wav"))));
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[Audio] Export session start..."),
                                        QStringLiteral("[Audio] Export kész, fájl csere..."),
                                        QStringLiteral("[Audio] Audio hozzáadva!")}));
    const VideoProbe probe = probeVideo(path(QStringLiteral("v.mov")));
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoStreams, 1);
    EXPECT_EQ(probe.videoPackets, 60);
    EXPECT_NEAR(probe.videoDuration, 2.0, 1e-9);
    ASSERT_EQ(probe.audioStreams, 1);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
    EXPECT_EQ(probe.audioProfile, FF_PROFILE_AAC_LOW);
    EXPECT_EQ(probe.sampleRate, 48000);
    EXPECT_EQ(probe.channels, 2);
    // The container states the measured average, at most the encoder's target.
    EXPECT_GT(probe.audioBitRate, 0);
    EXPECT_LE(probe.audioBitRate, 256000 * 11 / 10);
    // The recording is cut to the video's length, within one AAC frame.
    EXPECT_NEAR(probe.audioDuration, probe.videoDuration, 1024.0 / 48000);
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
}

TEST_F(AudioMuxing, MonoRecordingIsEncodedAtItsOwnRateAndHalfTheBitRate)
{
    ASSERT_TRUE(writeSolidVideo(path(QStringLiteral("v.mov")), 30, 30));
    writeToneWav(path(QStringLiteral("a.wav")), 44100, 1, 3.0);
    EXPECT_TRUE(mux(path(QStringLiteral("v.mov")), path(QStringLiteral("a.wav"))));
    const VideoProbe probe = probeVideo(path(QStringLiteral("v.mov")));
    EXPECT_EQ(probe.sampleRate, 44100);
    EXPECT_EQ(probe.channels, 1);
    EXPECT_GT(probe.audioBitRate, 0);
    EXPECT_LE(probe.audioBitRate, 128000 * 11 / 10);
    EXPECT_NEAR(probe.audioDuration, 1.0, 1024.0 / 44100);
}

TEST_F(AudioMuxing, ShorterRecordingIsNeitherPaddedNorTrimmed)
{
    ASSERT_TRUE(writeSolidVideo(path(QStringLiteral("v.mov")), 90, 30));
    writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 1.25);
    EXPECT_TRUE(mux(path(QStringLiteral("v.mov")), path(QStringLiteral("a.wav"))));
    const VideoProbe probe = probeVideo(path(QStringLiteral("v.mov")));
    EXPECT_NEAR(probe.videoDuration, 3.0, 1e-9);
    EXPECT_NEAR(probe.audioDuration, 1.25, 1024.0 / 48000);
}

TEST_F(AudioMuxing, StaleTemporaryFileIsReplaced)
{
    ASSERT_TRUE(writeSolidVideo(path(QStringLiteral("v.mov")), 30, 30));
    writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 1.0);
    {
        QFile stale(path(kTemporaryMuxName));
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
        stale.write(QByteArray(5000, 's'));
    }
    EXPECT_TRUE(mux(path(QStringLiteral("v.mov")), path(QStringLiteral("a.wav"))));
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
    EXPECT_EQ(probeVideo(path(QStringLiteral("v.mov"))).audioStreams, 1);
}

TEST_F(AudioMuxing, FileWithoutVideoTrackReportsVideoTrackHiba)
{
    writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 1.0);
    bool synchronous = false;
    editor.addAudioToVideo(path(QStringLiteral("a.wav")), path(QStringLiteral("a.wav")), [&](bool ok) {
        synchronous = true;
        result = ok;
    });
    EXPECT_TRUE(synchronous);
    EXPECT_FALSE(result.load());
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Audio] Video track hiba")});
}

TEST_F(AudioMuxing, UnreadableVideoReportsVideoTrackHiba)
{
    QFile junk(path(QStringLiteral("junk.mov")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("this is not a movie");
    junk.close();
    writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 1.0);
    EXPECT_FALSE(mux(path(QStringLiteral("junk.mov")), path(QStringLiteral("a.wav"))));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Audio] Video track hiba")});
}

TEST_F(AudioMuxing, MissingRecordingReportsAudioTrackHibaAndKeepsTheVideo)
{
    ASSERT_TRUE(writeSolidVideo(path(QStringLiteral("v.mov")), 30, 30));
    EXPECT_FALSE(mux(path(QStringLiteral("v.mov")), path(QStringLiteral("gone.wav"))));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Audio] Audio track hiba")});
    EXPECT_EQ(probeVideo(path(QStringLiteral("v.mov"))).videoPackets, 30);
    EXPECT_FALSE(QFile::exists(path(kTemporaryMuxName)));
}

TEST_F(AudioMuxing, EncoderTargetsTwoHundredFiftySixKilobitsStereoAndHalfThatMono)
{
    QString error;
    const auto stereo = encodeAac(writeToneWav(path(QStringLiteral("s.wav")), 48000, 2, 1.0), 10.0, &error);
    const auto mono = encodeAac(writeToneWav(path(QStringLiteral("m.wav")), 22050, 1, 1.0), 10.0, &error);
    ASSERT_TRUE(stereo && mono) << error.toStdString();
    EXPECT_EQ(stereo->bitRate, 256000);
    EXPECT_EQ(stereo->channelCount, 2);
    EXPECT_EQ(stereo->sampleRate, 48000);
    EXPECT_EQ(mono->bitRate, 128000);
    EXPECT_EQ(mono->channelCount, 1);
    EXPECT_EQ(mono->sampleRate, 22050);
    EXPECT_EQ(mono->sampleCount, 22050); // shorter than the limit: all of it
}

TEST_F(AudioMuxing, PreparedEncodingIsUsedOnlyWhileTheFileIsUnchanged)
{
    const QString audio = writeToneWav(path(QStringLiteral("a.wav")), 48000, 2, 2.0);
    QString error;
    const auto encoded = encodeAac(audio, 1.0, &error);
    ASSERT_TRUE(encoded) << error.toStdString();
    EXPECT_EQ(encoded->sampleCount, 48000);
    EXPECT_TRUE(isSameSource(*encoded, audio));
    QThread::msleep(20);
    writeToneWav(audio, 48000, 2, 3.0);
    EXPECT_FALSE(isSameSource(*encoded, audio));
}

TEST_F(AudioMuxing, EncodedPacketsAreSpooledToATemporaryFileThatGoesAwayWithThem)
{
    const QString audio = writeToneWav(path(QStringLiteral("a.wav")), 44100, 2, 2.0);
    QString error;
    auto encoded = encodeAac(audio, 10.0, &error);
    ASSERT_TRUE(encoded) << error.toStdString();
    const QString spool = encoded->spoolPath();
    EXPECT_TRUE(QFile::exists(spool));
    // 2 s at 44100 Hz in frames of 1024 samples, plus the encoder's priming frame.
    EXPECT_GE(encoded->packetCount(), 87);
    EXPECT_LE(encoded->packetCount(), 89);
    encoded.reset();
    EXPECT_FALSE(QFile::exists(spool));
}
