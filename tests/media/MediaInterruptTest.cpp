#include "media/MediaInterrupt.h"

#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

TEST(MediaInterrupt, StopsNothingWhileNeitherCalledOffNorLate)
{
    std::atomic<bool> cancelled = false;
    EXPECT_FALSE(MediaInterrupt().shouldStop());
    EXPECT_FALSE(MediaInterrupt(&cancelled).shouldStop());
    EXPECT_FALSE(
            MediaInterrupt(&cancelled, MediaInterrupt::Clock::now() + std::chrono::hours(1)).shouldStop());
    cancelled = true;
    EXPECT_TRUE(MediaInterrupt(&cancelled).shouldStop());
    EXPECT_TRUE(MediaInterrupt(nullptr, MediaInterrupt::Clock::now() - std::chrono::seconds(1)).shouldStop());
}

TEST(MediaInterrupt, CalledOffWorkDoesNotOpenItsInput)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("tone.wav")), fixtures::sineTone(48000, 2, 4800));
    std::atomic<bool> cancelled = true;
    const MediaInterrupt interrupt(&cancelled);
    MediaInput input;
    EXPECT_EQ(openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed, &interrupt),
              AVERROR_EXIT);
}

TEST(MediaInterrupt, APassedDeadlineStopsTheOpening)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("tone.wav")), fixtures::sineTone(48000, 2, 4800));
    const MediaInterrupt interrupt(nullptr, MediaInterrupt::Clock::now() - std::chrono::milliseconds(1));
    MediaInput input;
    EXPECT_EQ(openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed, &interrupt),
              AVERROR_EXIT);
}

TEST(MediaInterrupt, CallingOffStopsAReadPartWay)
{
    QTemporaryDir dir;
    // Ten seconds of float stereo: megabytes, far more than FFmpeg's I/O buffer holds.
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("long.wav")),
                                            fixtures::sineTone(48000, 2, 480000));
    std::atomic<bool> cancelled = false;
    const MediaInterrupt interrupt(&cancelled);
    MediaInput input;
    ASSERT_EQ(openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed, &interrupt), 0);
    PacketPtr packet(av_packet_alloc());
    ASSERT_EQ(av_read_frame(input.format.get(), packet.get()), 0);
    const int64_t firstBytes = packet->size;
    av_packet_unref(packet.get());
    cancelled = true;
    int64_t bytesAfter = 0;
    int result = 0;
    while ((result = av_read_frame(input.format.get(), packet.get())) >= 0) {
        bytesAfter += packet->size;
        av_packet_unref(packet.get());
    }
    EXPECT_EQ(result, AVERROR_EXIT);
    // What was still in the buffer may come out; the rest of the file is not read.
    EXPECT_LT(firstBytes + bytesAfter, 480000 * 2 * 4 / 2);
}

TEST(MediaInterrupt, AStopConditionIsAskedEachTimeFfmpegAsks)
{
    int asked = 0;
    bool stop = false;
    const MediaInterrupt interrupt([&] {
        ++asked;
        return stop;
    });
    const AVIOInterruptCB callback = interrupt.asCallback();
    EXPECT_EQ(callback.callback(callback.opaque), 0);
    stop = true;
    EXPECT_EQ(callback.callback(callback.opaque), 1);
    EXPECT_EQ(asked, 2);
}
