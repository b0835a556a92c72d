#include "export/VideoWriter.h"

#include "export/FfmpegHandles.h"

#include <QFile>

extern "C" {
#include <libavutil/opt.h>
}

struct VideoWriter::Encoder {
    OutputContextPtr output;
    CodecContextPtr codec;
    PacketPtr packet;
    FramePtr frame; // a reference to the picture being sent, with its own time stamp
    AVStream* stream = nullptr;
};

VideoWriter::VideoWriter(QString path, int width, int height, int fps)
    : m_path(std::move(path))
    , m_width(width)
    , m_height(height)
    , m_fps(fps)
{}

VideoWriter::~VideoWriter() = default;

bool VideoWriter::fail(const QString& what, int code)
{
    m_status = VideoWriterStatus::failed;
    if (m_error.isEmpty())
        m_error = code < 0 ? QStringLiteral("%1: %2").arg(what, ffmpegErrorText(code)) : what;
    return false;
}

bool VideoWriter::prepare(QString* error)
{
    auto encoder = std::make_unique<Encoder>();
    auto refuse = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    if (m_width <= 0 || m_height <= 0 || (m_width % 2) != 0 || (m_height % 2) != 0 || m_fps <= 0)
        return refuse(QStringLiteral("Érvénytelen videóméret vagy képkockasebesség: %1x%2, %3 fps")
                              .arg(m_width)
                              .arg(m_height)
                              .arg(m_fps));

    // The container is QuickTime whatever the file's extension says.
    AVFormatContext* output = nullptr;
    const QByteArray pathBytes = QFile::encodeName(m_path);
    int result = avformat_alloc_output_context2(&output, nullptr, "mov", pathBytes.constData());
    if (result < 0 || !output)
        return refuse(
                QStringLiteral("A QuickTime konténer nem hozható létre: %1").arg(ffmpegErrorText(result)));
    encoder->output.reset(output);

    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        return refuse(QStringLiteral("A H.264 kódoló (libx264) nem érhető el"));
    encoder->codec.reset(avcodec_alloc_context3(codec));
    encoder->packet.reset(av_packet_alloc());
    encoder->frame.reset(av_frame_alloc());
    if (!encoder->codec || !encoder->packet || !encoder->frame)
        return refuse(ffmpegErrorText(AVERROR(ENOMEM)));

    AVCodecContext* context = encoder->codec.get();
    context->width = m_width;
    context->height = m_height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = AVRational{1, m_fps};
    context->framerate = AVRational{m_fps, 1};
    context->gop_size = 2 * m_fps; // a keyframe at least every 2 seconds
    context->profile = FF_PROFILE_H264_HIGH;
    context->color_range = AVCOL_RANGE_MPEG;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->sample_aspect_ratio = AVRational{1, 1};
    if (output->oformat->flags & AVFMT_GLOBALHEADER)
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(context->priv_data, "preset", "veryfast", 0);
    av_opt_set(context->priv_data, "tune", "stillimage", 0);
    av_opt_set(context->priv_data, "crf", "18", 0);
    av_opt_set(context->priv_data, "profile", "high", 0);
    if ((result = avcodec_open2(context, codec, nullptr)) < 0)
        return refuse(QStringLiteral("A H.264 kódoló nem indítható: %1").arg(ffmpegErrorText(result)));

    encoder->stream = avformat_new_stream(output, nullptr);
    if (!encoder->stream)
        return refuse(ffmpegErrorText(AVERROR(ENOMEM)));
    encoder->stream->time_base = context->time_base;
    encoder->stream->avg_frame_rate = context->framerate;
    if ((result = avcodec_parameters_from_context(encoder->stream->codecpar, context)) < 0)
        return refuse(ffmpegErrorText(result));

    m_encoder = std::move(encoder);
    return true;
}

bool VideoWriter::startWriting()
{
    if (!m_encoder || m_status != VideoWriterStatus::unknown)
        return fail(QStringLiteral("A videóíró nincs előkészítve"), 0);
    AVFormatContext* output = m_encoder->output.get();
    const QByteArray pathBytes = QFile::encodeName(m_path);
    int result = avio_open(&output->pb, pathBytes.constData(), AVIO_FLAG_WRITE);
    if (result < 0)
        return fail(QStringLiteral("A videófájl nem hozható létre (%1)").arg(m_path), result);
    AVDictionary* options = nullptr;
    // The index goes to the front of the file so that the video starts playing at once.
    av_dict_set(&options, "movflags", "+faststart", 0);
    result = avformat_write_header(output, &options);
    av_dict_free(&options);
    if (result < 0)
        return fail(QStringLiteral("A videófájl fejléce nem írható"), result);
    m_status = VideoWriterStatus::writing;
    return true;
}

bool VideoWriter::drainPackets()
{
    AVCodecContext* context = m_encoder->codec.get();
    AVPacket* packet = m_encoder->packet.get();
    while (true) {
        int result = avcodec_receive_packet(context, packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return true;
        if (result < 0)
            return fail(QStringLiteral("A H.264 kódolás sikertelen"), result);
        // Each frame lasts one tick of 1/fps; without it the last frame would have no length.
        packet->duration = 1;
        av_packet_rescale_ts(packet, context->time_base, m_encoder->stream->time_base);
        packet->stream_index = m_encoder->stream->index;
        result = av_interleaved_write_frame(m_encoder->output.get(), packet);
        if (result < 0)
            return fail(QStringLiteral("A videófájl írása sikertelen"), result);
        ++m_packetsWritten;
    }
}

bool VideoWriter::append(const VideoPicture& picture, int64_t frameIndex)
{
    if (m_status != VideoWriterStatus::writing || !picture)
        return false;
    AVFrame* frame = m_encoder->frame.get();
    int result = av_frame_ref(frame, picture.get());
    if (result < 0)
        return fail(QStringLiteral("A képkocka nem adható át"), result);
    frame->pts = frameIndex;
    frame->pict_type = AV_PICTURE_TYPE_NONE;
    result = avcodec_send_frame(m_encoder->codec.get(), frame);
    av_frame_unref(frame);
    if (result < 0)
        return fail(QStringLiteral("A H.264 kódolás sikertelen"), result);
    return drainPackets();
}

void VideoWriter::finishWriting()
{
    if (m_status != VideoWriterStatus::writing) {
        if (m_status == VideoWriterStatus::unknown)
            fail(QStringLiteral("A videóíró nem indult el"), 0);
        m_encoder.reset();
        return;
    }
    int result = avcodec_send_frame(m_encoder->codec.get(), nullptr);
    if (result < 0)
        fail(QStringLiteral("A H.264 kódolás lezárása sikertelen"), result);
    else
        drainPackets();
    AVFormatContext* output = m_encoder->output.get();
    if (m_status == VideoWriterStatus::writing) {
        if ((result = av_write_trailer(output)) < 0)
            fail(QStringLiteral("A videófájl lezárása sikertelen"), result);
    }
    if (output->pb) {
        result = avio_closep(&output->pb);
        if (result < 0)
            fail(QStringLiteral("A videófájl lezárása sikertelen"), result);
    }
    if (m_status == VideoWriterStatus::writing)
        m_status = VideoWriterStatus::completed;
    m_encoder.reset();
}
