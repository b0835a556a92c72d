// The FFmpeg side of writing H.264 video into a QuickTime file: the mov muxer with its one
// video stream, the exchange with the libx264 encoders that feed it, and the writing of the
// packets Vornik builds itself. Calls return 0 or a negative FFmpeg code; the video writer
// above says in words what failed. Used from one thread at a time.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct AVCodecContext;
struct AVFrame;

// The step of an exchange with the encoder that failed.
enum class EncodeFailure { none, reference, send, receive, write };

struct EncodeOutcome {
    EncodeFailure failure = EncodeFailure::none;
    int code = 0;               // the failed step's negative FFmpeg code
    int64_t packetsWritten = 0; // packets that reached the file, also when a later one failed
    bool ok() const { return failure == EncodeFailure::none; }
};

class H264FileOutput {
public:
    H264FileOutput(QString path, int fps);
    ~H264FileOutput();
    H264FileOutput(const H264FileOutput&) = delete;
    H264FileOutput& operator=(const H264FileOutput&) = delete;

    // The QuickTime container, whatever the file's extension says.
    int createContainer();
    // The packet and frame every exchange goes through.
    int allocateScratch();
    // Adds the video stream, described by `encoder`'s settings (size, time base, rate, tags).
    int addStream(const AVCodecContext& encoder);
    // Opens the file for writing.
    int open();
    // Writes the header with the index moved to the front (so that the video starts playing
    // at once); an option the muxer does not take is an error.
    int writeHeader();
    // Sends `picture` (null flushes) to `encoder` as frame `frameIndex`, an IDR picture when
    // `idr` is set, and writes every packet the encoder gives, each lasting one frame.
    // `lastPacket` (may be null) keeps the last packet when it is a keyframe, else is cleared.
    EncodeOutcome encode(AVCodecContext* encoder, const AVFrame* picture, int64_t frameIndex, bool idr,
                         std::vector<uint8_t>* lastPacket);
    // Writes `bytes` as one packet of frame `frameIndex`, lasting one frame.
    int writePacket(std::span<const uint8_t> bytes, int64_t frameIndex, bool key);
    int writeTrailer();
    // True while the file is open.
    bool isOpen() const;
    int close();

private:
    struct Muxer;

    QString m_path;
    int m_fps;
    std::unique_ptr<Muxer> m_muxer;
};
