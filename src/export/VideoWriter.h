// Writes H.264 video into a QuickTime file: libx264 (High profile, yuv420p, BT.709 tags,
// preset veryfast, CRF 18, tune stillimage, a keyframe at least every 2 seconds) in the
// mov muxer with +faststart and a global header. Frame i is stamped i / fps and every
// packet carries its duration, so n frames last exactly n / fps seconds.
// A picture appended again right after itself (the same shared picture) is not encoded:
// still stretches are an IDR picture followed by skip pictures built here, with the IDR
// repeated every 2 seconds; only the changing stretches go through the encoder. When the
// encoder's parameter sets do not suit skip pictures, every frame is encoded instead.
// Used from one thread at a time.
#pragma once

#include "export/H264ParameterSets.h"
#include "export/StretchPlanner.h"
#include "media/VideoPicture.h"

#include <QString>

struct AVFrame;

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// The states of a writer, numbered as the export's log prints them.
enum class VideoWriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

// How the frames reach the file: only the changes encoded (the export's way), or every
// frame through the encoder (the reference the benchmark measures against).
enum class VideoEncoding { changesOnly, everyFrame };

class VideoWriter {
public:
    VideoWriter(QString path, int width, int height, int fps,
                VideoEncoding encoding = VideoEncoding::changesOnly);
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
    // True when still frames are written as skip pictures (after prepare()); false when
    // every frame goes through the encoder.
    bool writesSkipPictures() const { return m_skip.has_value(); }

private:
    struct Encoder;

    bool fail(const QString& what, int code);
    // Sends `frame` (null flushes) to the encoder as frame `frameIndex` (an IDR picture when
    // `idr` is set) and writes every packet it gives; `lastPacket` (may be null) keeps the
    // last one when it is a keyframe. `what` names a refused send in the error.
    bool exchange(const AVFrame* frame, int64_t frameIndex, bool idr, std::vector<uint8_t>* lastPacket,
                  const QString& what);
    bool sendToEncoder(const VideoPicture& picture, int64_t frameIndex, bool idr);
    bool endStretchEncoder(std::vector<uint8_t>* lastPacket);
    bool openStretchEncoder();
    bool writeOwnPacket(const std::vector<uint8_t>& bytes, int64_t frameIndex, bool key);
    bool runStep(const StretchStep& step);

    QString m_path;
    int m_width;
    int m_height;
    int m_fps;
    VideoEncoding m_encoding;
    std::optional<H264SkipParameters> m_skip;
    std::optional<StretchPlanner> m_planner;
    VideoPicture m_heldPicture;     // the frame the planner holds back
    VideoPicture m_previousPicture; // the last picture appended
    int64_t m_previousIndex = -1;
    std::vector<uint8_t> m_stillIdr; // the current still stretch's IDR packet
    int64_t m_picturesSinceIdr = 0;
    VideoWriterStatus m_status = VideoWriterStatus::unknown;
    QString m_error;
    int64_t m_packetsWritten = 0;
    std::unique_ptr<Encoder> m_encoder;
};
