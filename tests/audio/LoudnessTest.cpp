#include "audio/Loudness.h"
#include "editor/VideoEditorViewModel.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EditorTestAccess.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>
#include <limits>

namespace {

VideoEditorViewModel::LoudnessInfo ratingFor(std::optional<double> measured, double boost)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setAudioLoudnessDB(measured);
    editor.setVolumeBoost(boost);
    return editor.youtubeLoudnessInfo();
}

} // namespace

TEST(Loudness, AllZeroFileMeasuresMinus100AndIsRatedVeryQuietInRed)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("zero.wav")), fixtures::silence(44100, 2, 44100));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    const std::optional<double> measured = EditorTestAccess::measureAudioLoudness(editor, path);
    ASSERT_TRUE(measured.has_value());
    EXPECT_EQ(*measured, -100.0);

    editor.setAudioLoudnessDB(measured);
    const auto info = editor.youtubeLoudnessInfo();
    EXPECT_EQ(info.text, QStringLiteral("Nagyon halk (-84.0 dB)"));
    EXPECT_EQ(info.color, LoudnessColors::red());
}

TEST(Loudness, FullScaleSquareMeasuresZeroDbAndIsRatedTooLoudInRed)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("square.wav")),
                                            fixtures::squareWave(44100, 1, 44100, 1.0f));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    const std::optional<double> measured = EditorTestAccess::measureAudioLoudness(editor, path);
    ASSERT_TRUE(measured.has_value());
    EXPECT_EQ(*measured, 0.0);

    editor.setAudioLoudnessDB(measured);
    const auto info = editor.youtubeLoudnessInfo();
    EXPECT_EQ(info.text, QStringLiteral("Túl hangos! (+16.0 dB)"));
    EXPECT_EQ(info.color, LoudnessColors::red());
}

TEST(Loudness, ZeroBoostIsMinusInfinityAndRatedVeryQuiet)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setAudioLoudnessDB(-20.0);
    editor.setVolumeBoost(0.0);
    const std::optional<double> boosted = editor.boostedLoudnessDB();
    ASSERT_TRUE(boosted.has_value());
    EXPECT_TRUE(std::isinf(*boosted) && *boosted < 0);
    const auto info = editor.youtubeLoudnessInfo();
    EXPECT_EQ(info.text, QStringLiteral("Nagyon halk (-inf dB)"));
    EXPECT_EQ(info.color, LoudnessColors::red());
}

TEST(Loudness, NoAudioIsShownAsNoAudioInGray)
{
    const auto info = ratingFor(std::nullopt, 100.0);
    EXPECT_EQ(info.text, QStringLiteral("Nincs audio"));
    EXPECT_EQ(info.color, LoudnessColors::gray());
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    EXPECT_FALSE(editor.boostedLoudnessDB().has_value());
}

TEST(Loudness, BoostAddsItsGainInDecibels)
{
    EXPECT_EQ(*boostedLoudness(-20.0, 100.0), -20.0);
    EXPECT_NEAR(*boostedLoudness(-20.0, 200.0), -20.0 + 6.0206, 1e-4);
    EXPECT_NEAR(*boostedLoudness(-20.0, 50.0), -20.0 - 6.0206, 1e-4);
}

TEST(Loudness, MinusTwentyAtFullVolumeIsSlightlyQuietInYellow)
{
    const auto info = ratingFor(-20.0, 100.0);
    EXPECT_EQ(info.text, QStringLiteral("Kicsit halk (-4.0 dB)"));
    EXPECT_EQ(info.color, LoudnessColors::yellow());
}

TEST(Loudness, BandEdgesUseStrictLowerAndInclusiveUpperComparisons)
{
    // diff exactly -2.0: already the target band.
    EXPECT_EQ(youtubeLoudnessRating(-18.0).text, QStringLiteral("Jó! YouTube szint (-2.0 dB)"));
    EXPECT_EQ(youtubeLoudnessRating(-18.0).color, LoudnessColors::green());
    // diff exactly 3.0: still the target band.
    EXPECT_EQ(youtubeLoudnessRating(-13.0).text, QStringLiteral("Jó! YouTube szint (+3.0 dB)"));
    // diff 3.04: the band is chosen before rounding for display.
    EXPECT_EQ(youtubeLoudnessRating(-12.96).text, QStringLiteral("Kicsit hangos (+3.0 dB)"));
    EXPECT_EQ(youtubeLoudnessRating(-12.96).color, LoudnessColors::yellow());
    // diff exactly -6.0 is "Kicsit halk", exactly -12.0 is "Halk".
    EXPECT_EQ(youtubeLoudnessRating(-22.0).text, QStringLiteral("Kicsit halk (-6.0 dB)"));
    EXPECT_EQ(youtubeLoudnessRating(-28.0).text, QStringLiteral("Halk (-12.0 dB)"));
    EXPECT_EQ(youtubeLoudnessRating(-28.0).color, LoudnessColors::orange());
    EXPECT_EQ(youtubeLoudnessRating(-28.5).text, QStringLiteral("Nagyon halk (-12.5 dB)"));
    // diff exactly 6.0 is still "Kicsit hangos"; above it "Túl hangos!".
    EXPECT_EQ(youtubeLoudnessRating(-10.0).text, QStringLiteral("Kicsit hangos (+6.0 dB)"));
    EXPECT_EQ(youtubeLoudnessRating(-9.9).text, QStringLiteral("Túl hangos! (+6.1 dB)"));
}

TEST(Loudness, NanDifferenceFallsThroughToTooLoud)
{
    const auto rating = youtubeLoudnessRating(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(rating.text.startsWith(QStringLiteral("Túl hangos! ("))) << rating.text.toStdString();
    EXPECT_EQ(rating.color, LoudnessColors::red());
}

TEST(Loudness, RmsIsOverEverySampleOfEveryChannel)
{
    AudioBuffer buffer;
    buffer.sampleRate = 8000;
    buffer.channels = {{0.5f, 0.5f}, {0.0f, 0.0f}};
    // mean square = 0.125 -> rms 0.35355 -> -9.0309 dB
    EXPECT_NEAR(*measureRmsLoudness(buffer), 20.0 * std::log10(std::sqrt(0.125)), 1e-12);
}

TEST(Loudness, EmptyBufferHasNoLoudness)
{
    AudioBuffer buffer;
    buffer.sampleRate = 44100;
    buffer.channels = {{}};
    EXPECT_FALSE(measureRmsLoudness(buffer).has_value());
}

TEST(Loudness, UnreadableFileHasNoLoudnessAndLogsWhy)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeBytes(dir.filePath(QStringLiteral("text.wav")), "not audio\n");
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    LogCapture log;
    EXPECT_FALSE(EditorTestAccess::measureAudioLoudness(editor, path).has_value());
    ASSERT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hangosság mérés hiba: ")).size(), 1);
}

TEST(Loudness, Mp3IsMeasuredFromItsDecodedSamples)
{
    const QString encoder = fixtures::mp3EncoderName();
    if (encoder.isEmpty())
        GTEST_SKIP() << "this FFmpeg has no MP3 encoder";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tone.mp3"));
    QString error;
    ASSERT_TRUE(fixtures::encodeBuffer(path, encoder, fixtures::sineTone(44100, 2, 44100 * 2, 0.5f, 440.0),
                                       &error))
            << error.toStdString();
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    const std::optional<double> measured = EditorTestAccess::measureAudioLoudness(editor, path);
    ASSERT_TRUE(measured.has_value());
    // A sine of amplitude 0.5 has an RMS of 0.5 / sqrt(2): -9.03 dB; MP3 adds a little error
    // and a few samples of silence at the start.
    EXPECT_NEAR(*measured, -9.03, 0.3);
}
