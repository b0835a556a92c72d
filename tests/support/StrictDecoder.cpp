#include "tests/support/StrictDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstring>

StrictDecoder::StrictDecoder(const AVCodecParameters& parameters)
{
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (!codec)
        return;
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_decoder || avcodec_parameters_to_context(m_decoder.get(), &parameters) < 0)
        return;
    open(codec);
}

StrictDecoder::StrictDecoder(std::span<const uint8_t> h264Extradata)
{
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    if (!codec)
        return;
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_decoder)
        return;
    m_decoder->extradata =
            static_cast<uint8_t*>(av_mallocz(h264Extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!m_decoder->extradata)
        return;
    std::memcpy(m_decoder->extradata, h264Extradata.data(), h264Extradata.size());
    m_decoder->extradata_size = static_cast<int>(h264Extradata.size());
    open(codec);
}

void StrictDecoder::open(const AVCodec* codec)
{
    m_decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_CRCCHECK;
    // One thread: the pictures come out in the order the packets went in.
    m_decoder->thread_count = 1;
    m_open = avcodec_open2(m_decoder.get(), codec, nullptr) >= 0;
}

void StrictDecoder::send(const AVPacket& packet, const PictureSink& take)
{
    if (!m_open || avcodec_send_packet(m_decoder.get(), &packet) < 0)
        ++m_errors;
    receive(take);
}

void StrictDecoder::send(std::span<const uint8_t> bytes, const PictureSink& take)
{
    PacketPtr packet(av_packet_alloc());
    if (!packet || av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) {
        ++m_errors;
        return;
    }
    std::memcpy(packet->data, bytes.data(), bytes.size());
    send(*packet, take);
}

void StrictDecoder::finish(const PictureSink& take)
{
    if (!m_open)
        return;
    avcodec_send_packet(m_decoder.get(), nullptr);
    receive(take);
}

void StrictDecoder::receive(const PictureSink& take)
{
    if (!m_open)
        return;
    while (true) {
        FramePtr frame(av_frame_alloc());
        const int code = avcodec_receive_frame(m_decoder.get(), frame.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return;
        if (code < 0 || frame->decode_error_flags != 0) {
            ++m_errors;
            return;
        }
        ++m_pictures;
        take(frame.get());
    }
}
