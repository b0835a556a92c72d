#include "media/AudioStreamDecoder.h"

#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <vector>

namespace {

// Keeps the decoded samples of every channel and stops when the test says so.
class StoppableReceiver : public DecodeReceiver {
public:
    std::function<bool()> stopWhen = [] { return false; };
    int64_t framesCommitted = 0;

    void begin(int, int channelCount, int64_t) override
    {
        m_channels.assign(size_t(channelCount), {});
        m_pointers.assign(size_t(channelCount), nullptr);
    }
    std::span<float* const> blockFor(int frameCount) override
    {
        for (size_t channel = 0; channel < m_channels.size(); ++channel) {
            m_channels[channel].resize(size_t(framesCommitted + frameCount));
            m_pointers[channel] = m_channels[channel].data() + framesCommitted;
        }
        return m_pointers;
    }
    void commit(int frameCount) override { framesCommitted += frameCount; }
    bool stopRequested() const override { return stopWhen(); }

private:
    std::vector<std::vector<float>> m_channels;
    std::vector<float*> m_pointers;
};

// A buffer in memory that counts the bytes taken from it and calls a hook after each read.
class CountingBuffer : public QBuffer {
public:
    qint64 bytesRead = 0;
    std::function<void()> afterRead = [] {};

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 got = QBuffer::readData(data, maxSize);
        if (got > 0)
            bytesRead += got;
        afterRead();
        return got;
    }
};

QByteArray wavBytes(int frames)
{
    QTemporaryDir dir;
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("tone.wav")),
                                            fixtures::sineTone(48000, 2, frames));
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(AudioStreamDecoder, ARecordingInMemoryDecodesWholeWhileNobodyCallsItOff)
{
    CountingBuffer device;
    device.setData(wavBytes(48000));
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    StoppableReceiver receiver;
    const DecodeStatus status = decodeAudioDeviceInto(device, QStringLiteral("tone.wav"), receiver);
    EXPECT_TRUE(status.ok) << status.error.toStdString();
    EXPECT_EQ(receiver.framesCommitted, 48000);
    EXPECT_EQ(device.bytesRead, device.size());
}

TEST(AudioStreamDecoder, DecodingCalledOffBeforeItStartsReadsNothingOfTheRecording)
{
    CountingBuffer device;
    device.setData(wavBytes(48000));
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    StoppableReceiver receiver;
    receiver.stopWhen = [] { return true; };
    const DecodeStatus status = decodeAudioDeviceInto(device, QStringLiteral("tone.wav"), receiver);
    EXPECT_FALSE(status.ok);
    EXPECT_EQ(status.error, QStringLiteral("megszakítva"));
    EXPECT_EQ(receiver.framesCommitted, 0);
    EXPECT_EQ(device.bytesRead, 0);
}

TEST(AudioStreamDecoder, DecodingCalledOffWhileTheInputIsProbedReadsNoFurther)
{
    // Two megabytes that no format recognises: FFmpeg's prober reads up to a megabyte of it,
    // a block at a time, before it gives up.
    CountingBuffer device;
    device.setData(QByteArray(2 << 20, '\0'));
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    bool calledOff = false;
    int readsAfterCallingOff = 0;
    device.afterRead = [&] {
        if (calledOff)
            ++readsAfterCallingOff;
        calledOff = true;
    };
    StoppableReceiver receiver;
    receiver.stopWhen = [&] { return calledOff; };
    const DecodeStatus status = decodeAudioDeviceInto(device, QStringLiteral("zeros.mp3"), receiver);
    EXPECT_FALSE(status.ok);
    EXPECT_FALSE(status.opened);
    EXPECT_EQ(status.error, QStringLiteral("megszakítva"));
    EXPECT_EQ(readsAfterCallingOff, 0);
    EXPECT_LT(device.bytesRead, qint64(1) << 20);
}
