#include "export/H264ParameterSets.h"
#include "export/SkipSlice.h"
#include "media/FfmpegHandles.h"
#include "tests/support/StrictDecoder.h"

#include <gtest/gtest.h>

#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace {

// libx264 with the stretch encoder's picture settings, in the entropy coding asked for.
CodecContextPtr openEncoder(int width, int height, bool cabac)
{
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        return {};
    CodecContextPtr encoder(avcodec_alloc_context3(codec));
    AVCodecContext* context = encoder.get();
    context->width = width;
    context->height = height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = AVRational{1, 30};
    context->max_b_frames = 0;
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(context->priv_data, "preset", "ultrafast", 0);
    av_opt_set(context->priv_data, "profile", "high", 0);
    av_opt_set(context->priv_data, "crf", "18", 0);
    av_opt_set(context->priv_data, "x264-params", cabac ? "cabac=1:ref=1" : "cabac=0:ref=1", 0);
    if (avcodec_open2(context, codec, nullptr) < 0)
        return {};
    return encoder;
}

// One IDR picture of a pattern with detail in every plane.
std::vector<uint8_t> encodeIdr(AVCodecContext* encoder)
{
    FramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = encoder->width;
    frame->height = encoder->height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return {};
    for (int plane = 0; plane < 3; ++plane) {
        const int w = plane == 0 ? frame->width : frame->width / 2;
        const int h = plane == 0 ? frame->height : frame->height / 2;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x)
                frame->data[plane][y * frame->linesize[plane] + x] =
                        static_cast<uint8_t>((x * (plane + 1) + y * 3 + ((x / 16) ^ (y / 16)) * 37) & 0xff);
        }
    }
    frame->pts = 0;
    frame->pict_type = AV_PICTURE_TYPE_I;
    std::vector<uint8_t> bytes;
    PacketPtr packet(av_packet_alloc());
    for (AVFrame* send : {frame.get(), static_cast<AVFrame*>(nullptr)}) {
        if (avcodec_send_frame(encoder, send) < 0)
            return {};
        while (avcodec_receive_packet(encoder, packet.get()) == 0) {
            bytes.insert(bytes.end(), packet->data, packet->data + packet->size);
            av_packet_unref(packet.get());
        }
    }
    return bytes;
}

bool samePicture(const AVFrame* a, const AVFrame* b)
{
    for (int plane = 0; plane < 3; ++plane) {
        const int w = plane == 0 ? a->width : a->width / 2;
        const int h = plane == 0 ? a->height : a->height / 2;
        for (int y = 0; y < h; ++y) {
            if (std::memcmp(a->data[plane] + y * a->linesize[plane], b->data[plane] + y * b->linesize[plane],
                            static_cast<size_t>(w)) != 0)
                return false;
        }
    }
    return true;
}

// Encodes an IDR picture, follows it with `skips` skip pictures and decodes them all with
// FFmpeg's strictest error detection: every picture must decode, identical to the IDR's.
// With `varyCoding`, the skip pictures go through every CABAC initialisation table at every
// slice QP, so the coder passes through many context states, the less probable ones too.
void checkIdrThenSkips(int width, int height, bool cabac, int skips, bool varyCoding = false)
{
    SCOPED_TRACE(testing::Message() << width << "x" << height << (cabac ? " CABAC" : " CAVLC"));
    const CodecContextPtr encoder = openEncoder(width, height, cabac);
    ASSERT_TRUE(encoder);
    const std::span<const uint8_t> extradata(encoder->extradata,
                                             static_cast<size_t>(encoder->extradata_size));
    QString why;
    const std::optional<H264SkipParameters> parameters = readH264SkipParameters(extradata, &why);
    ASSERT_TRUE(parameters.has_value()) << why.toStdString();
    EXPECT_EQ(parameters->cabac, cabac);
    const std::vector<uint8_t> idr = encodeIdr(encoder.get());
    ASSERT_FALSE(idr.empty());

    StrictDecoder decoder(extradata);
    ASSERT_TRUE(decoder.isOpen());
    FramePtr first;
    const auto take = [&first, &decoder](const AVFrame* frame) {
        if (!first)
            first.reset(av_frame_clone(frame));
        else
            EXPECT_TRUE(samePicture(first.get(), frame)) << "picture " << decoder.pictures() - 1;
    };
    const auto send = [&decoder, &take](const std::vector<uint8_t>& bytes) { decoder.send(bytes, take); };
    send(idr);
    for (int i = 1; i <= skips; ++i) {
        SkipSliceCoding coding;
        if (varyCoding) {
            coding.cabacInitIdc = i % 3;
            coding.sliceQpDelta = (i / 3) % 52 - parameters->sliceQp();
        }
        send(buildSkipSlice(*parameters, i, coding));
    }
    decoder.finish(take);
    EXPECT_EQ(decoder.errors(), 0);
    EXPECT_EQ(decoder.pictures(), skips + 1);
}

} // namespace

TEST(SkipSliceDecode, CabacSkipsRepeatTheIdrExactlyInLandscape)
{
    checkIdrThenSkips(1920, 1080, true, 60);
}

TEST(SkipSliceDecode, CabacSkipsRepeatTheIdrExactlyInPortrait)
{
    checkIdrThenSkips(1080, 1920, true, 60);
}

TEST(SkipSliceDecode, CabacSkipsRepeatTheIdrExactlyInUltraHd)
{
    checkIdrThenSkips(3840, 2160, true, 40);
}

TEST(SkipSliceDecode, CabacSkipsDecodeWithEveryInitialisationTableAtEverySliceQp)
{
    checkIdrThenSkips(640, 368, true, 3 * 52, true);
}

TEST(SkipSliceDecode, CavlcSkipsRepeatTheIdrExactly)
{
    checkIdrThenSkips(1920, 1080, false, 60);
    checkIdrThenSkips(3840, 2160, false, 20);
}
