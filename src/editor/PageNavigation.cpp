// Moving through the video by pages, and the page colours of the waveform. Each jump ends
// in one seekTo() or in nothing, so a jump while recording paints the stretch it crosses.
// Main thread only.
#include "editor/VideoEditorViewModel.h"

#include "editor/PageBoundaries.h"
#include "model/Frames.h"

#include <algorithm>

namespace {

constexpr double kPageColorOpacity = 0.9;
constexpr double kJumpBackSeconds = 3.0;

double timeOfFrame(int64_t frame)
{
    return static_cast<double>(frame) / static_cast<double>(VideoEditorViewModel::FPS);
}

} // namespace

void VideoEditorViewModel::jumpToNextPage()
{
    if (const auto target = nextPageStart(*m_frameManager, frameIndexForTime(m_currentTime)))
        seekTo(timeOfFrame(*target));
}

void VideoEditorViewModel::jumpToPreviousPage()
{
    if (const auto target = previousPageTarget(*m_frameManager, frameIndexForTime(m_currentTime)))
        seekTo(timeOfFrame(*target));
}

void VideoEditorViewModel::jumpToLastPage()
{
    // The last recorded frame, the end of the last page, not the start of that page.
    if (const auto target = lastAssignedFrame(*m_frameManager))
        seekTo(timeOfFrame(*target));
}

void VideoEditorViewModel::jumpToStart()
{
    seekTo(0.0);
}

void VideoEditorViewModel::jumpBack3Seconds()
{
    seekTo(std::max(0.0, m_currentTime - kJumpBackSeconds));
}

std::optional<QColor> VideoEditorViewModel::colorForFrame(int64_t frameIndex) const
{
    const std::optional<int> page = pageOfFrame(*m_frameManager, frameIndex);
    if (!page)
        return std::nullopt;
    // The colour follows the stored page index, not the page's content. Indices are never
    // negative; should one be, it still lands inside the palette.
    const int slot = ((*page % kPageColorCount) + kPageColorCount) % kPageColorCount;
    QColor color = m_pageColors[static_cast<size_t>(slot)];
    color.setAlphaF(kPageColorOpacity);
    return color;
}
