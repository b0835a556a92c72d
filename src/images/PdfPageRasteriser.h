// Draws PDF pages of the page list afresh at the size the export shows them, so that a 4K
// video gets staff lines and text rasterised for its own pixels rather than enlarged from
// the page list's pictures. Lives on the export's render thread: it opens one document at a
// time there and keeps no page pictures (the caller caches what it draws).
#pragma once

#include "model/ImageItem.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QPdfDocument;

// Where a page picture of the page list came from: its picture (by cache key, which the
// frames' copies share), the document and its 1-based page numbers.
struct PdfPageOrigin {
    qint64 imageKey = 0;
    QString path;
    int pageNumber = 1;
    std::optional<int> pairedPageNumber;
};

// The origins of the PDF pages of a page list; image files and joined pictures without page
// numbers have none (their own pixels are all there is). Main thread, when an export starts.
std::vector<PdfPageOrigin> pdfPageOrigins(const std::vector<ImageItem>& images);

class PdfPageRasteriser {
public:
    explicit PdfPageRasteriser(std::vector<PdfPageOrigin> origins);
    ~PdfPageRasteriser();
    PdfPageRasteriser(const PdfPageRasteriser&) = delete;
    PdfPageRasteriser& operator=(const PdfPageRasteriser&) = delete;

    // `page` drawn from its PDF page (or pair of pages side by side) at `size` pixels, on
    // white; a null image when the picture has no known origin or the document cannot give
    // the page any more (it changed or went away), and the caller scales the picture instead.
    QImage render(const QImage& page, QSize size);

    int64_t pagesRendered() const { return m_pagesRendered; }
    int64_t documentsOpened() const { return m_documentsOpened; }

private:
    QPdfDocument* document(const QString& path);

    std::vector<PdfPageOrigin> m_origins;
    QString m_openPath;
    std::unique_ptr<QPdfDocument> m_open;
    int64_t m_pagesRendered = 0;
    int64_t m_documentsOpened = 0;
};
