// One video frame of the timeline: the page it shows, where, on which background, and the
// audio samples that fall into it. Held by shared pointer: whoever changes a record handed
// out by a writable Frames changes the store; a read-only Frames hands out read-only records.
#pragma once

#include <QColor>
#include <QImage>

#include <cstdint>
#include <optional>
#include <vector>

class FrameData {
public:
    // The page drawn in this frame; none shows only the background colour.
    std::optional<QImage> bgImage;
    QColor bgColor = Qt::white;
    // The page's rectangle in canvas pixels. The defaults cover the whole landscape canvas,
    // also in portrait format; assigning a page always overwrites them.
    int bgImageX = 0;
    int bgImageY = 0;
    int bgImageWidth = 1920;
    int bgImageHeight = 1080;
    // Channel-0 samples of this frame quantised to 0...1023 (512 is silence).
    std::vector<uint16_t> audioDatas;
    // Index into the editor's page list of the page assigned to this frame.
    std::optional<int> assignedImageIndex;
};
