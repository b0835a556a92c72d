#include "audio/Waveform.h"

#include "support/CheckedConversions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

std::vector<float> waveformBars(std::span<const float> channel0)
{
    const uint32_t length = toFrameCountChecked(static_cast<double>(channel0.size()));
    const size_t samplesPerBar = length / kWaveformBarCount;
    std::vector<float> bars;
    bars.reserve(kWaveformBarCount);
    for (size_t bar = 0; bar < kWaveformBarCount; ++bar) {
        const size_t start = bar * samplesPerBar;
        const size_t end = std::min(start + samplesPerBar, size_t(length));
        // Eight running peaks instead of one keep the loop free of a dependency chain; the
        // maximum does not depend on the order, so the bar is the same.
        float peaks[8] = {};
        size_t i = start;
        for (; i + 8 <= end; i += 8) {
            for (size_t k = 0; k < 8; ++k)
                peaks[k] = std::max(peaks[k], std::fabs(channel0[i + k]));
        }
        for (; i < end; ++i)
            peaks[0] = std::max(peaks[0], std::fabs(channel0[i]));
        bars.push_back(*std::max_element(std::begin(peaks), std::end(peaks)));
    }
    return bars;
}
