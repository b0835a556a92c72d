// FFmpeg's H.264 decoder with its strictest error detection, for the tests that check that
// what the export writes decodes without a single error: any error in a packet or a picture
// counts, and every picture it returns is handed over in order.
#pragma once

#include "media/FfmpegHandles.h"

#include <cstdint>
#include <functional>
#include <span>

struct AVCodec;

class StrictDecoder {
public:
    using PictureSink = std::function<void(const AVFrame*)>;

    // A decoder for the stream these parameters describe (a demuxed stream).
    explicit StrictDecoder(const AVCodecParameters& parameters);
    // An H.264 decoder set up with the encoder's extradata (SPS and PPS), for raw packets.
    explicit StrictDecoder(std::span<const uint8_t> h264Extradata);

    bool isOpen() const { return m_open; }
    // Sends one packet and hands every picture that comes out to `take`.
    void send(const AVPacket& packet, const PictureSink& take);
    // Sends the raw bytes of one access unit as a packet.
    void send(std::span<const uint8_t> bytes, const PictureSink& take);
    // Ends the stream and hands the pictures still held to `take`.
    void finish(const PictureSink& take);

    int errors() const { return m_errors; }
    int64_t pictures() const { return m_pictures; }

private:
    void open(const AVCodec* codec);
    void receive(const PictureSink& take);

    CodecContextPtr m_decoder;
    bool m_open = false;
    int m_errors = 0;
    int64_t m_pictures = 0;
};
