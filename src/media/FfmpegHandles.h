// Owning handles for FFmpeg objects: each releases its object through the matching
// av_*_free / *_free call, so every path out of a function cleans up. The deleters live
// in FfmpegHandles.cpp, which keeps FFmpeg's headers out of whoever only holds a handle.
// Any thread; a handle is owned by one thread at a time.
#pragma once

#include <memory>

struct AVAudioFifo;
struct AVCodecContext;
struct AVCodecParameters;
struct AVDictionary;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct SwrContext;
struct SwsContext;

struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const;
};
struct CodecParametersDeleter {
    void operator()(AVCodecParameters* parameters) const;
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const;
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const;
};
// A demuxing context opened by avformat_open_input.
struct InputContextDeleter {
    void operator()(AVFormatContext* context) const;
};
// A muxing context together with the file it writes to (closed first when it is open).
struct OutputContextDeleter {
    void operator()(AVFormatContext* context) const;
};
// A custom I/O context with the buffer it was given (FFmpeg may have replaced that buffer).
struct IoContextDeleter {
    void operator()(AVIOContext* io) const;
};
struct ResamplerDeleter {
    void operator()(SwrContext* context) const;
};
struct ScalerDeleter {
    void operator()(SwsContext* context) const;
};
struct DictionaryDeleter {
    void operator()(AVDictionary* dictionary) const;
};
struct AudioFifoDeleter {
    void operator()(AVAudioFifo* fifo) const;
};

using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using CodecParametersPtr = std::unique_ptr<AVCodecParameters, CodecParametersDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using InputContextPtr = std::unique_ptr<AVFormatContext, InputContextDeleter>;
using OutputContextPtr = std::unique_ptr<AVFormatContext, OutputContextDeleter>;
using IoContextPtr = std::unique_ptr<AVIOContext, IoContextDeleter>;
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, ScalerDeleter>;
using DictionaryPtr = std::unique_ptr<AVDictionary, DictionaryDeleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoDeleter>;
