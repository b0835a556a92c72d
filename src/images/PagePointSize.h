// A page's size in points, the size every placement, merge and orientation is computed from.
// A picture holds whole pixels, so a PDF page rasterised at two pixels per point would have its
// size rounded to half points (A4's 595.276 x 841.89 pt would become 595.5 x 842); the exact
// size therefore travels with the picture, as a text entry of the QImage that copies share.
// Pure functions, any thread.
#pragma once

#include <QImage>
#include <QSizeF>

// The exact size the picture carries, or else its deviceIndependentSize() (pixels divided by
// the devicePixelRatio: one point per pixel for plain image files).
QSizeF pagePointSize(const QImage& image);

// Attaches the exact size in points to the picture.
void setPagePointSize(QImage& image, QSizeF points);
