// Inputs found by fuzzing the audio import (scripts/fuzz audio), kept under tests/data/fuzz/audio,
// and the rules they led to, each also checked on a file made here.
#include "audio/AudioDecoder.h"
#include "audio/FloatWavWriter.h"
#include "tests/support/BuildPaths.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <cmath>

namespace {

QString refusedRate(int rate, const char* limit)
{
    return QStringLiteral("nem támogatott mintavételezés: %1 Hz (%2)")
            .arg(rate)
            .arg(QString::fromUtf8(limit));
}

QString fuzzFile(const char* name)
{
    return vornikSourceDir() + QStringLiteral("/tests/data/fuzz/audio/") + QString::fromLatin1(name);
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

DecodeResult decodeBytes(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return decodeAudioDevice(buffer, QStringLiteral("memória"));
}

void appendLittleEndian(QByteArray& bytes, uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.append(static_cast<char>((value >> (8 * i)) & 0xff));
}

QByteArray pcm16Samples(int frames)
{
    QByteArray data;
    for (int i = 0; i < frames; ++i)
        appendLittleEndian(data, static_cast<uint16_t>(std::lround(8000.0 * std::sin(i * 0.3))), 2);
    return data;
}

// A 16-bit mono WAV of `frames` samples whose RIFF size ends with its data chunk. After it
// come a chunk whose size reaches far past the end of the file, and behind that a second data
// chunk of `hiddenFrames` samples. A reader that skips the big chunk finds the end of the file;
// one that fails to skip it reads on and finds the second data chunk.
QByteArray wavWithChunkPastTheEnd(int frames, int hiddenFrames)
{
    const QByteArray data = pcm16Samples(frames);
    QByteArray bytes("RIFF");
    appendLittleEndian(bytes, static_cast<uint32_t>(36 + data.size()), 4);
    bytes.append("WAVEfmt ");
    appendLittleEndian(bytes, 16, 4);
    appendLittleEndian(bytes, 1, 2);     // PCM
    appendLittleEndian(bytes, 1, 2);     // mono
    appendLittleEndian(bytes, 8000, 4);  // rate
    appendLittleEndian(bytes, 16000, 4); // bytes per second
    appendLittleEndian(bytes, 2, 2);     // block
    appendLittleEndian(bytes, 16, 2);    // bits
    bytes.append("data");
    appendLittleEndian(bytes, static_cast<uint32_t>(data.size()), 4);
    bytes.append(data);
    bytes.append("junk");
    appendLittleEndian(bytes, 0x40000000u, 4);
    const QByteArray hidden = pcm16Samples(hiddenFrames);
    bytes.append("data");
    appendLittleEndian(bytes, static_cast<uint32_t>(hidden.size()), 4);
    bytes.append(hidden);
    return bytes;
}

AudioBuffer tone(int sampleRate, int frames)
{
    AudioBuffer buffer;
    buffer.sampleRate = sampleRate;
    buffer.channels.assign(1, std::vector<float>(size_t(frames)));
    for (int i = 0; i < frames; ++i)
        buffer.channels[0][size_t(i)] = 0.25f * std::sin(float(i) * 0.05f);
    return buffer;
}

DecodeResult decodeToneAt(int sampleRate)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tone.wav"));
    if (!writeFloatWav(path, tone(sampleRate, 64), nullptr))
        return {};
    return decodeAudioFile(path);
}

} // namespace

TEST(AudioDecoderHardening, BytesInMemoryDecodeLikeTheSameFileWhenAChunkAfterTheDataReachesPastTheEnd)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("chunk.wav"));
    const QByteArray bytes = wavWithChunkPastTheEnd(960, 400);
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    const DecodeResult fromFile = decodeAudioFile(path);
    const DecodeResult fromMemory = decodeBytes(bytes);
    ASSERT_TRUE(fromFile.audio.has_value()) << fromFile.error.toStdString();
    ASSERT_TRUE(fromMemory.audio.has_value()) << fromMemory.error.toStdString();
    EXPECT_EQ(fromFile.audio->frameCount(), 960);
    EXPECT_EQ(fromMemory.audio->frameCount(), 960);
    EXPECT_EQ(fromMemory.audio->channels, fromFile.audio->channels);
}

TEST(AudioDecoderHardening, FuzzFoundWavWithAChunkPastTheEndDecodesFromMemoryLikeFromTheFile)
{
    const QString path = fuzzFile("wav-chunk-past-end.wav");
    const QByteArray bytes = readAll(path);
    ASSERT_EQ(bytes.size(), 9815);

    const DecodeResult fromFile = decodeAudioFile(path);
    const DecodeResult fromMemory = decodeBytes(bytes);
    ASSERT_TRUE(fromFile.audio.has_value()) << fromFile.error.toStdString();
    ASSERT_TRUE(fromMemory.audio.has_value()) << fromMemory.error.toStdString();
    // The data chunk holds 960 samples; the bytes after it are not part of the recording.
    EXPECT_EQ(fromFile.audio->frameCount(), 960);
    EXPECT_EQ(fromMemory.audio->frameCount(), 960);
    EXPECT_EQ(fromMemory.audio->channels, fromFile.audio->channels);
}

TEST(AudioDecoderHardening, SampleRateAbove768kHzIsRefusedAsABrokenHeader)
{
    const DecodeResult highest = decodeToneAt(768000);
    ASSERT_TRUE(highest.audio.has_value()) << highest.error.toStdString();
    EXPECT_EQ(highest.audio->sampleRate, 768000);
    EXPECT_EQ(highest.audio->frameCount(), 64);

    const DecodeResult above = decodeToneAt(768001);
    EXPECT_FALSE(above.audio.has_value());
    EXPECT_EQ(above.error, refusedRate(768001, "legfeljebb 768000 Hz lehet"));
}

TEST(AudioDecoderHardening, SampleRateBelow8kHzIsRefusedAsABrokenHeader)
{
    const DecodeResult lowest = decodeToneAt(8000);
    ASSERT_TRUE(lowest.audio.has_value()) << lowest.error.toStdString();
    EXPECT_EQ(lowest.audio->sampleRate, 8000);
    EXPECT_EQ(lowest.audio->frameCount(), 64);

    const DecodeResult below = decodeToneAt(7999);
    EXPECT_FALSE(below.audio.has_value());
    EXPECT_EQ(below.error, refusedRate(7999, "legalább 8000 Hz kell"));
}

TEST(AudioDecoderHardening, FuzzFoundWavAnnouncing520MHzIsRefused)
{
    // 613 bytes of ADPCM whose header says 520,093,760 samples a second: the silences of a
    // load at that rate would take gigabytes.
    const DecodeResult result = decodeAudioFile(fuzzFile("wav-rate-520mhz.wav"));
    EXPECT_FALSE(result.audio.has_value());
    EXPECT_EQ(result.error, refusedRate(520093760, "legfeljebb 768000 Hz lehet"));
}

TEST(AudioDecoderHardening, FuzzFoundWavAnnouncing1HzIsRefused)
{
    // 1698 bytes whose header says one sample a second: they would last for hours, and the
    // frame store would hold gigabytes of slices for them.
    const QByteArray bytes = readAll(fuzzFile("wav-rate-1hz.wav"));
    ASSERT_EQ(bytes.size(), 1698);
    const DecodeResult result = decodeBytes(bytes);
    EXPECT_FALSE(result.audio.has_value());
    EXPECT_EQ(result.error, refusedRate(1, "legalább 8000 Hz kell"));
}
