#include "media/CodecExchange.h"

#include "media/FfmpegHandles.h"
#include "media/MediaInput.h"
#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstring>

namespace {

constexpr int kSamplesPerPacket = 1024;
constexpr int kPackets = 12;

CodecContextPtr openPcmDecoder()
{
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_PCM_S16LE);
    CodecContextPtr context(avcodec_alloc_context3(codec));
    context->sample_rate = 8000;
    av_channel_layout_default(&context->ch_layout, 1);
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return {};
    return context;
}

CodecContextPtr openPcmEncoder()
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE);
    CodecContextPtr context(avcodec_alloc_context3(codec));
    context->sample_rate = 8000;
    context->sample_fmt = AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&context->ch_layout, 1);
    context->time_base = AVRational{1, 8000};
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return {};
    return context;
}

PacketPtr pcmPacket()
{
    PacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), kSamplesPerPacket * 2);
    std::memset(packet->data, 0x11, size_t(packet->size));
    return packet;
}

FramePtr pcmFrame(int64_t pts)
{
    FramePtr frame(av_frame_alloc());
    frame->format = AV_SAMPLE_FMT_S16;
    frame->sample_rate = 8000;
    frame->nb_samples = kSamplesPerPacket;
    av_channel_layout_default(&frame->ch_layout, 1);
    av_frame_get_buffer(frame.get(), 0);
    std::memset(frame->data[0], 0x22, kSamplesPerPacket * 2);
    frame->pts = pts;
    return frame;
}

// A WAV recording of `samples` samples, opened with its decoder.
struct OpenedRecording {
    QTemporaryDir dir;
    MediaInput input;
    CodecContextPtr decoder;
};

bool openRecording(OpenedRecording& recording, int samples)
{
    const QString path = fixtures::writeWav(recording.dir.filePath(QStringLiteral("tone.wav")),
                                            fixtures::sineTone(8000, 1, samples));
    if (openMediaInput(recording.input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed) < 0)
        return false;
    recording.decoder.reset(avcodec_alloc_context3(recording.input.decoder));
    return recording.decoder &&
           avcodec_parameters_to_context(recording.decoder.get(), recording.input.stream()->codecpar) >= 0 &&
           avcodec_open2(recording.decoder.get(), recording.input.decoder, nullptr) >= 0;
}

} // namespace

TEST(CodecExchange, ADecoderFullOfFramesRefusesAPacketWhenNothingIsTakenOut)
{
    // The situation sendPacket is for: without taking frames out, the decoder says EAGAIN.
    CodecContextPtr decoder = openPcmDecoder();
    ASSERT_TRUE(decoder);
    PacketPtr packet = pcmPacket();
    int result = 0;
    for (int i = 0; i < kPackets && result != AVERROR(EAGAIN); ++i)
        result = avcodec_send_packet(decoder.get(), packet.get());
    EXPECT_EQ(result, AVERROR(EAGAIN));
}

TEST(CodecExchange, APacketRefusedWithEagainIsSentAgainAfterTheFramesAreTaken)
{
    CodecContextPtr decoder = openPcmDecoder();
    ASSERT_TRUE(decoder);
    FramePtr scratch(av_frame_alloc());
    int64_t samples = 0;
    const FrameSink count = [&samples](AVFrame* frame) {
        samples += frame->nb_samples;
        return 0;
    };
    for (int i = 0; i < kPackets; ++i) {
        PacketPtr packet = pcmPacket();
        // No frame is taken between the sends except the ones sendPacket takes itself.
        ASSERT_EQ(sendPacket(decoder.get(), packet.get(), scratch.get(), count), 0) << "packet " << i;
    }
    ASSERT_EQ(sendPacket(decoder.get(), nullptr, scratch.get(), count), 0);
    ASSERT_EQ(receiveFrames(decoder.get(), scratch.get(), count), 0);
    EXPECT_EQ(samples, int64_t(kPackets) * kSamplesPerPacket);
}

TEST(CodecExchange, AFrameRefusedWithEagainIsSentAgainAfterThePacketsAreTaken)
{
    CodecContextPtr encoder = openPcmEncoder();
    ASSERT_TRUE(encoder);
    PacketPtr scratch(av_packet_alloc());
    int64_t bytes = 0;
    const PacketSink count = [&bytes](AVPacket* packet) {
        bytes += packet->size;
        return 0;
    };
    for (int i = 0; i < kPackets; ++i) {
        FramePtr frame = pcmFrame(int64_t(i) * kSamplesPerPacket);
        ASSERT_EQ(sendFrame(encoder.get(), frame.get(), scratch.get(), count), 0) << "frame " << i;
    }
    ASSERT_EQ(sendFrame(encoder.get(), nullptr, scratch.get(), count), 0);
    ASSERT_EQ(receivePackets(encoder.get(), scratch.get(), count), 0);
    EXPECT_EQ(bytes, int64_t(kPackets) * kSamplesPerPacket * 2);
}

TEST(CodecExchange, ASinkThatFailsStopsTheExchangeWithItsCode)
{
    CodecContextPtr decoder = openPcmDecoder();
    ASSERT_TRUE(decoder);
    FramePtr scratch(av_frame_alloc());
    PacketPtr packet = pcmPacket();
    ASSERT_EQ(avcodec_send_packet(decoder.get(), packet.get()), 0);
    const FrameSink refuse = [](AVFrame*) { return AVERROR(ENOSPC); };
    EXPECT_EQ(receiveFrames(decoder.get(), scratch.get(), refuse), AVERROR(ENOSPC));
}

TEST(CodecExchange, DecodingPacketByPacketGivesEveryFrameOfTheStreamThenTheEnd)
{
    OpenedRecording recording;
    ASSERT_TRUE(openRecording(recording, 8000));
    PacketPtr packet(av_packet_alloc());
    FramePtr scratch(av_frame_alloc());
    int samples = 0;
    const FrameSink take = [&](AVFrame* frame) {
        samples += frame->nb_samples;
        return 0;
    };
    int packets = 0;
    int result = 0;
    while ((result = decodeNextPacket(recording.input.format.get(), recording.input.streamIndex,
                                      recording.decoder.get(), packet.get(), scratch.get(), take)) == 0)
        ++packets;
    EXPECT_EQ(result, AVERROR_EOF);
    EXPECT_GT(packets, 1);
    EXPECT_EQ(samples, 8000);
    EXPECT_EQ(packet->size, 0); // every packet was released
}

TEST(CodecExchange, PacketsOfAnotherStreamAreReadButNotDecoded)
{
    OpenedRecording recording;
    ASSERT_TRUE(openRecording(recording, 4000));
    PacketPtr packet(av_packet_alloc());
    FramePtr scratch(av_frame_alloc());
    int frames = 0;
    const FrameSink take = [&](AVFrame*) {
        ++frames;
        return 0;
    };
    int packets = 0;
    while (decodeNextPacket(recording.input.format.get(), recording.input.streamIndex + 1,
                            recording.decoder.get(), packet.get(), scratch.get(), take) == 0)
        ++packets;
    EXPECT_GT(packets, 0);
    EXPECT_EQ(frames, 0);
}

TEST(CodecExchange, ASinkThatStopsEndsTheReadingWithItsCode)
{
    OpenedRecording recording;
    ASSERT_TRUE(openRecording(recording, 8000));
    PacketPtr packet(av_packet_alloc());
    FramePtr scratch(av_frame_alloc());
    const FrameSink refuse = [](AVFrame*) { return kStoppedBySink; };
    EXPECT_EQ(decodeNextPacket(recording.input.format.get(), recording.input.streamIndex,
                               recording.decoder.get(), packet.get(), scratch.get(), refuse),
              kStoppedBySink);
}
