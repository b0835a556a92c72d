#include "media/FfmpegHandles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

void CodecContextDeleter::operator()(AVCodecContext* context) const
{
    avcodec_free_context(&context);
}

void CodecParametersDeleter::operator()(AVCodecParameters* parameters) const
{
    avcodec_parameters_free(&parameters);
}

void FrameDeleter::operator()(AVFrame* frame) const
{
    av_frame_free(&frame);
}

void PacketDeleter::operator()(AVPacket* packet) const
{
    av_packet_free(&packet);
}

void InputContextDeleter::operator()(AVFormatContext* context) const
{
    avformat_close_input(&context);
}

void OutputContextDeleter::operator()(AVFormatContext* context) const
{
    if (context->pb && !(context->oformat->flags & AVFMT_NOFILE))
        avio_closep(&context->pb);
    avformat_free_context(context);
}

void IoContextDeleter::operator()(AVIOContext* io) const
{
    av_freep(&io->buffer);
    avio_context_free(&io);
}

void ResamplerDeleter::operator()(SwrContext* context) const
{
    swr_free(&context);
}

void ScalerDeleter::operator()(SwsContext* context) const
{
    sws_freeContext(context);
}

void DictionaryDeleter::operator()(AVDictionary* dictionary) const
{
    av_dict_free(&dictionary);
}

void AudioFifoDeleter::operator()(AVAudioFifo* fifo) const
{
    av_audio_fifo_free(fifo);
}
