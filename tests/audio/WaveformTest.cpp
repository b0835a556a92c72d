#include "audio/Waveform.h"
#include "editor/VideoEditorViewModel.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace {

std::vector<float> barsOfFile(const AudioBuffer& audio)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("w.wav")), audio);
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.generateWaveformSync(path);
    waitUntil([&] { return !editor.waveformData().empty(); }, 5000);
    return editor.waveformData();
}

} // namespace

TEST(Waveform, ThousandFramesGiveFiveHundredBarsOfTwoSamplesWithThePeakInItsBar)
{
    AudioBuffer audio = fixtures::constant(44100, 1, 1000, 0.1f);
    audio.channels[0][3] = -0.8f;
    const std::vector<float> bars = barsOfFile(audio);
    ASSERT_EQ(bars.size(), 500u);
    for (size_t b = 0; b < bars.size(); ++b)
        EXPECT_EQ(bars[b], b == 1 ? 0.8f : 0.1f) << "bar " << b;
}

TEST(Waveform, TheRemainderAfterTheLastWholeBarIsIgnored)
{
    AudioBuffer audio = fixtures::constant(44100, 1, 1001, 0.1f);
    audio.channels[0][1000] = 0.9f;
    const std::vector<float> bars = barsOfFile(audio);
    ASSERT_EQ(bars.size(), 500u);
    for (const float bar : bars)
        EXPECT_EQ(bar, 0.1f);
}

TEST(Waveform, FewerFramesThanBarsGiveFiveHundredZeros)
{
    const std::vector<float> bars = barsOfFile(fixtures::constant(44100, 1, 499, 0.7f));
    EXPECT_EQ(bars, std::vector<float>(500, 0.0f));
}

TEST(Waveform, OnlyChannelZeroCountsAndValuesAreNotNormalised)
{
    AudioBuffer audio = fixtures::constant(44100, 2, 1000, 0.25f);
    audio.channels[1][10] = 0.99f;
    audio.channels[0][20] = -1.75f; // a boosted sample beyond full scale
    const std::vector<float> bars = waveformBars(audio.channels[0]);
    EXPECT_EQ(bars[5], 0.25f);
    EXPECT_EQ(bars[10], 1.75f);
}

TEST(Waveform, FailedOpenLeavesThePreviousBars)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setWaveformData({1.0f, 2.0f, 3.0f});
    editor.generateWaveformSync(dir.filePath(QStringLiteral("missing.wav")));
    drainEvents();
    EXPECT_EQ(editor.waveformData(), (std::vector<float>{1.0f, 2.0f, 3.0f}));
}

TEST(Waveform, BackgroundGenerationPublishesOnTheMainThread)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("w.wav")),
                                            fixtures::constant(44100, 1, 5000, 0.5f));
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.generateWaveform(path);
    ASSERT_TRUE(waitUntil([&] { return editor.waveformData().size() == 500; }));
    EXPECT_EQ(editor.waveformData().front(), 0.5f);
}

TEST(Waveform, BarZeroIsFrameZeroAndBar250Of500At10SecondsIsFrame150)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setDuration(10.0);
    EXPECT_EQ(editor.frameIndexForWaveformBar(0, 500), 0);
    EXPECT_EQ(editor.frameIndexForWaveformBar(250, 500), 150);
    EXPECT_EQ(editor.frameIndexForWaveformBar(499, 500), 299); // 299.4 truncated
}

TEST(WaveformDeathTest, ZeroBarsStopTheProgram)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
    editor.setDuration(10.0);
    EXPECT_DEATH(editor.frameIndexForWaveformBar(1, 0),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
}
