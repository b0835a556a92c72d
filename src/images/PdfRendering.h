// Opening PDF documents and rasterising their pages for the page list. Pure functions on a
// QPdfDocument the caller owns; one document is used by one thread at a time.
//
// A page keeps its size in points: it is rendered at two pixels per point so that staff lines
// and text stay sharp on the 1920-pixel canvas, and the image carries devicePixelRatio 2 and
// the page's exact size in points (pagePointSize).
#pragma once

#include <QImage>
#include <QSizeF>
#include <QString>

#include <memory>

class QIODevice;
class QPdfDocument;

constexpr double kPdfPageDensity = 2.0;

// The most pages Vornik imports from one PDF. Far beyond any score; a document that declares
// more (or a forged page tree that claims to) is refused as a whole before any page is looked
// at: finding each page of such a tree costs time in proportion to its size, so a hundred
// thousand pages would hold the window for minutes and their pictures would not fit in memory.
constexpr int kMaxPdfImportPages = 1000;

// Loads the file; nothing is returned when it is not a readable PDF (not a PDF at all, cut
// short beyond repair, or locked with a password).
std::unique_ptr<QPdfDocument> openPdfDocument(const QString& path);

// The same for a PDF read from a device (a file, or a buffer in memory). The document reads
// from the device while it lives: the device must stay open and outlive it.
std::unique_ptr<QPdfDocument> openPdfDocument(QIODevice* device);

// Whether the document can supply the page: the index exists and the page has a size.
bool pdfPageAvailable(const QPdfDocument& document, int pageIndex);

// The page's media box in points; empty when the page cannot be supplied.
QSizeF pdfPageSizeInPoints(const QPdfDocument& document, int pageIndex);

// The page rendered at `density` pixels per point, two for the page list (less only for a page
// too large to hold in memory at that density), composited on white so that transparent areas
// come out white, with the matching devicePixelRatio, in premultiplied ARGB: the page list
// compacts it (see CompactPagePicture.h), the export draws from it as it is. A null image when
// the page cannot be supplied or rendered.
QImage renderPdfPage(QPdfDocument& document, int pageIndex, double density = kPdfPageDensity);
