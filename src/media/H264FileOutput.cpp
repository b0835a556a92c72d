#include "media/H264FileOutput.h"

#include "media/CodecExchange.h"
#include "media/FfmpegHandles.h"

#include <QFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstring>

struct H264FileOutput::Muxer {
    OutputContextPtr output;
    AVStream* stream = nullptr;
    PacketPtr packet;
    FramePtr frame; // a reference to the picture being sent, with its own time stamp
};

H264FileOutput::H264FileOutput(QString path, int fps)
    : m_path(std::move(path))
    , m_fps(fps)
    , m_muxer(std::make_unique<Muxer>())
{}

H264FileOutput::~H264FileOutput() = default;

int H264FileOutput::createContainer()
{
    AVFormatContext* output = nullptr;
    const QByteArray pathBytes = QFile::encodeName(m_path);
    const int result = avformat_alloc_output_context2(&output, nullptr, "mov", pathBytes.constData());
    if (result < 0)
        return result;
    if (!output)
        return AVERROR(ENOMEM);
    m_muxer->output.reset(output);
    return 0;
}

int H264FileOutput::allocateScratch()
{
    m_muxer->packet.reset(av_packet_alloc());
    m_muxer->frame.reset(av_frame_alloc());
    return m_muxer->packet && m_muxer->frame ? 0 : AVERROR(ENOMEM);
}

int H264FileOutput::addStream(const AVCodecContext& encoder)
{
    AVStream* stream = avformat_new_stream(m_muxer->output.get(), nullptr);
    if (!stream)
        return AVERROR(ENOMEM);
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    if (const int result = avcodec_parameters_from_context(stream->codecpar, &encoder); result < 0)
        return result;
    m_muxer->stream = stream;
    return 0;
}

int H264FileOutput::open()
{
    const QByteArray pathBytes = QFile::encodeName(m_path);
    return avio_open(&m_muxer->output->pb, pathBytes.constData(), AVIO_FLAG_WRITE);
}

int H264FileOutput::writeHeader()
{
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int result = avformat_write_header(m_muxer->output.get(), &options);
    // What the muxer hands back holds the options it did not take.
    const DictionaryPtr unused(options);
    if (result < 0)
        return result;
    return av_dict_count(unused.get()) > 0 ? AVERROR_OPTION_NOT_FOUND : 0;
}

EncodeOutcome H264FileOutput::encode(AVCodecContext* encoder, const AVFrame* picture, int64_t frameIndex,
                                     bool idr, std::vector<uint8_t>* lastPacket)
{
    EncodeOutcome outcome;
    const PacketSink write = [this, encoder, lastPacket, &outcome](AVPacket* packet) {
        if (lastPacket) {
            // A still stretch's IDR is its encoder's last packet; it is kept for resending.
            if (packet->flags & AV_PKT_FLAG_KEY)
                lastPacket->assign(packet->data, packet->data + packet->size);
            else
                lastPacket->clear();
        }
        // Each frame lasts one tick of 1/fps; without it the last frame would have no length.
        packet->duration = 1;
        av_packet_rescale_ts(packet, encoder->time_base, m_muxer->stream->time_base);
        packet->stream_index = m_muxer->stream->index;
        const int result = av_interleaved_write_frame(m_muxer->output.get(), packet);
        if (result < 0) {
            outcome = {EncodeFailure::write, result, outcome.packetsWritten};
            return kStoppedBySink;
        }
        ++outcome.packetsWritten;
        return 0;
    };
    AVFrame* frame = nullptr;
    if (picture) {
        frame = m_muxer->frame.get();
        if (const int result = av_frame_ref(frame, picture); result < 0)
            return {EncodeFailure::reference, result, 0};
        frame->pts = frameIndex;
        frame->pict_type = idr ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    }
    AVPacket* packet = m_muxer->packet.get();
    int result = sendFrame(encoder, frame, packet, write);
    if (result < 0 && result != kStoppedBySink)
        outcome = {EncodeFailure::send, result, outcome.packetsWritten};
    if (result >= 0) {
        result = receivePackets(encoder, packet, write);
        if (result < 0 && result != kStoppedBySink)
            outcome = {EncodeFailure::receive, result, outcome.packetsWritten};
    }
    if (frame)
        av_frame_unref(frame);
    return outcome;
}

int H264FileOutput::writePacket(std::span<const uint8_t> bytes, int64_t frameIndex, bool key)
{
    AVPacket* packet = m_muxer->packet.get();
    if (const int result = av_new_packet(packet, static_cast<int>(bytes.size())); result < 0)
        return result;
    std::memcpy(packet->data, bytes.data(), bytes.size());
    packet->pts = frameIndex;
    packet->dts = frameIndex;
    packet->duration = 1;
    packet->flags = key ? AV_PKT_FLAG_KEY : 0;
    packet->stream_index = m_muxer->stream->index;
    av_packet_rescale_ts(packet, AVRational{1, m_fps}, m_muxer->stream->time_base);
    return av_interleaved_write_frame(m_muxer->output.get(), packet);
}

int H264FileOutput::writeTrailer()
{
    return av_write_trailer(m_muxer->output.get());
}

bool H264FileOutput::isOpen() const
{
    return m_muxer->output && m_muxer->output->pb;
}

int H264FileOutput::close()
{
    return avio_closep(&m_muxer->output->pb);
}
