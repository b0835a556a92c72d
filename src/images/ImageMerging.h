// Joining page images side by side. Pure functions on QImage, any thread.
//
// Sizes are computed in points (pagePointSize), so a PDF page rendered at
// two pixels per point and a photo at one pixel per point join at their real proportions.
// The result has the highest pixel density of the inputs, so no input loses sharpness.
#pragma once

#include <QImage>
#include <QSizeF>

#include <vector>

// The size in points of the images joined side by side: every image scaled to the tallest
// height H, aspect kept, no spacing. Images without a height add nothing; H is 100 when no
// image has a height.
QSizeF mergedSizeInPoints(const std::vector<QImage>& images);

// Draws the images left to right, each scaled to the tallest height, on white. Size in points
// is mergedSizeInPoints(images); held in one byte per pixel when grey. Returns a null image only when no
// picture of that size can be allocated even at one pixel per point.
QImage mergeHorizontally(const std::vector<QImage>& images);
QImage mergeHorizontally(const QImage& left, const QImage& right);

// The pixel density (pixels per point) to use for a picture of the given size in points: the
// wanted density, lowered only as far as needed for the pixels to stay below `maxBytes` at four
// bytes per pixel. Returns 0 when not even a one-pixel picture fits.
double densityWithinBudget(QSizeF sizeInPoints, double wantedDensity, qint64 maxBytes);

// Vornik's ceiling for one page picture held in memory, in bytes: 256 MiB, the largest
// picture Qt's image reader decodes by default, so that a PDF page or a merged pair is held
// to the same bound as a picture file. An A0 page at two pixels per point fits; a page whose
// media box claims 200 x 200 inches is rendered at a lower density instead of taking a
// gigabyte (rendering holds two copies for a moment).
constexpr qint64 kMaxPageImageBytes = qint64(1) << 28;
