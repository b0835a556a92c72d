#include "media/CodecOpening.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

CodecContextPtr aacContext(const AVCodec* codec)
{
    CodecContextPtr context(avcodec_alloc_context3(codec));
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = 48000;
    av_channel_layout_default(&context->ch_layout, 2);
    context->time_base = AVRational{1, 48000};
    return context;
}

} // namespace

TEST(CodecOpening, OptionsOfTheContextAndOfTheCodecAreTaken)
{
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    ASSERT_NE(codec, nullptr);
    CodecContextPtr context = aacContext(codec);
    DictionaryPtr options;
    ASSERT_GE(setOption(options, "b", "96000"), 0);        // the context's bit rate
    ASSERT_GE(setOption(options, "aac_coder", "fast"), 0); // the AAC encoder's own
    QString leftovers = QStringLiteral("unchanged");
    EXPECT_EQ(openCodec(context.get(), codec, std::move(options), &leftovers), 0);
    EXPECT_EQ(context->bit_rate, 96000);
    EXPECT_EQ(leftovers, QStringLiteral("unchanged"));
}

TEST(CodecOpening, AnOptionNoPartOfTheCodecTakesIsAnErrorThatNamesIt)
{
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    ASSERT_NE(codec, nullptr);
    CodecContextPtr context = aacContext(codec);
    DictionaryPtr options;
    ASSERT_GE(setOption(options, "b", "96000"), 0);
    ASSERT_GE(setOption(options, "no-such-option", "1"), 0);
    ASSERT_GE(setOption(options, "tune", "stillimage"), 0); // libx264's, not AAC's
    QString leftovers;
    EXPECT_EQ(openCodec(context.get(), codec, std::move(options), &leftovers), AVERROR_OPTION_NOT_FOUND);
    EXPECT_EQ(leftovers, QStringLiteral("no-such-option, tune"));
}

TEST(CodecOpening, ABadValueFailsTheOpening)
{
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    ASSERT_NE(codec, nullptr);
    CodecContextPtr context = aacContext(codec);
    DictionaryPtr options;
    ASSERT_GE(setOption(options, "aac_coder", "no-such-coder"), 0);
    const int result = openCodec(context.get(), codec, std::move(options));
    EXPECT_LT(result, 0);
    EXPECT_NE(result, AVERROR_OPTION_NOT_FOUND);
}
