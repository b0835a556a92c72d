#include "editor/PageBoundaries.h"

namespace {

// Walks back from `frame` while the frame before it is on `page`; returns the run's start.
int64_t runStart(const Frames& frames, int64_t frame, int page)
{
    int64_t start = frame;
    while (start > 0 && pageOfFrame(frames, start - 1) == page)
        --start;
    return start;
}

} // namespace

std::optional<int> pageOfFrame(const Frames& frames, int64_t frame)
{
    const auto record = frames.getFrame(frame);
    if (!record)
        return std::nullopt;
    return record->assignedImageIndex;
}

std::optional<int64_t> nextPageStart(const Frames& frames, int64_t current)
{
    const std::optional<int> page = pageOfFrame(frames, current);
    if (!page)
        return std::nullopt;
    const int64_t count = frames.getFrameCount();
    for (int64_t i = current + 1; i < count; ++i) {
        const std::optional<int> other = pageOfFrame(frames, i);
        if (other && *other != *page)
            return i;
    }
    return std::nullopt;
}

std::optional<int64_t> previousPageTarget(const Frames& frames, int64_t current)
{
    const std::optional<int> page = pageOfFrame(frames, current);
    if (!page)
        return std::nullopt;
    const int64_t start = runStart(frames, current, *page);
    // First press: back to the start of the page under the playhead.
    if (start < current)
        return start;
    // Already on its first frame: to the start of the page before, passing over gaps.
    for (int64_t i = start - 1; i >= 0; --i) {
        const std::optional<int> other = pageOfFrame(frames, i);
        if (other && *other != *page)
            return runStart(frames, i, *other);
    }
    return std::nullopt;
}

std::optional<int64_t> lastAssignedFrame(const Frames& frames)
{
    for (int64_t i = frames.getFrameCount() - 1; i >= 0; --i) {
        if (pageOfFrame(frames, i))
            return i;
    }
    return std::nullopt;
}
