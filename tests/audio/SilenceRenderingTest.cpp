#include "audio/SilenceRendering.h"
#include "audio/AudioDecoder.h"
#include "editor/VideoEditorViewModel.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EditorTestAccess.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

struct Rendered {
    std::optional<QString> path;
    AudioBuffer audio;
};

Rendered render(VideoEditorViewModel& editor, const QString& source, double start, double end)
{
    Rendered result;
    result.path = EditorTestAccess::addSilenceToAudio(editor, source, start, end);
    if (result.path) {
        DecodeResult decoded = decodeAudioFile(*result.path);
        if (decoded.audio)
            result.audio = std::move(*decoded.audio);
    }
    return result;
}

bool allZero(const std::vector<float>& samples, size_t from, size_t to)
{
    return std::all_of(samples.begin() + long(from), samples.begin() + long(to),
                       [](float s) { return s == 0.0f; });
}

} // namespace

TEST(SilenceRendering, TwoAndThreeSecondsAroundTenSecondsGiveFifteenSecondsWithExactZeros)
{
    QTemporaryDir dir;
    const AudioBuffer source = fixtures::sineTone(44100, 2, 441000);
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("ten.wav")), source);
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));

    const Rendered out = render(editor, path, 2.0, 3.0);
    ASSERT_TRUE(out.path.has_value());
    ASSERT_EQ(out.audio.frameCount(), 88200 + 441000 + 132300);
    EXPECT_EQ(out.audio.durationSeconds(), 15.0);
    for (int c = 0; c < 2; ++c) {
        const auto& samples = out.audio.channels[size_t(c)];
        EXPECT_TRUE(allZero(samples, 0, 88200));
        EXPECT_TRUE(allZero(samples, 88200 + 441000, samples.size()));
        EXPECT_NE(samples[88200 + 100], 0.0f);
    }
}

TEST(SilenceRendering, FullVolumeKeepsTheSourceBitIdenticalAndLogsNoGain)
{
    QTemporaryDir dir;
    const AudioBuffer source = fixtures::sineTone(44100, 2, 10000, 0.7f);
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("src.wav")), source);
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setVolumeBoost(100.0);

    LogCapture log;
    const Rendered out = render(editor, path, 1.0, 0.5);
    ASSERT_TRUE(out.path.has_value());
    for (int c = 0; c < 2; ++c) {
        const auto& samples = out.audio.channels[size_t(c)];
        ASSERT_EQ(samples.size(), size_t(44100 + 10000 + 22050));
        EXPECT_TRUE(std::equal(source.channels[size_t(c)].begin(), source.channels[size_t(c)].end(),
                               samples.begin() + 44100));
    }
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Hangerő erősítés")).isEmpty());
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[Audio] Csend hozzáadva: 1.0s elején, 0.5s végén"),
                                        QStringLiteral("[Audio] Temp fájl: ") + *out.path}));
}

TEST(SilenceRendering, TripleVolumeOnHalfScaleSourcePeaksAtOneAndAHalfUnclipped)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("half.wav")),
                                            fixtures::squareWave(44100, 1, 4410, 0.5f));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setVolumeBoost(300.0);

    LogCapture log;
    const Rendered out = render(editor, path, 0.1, 0.1);
    ASSERT_TRUE(out.path.has_value());
    const auto& samples = out.audio.channels[0];
    const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
    EXPECT_EQ(*high, 1.5f);
    EXPECT_EQ(*low, -1.5f);
    EXPECT_EQ(log.lines().value(0),
              QStringLiteral("[Audio] Hangerő erősítés alkalmazva: 300.0% (gain: 3.0)"));
}

TEST(SilenceRendering, NoSilencesGiveTheGainedSourceAloneAsFloatWave)
{
    QTemporaryDir dir;
    const AudioBuffer source = fixtures::sineTone(48000, 1, 4800, 0.25f);
    const QString path = fixtures::writePcm16Wav(dir.filePath(QStringLiteral("pcm16.wav")), source);
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setVolumeBoost(200.0);

    const Rendered out = render(editor, path, 0.0, 0.0);
    ASSERT_TRUE(out.path.has_value());
    const DecodeResult original = decodeAudioFile(path);
    ASSERT_TRUE(original.audio.has_value());
    ASSERT_EQ(out.audio.frameCount(), 4800);
    EXPECT_EQ(out.audio.sampleRate, 48000);
    for (size_t i = 0; i < 4800; ++i)
        ASSERT_EQ(out.audio.channels[0][i], original.audio->channels[0][i] * 2.0f);

    QFile file(*out.path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray header = file.read(44);
    EXPECT_EQ(header.left(4), QByteArray("RIFF"));
    EXPECT_EQ(header.mid(8, 4), QByteArray("WAVE"));
    EXPECT_EQ(qFromLittleEndian<uint16_t>(header.constData() + 20), 3); // IEEE float
    EXPECT_EQ(qFromLittleEndian<uint16_t>(header.constData() + 34), 32);
}

TEST(SilenceRendering, TenMicrosecondStartSilenceTruncatesToZeroFrames)
{
    EXPECT_EQ(silenceFrameCount(0.00001, 44100), 0u);
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("s.wav")),
                                            fixtures::constant(44100, 1, 100, 0.25f));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    const Rendered out = render(editor, path, 0.00001, 0.0);
    ASSERT_TRUE(out.path.has_value());
    ASSERT_EQ(out.audio.frameCount(), 100);
    EXPECT_EQ(out.audio.channels[0][0], 0.25f);
}

TEST(SilenceRendering, OutputIsNamedWithAFreshUpperCaseUuidInTheTemporaryFolder)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("s.wav")), fixtures::silence(44100, 1, 10));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    const std::optional<QString> first = EditorTestAccess::addSilenceToAudio(editor, path, 0.0, 0.0);
    const std::optional<QString> second = EditorTestAccess::addSilenceToAudio(editor, path, 0.0, 0.0);
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    const QRegularExpression name(QStringLiteral(
            "^audio_with_silence_[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.wav$"));
    for (const QString& out : {*first, *second}) {
        const QFileInfo info(out);
        EXPECT_EQ(info.absolutePath(), QFileInfo(dir.path()).absoluteFilePath());
        EXPECT_TRUE(name.match(info.fileName()).hasMatch()) << out.toStdString();
    }
}

TEST(SilenceRendering, EmptyTemporaryFolderSettingMeansTheSystemTemporaryFolder)
{
    EXPECT_TRUE(newProcessedAudioPath(QString()).startsWith(QDir::tempPath() + QLatin1Char('/')));
}

TEST(SilenceRendering, UnreadableSourceLogsTheErrorAndGivesNothing)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    LogCapture log;
    EXPECT_FALSE(
            EditorTestAccess::addSilenceToAudio(editor, dir.filePath(QStringLiteral("missing.wav")), 1.0, 1.0)
                    .has_value());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().front().startsWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ")));
}

TEST(SilenceRendering, UnwritableOutputLogsTheErrorAndGivesNothing)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("s.wav")), fixtures::silence(44100, 1, 10));
    VideoEditorViewModel editor(
            fixtures::manualPlayerEnvironment(dir.filePath(QStringLiteral("no-such-folder"))));
    LogCapture log;
    EXPECT_FALSE(EditorTestAccess::addSilenceToAudio(editor, path, 1.0, 1.0).has_value());
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ")).size(), 1);
}

TEST(SilenceRendering, GainIsLoggedInShortestFloatForm)
{
    EXPECT_EQ(formatFloat(gainForVolumeBoost(33.0)), QStringLiteral("0.33"));
    EXPECT_EQ(formatFloat(gainForVolumeBoost(250.0)), QStringLiteral("2.5"));
    EXPECT_EQ(formatFloat(gainForVolumeBoost(1000.0)), QStringLiteral("10.0"));
    EXPECT_EQ(formatFloat(gainForVolumeBoost(25.0)), QStringLiteral("0.25"));
}

TEST(SilenceRenderingDeathTest, NonFiniteSilenceStopsTheProgram)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("s.wav")), fixtures::silence(44100, 1, 10));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    EXPECT_DEATH(
            EditorTestAccess::addSilenceToAudio(editor, path, std::numeric_limits<double>::quiet_NaN(), 0.0),
            "Double value cannot be converted to UInt32 because it is either infinite or NaN");
    EXPECT_DEATH(
            EditorTestAccess::addSilenceToAudio(editor, path, 0.0, std::numeric_limits<double>::infinity()),
            "Double value cannot be converted to UInt32 because it is either infinite or NaN");
}

TEST(SilenceRenderingDeathTest, SilenceOfTwoToTheThirtyTwoFramesStopsTheProgram)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("s.wav")), fixtures::silence(44100, 1, 10));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    EXPECT_DEATH(
            EditorTestAccess::addSilenceToAudio(editor, path, 4294967296.0 / 44100.0, 0.0),
            "Double value cannot be converted to UInt32 because the result would be greater than UInt32.max");
    EXPECT_DEATH(
            EditorTestAccess::addSilenceToAudio(editor, path, -1.0, 0.0),
            "Double value cannot be converted to UInt32 because the result would be less than UInt32.min");
}

TEST(SilenceRendering, SilenceBetweenMinusOneFrameAndZeroBecomesZeroFrames)
{
    EXPECT_EQ(silenceFrameCount(-0.5 / 44100.0, 44100), 0u);
}

TEST(SilenceRendering, RenderingReleasesTheSourceAndKeepsChannelOrder)
{
    AudioBuffer source;
    source.sampleRate = 10;
    source.channels = {{1.0f, 2.0f}, {-1.0f, -2.0f}};
    const AudioBuffer out = renderSilenceAndGain(std::move(source), 1, 2, 0.5f);
    EXPECT_EQ(out.sampleRate, 10);
    EXPECT_EQ(out.channels[0], (std::vector<float>{0.0f, 0.5f, 1.0f, 0.0f, 0.0f}));
    EXPECT_EQ(out.channels[1], (std::vector<float>{0.0f, -0.5f, -1.0f, 0.0f, 0.0f}));
}
