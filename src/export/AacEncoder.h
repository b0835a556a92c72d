// The recording encoded for the video: AAC-LC at the source's own sample rate and channel
// count (256 kb/s stereo, 128 kb/s mono), cut to a given duration, held in memory as
// packets. Reading streams through the file, so memory holds the compressed result only.
// Any thread; each call is independent.
#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

struct AVCodecParameters;
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

    AVCodecParameters* parameters = nullptr; // owned
    std::vector<AVPacket*> packets;          // owned, time stamps in 1 / sampleRate
};

// True when the file at `path` still has the size and modification time it had when
// `audio` was read from it.
bool isSameSource(const EncodedAudio& audio, const QString& path);

// Encodes the first audio stream of `path`, keeping at most `maxDuration` seconds from its
// start. Null (with `error`) when the file cannot be read or encoded.
std::shared_ptr<const EncodedAudio> encodeAac(const QString& path, double maxDuration, QString* error);
