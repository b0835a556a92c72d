#include "audio/Loudness.h"

#include "support/CheckedConversions.h"

#include <cmath>

void accumulateSquares(std::span<const float> samples, double& sum)
{
    for (const float sample : samples) {
        const double widened = sample;
        sum += widened * widened;
    }
}

std::optional<double> measureRmsLoudness(const AudioBuffer& audio)
{
    std::vector<double> sums(audio.channels.size(), 0.0);
    for (size_t c = 0; c < audio.channels.size(); ++c)
        accumulateSquares(audio.channels[c], sums[c]);
    return rmsLoudnessFromSums(sums, audio.frameCount());
}

std::optional<double> rmsLoudnessFromSums(std::span<const double> channelSquareSums, int64_t length)
{
    // The whole recording must fit one buffer of an unsigned 32-bit frame capacity.
    const uint32_t frames = toFrameCountChecked(static_cast<double>(length));
    if (frames == 0 || channelSquareSums.empty())
        return std::nullopt;
    // Each channel is summed on its own (so a recording can be summed while it decodes),
    // then the channels in order.
    double sum = 0.0;
    for (const double channelSum : channelSquareSums)
        sum += channelSum;
    const double rms = std::sqrt(sum / (static_cast<double>(frames) * double(channelSquareSums.size())));
    if (rms <= 0.0)
        return -100.0;
    return 20.0 * std::log10(rms);
}

std::optional<double> boostedLoudness(std::optional<double> measuredDB, double volumeBoost)
{
    if (!measuredDB)
        return std::nullopt;
    return *measuredDB + 20.0 * std::log10(volumeBoost / 100.0);
}

LoudnessRating youtubeLoudnessRating(std::optional<double> boostedDB)
{
    if (!boostedDB)
        return {QStringLiteral("Nincs audio"), LoudnessColors::gray()};
    constexpr double kTarget = -16.0;
    const double diff = *boostedDB - kTarget;
    // The lower bands compare with "less than", the upper ones with "at most"; a NaN
    // difference fails every test and lands in the last band.
    QString prefix;
    QColor color;
    if (diff < -12.0) {
        prefix = QStringLiteral("Nagyon halk (");
        color = LoudnessColors::red();
    } else if (diff < -6.0) {
        prefix = QStringLiteral("Halk (");
        color = LoudnessColors::orange();
    } else if (diff < -2.0) {
        prefix = QStringLiteral("Kicsit halk (");
        color = LoudnessColors::yellow();
    } else if (diff <= 3.0) {
        prefix = QStringLiteral("Jó! YouTube szint (");
        color = LoudnessColors::green();
    } else if (diff <= 6.0) {
        prefix = QStringLiteral("Kicsit hangos (");
        color = LoudnessColors::yellow();
    } else {
        prefix = QStringLiteral("Túl hangos! (");
        color = LoudnessColors::red();
    }
    return {prefix + QString::asprintf("%+.1f", diff) + QStringLiteral(" dB)"), color};
}

namespace LoudnessColors {
// The desktop's system colours in sRGB.
QColor gray()
{
    return QColor(128, 128, 128);
}
QColor red()
{
    return QColor(255, 59, 48);
}
QColor orange()
{
    return QColor(255, 149, 0);
}
QColor yellow()
{
    return QColor(255, 204, 0);
}
QColor green()
{
    return QColor(40, 205, 65);
}
} // namespace LoudnessColors
