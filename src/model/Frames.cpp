#include "model/Frames.h"

#include "support/CheckedConversions.h"

void Frames::setImages(QList<QImage> images)
{
    m_images = std::move(images);
}

void Frames::ensureFrameCount(double duration, int fps)
{
    const int64_t target = ceilToInt64Checked(duration * static_cast<double>(fps));
    const int64_t existing = getFrameCount();
    if (existing >= target)
        return;
    m_frames.reserve(static_cast<size_t>(target));
    for (int64_t i = existing; i < target; ++i) {
        auto frame = std::make_shared<FrameData>();
        frame->bgColor = m_defaultFillColor;
        m_frames.push_back(std::move(frame));
    }
}

std::shared_ptr<const FrameData> Frames::getFrame(int64_t index) const
{
    if (index < 0 || index >= getFrameCount())
        return nullptr;
    return m_frames[static_cast<size_t>(index)];
}

std::shared_ptr<FrameData> Frames::getFrame(int64_t index)
{
    if (index < 0 || index >= getFrameCount())
        return nullptr;
    return m_frames[static_cast<size_t>(index)];
}

void Frames::clear()
{
    std::vector<std::shared_ptr<FrameData>>().swap(m_frames);
}

void Frames::setFillColorForAllFrames(const QColor& color)
{
    for (const auto& frame : m_frames)
        frame->bgColor = color;
}
