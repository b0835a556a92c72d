// Snapping a scrub position on the waveform to the nearest page start. The boundaries are
// collected once from the frame store and reused for every pointer move until the frames
// change. Pure functions; main thread (they read the frame store).
#pragma once

#include "model/Frames.h"

#include <cstdint>
#include <vector>

// The frames at which the assigned page differs from the previous frame's, in increasing
// order, the first frame of a gap included. Frame 0 counts when it carries a page (nothing
// comes before it, which has no page); a
// missing record is treated as a frame without a page.
std::vector<int64_t> pageBoundaryFrames(const Frames& frames);

// The time of the boundary nearest to Int(time x fps) within `radiusFrames` frames (the
// earlier one on a tie), or `time` itself when none is that close. The frame is truncated
// with the same millionth-of-a-frame tolerance as the playhead's frame, so a time that is
// exactly a frame's start maps to that frame. A non-finite product stops the program.
double snapTimeToPageBoundary(double time, const std::vector<int64_t>& boundaries, int fps,
                              int64_t radiusFrames = 30);
