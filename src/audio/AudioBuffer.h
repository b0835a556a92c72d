// Decoded audio held in memory: 32-bit float samples, one vector per channel, all of the
// same length, at the file's own sample rate.
#pragma once

#include <cstdint>
#include <vector>

struct AudioBuffer {
    int sampleRate = 0;
    std::vector<std::vector<float>> channels;

    int channelCount() const { return static_cast<int>(channels.size()); }
    int64_t frameCount() const
    {
        return channels.empty() ? 0 : static_cast<int64_t>(channels.front().size());
    }
    double durationSeconds() const
    {
        return sampleRate > 0 ? static_cast<double>(frameCount()) / sampleRate : 0.0;
    }
};
