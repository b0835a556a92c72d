#include "render/Placement.h"

#include "support/CheckedConversions.h"

#include <algorithm>

namespace {

int roundToPixel(double value)
{
    // Canvas sizes are a few thousand pixels, so every finite result fits an int.
    return static_cast<int>(roundToInt64Checked(value));
}

} // namespace

Placement computePlacement(QSizeF imageSizeInPoints, QSizeF canvas)
{
    const double cw = canvas.width();
    const double ch = canvas.height();
    const double iw = imageSizeInPoints.width();
    const double ih = imageSizeInPoints.height();
    const double scale = std::min(cw / iw, ch / ih);

    Placement placement;
    placement.width = roundToPixel(iw * scale);
    placement.height = roundToPixel(ih * scale);
    placement.x = roundToPixel((cw - placement.width) / 2.0);
    placement.y = roundToPixel((ch - placement.height) / 2.0);
    return placement;
}
