#include "media/CodecExchange.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

int receivePackets(AVCodecContext* encoder, AVPacket* scratch, const PacketSink& take)
{
    while (true) {
        const int result = avcodec_receive_packet(encoder, scratch);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        const int taken = take(scratch);
        av_packet_unref(scratch);
        if (taken < 0)
            return taken;
    }
}

int sendFrame(AVCodecContext* encoder, const AVFrame* frame, AVPacket* scratch, const PacketSink& take)
{
    int result = avcodec_send_frame(encoder, frame);
    if (result != AVERROR(EAGAIN))
        return result;
    // The encoder's output is full: empty it, then the same frame is accepted. A second
    // EAGAIN right after emptying would break the API's promise and is returned as is.
    if (const int received = receivePackets(encoder, scratch, take); received < 0)
        return received;
    return avcodec_send_frame(encoder, frame);
}

int receiveFrames(AVCodecContext* decoder, AVFrame* scratch, const FrameSink& take)
{
    while (true) {
        const int result = avcodec_receive_frame(decoder, scratch);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        const int taken = take(scratch);
        av_frame_unref(scratch);
        if (taken < 0)
            return taken;
    }
}

int sendPacket(AVCodecContext* decoder, const AVPacket* packet, AVFrame* scratch, const FrameSink& take)
{
    // A packet still waiting inside the decoder is dropped, not decoded, once the flush
    // starts: what the decoder holds is taken out first.
    if (!packet) {
        if (const int received = receiveFrames(decoder, scratch, take); received < 0)
            return received;
    }
    int result = avcodec_send_packet(decoder, packet);
    if (result != AVERROR(EAGAIN))
        return result;
    if (const int received = receiveFrames(decoder, scratch, take); received < 0)
        return received;
    return avcodec_send_packet(decoder, packet);
}

int decodeNextPacket(AVFormatContext* input, int streamIndex, AVCodecContext* decoder, AVPacket* packet,
                     AVFrame* scratch, const FrameSink& take)
{
    if (const int read = av_read_frame(input, packet); read < 0)
        return read;
    int result = 0;
    if (packet->stream_index == streamIndex) {
        result = sendPacket(decoder, packet, scratch, take);
        if (result == AVERROR_INVALIDDATA)
            result = 0;
    }
    av_packet_unref(packet);
    if (result < 0)
        return result;
    return receiveFrames(decoder, scratch, take);
}
