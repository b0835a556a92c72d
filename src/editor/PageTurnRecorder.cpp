#include "editor/PageTurnRecorder.h"

#include <algorithm>

void PageTurnRecorder::begin(int page, std::optional<Placement> placement, int64_t currentFrame)
{
    m_page = page;
    m_placement = placement;
    m_lastAssignedFrame = currentFrame - 1;
}

void PageTurnRecorder::turnTo(int page, std::optional<Placement> placement)
{
    m_page = page;
    m_placement = placement;
}

std::optional<int> PageTurnRecorder::pageAfterStep(int step, size_t pageCount) const
{
    if (pageCount == 0)
        return std::nullopt;
    const int last = static_cast<int>(pageCount) - 1;
    const int page = std::clamp(m_page + step, 0, last);
    if (page == m_page)
        return std::nullopt;
    return page;
}

std::optional<PageTurnRecorder::FrameSpan> PageTurnRecorder::sweepTo(int64_t currentFrame)
{
    // Every frame passed since the last sweep is written, however late the sweep comes.
    if (m_lastAssignedFrame >= currentFrame)
        return std::nullopt;
    const FrameSpan span{m_lastAssignedFrame + 1, currentFrame};
    m_lastAssignedFrame = currentFrame;
    return span;
}
