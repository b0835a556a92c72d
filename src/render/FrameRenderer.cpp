#include "render/FrameRenderer.h"

namespace {

void fillCanvas(QImage& target, QPainter& painter, const QColor& color)
{
    // A colour with transparency is laid over a cleared canvas, never over stale pixels.
    if (color.alpha() < 255)
        target.fill(Qt::transparent);
    painter.fillRect(QRect(QPoint(0, 0), target.size()), color);
}

} // namespace

FrameLook frameLook(const FrameData& frame)
{
    FrameLook look;
    look.image = frame.bgImage ? &*frame.bgImage : nullptr;
    look.rect = QRect(frame.bgImageX, frame.bgImageY, frame.bgImageWidth, frame.bgImageHeight);
    look.color = frame.bgColor;
    return look;
}

QRect canvasRect(const QRect& lowerLeftRect, int canvasHeight)
{
    return QRect(lowerLeftRect.x(), canvasHeight - lowerLeftRect.y() - lowerLeftRect.height(),
                 lowerLeftRect.width(), lowerLeftRect.height());
}

void drawPage(QPainter& painter, const QImage& page, const QRect& lowerLeftRect, int canvasHeight,
              ScaledPageCache& cache)
{
    if (page.isNull() || lowerLeftRect.width() <= 0 || lowerLeftRect.height() <= 0)
        return;
    const QRect rect = canvasRect(lowerLeftRect, canvasHeight);
    painter.drawImage(rect.topLeft(), cache.scaled(page, rect.size()));
}

void renderFrameContent(const FrameData& frame, QPainter& painter, QSize size, ScaledPageCache& cache)
{
    painter.fillRect(QRect(QPoint(0, 0), size), frame.bgColor);
    if (frame.bgImage) {
        drawPage(painter, *frame.bgImage,
                 QRect(frame.bgImageX, frame.bgImageY, frame.bgImageWidth, frame.bgImageHeight),
                 size.height(), cache);
    }
}

void renderFrameContent(const FrameData& frame, QPainter& painter, QSize size)
{
    ScaledPageCache cache(1);
    renderFrameContent(frame, painter, size, cache);
}

std::optional<QImage> renderFrame(const Frames& frames, int64_t index, QImage* canvas, QSize size)
{
    const std::shared_ptr<const FrameData> frame = frames.getFrame(index);
    if (!frame)
        return std::nullopt;
    QImage fresh;
    QImage* target = canvas;
    if (!target) {
        fresh = QImage(size, QImage::Format_ARGB32_Premultiplied);
        if (fresh.isNull())
            return std::nullopt;
        fresh.fill(Qt::transparent);
        target = &fresh;
    }
    {
        QPainter painter(target);
        if (!painter.isActive())
            return std::nullopt;
        renderFrameContent(*frame, painter, size);
    }
    return *target;
}

bool composeExportFrame(QImage& target, const FrameLook& current, const FrameLook* previous,
                        const std::optional<TransitionInfo>& transition, ScaledPageCache& cache)
{
    QPainter painter(&target);
    if (!painter.isActive())
        return false;
    const int height = target.height();
    fillCanvas(target, painter, current.color);
    if (!transition || transition->blendFactor >= 1.0) {
        if (current.image)
            drawPage(painter, *current.image, current.rect, height, cache);
        return true;
    }
    // Old page first, new page on top, each over the fill at its own opacity: mid-fade the
    // fill shows through both, which is the look Vornik's fades have.
    if (previous && previous->image) {
        painter.save();
        painter.setOpacity(1.0 - transition->blendFactor);
        drawPage(painter, *previous->image, previous->rect, height, cache);
        painter.restore();
    }
    if (current.image) {
        painter.save();
        painter.setOpacity(transition->blendFactor);
        drawPage(painter, *current.image, current.rect, height, cache);
        painter.restore();
    }
    return true;
}
