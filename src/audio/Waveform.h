// Waveform bars of a recording: the peak absolute sample of channel 0 over each of a fixed
// number of equal spans. Pure function; any thread.
#pragma once

#include <span>
#include <vector>

constexpr int kWaveformBarCount = 500;

// `kWaveformBarCount` bars over `channel0`. Each bar covers length / 500 samples (integer
// division); the remainder at the end belongs to no bar, and a recording shorter than 500
// samples gives 500 zeros. Stops the program when the length does not fit an unsigned
// 32-bit frame count.
std::vector<float> waveformBars(std::span<const float> channel0);
