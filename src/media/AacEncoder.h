// The recording encoded for the video: AAC-LC (256 kb/s stereo, 128 kb/s mono) at the source's
// own sample rate when AAC has it, else resampled to 48 kHz; mono stays mono, more than two
// channels are mixed down to stereo; cut to a given duration. The source is read in
// pieces and the packets are spooled to a temporary file, so memory does not grow with the
// length of the recording. Any thread; each call is independent.
#pragma once

#include "media/FfmpegHandles.h"

#include <QDateTime>
#include <QString>
#include <QTemporaryFile>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

struct AVPacket;

class EncodedAudio {
public:
    EncodedAudio();
    ~EncodedAudio();
    EncodedAudio(const EncodedAudio&) = delete;
    EncodedAudio& operator=(const EncodedAudio&) = delete;

    // The file it came from as it was when read, to tell whether it is still the same.
    QString sourcePath;
    qint64 sourceSize = -1;
    QDateTime sourceModified;
    // The length it was cut to, in seconds, and what it holds.
    double maxDuration = 0.0;
    int sampleRate = 0;
    int channelCount = 0;
    int64_t bitRate = 0; // the encoder's target, bits per second
    int64_t sampleCount = 0;

    CodecParametersPtr parameters;

    // Adds a packet (time stamps in 1 / sampleRate) to the spool.
    bool appendPacket(const AVPacket& packet, QString* error);
    // Makes the spool readable; no packet can be added after it.
    bool finishPackets(QString* error);
    int64_t packetCount() const { return m_packetCount; }
    // Where the packets are spooled; the file goes away with this object.
    QString spoolPath() const { return m_spool.fileName(); }

    // Reads the packets back in order; several readers may exist at once.
    class Reader {
    public:
        bool open(const EncodedAudio& audio, QString* error);
        // The next packet into `packet`; false at the end (error empty) or on a failure.
        bool next(AVPacket* packet, QString* error);

    private:
        QFile m_file;
    };

private:
    QTemporaryFile m_spool;
    int64_t m_packetCount = 0;
};

// True when the file at `path` still has the size and modification time it had when
// `audio` was read from it.
bool isSameSource(const EncodedAudio& audio, const QString& path);

// Encodes the first audio stream of `path`, keeping at most `maxDuration` seconds from its
// start. Null (with `error`) when the file cannot be read or encoded, or when `cancelled`
// turns true (it is read between packets).
std::shared_ptr<const EncodedAudio> encodeAac(const QString& path, double maxDuration, QString* error,
                                              const std::atomic<bool>* cancelled = nullptr);
