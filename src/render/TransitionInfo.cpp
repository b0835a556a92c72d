#include "render/TransitionInfo.h"

#include "support/CheckedConversions.h"

int64_t transitionFrameCount(double transitionDuration, int exportFPS)
{
    return toInt64Checked(transitionDuration * static_cast<double>(exportFPS));
}

std::optional<TransitionInfo> transitionInfo(std::span<const std::optional<int>> assignedPages,
                                             int64_t frameIndex, double transitionDuration, int exportFPS)
{
    return transitionInfo(frameIndex, static_cast<int64_t>(assignedPages.size()), transitionDuration,
                          exportFPS, [&](int64_t i) { return assignedPages[static_cast<size_t>(i)]; });
}
