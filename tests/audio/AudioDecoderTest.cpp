#include "audio/AudioDecoder.h"
#include "audio/FloatWavWriter.h"
#include "support/Log.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <cmath>

namespace {

AudioBuffer tone(int sampleRate, int channels, int frames)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    buffer.channels.assign(size_t(channels), std::vector<float>(size_t(frames)));
    for (int c = 0; c < channels; ++c) {
        for (int i = 0; i < frames; ++i)
            buffer.channels[size_t(c)][size_t(i)] = 0.5f * std::sin(float(i) * 0.01f * float(c + 1));
    }
    return buffer;
}

} // namespace

TEST(AudioDecoder, FloatWavComesBackBitExactAtItsOwnRateAndChannels)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tone.wav"));
    const AudioBuffer source = tone(48000, 2, 12345);
    ASSERT_TRUE(writeFloatWav(path, source, nullptr));

    const DecodeResult result = decodeAudioFile(path);
    ASSERT_TRUE(result.audio.has_value()) << result.error.toStdString();
    EXPECT_FALSE(result.truncated);
    EXPECT_EQ(result.audio->sampleRate, 48000);
    ASSERT_EQ(result.audio->channelCount(), 2);
    ASSERT_EQ(result.audio->frameCount(), 12345);
    EXPECT_EQ(result.audio->channels, source.channels);
}

TEST(AudioDecoder, DecodesFromMemory)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mono.wav"));
    ASSERT_TRUE(writeFloatWav(path, tone(44100, 1, 500), nullptr));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    QBuffer buffer(&bytes);
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
    const DecodeResult result = decodeAudioDevice(buffer, QStringLiteral("memória"));
    ASSERT_TRUE(result.audio.has_value());
    EXPECT_EQ(result.audio->frameCount(), 500);
}

TEST(AudioDecoder, MissingFileIsAnErrorWithAReason)
{
    const DecodeResult result = decodeAudioFile(QStringLiteral("/nonexistent/none.wav"));
    EXPECT_FALSE(result.audio.has_value());
    EXPECT_FALSE(result.error.isEmpty());
}

TEST(AudioDecoder, TextFileIsAnErrorWithAReason)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("notes.wav"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("this is not audio at all, just some words\n");
    file.close();
    const DecodeResult result = decodeAudioFile(path);
    EXPECT_FALSE(result.audio.has_value());
    EXPECT_FALSE(result.error.isEmpty());
}

TEST(AudioDecoder, EmptyFileIsAnError)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("empty.wav"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const DecodeResult result = decodeAudioFile(path);
    EXPECT_FALSE(result.audio.has_value());
    EXPECT_FALSE(result.error.isEmpty());
}

TEST(AudioDecoder, WavCutShortYieldsTheSamplesThatArePresent)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("cut.wav"));
    const AudioBuffer source = tone(44100, 1, 10000);
    ASSERT_TRUE(writeFloatWav(path, source, nullptr));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.resize(58 + 4000 * 4)); // header says 10000 frames, 4000 remain
    file.close();

    LogCapture log;
    const DecodeResult result = decodeAudioFile(path);
    ASSERT_TRUE(result.audio.has_value()) << result.error.toStdString();
    // Data that ends before the header says is a recording that breaks off part-way.
    EXPECT_TRUE(result.truncated);
    EXPECT_EQ(
            log.linesStartingWith(QStringLiteral("[Audio] A fájl dekódolása megszakadt (cut.wav): ")).size(),
            1);
    ASSERT_EQ(result.audio->frameCount(), 4000);
    for (int i = 0; i < 4000; ++i)
        ASSERT_EQ(result.audio->channels[0][size_t(i)], source.channels[0][size_t(i)]);
}

TEST(AudioDecoder, CompleteFilesAreNotReportedAsCutShort)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("whole.wav"));
    ASSERT_TRUE(writeFloatWav(path, tone(44100, 2, 10000), nullptr));
    LogCapture log;
    const DecodeResult result = decodeAudioFile(path);
    ASSERT_TRUE(result.audio.has_value());
    EXPECT_FALSE(result.truncated);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(AudioDecoder, HeaderClaimingGigabytesDoesNotReserveThem)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("liar.wav"));
    ASSERT_TRUE(writeFloatWav(path, tone(44100, 2, 100), nullptr));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek(54));
    const char huge[4] = {char(0xF0), char(0xFF), char(0xFF), char(0x7F)}; // data size ~2 GiB
    file.write(huge, 4);
    file.close();
    const DecodeResult result = decodeAudioFile(path);
    ASSERT_TRUE(result.audio.has_value());
    EXPECT_EQ(result.audio->frameCount(), 100);
    EXPECT_LT(result.audio->channels[0].capacity(), size_t(1) << 20);
}
