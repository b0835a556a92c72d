// Decodes a whole audio file (anything FFmpeg reads: WAV in any PCM or float layout, MP3,
// M4A/AAC, FLAC, OGG...) into 32-bit float samples, handed block by block to a receiver, at
// the file's own sample rate and channel count. A sample rate below 8 kHz or above 768 kHz is
// refused as a broken header. Runs on any thread; each call is independent.
#pragma once

#include <QString>

#include <cstdint>
#include <span>

class QIODevice;

// The sample rates decoded: from telephone quality, below which no music is recorded, to
// eight times 96 kHz, the highest of recording equipment. A file claiming a rate outside is
// refused as a broken header (see AudioStreamDecoder.cpp).
constexpr int kMinDecodedSampleRate = 8000;
constexpr int kMaxDecodedSampleRate = 768000;
// The longest recording decoded, in sample frames: sample counts are 32-bit throughout the
// audio code, and the silences a load adds (at most 20 s at the highest rate) must still fit.
// Some 26 hours at 44.1 kHz; a stream that goes on past it is cut there (and said to be).
constexpr int64_t kMaxDecodedFrames = (int64_t(1) << 32) - (int64_t(1) << 26);

// Receives decoded audio block by block, in order, on the decoding thread. Lets a caller
// process a recording while it is being decoded instead of holding it twice.
class DecodeReceiver {
public:
    virtual ~DecodeReceiver() = default;
    // Once, before the first block. `expectedFrames` is a size hint (the length the file
    // announces plus room for codec padding) or -1.
    virtual void begin(int sampleRate, int channelCount, int64_t expectedFrames) = 0;
    // Room for `frameCount` frames: one pointer per channel for the decoder to write into.
    virtual std::span<float* const> blockFor(int frameCount) = 0;
    // The decoder wrote `frameCount` frames (at most the room asked for) into that room.
    virtual void commit(int frameCount) = 0;
    // Asked between packets: true makes decoding stop there (the work was called off or
    // the receiver failed). The decode then ends as an error.
    virtual bool stopRequested() const { return false; }
};

struct DecodeStatus {
    bool opened = false;    // begin() was called
    bool ok = false;        // audio was decoded (maybe cut short); false: `error` says why
    bool truncated = false; // the stream broke off part-way (logged)
    QString error;
    int sampleRate = 0;
    int64_t frames = 0;
};

// Decodes the file at `path` into `receiver`. A file that breaks off part-way gives what
// could be decoded, with `truncated` set and a log line saying so.
DecodeStatus decodeAudioFileInto(const QString& path, DecodeReceiver& receiver);

// The same for data in a device (a file, or a buffer in memory). The device must be open
// for reading; it is read from its current position to the end.
DecodeStatus decodeAudioDeviceInto(QIODevice& device, const QString& nameForMessages,
                                   DecodeReceiver& receiver);
