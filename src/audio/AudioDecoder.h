// Decodes a whole audio file into an AudioBuffer: 32-bit float samples, one vector per
// channel, at the file's own sample rate and channel count, with the rules of
// media/AudioStreamDecoder.h (which does the decoding). Runs on any thread; each call is
// independent.
#pragma once

#include "audio/AudioBuffer.h"
#include "media/AudioStreamDecoder.h"

#include <QString>

#include <optional>

class QIODevice;

struct DecodeResult {
    std::optional<AudioBuffer> audio; // none when nothing could be decoded
    QString error;                    // why decoding failed, or why it stopped early
    bool truncated = false;           // the stream broke off: `audio` holds what came before
};

// Reads the file at `path`. A file that breaks off part-way gives what could be decoded,
// with `truncated` set and a log line saying so.
DecodeResult decodeAudioFile(const QString& path);

// The same for data in a device (a file, or a buffer in memory). The device must be open
// for reading; it is read from its current position to the end.
DecodeResult decodeAudioDevice(QIODevice& device, const QString& nameForMessages);
