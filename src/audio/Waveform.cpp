#include "audio/Waveform.h"

#include "support/CheckedConversions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

std::vector<float> waveformBars(std::span<const float> channel0)
{
    const uint32_t length = toFrameCountChecked(static_cast<double>(channel0.size()));
    const size_t samplesPerBar = length / kWaveformBarCount;
    std::vector<float> bars;
    bars.reserve(kWaveformBarCount);
    for (size_t bar = 0; bar < kWaveformBarCount; ++bar) {
        const size_t start = bar * samplesPerBar;
        const size_t end = std::min(start + samplesPerBar, size_t(length));
        float peak = 0.0f;
        for (size_t i = start; i < end; ++i)
            peak = std::max(peak, std::fabs(channel0[i]));
        bars.push_back(peak);
    }
    return bars;
}
