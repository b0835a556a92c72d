#include "export/VideoWriter.h"

#include "export/SkipSlice.h"
#include "media/CodecExchange.h"
#include "media/FfmpegError.h"
#include "media/FfmpegHandles.h"
#include "media/H264EncoderSetup.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstring>

struct VideoWriter::Encoder {
    OutputContextPtr output;
    // The encoder at work: the only one when every frame is encoded, else the current
    // stretch's (null between stretches).
    CodecContextPtr codec;
    // With skip pictures: the encoder opened by prepare(), kept for the first stretch.
    CodecContextPtr spare;
    std::vector<uint8_t> parameterSets; // the stream's SPS/PPS, as written in its header
    PacketPtr packet;
    FramePtr frame; // a reference to the picture being sent, with its own time stamp
    AVStream* stream = nullptr;
};

VideoWriter::VideoWriter(QString path, int width, int height, int fps, VideoEncoding encoding)
    : m_path(std::move(path))
    , m_width(width)
    , m_height(height)
    , m_fps(fps)
    , m_encoding(encoding)
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

    encoder->packet.reset(av_packet_alloc());
    encoder->frame.reset(av_frame_alloc());
    if (!encoder->packet || !encoder->frame)
        return refuse(ffmpegErrorText(AVERROR(ENOMEM)));

    QString openError;
    if (m_encoding == VideoEncoding::changesOnly) {
        // Two stretch encoders in turn (never both at once: each holds a lot of memory).
        // Parameter sets the skip pictures cannot follow, or an encoder that does not write
        // the same ones each time it starts: every frame is encoded instead.
        CodecContextPtr first =
                openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &openError);
        if (!first)
            return refuse(openError);
        encoder->parameterSets.assign(first->extradata, first->extradata + first->extradata_size);
        first.reset();
        m_skip = readH264SkipParameters(encoder->parameterSets, nullptr);
        if (m_skip) {
            encoder->spare = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &openError);
            if (!encoder->spare)
                return refuse(openError);
            const AVCodecContext* spare = encoder->spare.get();
            if (std::vector<uint8_t>(spare->extradata, spare->extradata + spare->extradata_size) !=
                encoder->parameterSets) {
                m_skip.reset();
                encoder->spare.reset();
            }
        }
    }
    if (!m_skip) {
        encoder->codec = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::everyFrame, &openError);
        if (!encoder->codec)
            return refuse(openError);
    } else {
        m_planner.emplace(2 * static_cast<int64_t>(m_fps));
    }
    AVCodecContext* context = m_skip ? encoder->spare.get() : encoder->codec.get();

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
    // What the muxer hands back holds the options it did not take.
    const DictionaryPtr unused(options);
    if (result < 0)
        return fail(QStringLiteral("A videófájl fejléce nem írható"), result);
    if (av_dict_count(unused.get()) > 0)
        return fail(QStringLiteral("A videófájl fejléce nem írható"), AVERROR_OPTION_NOT_FOUND);
    m_status = VideoWriterStatus::writing;
    return true;
}

int VideoWriter::writeEncodedPacket(AVPacket* packet, std::vector<uint8_t>* lastPacket)
{
    const AVCodecContext* context = m_encoder->codec.get();
    if (lastPacket) {
        // The still stretch's IDR is the encoder's last packet; it is kept for resending.
        if (packet->flags & AV_PKT_FLAG_KEY)
            lastPacket->assign(packet->data, packet->data + packet->size);
        else
            lastPacket->clear();
    }
    // Each frame lasts one tick of 1/fps; without it the last frame would have no length.
    packet->duration = 1;
    av_packet_rescale_ts(packet, context->time_base, m_encoder->stream->time_base);
    packet->stream_index = m_encoder->stream->index;
    const int result = av_interleaved_write_frame(m_encoder->output.get(), packet);
    if (result < 0) {
        fail(QStringLiteral("A videófájl írása sikertelen"), result);
        return kStoppedBySink;
    }
    ++m_packetsWritten;
    return 0;
}

bool VideoWriter::exchange(const AVFrame* frame, std::vector<uint8_t>* lastPacket, const QString& what)
{
    const PacketSink write = [this, lastPacket](AVPacket* packet) {
        return writeEncodedPacket(packet, lastPacket);
    };
    AVCodecContext* context = m_encoder->codec.get();
    AVPacket* packet = m_encoder->packet.get();
    int result = sendFrame(context, frame, packet, write);
    if (result == kStoppedBySink)
        return false;
    if (result < 0)
        return fail(what, result);
    result = receivePackets(context, packet, write);
    if (result == kStoppedBySink)
        return false;
    if (result < 0)
        return fail(QStringLiteral("A H.264 kódolás sikertelen"), result);
    return true;
}

bool VideoWriter::sendToEncoder(const VideoPicture& picture, int64_t frameIndex, bool idr)
{
    AVFrame* frame = m_encoder->frame.get();
    int result = av_frame_ref(frame, picture.get());
    if (result < 0)
        return fail(QStringLiteral("A képkocka nem adható át"), result);
    frame->pts = frameIndex;
    frame->pict_type = idr ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    const bool sent = exchange(frame, nullptr, QStringLiteral("A H.264 kódolás sikertelen"));
    av_frame_unref(frame);
    return sent;
}

bool VideoWriter::openStretchEncoder()
{
    if (m_encoder->spare) {
        m_encoder->codec = std::move(m_encoder->spare);
        return true;
    }
    QString error;
    CodecContextPtr codec = openH264Encoder(m_width, m_height, m_fps, H264EncoderUse::stretches, &error);
    if (!codec)
        return fail(error, 0);
    // Every stretch's pictures refer to the parameter sets in the file's header.
    const std::vector<uint8_t> sets(codec->extradata, codec->extradata + codec->extradata_size);
    if (sets != m_encoder->parameterSets)
        return fail(QStringLiteral("A H.264 kódoló paraméterkészletei eltérnek"), 0);
    m_encoder->codec = std::move(codec);
    return true;
}

bool VideoWriter::endStretchEncoder(std::vector<uint8_t>* lastPacket)
{
    const bool drained = exchange(nullptr, lastPacket, QStringLiteral("A H.264 kódolás lezárása sikertelen"));
    m_encoder->codec.reset();
    return drained;
}

bool VideoWriter::writeOwnPacket(const std::vector<uint8_t>& bytes, int64_t frameIndex, bool key)
{
    AVPacket* packet = m_encoder->packet.get();
    int result = av_new_packet(packet, static_cast<int>(bytes.size()));
    if (result < 0)
        return fail(QStringLiteral("A videófájl írása sikertelen"), result);
    std::memcpy(packet->data, bytes.data(), bytes.size());
    packet->pts = frameIndex;
    packet->dts = frameIndex;
    packet->duration = 1;
    packet->flags = key ? AV_PKT_FLAG_KEY : 0;
    packet->stream_index = m_encoder->stream->index;
    av_packet_rescale_ts(packet, AVRational{1, m_fps}, m_encoder->stream->time_base);
    result = av_interleaved_write_frame(m_encoder->output.get(), packet);
    if (result < 0)
        return fail(QStringLiteral("A videófájl írása sikertelen"), result);
    ++m_packetsWritten;
    return true;
}

bool VideoWriter::runStep(const StretchStep& step)
{
    switch (step.action) {
    case StretchAction::encodeChanging:
        if (!m_encoder->codec && !openStretchEncoder())
            return false;
        return sendToEncoder(m_heldPicture, step.frameIndex, false);
    case StretchAction::encodeStillIdr:
        if (!m_encoder->codec && !openStretchEncoder())
            return false;
        if (!sendToEncoder(m_heldPicture, step.frameIndex, true) || !endStretchEncoder(&m_stillIdr))
            return false;
        if (m_stillIdr.empty())
            return fail(QStringLiteral("A H.264 kódoló nem adott IDR képkockát"), 0);
        m_picturesSinceIdr = 0;
        return true;
    case StretchAction::writeSkip:
        return writeOwnPacket(buildSkipSlice(*m_skip, ++m_picturesSinceIdr), step.frameIndex, false);
    case StretchAction::repeatIdr:
        m_picturesSinceIdr = 0;
        return writeOwnPacket(m_stillIdr, step.frameIndex, true);
    }
    return false;
}

bool VideoWriter::append(const VideoPicture& picture, int64_t frameIndex)
{
    if (m_status != VideoWriterStatus::writing || !picture)
        return false;
    if (!m_planner)
        return sendToEncoder(picture, frameIndex, false);
    // The export sends an unchanged frame as the very same picture; a frame that is missing
    // in between ends the still stretch.
    const bool same = picture == m_previousPicture && frameIndex == m_previousIndex + 1;
    m_previousPicture = picture;
    m_previousIndex = frameIndex;
    const std::optional<StretchStep> step = m_planner->add(frameIndex, same);
    if (step && !runStep(*step))
        return false;
    m_heldPicture = picture;
    return true;
}

void VideoWriter::finishWriting()
{
    if (m_status != VideoWriterStatus::writing) {
        if (m_status == VideoWriterStatus::unknown)
            fail(QStringLiteral("A videóíró nem indult el"), 0);
        m_encoder.reset();
        return;
    }
    int result = 0;
    if (m_planner) {
        if (const std::optional<StretchStep> step = m_planner->finish())
            runStep(*step);
        if (m_status == VideoWriterStatus::writing && m_encoder->codec)
            endStretchEncoder(nullptr);
        m_heldPicture.reset();
        m_previousPicture.reset();
    } else {
        exchange(nullptr, nullptr, QStringLiteral("A H.264 kódolás lezárása sikertelen"));
    }
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
