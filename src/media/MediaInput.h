// Opening a recording or a video for reading: the demuxer on a file or on custom I/O, its
// stream information, and the best stream of the kind wanted. Every reader of media in
// Vornik opens its input here. Any thread; each call is independent.
#pragma once

#include "media/FfmpegHandles.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <QString>

class MediaInterrupt;

struct MediaInput {
    InputContextPtr format;
    int streamIndex = -1;
    const AVCodec* decoder = nullptr; // the stream's decoder, when one was asked for

    AVStream* stream() const { return format->streams[streamIndex]; }
};

// Whether the chosen stream must have a decoder (a stream without one is then passed over).
enum class StreamDecoder { notNeeded, needed };

// Opens `path`, reads its stream information and picks its best stream of `type`. Returns
// 0, or the negative FFmpeg code of the step that failed: AVERROR_STREAM_NOT_FOUND when the
// file has no such stream, AVERROR_DECODER_NOT_FOUND when no such stream can be decoded,
// AVERROR_EXIT when `interrupt` stopped it. `interrupt` (may be null) stays installed on
// the opened input and must outlive it.
int openMediaInput(MediaInput& input, const QString& path, AVMediaType type, StreamDecoder decoder,
                   const MediaInterrupt* interrupt = nullptr);

// The same for data read through `io` (custom I/O, which stays the caller's and must
// outlive the input).
int openMediaInput(MediaInput& input, AVIOContext* io, AVMediaType type, StreamDecoder decoder,
                   const MediaInterrupt* interrupt = nullptr);
