// The loudness reading of a recording: plain RMS level in dB over every sample of every
// channel, the level after the volume boost, and its rating against the -16 dB target of
// video platforms. Pure functions; any thread.
#pragma once

#include "audio/AudioBuffer.h"

#include <QColor>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>

// The RMS level of the whole buffer in dB relative to full scale; -100.0 for digital
// silence; absent for a buffer without samples. Stops the program when the length does
// not fit an unsigned 32-bit frame count.
std::optional<double> measureRmsLoudness(const AudioBuffer& audio);

// The same from running sums: the sum of squares of each channel's samples (in sample order,
// as doubles) and the length in sample frames.
std::optional<double> rmsLoudnessFromSums(std::span<const double> channelSquareSums, int64_t length);
// Adds the squares of `samples` to `sum`, in order.
void accumulateSquares(std::span<const float> samples, double& sum);

// The measured level plus the gain of `volumeBoost` percent (100 = unchanged).
std::optional<double> boostedLoudness(std::optional<double> measuredDB, double volumeBoost);

struct LoudnessRating {
    QString text;
    QColor color;
};

// The verdict shown beside the boost slider for a boosted level (absent: no audio).
LoudnessRating youtubeLoudnessRating(std::optional<double> boostedDB);

// The named colours of the rating.
namespace LoudnessColors {
QColor gray();
QColor red();
QColor orange();
QColor yellow();
QColor green();
} // namespace LoudnessColors
