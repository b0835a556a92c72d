// Page pictures held in one byte per pixel when they are grey.
//
// A printed score is black on white: its rendered PDF pages hold only grey pixels, yet a
// premultiplied ARGB picture spends four bytes on each. The page list keeps every page for the
// whole session (an A4 page at two pixels per point is 8 MB in ARGB), so a grey page is held as
// Grayscale8 instead, a quarter of that: pages are compacted where they enter the list (PDF
// import, merging, project loading); the export's own renderings stay in ARGB. The conversion is exact both
// ways: every consumer that draws or scales a page converts it back to premultiplied ARGB and gets the same
// pixels.
#pragma once

#include <QImage>

// The picture with one byte per pixel when every pixel is opaque and grey (red, green and blue
// equal), with the same device pixel ratio and texts (the page's size in points among them);
// otherwise the picture itself. Pure; any thread.
QImage compactIfGrey(const QImage& picture);
