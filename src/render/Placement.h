// Fitting a page into the output canvas: the whole page, aspect ratio kept, centred, in
// whole canvas pixels. A pure function of two sizes; callable from any thread.
#pragma once

#include "model/Placement.h"

#include <QSizeF>

// Scales the image (its size in points) by min(cw / iw, ch / ih), without an upper bound so a
// small page is enlarged, and centres it. Width and height are rounded first, halves away
// from zero; the offsets are computed from the rounded size and rounded the same way. An
// empty image (0 x 0) gives a NaN scale and stops the program; pages are never empty.
Placement computePlacement(QSizeF imageSizeInPoints, QSizeF canvas);
