#include "audio/FrameSlicing.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <limits>

TEST(FrameSlicing, QuantisationMapsFullScaleToTheEndsAndZeroTo511)
{
    EXPECT_EQ(quantiseSample(1.0f), 1023);
    EXPECT_EQ(quantiseSample(-1.0f), 0);
    EXPECT_EQ(quantiseSample(0.0f), 511); // 511.5 truncated
    EXPECT_EQ(quantiseSample(3.0f), 1023);
    EXPECT_EQ(quantiseSample(-3.0f), 0);
    EXPECT_EQ(quantiseSample(std::numeric_limits<float>::infinity()), 1023);
    EXPECT_EQ(quantiseSample(-std::numeric_limits<float>::infinity()), 0);
    EXPECT_EQ(quantiseSample(0.5f), 767); // 1.5 * 511.5 = 767.25
}

TEST(FrameSlicing, SamplesPerFrameAre1470At44100And30)
{
    EXPECT_EQ(samplesPerFrame(44100.0, 30), 1470);
    EXPECT_EQ(samplesPerFrame(44100.0, 60), 735);
    EXPECT_EQ(samplesPerFrame(44100.0, 24), 1837); // 1837.5 truncated
}

TEST(FrameSlicing, TenSecondMonoFileGives300FramesOf1470WithExactValues)
{
    QTemporaryDir dir;
    AudioBuffer audio = fixtures::sineTone(44100, 1, 441000, 0.3f);
    audio.channels[0][0] = 1.0f;
    audio.channels[0][1] = -1.0f;
    audio.channels[0][2] = 0.0f;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("ten.wav")), audio);

    Frames frames;
    frames.ensureFrameCount(10.0, 30);
    LogCapture log;
    frames.loadAudioData(path, 44100.0, 30);
    ASSERT_EQ(frames.getFrameCount(), 300);
    for (int64_t i = 0; i < 300; ++i)
        ASSERT_EQ(frames.getFrame(i)->audioDatas.size(), 1470u) << "frame " << i;
    const auto& first = frames.getFrame(0)->audioDatas;
    EXPECT_EQ(first[0], 1023);
    EXPECT_EQ(first[1], 0);
    EXPECT_EQ(first[2], 511);
    EXPECT_EQ(frames.getFrame(299)->audioDatas[1469], quantiseSample(audio.channels[0][440999]));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Audio adatok betöltve: 300 frame, 1470 minta/frame")});
}

TEST(FrameSlicing, LastPartialFrameIsPaddedWith512)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("p.wav")),
                                            fixtures::constant(44100, 1, 1470 * 2 + 100, 1.0f));
    Frames frames;
    frames.ensureFrameCount((1470.0 * 2 + 100) / 44100.0, 30);
    ASSERT_EQ(frames.getFrameCount(), 3);
    frames.loadAudioData(path, 44100.0, 30);
    const auto& last = frames.getFrame(2)->audioDatas;
    ASSERT_EQ(last.size(), 1470u);
    for (size_t i = 0; i < 1470; ++i)
        ASSERT_EQ(last[i], i < 100 ? 1023 : 512) << i;
}

TEST(FrameSlicing, FramesBeyondTheAudioGet1470ValuesOf512)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("b.wav")),
                                            fixtures::constant(44100, 1, 1470 * 10, -1.0f));
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.getFrame(20)->audioDatas = {1, 2, 3};
    frames.loadAudioData(path, 44100.0, 30);
    for (int64_t i = 0; i < 30; ++i) {
        const auto& data = frames.getFrame(i)->audioDatas;
        ASSERT_EQ(data.size(), 1470u);
        EXPECT_EQ(data.front(), i < 10 ? 0 : 512) << i;
        EXPECT_EQ(data.back(), i < 10 ? 0 : 512) << i;
    }
}

TEST(FrameSlicing, A48kHzFileStillYields1470SamplesPerFrameAndDrifts)
{
    QTemporaryDir dir;
    AudioBuffer audio = fixtures::silence(48000, 1, 48000);
    audio.channels[0][1470] = 1.0f; // the 1470th sample is 30.6 ms in, still frame 0 in time
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("48k.wav")), audio);
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.loadAudioData(path, 44100.0, 30);
    ASSERT_EQ(frames.getFrameCount(), 30);
    EXPECT_EQ(frames.getFrame(1)->audioDatas.size(), 1470u);
    EXPECT_EQ(frames.getFrame(1)->audioDatas[0], 1023);
    // 30 frames x 1470 = 44100 of the 48000 samples: the last 3900 never reach a frame.
    EXPECT_EQ(frames.getFrame(29)->audioDatas.back(), 511);
}

TEST(FrameSlicing, OnlyTheLeftChannelOfAStereoFileIsSliced)
{
    QTemporaryDir dir;
    AudioBuffer audio = fixtures::constant(44100, 2, 1470, 0.0f);
    for (size_t i = 0; i < 1470; ++i) {
        audio.channels[0][i] = -1.0f;
        audio.channels[1][i] = 1.0f;
    }
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("st.wav")), audio);
    Frames frames;
    frames.ensureFrameCount(1.0 / 30.0, 30);
    frames.loadAudioData(path, 44100.0, 30);
    EXPECT_EQ(frames.getFrame(0)->audioDatas, std::vector<uint16_t>(1470, 0));
}

TEST(FrameSlicing, UnreadableFileOnlyLogsAndKeepsTheOldSlices)
{
    QTemporaryDir dir;
    Frames frames;
    frames.ensureFrameCount(1.0 / 30.0, 30);
    frames.getFrame(0)->audioDatas = {7};
    LogCapture log;
    frames.loadAudioData(dir.filePath(QStringLiteral("none.wav")), 44100.0, 30);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Hiba: nem sikerült betölteni az audio fájlt")});
    EXPECT_EQ(frames.getFrame(0)->audioDatas, std::vector<uint16_t>{7});
}
