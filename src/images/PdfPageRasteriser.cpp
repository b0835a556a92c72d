#include "images/PdfPageRasteriser.h"

#include "images/ImageMerging.h"
#include "images/PagePointSize.h"
#include "images/PdfRendering.h"
#include "images/ThinLineContrast.h"

#include <QPdfDocument>

#include <algorithm>
#include <cmath>

std::vector<PdfPageOrigin> pdfPageOrigins(const std::vector<ImageItem>& images)
{
    std::vector<PdfPageOrigin> origins;
    for (const ImageItem& item : images) {
        if (!item.pageNumber)
            continue;
        origins.push_back(
                PdfPageOrigin{item.image().cacheKey(), item.url(), *item.pageNumber, item.pairedPageNumber});
    }
    return origins;
}

PdfPageRasteriser::PdfPageRasteriser(std::vector<PdfPageOrigin> origins)
    : m_origins(std::move(origins))
{}

PdfPageRasteriser::~PdfPageRasteriser() = default;

QPdfDocument* PdfPageRasteriser::document(const QString& path)
{
    // Pages of one document follow each other in a video; only the last document stays open.
    if (!m_open || m_openPath != path) {
        m_open = openPdfDocument(path);
        m_openPath = path;
        ++m_documentsOpened;
    }
    return m_open.get();
}

QImage PdfPageRasteriser::render(const QImage& page, QSize size)
{
    const qint64 key = page.cacheKey();
    const auto origin = std::find_if(m_origins.begin(), m_origins.end(),
                                     [key](const PdfPageOrigin& o) { return o.imageKey == key; });
    const QSizeF points = pagePointSize(page);
    if (origin == m_origins.end() || size.isEmpty() || points.isEmpty())
        return {};
    QPdfDocument* pdf = document(origin->path);
    if (!pdf)
        return {};
    // The picture's height in points is the height of its tallest page (a pair is joined at
    // the tallest height), so this density fills the rectangle's height.
    const double density = static_cast<double>(size.height()) / points.height();
    const auto pageAt = [&](int pageNumber) -> QImage {
        if (!pdfPageAvailable(*pdf, pageNumber - 1))
            return {};
        ++m_pagesRendered;
        QImage drawn = renderPdfPage(*pdf, pageNumber - 1, density);
        concentrateThinLines(drawn);
        return drawn;
    };
    QImage left = pageAt(origin->pageNumber);
    if (left.isNull())
        return {};
    QImage drawn = left;
    if (origin->pairedPageNumber) {
        const QImage right = pageAt(*origin->pairedPageNumber);
        if (right.isNull())
            return {};
        drawn = mergeHorizontally(left, right);
    }
    // A document changed since the import may have pages of another shape; its pages are
    // not the ones the video was made with.
    const QSizeF drawnPoints = pagePointSize(drawn);
    if (std::abs(drawnPoints.width() - points.width()) > 1.0 ||
        std::abs(drawnPoints.height() - points.height()) > 1.0)
        return {};
    return drawn;
}
