#include "render/FrameSnapshot.h"

#include <algorithm>

std::vector<FrameSnapshot> snapshotFrames(const Frames& frames)
{
    std::vector<FrameSnapshot> snapshot;
    const int64_t count = frames.getFrameCount();
    snapshot.reserve(static_cast<size_t>(count));
    for (int64_t i = 0; i < count; ++i) {
        const std::shared_ptr<const FrameData> frame = frames.getFrame(i);
        snapshot.push_back(FrameSnapshot{
                frame->bgImage,
                QRect(frame->bgImageX, frame->bgImageY, frame->bgImageWidth, frame->bgImageHeight),
                frame->bgColor, frame->assignedImageIndex});
    }
    return snapshot;
}

namespace {

constexpr int kScaledPagesAt1080p = 6;
constexpr int kScaledPagesAbove1080p = 2;

FrameLook scaledLook(FrameLook look, int scale)
{
    look.rect = QRect(look.rect.x() * scale, look.rect.y() * scale, look.rect.width() * scale,
                      look.rect.height() * scale);
    return look;
}

} // namespace

SnapshotRenderer::SnapshotRenderer(const std::vector<FrameSnapshot>& frames, double transitionDuration,
                                   int exportFPS, int scale, PageRasteriser rasteriser)
    : m_frames(frames)
    , m_transitionDuration(transitionDuration)
    , m_exportFPS(exportFPS)
    , m_scale(std::max(1, scale))
    , m_cache(m_scale > 1 ? kScaledPagesAbove1080p : kScaledPagesAt1080p, std::move(rasteriser))
{
    // The walk back from frame i passes frame i - 1 when it shows the same page, and then
    // ends exactly where the walk from i - 1 ended: at a different page (the run starts
    // after it), at an unassigned frame (the run is taken to start at the frame itself) or
    // at frame 0 (no fade). So each frame's outcome follows from its predecessor's.
    enum class WalkEnd { unassignedFrame, differentPage, frameZero };
    const size_t count = m_frames.size();
    m_runStarts.assign(count, -1);
    WalkEnd previousEnd = WalkEnd::frameZero;
    int64_t previousStart = -1;
    for (size_t i = 0; i < count; ++i) {
        const std::optional<int>& page = m_frames[i].pageIndex;
        WalkEnd end = WalkEnd::frameZero;
        int64_t start = -1;
        if (!page || i == 0) {
            end = WalkEnd::frameZero;
        } else if (const std::optional<int>& before = m_frames[i - 1].pageIndex; !before) {
            end = WalkEnd::unassignedFrame;
        } else if (*before != *page) {
            end = WalkEnd::differentPage;
            start = static_cast<int64_t>(i);
        } else if (i - 1 == 0) {
            end = WalkEnd::frameZero;
        } else {
            end = previousEnd;
            start = previousStart;
        }
        if (end == WalkEnd::unassignedFrame)
            m_runStarts[i] = static_cast<int64_t>(i);
        else if (end == WalkEnd::differentPage)
            m_runStarts[i] = start;
        previousEnd = end;
        previousStart = start;
    }
}

std::optional<TransitionInfo> SnapshotRenderer::transitionAt(int64_t index) const
{
    if (m_transitionDuration <= 0.0 || index < 0 || index >= frameCount())
        return std::nullopt;
    const int64_t n = transitionFrameCount(m_transitionDuration, m_exportFPS);
    const int64_t start = m_runStarts[static_cast<size_t>(index)];
    if (n <= 0 || start <= 0)
        return std::nullopt;
    const int64_t k = index - start;
    if (k >= n)
        return std::nullopt;
    return TransitionInfo{static_cast<double>(k + 1) / static_cast<double>(n), start - 1};
}

bool SnapshotRenderer::samePictureAsPrevious(int64_t index) const
{
    if (index <= 0 || index >= frameCount())
        return false;
    const FrameSnapshot& current = m_frames[static_cast<size_t>(index)];
    const FrameSnapshot& previous = m_frames[static_cast<size_t>(index - 1)];
    if (current.image.has_value() != previous.image.has_value())
        return false;
    if (current.image && current.image->cacheKey() != previous.image->cacheKey())
        return false;
    if (current.rect != previous.rect || current.color != previous.color)
        return false;
    // A fade that has reached full opacity draws the page alone, but it is still a fade
    // frame; it is rendered like the others.
    return !transitionAt(index) && !transitionAt(index - 1);
}

bool SnapshotRenderer::render(int64_t index, QImage& target)
{
    if (index < 0 || index >= frameCount())
        return false;
    const std::optional<TransitionInfo> transition = transitionAt(index);
    const FrameLook current = scaledLook(m_frames[static_cast<size_t>(index)].look(), m_scale);
    std::optional<FrameLook> previous;
    if (transition && transition->prevFrameIndex >= 0 && transition->prevFrameIndex < frameCount())
        previous = scaledLook(m_frames[static_cast<size_t>(transition->prevFrameIndex)].look(), m_scale);
    return composeExportFrame(target, current, previous ? &*previous : nullptr, transition, m_cache);
}
