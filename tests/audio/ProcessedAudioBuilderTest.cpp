#include "audio/ProcessedAudioBuilder.h"
#include "audio/AudioDecoder.h"
#include "audio/Loudness.h"
#include "audio/SilenceRendering.h"
#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

TEST(ProcessedAudioBuilder, BuildingWhileDecodingEqualsDecodingThenRendering)
{
    QTemporaryDir dir;
    // Long enough for many hand-over chunks, with an odd length.
    const QString source = fixtures::writePcm16Wav(dir.filePath(QStringLiteral("src.wav")),
                                                   fixtures::sineTone(48000, 2, 123457, 0.6f));
    ProcessedAudioRequest request;
    request.startSilence = 0.25;
    request.endSilence = 0.5;
    request.gain = gainForVolumeBoost(175.0);
    request.wavPath = dir.filePath(QStringLiteral("out.wav"));
    request.samplesPerFrame = 1470;
    const ProcessedAudioResult built = ProcessedAudioBuilder(request).build(source);
    ASSERT_TRUE(built.decode.ok);
    ASSERT_TRUE(built.writeError.isEmpty()) << built.writeError.toStdString();

    DecodeResult decoded = decodeAudioFile(source);
    ASSERT_TRUE(decoded.audio.has_value());
    EXPECT_EQ(built.sourceFrames, 123457);
    EXPECT_EQ(rmsLoudnessFromSums(built.squareSums, built.sourceFrames), measureRmsLoudness(*decoded.audio));
    const AudioBuffer expected = renderSilenceAndGain(std::move(*decoded.audio), 12000, 24000, request.gain);
    ASSERT_NE(built.audio, nullptr);
    EXPECT_EQ(built.audio->sampleRate, 48000);
    EXPECT_EQ(built.audio->channels, expected.channels);

    const DecodeResult written = decodeAudioFile(request.wavPath);
    ASSERT_TRUE(written.audio.has_value());
    EXPECT_EQ(written.audio->channels, expected.channels);
    const FrameAudioSlices slices = quantiseFrameSlices(expected.channels[0], 1470);
    EXPECT_EQ(built.slices.samplesPerFrame, 1470);
    EXPECT_EQ(built.slices.slices, slices.slices);
}

TEST(ProcessedAudioBuilder, NothingDecodedLeavesNoFileBehind)
{
    QTemporaryDir dir;
    // A valid header with no samples at all, then garbage that cannot be decoded.
    const QString source =
            fixtures::writeBytes(dir.filePath(QStringLiteral("bad.mp3")), QByteArray(4096, char(0xFF)));
    ProcessedAudioRequest request;
    request.wavPath = dir.filePath(QStringLiteral("out.wav"));
    request.samplesPerFrame = 1470;
    const ProcessedAudioResult built = ProcessedAudioBuilder(request).build(source);
    EXPECT_FALSE(built.decode.ok);
    EXPECT_FALSE(built.decode.error.isEmpty());
    EXPECT_EQ(built.audio, nullptr);
    EXPECT_FALSE(QFile::exists(request.wavPath));
}

TEST(ProcessedAudioBuilder, UnwritableWavIsReportedButTheAudioIsStillBuilt)
{
    QTemporaryDir dir;
    const QString source = fixtures::writeWav(dir.filePath(QStringLiteral("src.wav")),
                                              fixtures::constant(44100, 1, 5000, 0.5f));
    ProcessedAudioRequest request;
    request.wavPath = dir.filePath(QStringLiteral("missing-folder/out.wav"));
    request.samplesPerFrame = 1470;
    const ProcessedAudioResult built = ProcessedAudioBuilder(request).build(source);
    EXPECT_TRUE(built.decode.ok);
    EXPECT_FALSE(built.writeError.isEmpty());
}
