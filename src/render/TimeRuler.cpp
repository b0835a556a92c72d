#include "render/TimeRuler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

double timeRulerInterval(double width, double duration)
{
    if (!(width > 0.0) || !(duration > 0.0) || !std::isfinite(duration))
        return 0.0;
    const double pointsPerSecond = width / duration;
    constexpr std::array<double, 7> kCandidates = {0.25, 0.5, 1.0, 2.0, 5.0, 10.0, 30.0};
    double interval = kCandidates.back();
    for (double candidate : kCandidates) {
        if (candidate * pointsPerSecond >= 60.0) {
            interval = candidate;
            break;
        }
    }
    // A long recording in a narrow view: even 30 s would crowd the labels, so the ticks
    // are spaced by the width of a label instead. Exactly 40 points counts as crowded: a
    // ten-minute recording in an 800-point view gets a tick every 45 s, not every 30 s.
    if (interval * pointsPerSecond <= 40.0)
        interval = std::max(interval, 60.0 / pointsPerSecond);
    return interval;
}

std::vector<double> timeRulerTicks(double width, double duration)
{
    std::vector<double> ticks;
    const double interval = timeRulerInterval(width, duration);
    if (interval <= 0.0)
        return ticks;
    // Multiples rather than repeated sums, so that rounding does not drift along the ruler.
    for (int64_t i = 0;; ++i) {
        const double time = static_cast<double>(i) * interval;
        if (time > duration)
            break;
        ticks.push_back(time);
    }
    return ticks;
}

QString timeRulerLabel(double seconds)
{
    const int whole = static_cast<int>(seconds);
    return QString::asprintf("%02d:%02d", whole / 60, whole % 60);
}
