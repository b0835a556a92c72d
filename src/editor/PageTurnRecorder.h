// Where page-turn recording stands: the page being recorded, the placement written with it,
// and the last frame the sweep has written. Main thread only. Owned by value by the editor,
// which does the writing into the frames; knows nothing of the editor or the frames.
#pragma once

#include "model/Placement.h"

#include <cstddef>
#include <cstdint>
#include <optional>

class PageTurnRecorder {
public:
    // A run of frames, both ends included.
    struct FrameSpan {
        int64_t first = 0;
        int64_t last = 0;
    };

    // The index of the page being recorded (also the page index the frames receive).
    int page() const { return m_page; }
    // The placement written with the page; none means each write computes its own.
    const std::optional<Placement>& placement() const { return m_placement; }
    // The last frame the sweep wrote; -1 before any.
    int64_t lastAssignedFrame() const { return m_lastAssignedFrame; }

    // A recording begins on `page` at the frame under the playhead: nothing is written yet,
    // so the first sweep fills from `currentFrame` on.
    void begin(int page, std::optional<Placement> placement, int64_t currentFrame);
    // The recording goes on with another page; the sweep continues where it was.
    void turnTo(int page, std::optional<Placement> placement);
    // The page one `step` away, kept inside a list of `pageCount` pages; none when that is
    // the page being recorded already or the list is empty.
    std::optional<int> pageAfterStep(int step, size_t pageCount) const;
    // The frames a sweep up to `currentFrame` must write (those after the last written one),
    // which then count as written; none when the playhead has not moved past it.
    std::optional<FrameSpan> sweepTo(int64_t currentFrame);
    // The sweep goes on after `frame`, wherever that is (a seek painted up to it).
    void continueFrom(int64_t frame) { m_lastAssignedFrame = frame; }

private:
    int m_page = 0;
    std::optional<Placement> m_placement;
    int64_t m_lastAssignedFrame = -1;
};
