// Per-frame audio slices: channel 0 of the processed recording cut into runs of
// samples-per-frame samples, each sample quantised to 10 bits (0...1023, silence 512).
// Pure functions; any thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

constexpr uint16_t kSilentSliceValue = 512;

// The 10-bit value of a float sample: (s + 1) x 511.5 in 32-bit float, truncated toward
// zero and clamped to 0...1023. A NaN sample counts as silence. Inline: it runs for every
// sample of a recording.
inline uint16_t quantiseSample(float sample)
{
    if (sample != sample)
        return kSilentSliceValue;
    const float scaled = (sample + 1.0f) * 511.5f;
    // Clamping before the conversion keeps it defined for any magnitude; truncation toward
    // zero of a value in 0...1023 is the same either way round.
    return static_cast<uint16_t>(scaled < 0.0f ? 0.0f : (scaled > 1023.0f ? 1023.0f : scaled));
}

// Samples per frame: sampleRate / fps truncated (44100 / 30 = 1470). Stops the program when
// the quotient is not finite.
int samplesPerFrame(double sampleRate, int fps);

struct FrameAudioSlices {
    int samplesPerFrame = 0;
    // One slice per frame that holds at least one sample; the last one is padded with 512.
    // Frames after these are pure silence.
    std::vector<std::vector<uint16_t>> slices;
};

// Cuts `channel0` into slices of `samplesPerFrame` quantised samples.
FrameAudioSlices quantiseFrameSlices(std::span<const float> channel0, int samplesPerFrame);

// The same in steps, for a channel that grows: appendWholeSlices adds the slices of every
// whole frame of `channel0` not yet in `slices`; finishSlices then adds the padded last one.
void appendWholeSlices(std::span<const float> channel0, FrameAudioSlices& slices);
void finishSlices(std::span<const float> channel0, FrameAudioSlices& slices);
