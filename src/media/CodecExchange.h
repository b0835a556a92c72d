// The send/receive exchange with an FFmpeg codec. A codec may refuse new input (EAGAIN)
// until what it has produced is taken out; the input is then not lost: the output is
// taken first and the same input sent again. EAGAIN and AVERROR_EOF from the receiving
// side are the normal ends of a round. Any thread; one codec per thread at a time.
#pragma once

#include <functional>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

// What a sink returns when it stopped for a reason of its own (which it recorded itself):
// a negative code no part of FFmpeg uses, so it is never taken for a codec's error.
inline constexpr int kStoppedBySink = -0x4b4e5356; // the tag "VSNK", negated as FFmpeg does

// Receives each packet an encoder gives; returns 0, or a negative code to stop the exchange
// with. The packet is unreferenced after it.
using PacketSink = std::function<int(AVPacket*)>;
// Receives each frame a decoder gives, the same way.
using FrameSink = std::function<int(AVFrame*)>;

// Takes every packet `encoder` has ready, through `scratch`. Returns 0 when none is left
// (EAGAIN or end of stream), else the encoder's or the sink's negative code.
int receivePackets(AVCodecContext* encoder, AVPacket* scratch, const PacketSink& take);
// Sends `frame` (null flushes) to `encoder`; when it answers EAGAIN, takes its packets
// and sends the frame again. Returns the final send's code or the sink's negative code.
int sendFrame(AVCodecContext* encoder, const AVFrame* frame, AVPacket* scratch, const PacketSink& take);

// Takes every frame `decoder` has ready, through `scratch`, as receivePackets does.
int receiveFrames(AVCodecContext* decoder, AVFrame* scratch, const FrameSink& take);
// Sends `packet` (null flushes) to `decoder`, taking its frames first when it answers
// EAGAIN, as sendFrame does. Before a flush its frames are taken in any case: the decoder
// would drop a packet it still holds.
int sendPacket(AVCodecContext* decoder, const AVPacket* packet, AVFrame* scratch, const FrameSink& take);

// Reads the next packet of `input`. One of stream `streamIndex` goes to `decoder`, and the
// frames ready after it to `take`; a damaged packet is skipped the way players skip it, and
// the stream goes on. Returns 0 when a packet was read, AVERROR_EOF at the end of the input,
// else the reading's, the decoder's or the sink's negative code.
int decodeNextPacket(AVFormatContext* input, int streamIndex, AVCodecContext* decoder, AVPacket* packet,
                     AVFrame* scratch, const FrameSink& take);
