#include "editor/PageBoundarySnapping.h"

#include "support/CheckedConversions.h"

#include <algorithm>
#include <optional>

std::vector<int64_t> pageBoundaryFrames(const Frames& frames)
{
    std::vector<int64_t> boundaries;
    std::optional<int> previous;
    const int64_t count = frames.getFrameCount();
    for (int64_t i = 0; i < count; ++i) {
        const auto record = frames.getFrame(i);
        const std::optional<int> page = record ? record->assignedImageIndex : std::nullopt;
        // The start of a gap is a change too; before frame 0 there is no page.
        if (page != previous)
            boundaries.push_back(i);
        previous = page;
    }
    return boundaries;
}

double snapTimeToPageBoundary(double time, const std::vector<int64_t>& boundaries, int fps,
                              int64_t radiusFrames)
{
    constexpr double kFrameTolerance = 1e-6;
    const int64_t frame = toInt64Checked(time * static_cast<double>(fps) + kFrameTolerance);

    // The boundaries are sorted: only the two around the frame can be nearest.
    const auto after = std::lower_bound(boundaries.begin(), boundaries.end(), frame);
    std::optional<int64_t> best;
    int64_t bestDistance = radiusFrames + 1;
    if (after != boundaries.begin()) {
        const int64_t before = *std::prev(after);
        if (frame - before < bestDistance) {
            best = before;
            bestDistance = frame - before;
        }
    }
    // Only a strictly smaller distance replaces the earlier boundary.
    if (after != boundaries.end() && *after - frame < bestDistance)
        best = *after;
    if (!best)
        return time;
    return static_cast<double>(*best) / static_cast<double>(fps);
}
