#include "audio/FrameSlicing.h"

#include "support/CheckedConversions.h"

#include <algorithm>
#include <cmath>

int samplesPerFrame(double sampleRate, int fps)
{
    return static_cast<int>(toInt64Checked(sampleRate / static_cast<double>(fps)));
}

namespace {

void appendSlice(std::span<const float> channel0, size_t frame, FrameAudioSlices& slices)
{
    const size_t perFrame = size_t(slices.samplesPerFrame);
    const size_t start = frame * perFrame;
    const size_t end = std::min(start + perFrame, channel0.size());
    std::vector<uint16_t> slice(perFrame, kSilentSliceValue);
    for (size_t i = start; i < end; ++i)
        slice[i - start] = quantiseSample(channel0[i]);
    slices.slices.push_back(std::move(slice));
}

} // namespace

void appendWholeSlices(std::span<const float> channel0, FrameAudioSlices& slices)
{
    if (slices.samplesPerFrame <= 0)
        return;
    const size_t whole = channel0.size() / size_t(slices.samplesPerFrame);
    while (slices.slices.size() < whole)
        appendSlice(channel0, slices.slices.size(), slices);
}

void finishSlices(std::span<const float> channel0, FrameAudioSlices& slices)
{
    if (slices.samplesPerFrame <= 0)
        return;
    const size_t perFrame = size_t(slices.samplesPerFrame);
    const size_t count = (channel0.size() + perFrame - 1) / perFrame;
    while (slices.slices.size() < count)
        appendSlice(channel0, slices.slices.size(), slices);
}

FrameAudioSlices quantiseFrameSlices(std::span<const float> channel0, int samplesPerFrame)
{
    FrameAudioSlices result;
    result.samplesPerFrame = samplesPerFrame;
    if (samplesPerFrame <= 0)
        return result;
    result.slices.reserve((channel0.size() + size_t(samplesPerFrame) - 1) / size_t(samplesPerFrame));
    finishSlices(channel0, result);
    return result;
}
