// The editor's frame rendering: transition info over the live frame store, the export
// picture of one frame, and the preview of the frame under the playhead. Main thread.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "render/FrameRenderer.h"
#include "render/TransitionInfo.h"
#include "support/CheckedConversions.h"
#include "support/Log.h"

namespace {

// CoreVideo's codes for an invalid size and a failed allocation, kept so that the log
// reads the same whatever the cause.
constexpr int kPixelBufferInvalidArgument = -6661;
constexpr int kPixelBufferAllocationFailed = -6662;

} // namespace

std::optional<TransitionInfo> VideoEditorViewModel::calculateTransitionInfo(int64_t frameIndex) const
{
    const Frames& frames = *m_frameManager;
    return transitionInfo(frameIndex, frames.getFrameCount(), m_transitionDuration, m_exportFPS,
                          [&frames](int64_t i) -> std::optional<int> {
                              const std::shared_ptr<const FrameData> frame = frames.getFrame(i);
                              return frame ? frame->assignedImageIndex : std::nullopt;
                          });
}

std::optional<QImage> VideoEditorViewModel::createSimplePixelBuffer(int64_t frameIndex, QSizeF size) const
{
    const std::shared_ptr<const FrameData> frame = m_frameManager->getFrame(frameIndex);
    if (!frame) {
        if (frameIndex == 0)
            logLine(QStringLiteral("[Export] ERROR: getFrame(0) returned nil!"));
        return std::nullopt;
    }
    const int64_t width = toInt64Checked(size.width());
    const int64_t height = toInt64Checked(size.height());
    if (width <= 0 || height <= 0 || width > 16384 || height > 16384) {
        logLine(QStringLiteral("[Export] ERROR: CVPixelBufferCreate failed with status %1")
                        .arg(kPixelBufferInvalidArgument));
        return std::nullopt;
    }
    QImage buffer(static_cast<int>(width), static_cast<int>(height), QImage::Format_ARGB32_Premultiplied);
    if (buffer.isNull()) {
        logLine(QStringLiteral("[Export] ERROR: CVPixelBufferCreate failed with status %1")
                        .arg(kPixelBufferAllocationFailed));
        return std::nullopt;
    }

    const std::optional<TransitionInfo> transition = calculateTransitionInfo(frameIndex);
    std::optional<FrameLook> previous;
    if (transition) {
        if (const std::shared_ptr<const FrameData> previousFrame =
                    m_frameManager->getFrame(transition->prevFrameIndex))
            previous = frameLook(*previousFrame);
    }
    ScaledPageCache cache(2);
    if (!composeExportFrame(buffer, frameLook(*frame), previous ? &*previous : nullptr, transition, cache)) {
        logLine(QStringLiteral("[Export] ERROR: CGContext create failed"));
        return std::nullopt;
    }
    return buffer;
}

std::optional<QImage> VideoEditorViewModel::renderCurrentFrame() const
{
    if (m_duration <= 0.0)
        return std::nullopt;
    // The frame the counter shows: the same time-to-frame rule as everywhere in the editor.
    const int64_t index = frameIndexForTime(m_currentTime);
    const QSizeF size = videoSize();
    return renderFrame(*m_frameManager, index, nullptr,
                       QSize(static_cast<int>(size.width()), static_cast<int>(size.height())));
}
