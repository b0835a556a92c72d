// Turns frame records into pictures: the fill colour over the whole canvas, then the page
// smooth-scaled into its rectangle, and for export the cross-fade at a page change.
// Rectangles are given with the origin at the canvas's lower-left corner (y upwards), the
// way they are stored in frames and project files; they are drawn at y' = height - y - h.
// Pure drawing: any thread, as long as each thread uses its own ScaledPageCache.
#pragma once

#include "model/FrameData.h"
#include "model/Frames.h"
#include "render/ScaledPageCache.h"
#include "render/TransitionInfo.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRect>
#include <QSize>

#include <cstdint>
#include <optional>

// The preview canvas size when none is given.
inline constexpr QSize kDefaultRenderSize{1920, 1080};

// What is drawn for one frame: its page (may be null), the page's rectangle and the fill.
struct FrameLook {
    const QImage* image = nullptr;
    QRect rect;
    QColor color = Qt::white;
};

FrameLook frameLook(const FrameData& frame);

// The rectangle of a page on a canvas of the given height, in QPainter's top-left system.
QRect canvasRect(const QRect& lowerLeftRect, int canvasHeight);

// Draws a page into its rectangle (lower-left origin) at the painter's current opacity.
// A rectangle without area draws nothing.
void drawPage(QPainter& painter, const QImage& page, const QRect& lowerLeftRect, int canvasHeight,
              ScaledPageCache& cache);

// Preview drawing of one frame: fill, then the page at its rectangle; no fade.
void renderFrameContent(const FrameData& frame, QPainter& painter, QSize size, ScaledPageCache& cache);
void renderFrameContent(const FrameData& frame, QPainter& painter, QSize size);

// The preview picture of frame `index`: drawn into `canvas` when one is given (and that
// image returned), else into a new premultiplied ARGB image of `size`. None for an index
// outside the store.
std::optional<QImage> renderFrame(const Frames& frames, int64_t index, QImage* canvas = nullptr,
                                  QSize size = kDefaultRenderSize);

// The export picture of a frame: fill with the current frame's colour, then either the
// current page opaque (no fade, or a fade at full opacity), or the previous frame's page at
// 1 - blendFactor and the current page at blendFactor on top, both over the fill. `target`
// must be a premultiplied ARGB image of the canvas size. Returns false if it cannot be
// painted on.
bool composeExportFrame(QImage& target, const FrameLook& current, const FrameLook* previous,
                        const std::optional<TransitionInfo>& transition, ScaledPageCache& cache);
