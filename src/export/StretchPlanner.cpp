#include "export/StretchPlanner.h"

#include <algorithm>

StretchPlanner::StretchPlanner(int64_t keyframeInterval)
    : m_keyframeInterval(std::max<int64_t>(keyframeInterval, 2))
{}

std::optional<StretchStep> StretchPlanner::add(int64_t frameIndex, bool sameAsPrevious)
{
    // The first frame always starts a stretch, whatever the caller says.
    const bool still = sameAsPrevious && m_held.has_value();
    std::optional<StretchStep> step;
    if (m_held)
        step = decide(still);
    m_held = frameIndex;
    m_heldIsStill = still;
    return step;
}

std::optional<StretchStep> StretchPlanner::finish()
{
    if (!m_held)
        return std::nullopt;
    const StretchStep step = decide(false);
    m_held.reset();
    return step;
}

StretchStep StretchPlanner::decide(bool nextIsStill)
{
    const int64_t frame = *m_held;
    if (!m_heldIsStill) {
        // A changing stretch starts with an IDR and its encoder keeps keyframes close enough.
        if (nextIsStill)
            m_lastKeyframe = frame;
        return {frame, nextIsStill ? StretchAction::encodeStillIdr : StretchAction::encodeChanging};
    }
    // The IDR is sent again one frame early, and never on the last frame of a still stretch:
    // the frame after that is an IDR of its own, and two IDR pictures in a row must differ.
    if (nextIsStill && frame - m_lastKeyframe >= m_keyframeInterval - 1) {
        m_lastKeyframe = frame;
        return {frame, StretchAction::repeatIdr};
    }
    return {frame, StretchAction::writeSkip};
}
