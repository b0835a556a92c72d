// Rendering of the processed recording: start silence, the source with the volume boost
// applied (never clipped), end silence; and writing it as the temporary float WAV that
// playback, framing and the export's muxing use. Runs on any thread; the caller owns the
// buffers.
#pragma once

#include "audio/AudioBuffer.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

// Where log lines go: the log itself, or a queue that hands them to the main thread so
// they keep their place among the other loading messages.
using AudioLogSink = std::function<void(const QString&)>;

// The gain of a volume boost in percent, as 32-bit float (100 % -> 1.0).
float gainForVolumeBoost(double volumeBoost);

// A silence length in sample frames: seconds x rate truncated toward zero. Stops the
// program when the product is not finite, at most -1 or at least 2^32.
uint32_t silenceFrameCount(double seconds, int sampleRate);

// The processed buffer: `startFrames` zeros, `source` multiplied by `gain` (untouched when
// the gain is exactly 1), `endFrames` zeros, in every channel. Takes the source so that
// each channel's memory is released as soon as its processed copy exists.
AudioBuffer renderSilenceAndGain(AudioBuffer source, uint32_t startFrames, uint32_t endFrames, float gain);

// "audio_with_silence_<UUID>.wav" in `directory` (QDir::tempPath() when empty), a new name
// on every call.
QString newProcessedAudioPath(const QString& directory);

// The text of a 32-bit float in its shortest round-trip form ("1.5", "3.0", "0.33").
QString formatFloat(float value);

// The log lines of rendering: the gain line (only when the gain is not exactly 1) and the
// two lines that end a successful rendering.
QString gainLogLine(double volumeBoost, float gain);
QStringList renderedLogLines(double startSilence, double endSilence, const QString& path);

struct ProcessedAudio {
    QString path;
    std::shared_ptr<const AudioBuffer> audio;
};

// Renders `source` with the silences and the boost and writes it to a new temporary WAV
// file, logging each step. On failure logs "[Audio] Hiba a csend hozzáadásakor: " and the
// reason and returns none.
std::optional<ProcessedAudio> renderProcessedAudio(AudioBuffer source, double startSilence, double endSilence,
                                                   double volumeBoost, const QString& directory,
                                                   const AudioLogSink& log);
