#include "media/FfmpegHandles.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

TEST(FfmpegHandles, ReleasingAFrameDropsItsReferenceToTheBuffer)
{
    FramePtr frame(av_frame_alloc());
    ASSERT_TRUE(frame);
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->nb_samples = 64;
    av_channel_layout_default(&frame->ch_layout, 2);
    ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    AVBufferRef* observer = av_buffer_ref(frame->buf[0]);
    ASSERT_TRUE(observer);
    EXPECT_EQ(av_buffer_get_ref_count(observer), 2);
    frame.reset();
    EXPECT_EQ(av_buffer_get_ref_count(observer), 1);
    av_buffer_unref(&observer);
}

TEST(FfmpegHandles, ReleasingAPacketDropsItsReferenceToTheData)
{
    PacketPtr packet(av_packet_alloc());
    ASSERT_TRUE(packet);
    ASSERT_EQ(av_new_packet(packet.get(), 100), 0);
    AVBufferRef* observer = av_buffer_ref(packet->buf);
    EXPECT_EQ(av_buffer_get_ref_count(observer), 2);
    packet.reset();
    EXPECT_EQ(av_buffer_get_ref_count(observer), 1);
    av_buffer_unref(&observer);
}

TEST(FfmpegHandles, ReleasingAnOutputContextFlushesAndClosesItsFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("out.mov"));
    AVFormatContext* raw = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&raw, nullptr, "mov", path.toUtf8().constData()), 0);
    OutputContextPtr output(raw);
    ASSERT_GE(avio_open(&output->pb, path.toUtf8().constData(), AVIO_FLAG_WRITE), 0);
    for (int i = 0; i < 100; ++i)
        avio_w8(output->pb, 0x55);
    // The bytes wait in the I/O buffer until the handle closes the file.
    EXPECT_EQ(QFileInfo(path).size(), 0);
    output.reset();
    EXPECT_EQ(QFileInfo(path).size(), 100);
}

TEST(FfmpegHandles, HandlesOfEveryKindCanBeReleasedEmptyOrFull)
{
    DictionaryPtr dictionary;
    AVDictionary* raw = nullptr;
    ASSERT_GE(av_dict_set(&raw, "key", "value", 0), 0);
    dictionary.reset(raw);
    EXPECT_EQ(av_dict_count(dictionary.get()), 1);

    CodecParametersPtr parameters(avcodec_parameters_alloc());
    ASSERT_TRUE(parameters);
    CodecContextPtr context(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE)));
    ASSERT_TRUE(context);

    // Empty handles hold nothing and release nothing.
    FramePtr noFrame;
    ScalerPtr noScaler;
    ResamplerPtr noResampler;
    EXPECT_FALSE(noFrame || noScaler || noResampler);
}
