// Audio fixtures made at test time: tones, square waves, silences and constant signals as
// buffers, written as float WAV files with Vornik's own writer or encoded to MP3 / M4A
// through FFmpeg's libraries. Nothing is downloaded.
#pragma once

#include "audio/AudioBuffer.h"
#include "editor/EditorEnvironment.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace fixtures {

// A sine of `frequency` Hz and `amplitude` in every channel (channel c at c + 1 times the
// frequency, so channels differ).
AudioBuffer sineTone(int sampleRate, int channels, int64_t frames, float amplitude = 0.5f,
                     double frequency = 440.0);
// A square wave alternating +amplitude and -amplitude every `halfPeriod` samples.
AudioBuffer squareWave(int sampleRate, int channels, int64_t frames, float amplitude = 1.0f,
                       int halfPeriod = 50);
// Digital silence.
AudioBuffer silence(int sampleRate, int channels, int64_t frames);
// The same value in every sample.
AudioBuffer constant(int sampleRate, int channels, int64_t frames, float value);

// Writes `buffer` as a 32-bit float WAV file; returns the path (empty on failure).
QString writeWav(const QString& path, const AudioBuffer& buffer);
// Writes `buffer` as a 16-bit integer PCM WAV file (format tag 1).
QString writePcm16Wav(const QString& path, const AudioBuffer& buffer);
// Writes raw bytes to a file.
QString writeBytes(const QString& path, const QByteArray& bytes);

// The name of an MP3 encoder this FFmpeg has ("libmp3lame", "libshine" or "mp3"), or empty.
QString mp3EncoderName();
// Whether this FFmpeg has an AAC encoder.
bool hasAacEncoder();

// Fills `planar` (one vector per channel, already sized to `count`) with frames
// start .. start + count - 1.
using SampleGenerator =
        std::function<void(int64_t start, int64_t count, std::vector<std::vector<float>>& planar)>;

// Encodes generated audio with `encoderName` into the container chosen by the extension of
// `path` (".mp3", ".m4a"). Streams: memory stays small whatever the length.
bool encodeGenerated(const QString& path, const QString& encoderName, int sampleRate, int channels,
                     int64_t frames, const SampleGenerator& generate, int bitRate, QString* error);
// Encodes a buffer the same way.
bool encodeBuffer(const QString& path, const QString& encoderName, const AudioBuffer& buffer, QString* error);

// An editor environment whose players are ManualAudioPlayers (duration = the processed
// buffer's length) and whose temporary files go to `temporaryDirectory`. Each buffer handed
// to the factory is also stored in `*madeFrom` when given.
EditorEnvironment manualPlayerEnvironment(const QString& temporaryDirectory,
                                          std::shared_ptr<const AudioBuffer>* madeFrom = nullptr);

} // namespace fixtures
