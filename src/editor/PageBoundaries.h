// Where pages begin and end on the timeline. A page is a maximal run of consecutive frames
// with the same assignedImageIndex; frames without a page are gaps. Pure reads of the frame
// store, used by the page jumps of the editor.
#pragma once

#include "model/Frames.h"

#include <cstdint>
#include <optional>

// The page index of the frame, or none for a missing or unassigned frame.
std::optional<int> pageOfFrame(const Frames& frames, int64_t frame);

// The first frame after `current` whose page differs from the page of `current`; gaps are
// passed over. None when `current` has no page or no later page exists.
std::optional<int64_t> nextPageStart(const Frames& frames, int64_t current);

// The start of the page under `current` when the playhead is inside it; when it is on the
// page's first frame, the start of the nearest earlier page (gaps and other runs of the same
// page passed over). None when `current` has no page or nothing lies before it.
std::optional<int64_t> previousPageTarget(const Frames& frames, int64_t current);

// The last frame that has any page, or none when nothing is assigned.
std::optional<int64_t> lastAssignedFrame(const Frames& frames);
