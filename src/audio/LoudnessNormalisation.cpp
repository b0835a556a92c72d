#include "audio/LoudnessNormalisation.h"

#include "support/CheckedConversions.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>

// Owns one libebur128 meter.
struct IntegratedLoudnessMeter::State {
    explicit State(ebur128_state* meter)
        : handle(meter)
    {}
    ~State() { ebur128_destroy(&handle); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ebur128_state* handle;
};

IntegratedLoudnessMeter::IntegratedLoudnessMeter() = default;

IntegratedLoudnessMeter::~IntegratedLoudnessMeter() = default;

bool IntegratedLoudnessMeter::begin(int sampleRate, int channelCount)
{
    m_state.reset();
    m_channels = 0;
    if (sampleRate <= 0 || channelCount <= 0)
        return false;
    ebur128_state* meter =
            ebur128_init(static_cast<unsigned>(channelCount), static_cast<unsigned long>(sampleRate),
                         EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK);
    if (!meter)
        return false;
    m_state = std::make_unique<State>(meter);
    m_channels = size_t(channelCount);
    return true;
}

void IntegratedLoudnessMeter::add(std::span<const float* const> channels, size_t frames)
{
    if (!m_state || frames == 0 || channels.size() != m_channels)
        return;
    m_interleaved.resize(frames * m_channels);
    for (size_t c = 0; c < m_channels; ++c) {
        const float* source = channels[c];
        for (size_t i = 0; i < frames; ++i)
            m_interleaved[i * m_channels + c] = source[i];
    }
    ebur128_add_frames_float(m_state->handle, m_interleaved.data(), frames);
}

std::optional<double> IntegratedLoudnessMeter::integratedLUFS() const
{
    if (!m_state)
        return std::nullopt;
    double loudness = 0.0;
    if (ebur128_loudness_global(m_state->handle, &loudness) != EBUR128_SUCCESS || !std::isfinite(loudness))
        return std::nullopt;
    return loudness;
}

std::optional<double> IntegratedLoudnessMeter::truePeakDBTP() const
{
    if (!m_state)
        return std::nullopt;
    double highest = 0.0;
    for (size_t c = 0; c < m_channels; ++c) {
        double peak = 0.0;
        if (ebur128_true_peak(m_state->handle, static_cast<unsigned>(c), &peak) != EBUR128_SUCCESS)
            return std::nullopt;
        highest = std::max(highest, peak);
    }
    if (!(highest > 0.0))
        return std::nullopt;
    return 20.0 * std::log10(highest);
}

std::optional<RecordingLoudness> measureRecordingLoudness(const AudioBuffer& audio, size_t first,
                                                          size_t count, float gain,
                                                          const std::atomic<bool>& cancelled)
{
    // About a third of a second at 48 kHz: cancellation is seen quickly and the copies stay
    // in cache.
    constexpr size_t kBlockFrames = 16384;
    const size_t channelCount = audio.channels.size();
    const size_t available = size_t(std::max<int64_t>(audio.frameCount(), 0));
    first = std::min(first, available);
    count = std::min(count, available - first);

    IntegratedLoudnessMeter meter;
    RecordingLoudness result;
    if (!meter.begin(audio.sampleRate, int(channelCount)))
        return result;
    std::vector<std::vector<float>> unboosted(channelCount,
                                              std::vector<float>(gain == 1.0f ? 0 : kBlockFrames));
    std::vector<const float*> pointers(channelCount, nullptr);
    for (size_t done = 0; done < count; done += kBlockFrames) {
        if (cancelled.load(std::memory_order_relaxed))
            return std::nullopt;
        const size_t frames = std::min(kBlockFrames, count - done);
        for (size_t c = 0; c < channelCount; ++c) {
            const float* source = audio.channels[c].data() + first + done;
            if (gain == 1.0f) {
                pointers[c] = source;
                continue;
            }
            float* target = unboosted[c].data();
            for (size_t i = 0; i < frames; ++i)
                target[i] = source[i] / gain;
            pointers[c] = target;
        }
        meter.add(pointers, frames);
    }
    if (cancelled.load(std::memory_order_relaxed))
        return std::nullopt;
    result.integratedLUFS = meter.integratedLUFS();
    result.truePeakDBTP = meter.truePeakDBTP();
    return result;
}

std::optional<double> boostedLevel(std::optional<double> measured, double volumeBoost)
{
    if (!measured || !(volumeBoost > 0.0))
        return std::nullopt;
    return *measured + 20.0 * std::log10(volumeBoost / 100.0);
}

std::optional<double> normalisationBoost(std::optional<double> integratedLUFS,
                                         std::optional<double> truePeakDBTP)
{
    if (!integratedLUFS)
        return std::nullopt;
    double gainDB = kNormalisationTargetLUFS - *integratedLUFS;
    if (truePeakDBTP)
        gainDB = std::min(gainDB, kTruePeakCeilingDBTP - *truePeakDBTP);
    const double percent = std::clamp(100.0 * std::pow(10.0, gainDB / 20.0), 25.0, 1000.0);
    // Rounding up could lift the peak a hair over the ceiling; the limited case rounds down.
    const bool peakLimited = truePeakDBTP && gainDB == kTruePeakCeilingDBTP - *truePeakDBTP;
    return static_cast<double>(peakLimited && percent > 25.0 ? floorToInt64Checked(percent)
                                                             : roundToInt64Checked(percent));
}
