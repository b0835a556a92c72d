#include "audio/LoudnessNormalisation.h"
#include "audio/ProcessedAudioBuilder.h"
#include "audio/SilenceRendering.h"
#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <random>

namespace {

// See the pink-noise test.
constexpr double kRecordedFfmpegPinkNoiseLUFS = -22.9;

// The same 1 kHz sine in both channels with the given peak level.
AudioBuffer stereoSine(int sampleRate, double seconds, double peakDBFS)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    const auto frames = static_cast<size_t>(seconds * sampleRate);
    const double amplitude = std::pow(10.0, peakDBFS / 20.0);
    std::vector<float> channel(frames);
    for (size_t i = 0; i < frames; ++i)
        channel[i] = static_cast<float>(amplitude *
                                        std::sin(2.0 * std::numbers::pi * 1000.0 * double(i) / sampleRate));
    buffer.channels = {channel, channel};
    return buffer;
}

// Deterministic pink noise (white noise through a -3 dB/octave filter), independent per
// channel, scaled to about -20 dBFS RMS.
AudioBuffer pinkNoise(int sampleRate, int channels, double seconds)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    const auto frames = static_cast<size_t>(seconds * sampleRate);
    std::mt19937 generator(12345);
    for (int c = 0; c < channels; ++c) {
        std::vector<float> channel(frames);
        double b0 = 0, b1 = 0, b2 = 0, b3 = 0, b4 = 0, b5 = 0, b6 = 0;
        for (size_t i = 0; i < frames; ++i) {
            // Raw generator bits are the same on every platform, unlike the distributions.
            const double white = double(generator()) / 2147483648.0 - 1.0;
            b0 = 0.99886 * b0 + white * 0.0555179;
            b1 = 0.99332 * b1 + white * 0.0750759;
            b2 = 0.96900 * b2 + white * 0.1538520;
            b3 = 0.86650 * b3 + white * 0.3104856;
            b4 = 0.55000 * b4 + white * 0.5329522;
            b5 = -0.7616 * b5 - white * 0.0168980;
            const double pink = b0 + b1 + b2 + b3 + b4 + b5 + b6 + white * 0.5362;
            b6 = white * 0.115926;
            channel[i] = static_cast<float>(pink * 0.03);
        }
        buffer.channels.push_back(std::move(channel));
    }
    return buffer;
}

struct Measured {
    bool decoded = false;
    std::optional<double> integratedLUFS;
    std::optional<double> truePeakDBTP;
};

// Decodes `path` through the loading's builder and measures the processed buffer the way a
// load does: the source's samples between the silences, with the boost taken back out.
Measured buildFrom(const QString& path, const QTemporaryDir& dir, double volumeBoost = 100.0)
{
    ProcessedAudioRequest request;
    request.startSilence = 1.0;
    request.endSilence = 0.5;
    request.gain = gainForVolumeBoost(volumeBoost);
    request.wavPath = dir.filePath(QStringLiteral("processed.wav"));
    request.samplesPerFrame = 1470;
    const ProcessedAudioResult built = ProcessedAudioBuilder(request).build(path);
    Measured measured;
    measured.decoded = built.decode.ok;
    if (!built.audio)
        return measured;
    const std::atomic<bool> notCancelled{false};
    const std::optional<RecordingLoudness> loudness = measureRecordingLoudness(
            *built.audio, built.sourceOffset, size_t(built.sourceFrames), request.gain, notCancelled);
    EXPECT_TRUE(loudness.has_value());
    if (loudness) {
        measured.integratedLUFS = loudness->integratedLUFS;
        measured.truePeakDBTP = loudness->truePeakDBTP;
    }
    return measured;
}

} // namespace

TEST(LoudnessNormalisation, StereoSineAtMinus23DBFSPeakMeasuresMinus23LUFS)
{
    // The reference case: 1 kHz, both channels, 48 kHz. K-weighting lifts 1 kHz by about
    // 0.69 dB, the sine's mean square is 3.01 dB below its peak, two channels add 3.01 dB and
    // the scale's offset takes 0.691 dB: -23.0 LUFS.
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("sine.wav")), stereoSine(48000, 20.0, -23.0));
    // Boosted processing must not change the measurement of the source.
    const Measured built = buildFrom(path, dir, 300.0);
    ASSERT_TRUE(built.decoded);
    ASSERT_TRUE(built.integratedLUFS.has_value());
    ASSERT_TRUE(built.truePeakDBTP.has_value());
    EXPECT_NEAR(*built.integratedLUFS, -23.0, 0.1);
    // A 1 kHz sine has no inter-sample overs worth speaking of.
    EXPECT_NEAR(*built.truePeakDBTP, -23.0, 0.1);
    std::printf("stereo 1 kHz sine, -23 dBFS peak: %.3f LUFS, %.3f dBTP\n", *built.integratedLUFS,
                *built.truePeakDBTP);
}

TEST(LoudnessNormalisation, PinkNoiseAgreesWithFfmpegEbur128FilterWithinATenthOfALU)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("pink.wav")), pinkNoise(48000, 2, 15.0));
    const Measured built = buildFrom(path, dir);
    ASSERT_TRUE(built.integratedLUFS.has_value());

    // Figure of ffmpeg 5.1's ebur128 filter on this very file (Debian 12,
    // `ffmpeg -nostats -i pink.wav -af ebur128 -f null -`), used only where ffmpeg is absent.
    double reference = kRecordedFfmpegPinkNoiseLUFS;
    const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    if (!ffmpeg.isEmpty()) {
        QProcess process;
        process.start(ffmpeg, {QStringLiteral("-nostats"), QStringLiteral("-i"), path, QStringLiteral("-af"),
                               QStringLiteral("ebur128"), QStringLiteral("-f"), QStringLiteral("null"),
                               QStringLiteral("-")});
        ASSERT_TRUE(process.waitForFinished(60000));
        const QString output = QString::fromUtf8(process.readAllStandardError());
        // The summary comes last: "Integrated loudness:\n    I:  -23.4 LUFS".
        const QRegularExpression summary(QStringLiteral("Integrated loudness:\\s*I:\\s*(-?[0-9.]+) LUFS"));
        const QRegularExpressionMatch match = summary.match(output);
        ASSERT_TRUE(match.hasMatch()) << output.toStdString();
        reference = match.captured(1).toDouble();
    }
    EXPECT_NEAR(*built.integratedLUFS, reference, 0.1);
    std::printf("pink noise: %.3f LUFS (ffmpeg ebur128: %.1f LUFS), %.3f dBTP\n", *built.integratedLUFS,
                reference, built.truePeakDBTP.value_or(NAN));
}

TEST(LoudnessNormalisation, SilenceHasNoIntegratedLoudnessOrTruePeak)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("silence.wav")),
                                            fixtures::silence(48000, 2, 96000));
    const Measured built = buildFrom(path, dir);
    ASSERT_TRUE(built.decoded);
    EXPECT_FALSE(built.integratedLUFS.has_value());
    EXPECT_FALSE(built.truePeakDBTP.has_value());
}

TEST(LoudnessNormalisation, BoostShiftsBothFiguresByItsGainInDecibels)
{
    EXPECT_NEAR(*boostedLevel(-20.0, 200.0), -20.0 + 6.0206, 1e-4);
    EXPECT_NEAR(*boostedLevel(-3.0, 50.0), -3.0 - 6.0206, 1e-4);
    EXPECT_EQ(*boostedLevel(-14.0, 100.0), -14.0);
    EXPECT_FALSE(boostedLevel(std::nullopt, 200.0).has_value());
}

TEST(LoudnessNormalisation, NormaliseBoostForMinus26LUFSWithLowPeaksIs398Percent)
{
    // +12 dB: 10^(12/20) x 100 = 398.1.
    EXPECT_EQ(normalisationBoost(-26.0, -20.0), 398.0);

    // The same from a measured file: the reference sine at -26 dBFS peak is -26 LUFS.
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("quiet.wav")), stereoSine(48000, 10.0, -26.0));
    const Measured built = buildFrom(path, dir);
    ASSERT_TRUE(built.integratedLUFS.has_value());
    EXPECT_NEAR(*built.integratedLUFS, -26.0, 0.1);
    EXPECT_EQ(normalisationBoost(built.integratedLUFS, built.truePeakDBTP), 398.0);
}

TEST(LoudnessNormalisation, NormaliseBoostIsLimitedSoTheTruePeakStaysAtMinusOneDBTP)
{
    // -14 LUFS would need +12 dB, which takes a -6 dBTP peak to +6 dBTP: only +5 dB is allowed.
    const std::optional<double> boost = normalisationBoost(-26.0, -6.0);
    ASSERT_TRUE(boost.has_value());
    EXPECT_LT(*boost, 398.0);
    EXPECT_EQ(*boost, 177.0); // 10^(5/20) x 100 = 177.8, kept under the ceiling
    EXPECT_LE(*boostedLevel(-6.0, *boost), kTruePeakCeilingDBTP);
}

TEST(LoudnessNormalisation, NormaliseBoostIsClampedToTheSliderRange)
{
    EXPECT_EQ(normalisationBoost(-70.0, -60.0), 1000.0);
    EXPECT_EQ(normalisationBoost(2.0, 3.0), 25.0);
    EXPECT_EQ(normalisationBoost(-14.0, -10.0), 100.0);
    EXPECT_FALSE(normalisationBoost(std::nullopt, -10.0).has_value());
}

TEST(LoudnessNormalisation, CancelledMeasurementGivesNothing)
{
    const AudioBuffer tone = stereoSine(48000, 5.0, -10.0);
    const std::atomic<bool> cancelled{true};
    EXPECT_FALSE(measureRecordingLoudness(tone, 0, size_t(tone.frameCount()), 1.0f, cancelled).has_value());
}

TEST(LoudnessNormalisation, MeasurementReadsOnlyTheSourceBetweenTheSilencesAndUndoesTheBoost)
{
    // Two seconds of silence, the tone boosted by 2, one second of silence.
    const AudioBuffer tone = stereoSine(48000, 5.0, -20.0);
    AudioBuffer processed;
    processed.sampleRate = 48000;
    for (const std::vector<float>& source : tone.channels) {
        std::vector<float> channel(2 * 48000, 0.0f);
        for (const float sample : source)
            channel.push_back(sample * 2.0f);
        channel.insert(channel.end(), 48000, 0.0f);
        processed.channels.push_back(std::move(channel));
    }
    const std::atomic<bool> notCancelled{false};
    const std::optional<RecordingLoudness> direct =
            measureRecordingLoudness(tone, 0, size_t(tone.frameCount()), 1.0f, notCancelled);
    const std::optional<RecordingLoudness> fromProcessed =
            measureRecordingLoudness(processed, 2 * 48000, size_t(tone.frameCount()), 2.0f, notCancelled);
    ASSERT_TRUE(direct && fromProcessed);
    ASSERT_TRUE(direct->integratedLUFS && fromProcessed->integratedLUFS);
    EXPECT_NEAR(*fromProcessed->integratedLUFS, *direct->integratedLUFS, 1e-6);
    EXPECT_NEAR(*fromProcessed->truePeakDBTP, *direct->truePeakDBTP, 1e-6);
    EXPECT_NEAR(*direct->integratedLUFS, -20.0, 0.1);
}
