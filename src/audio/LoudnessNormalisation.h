// Integrated loudness (LUFS) and true peak (dBTP) the way video platforms measure them,
// and the boost that brings a recording to their -14 LUFS playback level without letting
// the true peak pass -1 dBTP (above it, the AAC encode of the video distorts).
#pragma once

#include "audio/AudioBuffer.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

// The platforms' playback level and the highest safe true peak.
inline constexpr double kNormalisationTargetLUFS = -14.0;
inline constexpr double kTruePeakCeilingDBTP = -1.0;

// Feeds planar float blocks to an integrated-loudness and true-peak meter. One instance per
// decode, used from one thread.
class IntegratedLoudnessMeter {
public:
    IntegratedLoudnessMeter();
    ~IntegratedLoudnessMeter();
    IntegratedLoudnessMeter(const IntegratedLoudnessMeter&) = delete;
    IntegratedLoudnessMeter& operator=(const IntegratedLoudnessMeter&) = delete;

    // Starts a measurement; false when the meter cannot handle the format.
    bool begin(int sampleRate, int channelCount);
    // Adds `frames` frames; `channels[c]` points at channel c's samples.
    void add(std::span<const float* const> channels, size_t frames);
    // The integrated loudness in LUFS; absent when nothing was measured or everything was
    // below the absolute gate (silence).
    std::optional<double> integratedLUFS() const;
    // The highest true peak of all channels in dBTP; absent when nothing was measured or
    // the recording is digital silence.
    std::optional<double> truePeakDBTP() const;

private:
    // libebur128's state, defined where it is used so that no header needs that library.
    struct State;
    std::unique_ptr<State> m_state;
    size_t m_channels = 0;
    std::vector<float> m_interleaved;
};

struct RecordingLoudness {
    // Absent for silence (everything below the absolute gate) or a format the meter refuses.
    std::optional<double> integratedLUFS;
    // Absent for digital silence or a format the meter refuses.
    std::optional<double> truePeakDBTP;
};

// Measures frames [first, first + count) of `audio`, each sample divided by `gain` first, so a
// processed (silenced and boosted) recording gives the figures of the user's own file.
// Returns nothing when `cancelled` turns true on the way; it is read between blocks, so a
// cancelled measurement of a long recording ends within milliseconds. Any thread; reads
// `audio` only.
std::optional<RecordingLoudness> measureRecordingLoudness(const AudioBuffer& audio, size_t first,
                                                          size_t count, float gain,
                                                          const std::atomic<bool>& cancelled);

// A measured figure after the boost: measured + 20·log10(boost / 100).
std::optional<double> boostedLevel(std::optional<double> measured, double volumeBoost);

// The boost in percent that brings `integratedLUFS` to -14 LUFS, lowered so that the boosted
// `truePeakDBTP` stays at or below -1 dBTP, clamped to 25…1000 and rounded to a whole
// percent (down when the peak sets the limit, so rounding cannot lift it over -1 dBTP).
// Absent without an integrated loudness. A missing true peak sets no limit.
std::optional<double> normalisationBoost(std::optional<double> integratedLUFS,
                                         std::optional<double> truePeakDBTP);
