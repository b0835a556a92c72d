#include "media/CodecExchange.h"

#include "media/FfmpegHandles.h"

#include <gtest/gtest.h>

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
