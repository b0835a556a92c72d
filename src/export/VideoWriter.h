// Writes H.264 video into a QuickTime file: libx264 (High profile, yuv420p, BT.709 tags,
// preset veryfast, CRF 18, tune stillimage, a keyframe at least every 2 seconds) in the
// mov muxer with +faststart and a global header. Frame i is stamped i / fps and every
// packet carries its duration, so n frames last exactly n / fps seconds.
// Used from one thread at a time.
#pragma once

#include "export/VideoPicture.h"

#include <QString>

#include <cstdint>
#include <memory>

// The states of a writer, numbered as the export's log prints them.
enum class VideoWriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

class VideoWriter {
public:
    VideoWriter(QString path, int width, int height, int fps);
    ~VideoWriter();
    VideoWriter(const VideoWriter&) = delete;
    VideoWriter& operator=(const VideoWriter&) = delete;

    // Sets up the QuickTime container and the encoder; writes nothing yet. False (with
    // `error`) when that is impossible, e.g. a non-positive size or rate.
    bool prepare(QString* error);
    // Opens the file and writes the header. False when the file cannot be written; the
    // writer is then failed and errorText() says why.
    bool startWriting();
    // Encodes `picture` as frame `frameIndex` (presentation time frameIndex / fps). False
    // when the writer is not writing or the write failed (the writer is then failed).
    bool append(const VideoPicture& picture, int64_t frameIndex);
    // Flushes the encoder, finishes the file (moving its index to the front) and closes it.
    // The status is then completed or failed.
    void finishWriting();

    VideoWriterStatus status() const { return m_status; }
    // Why the writer failed; empty while nothing went wrong.
    const QString& errorText() const { return m_error; }
    int64_t packetsWritten() const { return m_packetsWritten; }

private:
    struct Encoder;

    bool fail(const QString& what, int code);
    bool drainPackets();

    QString m_path;
    int m_width;
    int m_height;
    int m_fps;
    VideoWriterStatus m_status = VideoWriterStatus::unknown;
    QString m_error;
    int64_t m_packetsWritten = 0;
    std::unique_ptr<Encoder> m_encoder;
};
