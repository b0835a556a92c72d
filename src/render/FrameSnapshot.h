// An immutable copy of what the export needs from each frame (page, rectangle, colour,
// page index), taken on the main thread when an export starts. Page images are shared
// copies, so taking it is cheap and later edits of the frame store cannot race with it.
#pragma once

#include "model/Frames.h"
#include "render/FrameRenderer.h"
#include "render/TransitionInfo.h"

#include <QColor>
#include <QImage>
#include <QRect>

#include <cstdint>
#include <optional>
#include <vector>

struct FrameSnapshot {
    std::optional<QImage> image;
    QRect rect; // lower-left origin, as stored in the frame
    QColor color;
    std::optional<int> pageIndex;

    FrameLook look() const { return FrameLook{image ? &*image : nullptr, rect, color}; }
};

std::vector<FrameSnapshot> snapshotFrames(const Frames& frames);

// Renders export pictures from a snapshot, with the fades, and tells which frames look
// exactly like their predecessor. One instance per rendering thread.
//
// At a `scale` above 1 (4K) the canvas is drawn that many times larger: every rectangle is
// multiplied, fill and fades stay the same, and pages come from `rasteriser` where it can
// draw them afresh at the size they are shown. Only the page on screen and the one fading
// out are then kept scaled, since each takes tens of megabytes.
class SnapshotRenderer {
public:
    SnapshotRenderer(const std::vector<FrameSnapshot>& frames, double transitionDuration, int exportFPS,
                     int scale = 1, PageRasteriser rasteriser = {});

    int64_t frameCount() const { return static_cast<int64_t>(m_frames.size()); }
    std::optional<TransitionInfo> transitionAt(int64_t index) const;

    // True when frame `index` shows the same picture as frame index - 1: the same page
    // image, rectangle and colour, and neither frame is inside a fade.
    bool samePictureAsPrevious(int64_t index) const;

    // Draws frame `index` into `target` (premultiplied ARGB of the canvas size times the scale).
    bool render(int64_t index, QImage& target);

    const ScaledPageCache& cache() const { return m_cache; }

private:
    const std::vector<FrameSnapshot>& m_frames;
    double m_transitionDuration;
    int m_exportFPS;
    int m_scale;
    // Per frame, where the walk back of the transition rule puts the start of its page's
    // run, or -1 when it never fades; found in one pass so that long pages cost nothing.
    std::vector<int64_t> m_runStarts;
    ScaledPageCache m_cache;
};
