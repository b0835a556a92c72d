// The cross-fade at a page change: which frame fades out and how opaque the new page is.
// A pure function over the pages assigned to the frames, so the export can run it on its
// own snapshot on a background thread and the editor on the live frame store.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

struct TransitionInfo {
    // Opacity of the current frame's page, 0 < value <= 1.
    double blendFactor = 1.0;
    // The frame whose page fades out: the last frame of the previous page's run.
    int64_t prevFrameIndex = 0;

    friend bool operator==(const TransitionInfo&, const TransitionInfo&) = default;
};

// The number of frames a fade lasts: transitionDuration x exportFPS, truncated toward zero.
int64_t transitionFrameCount(double transitionDuration, int exportFPS);

// The fade of frame `frameIndex`, or none when it is not inside one. `assignedAt(i)` gives
// the page index assigned to frame i (none for an unassigned frame); it is only asked for
// 0 <= i <= frameIndex, and `frameCount` bounds the frames that exist.
//
// The start of the current page's run is found by walking back while the frames show the
// same page index. If the walk meets an unassigned frame first, the run is taken to start
// at `frameIndex` itself, so every frame of such a run fades in from its own predecessor at
// 1/N. Vornik keeps this on purpose: projects written by page-turn recording never have such
// gaps, and files made with it must keep rendering the same. A run that reaches back to
// frame 0 never fades in.
template <typename AssignedAt>
std::optional<TransitionInfo> transitionInfo(int64_t frameIndex, int64_t frameCount,
                                             double transitionDuration, int exportFPS,
                                             AssignedAt&& assignedAt)
{
    if (transitionDuration <= 0.0)
        return std::nullopt;
    const int64_t n = transitionFrameCount(transitionDuration, exportFPS);
    if (n <= 0)
        return std::nullopt;
    if (frameIndex < 0 || frameIndex >= frameCount)
        return std::nullopt;
    const std::optional<int> current = assignedAt(frameIndex);
    if (!current)
        return std::nullopt;

    int64_t start = frameIndex;
    for (int64_t i = frameIndex - 1; i >= 0; --i) {
        const std::optional<int> page = assignedAt(i);
        if (!page)
            break;
        if (*page != *current) {
            start = i + 1;
            break;
        }
        if (i == 0)
            return std::nullopt;
    }
    if (start == 0)
        return std::nullopt;
    const int64_t k = frameIndex - start;
    if (k >= n)
        return std::nullopt;
    return TransitionInfo{static_cast<double>(k + 1) / static_cast<double>(n), start - 1};
}

// The same over a list of page indices, one per frame.
std::optional<TransitionInfo> transitionInfo(std::span<const std::optional<int>> assignedPages,
                                             int64_t frameIndex, double transitionDuration, int exportFPS);
