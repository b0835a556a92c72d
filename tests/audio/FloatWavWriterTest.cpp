#include "audio/FloatWavWriter.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <cstring>

namespace {

uint32_t read32(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<uint32_t>(bytes.constData() + offset);
}

uint16_t read16(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<uint16_t>(bytes.constData() + offset);
}

AudioBuffer stereoRamp(int frames)
{
    AudioBuffer buffer;
    buffer.sampleRate = 48000;
    buffer.channels.assign(2, std::vector<float>(size_t(frames)));
    for (int i = 0; i < frames; ++i) {
        buffer.channels[0][size_t(i)] = float(i) / float(frames);
        buffer.channels[1][size_t(i)] = -float(i) / float(frames) * 1.5f;
    }
    return buffer;
}

} // namespace

TEST(FloatWavWriter, WritesAFloatRiffHeaderWithTheFinalSizes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.wav"));
    QString error;
    ASSERT_TRUE(writeFloatWav(path, stereoRamp(1000), &error)) << error.toStdString();

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_EQ(bytes.size(), 58 + 1000 * 2 * 4);
    EXPECT_EQ(bytes.left(4), QByteArray("RIFF"));
    EXPECT_EQ(read32(bytes, 4), uint32_t(bytes.size() - 8));
    EXPECT_EQ(bytes.mid(8, 4), QByteArray("WAVE"));
    EXPECT_EQ(read16(bytes, 20), 3);      // IEEE float
    EXPECT_EQ(read16(bytes, 22), 2);      // channels
    EXPECT_EQ(read32(bytes, 24), 48000u); // sample rate
    EXPECT_EQ(read32(bytes, 28), 48000u * 8);
    EXPECT_EQ(read16(bytes, 32), 8); // block align
    EXPECT_EQ(read16(bytes, 34), 32);
    EXPECT_EQ(bytes.mid(38, 4), QByteArray("fact"));
    EXPECT_EQ(read32(bytes, 46), 1000u);
    EXPECT_EQ(bytes.mid(50, 4), QByteArray("data"));
    EXPECT_EQ(read32(bytes, 54), 8000u);
}

TEST(FloatWavWriter, SamplesAreInterleavedBitExactAndGainIsNotClipped)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("b.wav"));
    const AudioBuffer source = stereoRamp(10);
    FloatWavWriter writer;
    QString error;
    ASSERT_TRUE(writer.open(path, source.sampleRate, 2, &error));
    ASSERT_TRUE(writer.writeSilence(3, &error));
    ASSERT_TRUE(writer.writeBuffer(source, 2.0f, &error));
    ASSERT_TRUE(writer.writeSilence(2, &error));
    EXPECT_EQ(writer.framesWritten(), 15);
    ASSERT_TRUE(writer.close(&error));

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll().mid(58);
    ASSERT_EQ(bytes.size(), 15 * 2 * 4);
    std::vector<float> samples(30);
    std::memcpy(samples.data(), bytes.constData(), size_t(bytes.size()));
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(samples[size_t(i)], 0.0f);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(samples[size_t(6 + 2 * i)], source.channels[0][size_t(i)] * 2.0f);
        EXPECT_EQ(samples[size_t(7 + 2 * i)], source.channels[1][size_t(i)] * 2.0f);
    }
    EXPECT_FLOAT_EQ(samples[25], -1.35f * 2.0f); // beyond -1.0, kept as it is
    for (int i = 26; i < 30; ++i)
        EXPECT_EQ(samples[size_t(i)], 0.0f);
}

TEST(FloatWavWriter, OpeningInAMissingFolderFailsWithAReason)
{
    FloatWavWriter writer;
    QString error;
    EXPECT_FALSE(writer.open(QStringLiteral("/nonexistent-folder/x.wav"), 44100, 1, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(FloatWavWriter, SoxReadsTheFileAsFloatWave)
{
    const QString sox = QStandardPaths::findExecutable(QStringLiteral("soxi"));
    if (sox.isEmpty())
        GTEST_SKIP() << "soxi is not installed";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("c.wav"));
    ASSERT_TRUE(writeFloatWav(path, stereoRamp(4800), nullptr));
    QProcess process;
    process.start(sox, {path});
    ASSERT_TRUE(process.waitForFinished(10000));
    const QString info = QString::fromUtf8(process.readAllStandardOutput());
    EXPECT_TRUE(info.contains(QStringLiteral("Channels       : 2"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("Sample Rate    : 48000"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("32-bit Floating Point PCM"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("4800 samples"))) << info.toStdString();
}

namespace {

// Runs a command-line tool and returns its standard output (empty when it failed).
QByteArray runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return QByteArray();
    return process.readAllStandardOutput();
}

QByteArray interleavedBytes(const AudioBuffer& buffer)
{
    QByteArray bytes;
    for (int64_t i = 0; i < buffer.frameCount(); ++i) {
        for (const auto& channel : buffer.channels)
            bytes.append(reinterpret_cast<const char*>(&channel[size_t(i)]), sizeof(float));
    }
    return bytes;
}

} // namespace

TEST(FloatWavWriter, SoxReadsTheSamplesBackBitExactly)
{
    const QString sox = QStandardPaths::findExecutable(QStringLiteral("sox"));
    if (sox.isEmpty())
        GTEST_SKIP() << "sox is not installed";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("d.wav"));
    // sox carries samples as 32-bit integers inside, so only values within -1...1 that are
    // whole multiples of 2^-23 survive its round trip unchanged; these do, in both channels.
    AudioBuffer source;
    source.sampleRate = 44100;
    source.channels.assign(2, std::vector<float>(4000));
    for (int i = 0; i < 4000; ++i) {
        source.channels[0][size_t(i)] = float(i - 2000) / 2048.0f;
        source.channels[1][size_t(i)] = float((i * 37) % 8192 - 4096) / 4096.0f;
    }
    ASSERT_TRUE(writeFloatWav(path, source, nullptr));
    const QByteArray raw = runTool(sox, {QStringLiteral("-D"), path, QStringLiteral("-t"),
                                         QStringLiteral("f32"), QStringLiteral("-")});
    EXPECT_EQ(raw, interleavedBytes(source));
}

TEST(FloatWavWriter, FfmpegReadsTheSamplesBackBitExactly)
{
    const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    const QString ffprobe = QStandardPaths::findExecutable(QStringLiteral("ffprobe"));
    if (ffmpeg.isEmpty() || ffprobe.isEmpty())
        GTEST_SKIP() << "ffmpeg or ffprobe is not installed";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("e.wav"));
    const AudioBuffer source = stereoRamp(3000);
    ASSERT_TRUE(writeFloatWav(path, source, nullptr));
    const QString info = QString::fromUtf8(
            runTool(ffprobe, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                              QStringLiteral("stream=codec_name,sample_rate,channels,duration_ts"), path}));
    EXPECT_TRUE(info.contains(QStringLiteral("codec_name=pcm_f32le"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("sample_rate=48000"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("channels=2"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("duration_ts=3000"))) << info.toStdString();
    const QByteArray raw =
            runTool(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path,
                             QStringLiteral("-f"), QStringLiteral("f32le"), QStringLiteral("-")});
    EXPECT_EQ(raw, interleavedBytes(source));
}
