#include "media/H264EncoderSetup.h"

#include "media/CodecOpening.h"
#include "media/FfmpegError.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

constexpr int64_t kMacroblocksOf1080p = 120 * 68;
constexpr int64_t kLevel51MacroblocksPerSecond = 983040;

} // namespace

CodecContextPtr openH264Encoder(int width, int height, int fps, H264EncoderUse use, QString* error)
{
    auto refuse = [error](const QString& text) {
        if (error)
            *error = text;
        return CodecContextPtr();
    };
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        return refuse(QStringLiteral("A H.264 kódoló (libx264) nem érhető el"));
    CodecContextPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder)
        return refuse(ffmpegErrorText(AVERROR(ENOMEM)));
    AVCodecContext* context = encoder.get();
    context->width = width;
    context->height = height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = AVRational{1, fps};
    context->framerate = AVRational{fps, 1};
    context->gop_size = 2 * fps; // a keyframe at least every 2 seconds
    context->profile = FF_PROFILE_H264_HIGH;
    context->color_range = AVCOL_RANGE_MPEG;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->sample_aspect_ratio = AVRational{1, 1};
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER; // the QuickTime muxer wants the SPS/PPS up front
    // libx264 would pick one and a half threads per core, each with pictures of its own in
    // flight; two keep both cores busy with less memory (the export's renderer is a thread
    // of its own too).
    context->thread_count = 2;
    DictionaryPtr options;
    int result = 0;
    auto set = [&options, &result](const char* key, const char* value) {
        if (result >= 0)
            result = setOption(options, key, value);
    };
    set("preset", "veryfast");
    set("tune", "stillimage");
    set("crf", "18");
    set("profile", "high");
    // Above 1080p the level is named: 5.1 holds 4K (32 400 macroblocks a picture) up to 30
    // pictures a second, 5.2 the 60 of the fastest export rate.
    const int64_t macroblocks = int64_t((width + 15) / 16) * ((height + 15) / 16);
    const bool above1080p = macroblocks > kMacroblocksOf1080p;
    if (above1080p)
        set("level", macroblocks * fps <= kLevel51MacroblocksPerSecond ? "5.1" : "5.2");
    if (use == H264EncoderUse::stretches) {
        // Skip pictures refer to the one picture before them. A stretch of changing frames
        // is short (a fade, a page turn), so a short rate-control lookahead loses little and
        // holds fewer pictures in memory. At 4K every picture x264 holds for its lookahead
        // costs about 25 MB, so there the lookahead shrinks to one picture and the threads
        // keep none of their own: x264 then takes about 235 MB instead of 365.
        context->max_b_frames = 0;
        set("x264-params", above1080p ? "ref=1:rc-lookahead=1:sync-lookahead=0" : "ref=1:rc-lookahead=5");
        set("forced-idr", "1");
    }
    if (result < 0)
        return refuse(ffmpegErrorText(result));
    QString leftovers;
    result = openCodec(context, codec, std::move(options), &leftovers);
    if (result < 0)
        return refuse(QStringLiteral("A H.264 kódoló nem indítható: %1")
                              .arg(leftovers.isEmpty() ? ffmpegErrorText(result) : leftovers));
    return encoder;
}

std::vector<uint8_t> encoderParameterSets(const AVCodecContext& encoder)
{
    if (!encoder.extradata || encoder.extradata_size <= 0)
        return {};
    return std::vector<uint8_t>(encoder.extradata, encoder.extradata + encoder.extradata_size);
}
