// The editor's side of placement: fitting pages into the current canvas and re-fitting the
// frames after a format change. Main thread only.
#include "editor/VideoEditorViewModel.h"

#include "images/PagePointSize.h"
#include "model/Frames.h"
#include "render/Placement.h"

Placement VideoEditorViewModel::computePlacement(const QImage& image, std::optional<QSizeF> canvas) const
{
    // The size in points, not in pixels: a PDF page stored at devicePixelRatio 2 is placed
    // by its exact size in points, like a plain image of that many pixels.
    return ::computePlacement(pagePointSize(image), canvas.value_or(canvasSize()));
}

void VideoEditorViewModel::recalculatePlacementsForFormat()
{
    const int64_t count = m_frameManager->getFrameCount();
    for (int64_t i = 0; i < count; ++i) {
        const auto record = m_frameManager->getFrame(i);
        if (!record || !record->assignedImageIndex)
            continue;
        const int index = *record->assignedImageIndex;
        // A frame whose page no longer exists keeps its old rectangle.
        if (!m_pages.contains(index))
            continue;
        const Placement placement = computePlacement(m_pages.at(index).image());
        record->bgImageX = placement.x;
        record->bgImageY = placement.y;
        record->bgImageWidth = placement.width;
        record->bgImageHeight = placement.height;
    }
    announceChange();
    scheduleAutoSave();
}
