#include "images/PdfRendering.h"

#include "images/ImageMerging.h"
#include "images/PagePointSize.h"

#include <QPainter>
#include <QPdfDocument>

#include <cmath>

namespace {

// Only the load result counts: a well-formed document without pages loads without error but
// QtPdf then reports its status as Error, and such a document is still imported (as nothing).
std::unique_ptr<QPdfDocument> loadedOrNothing(std::unique_ptr<QPdfDocument> document,
                                              QPdfDocument::Error result)
{
    if (result != QPdfDocument::Error::None)
        return nullptr;
    return document;
}

} // namespace

std::unique_ptr<QPdfDocument> openPdfDocument(const QString& path)
{
    auto document = std::make_unique<QPdfDocument>();
    const QPdfDocument::Error result = document->load(path);
    return loadedOrNothing(std::move(document), result);
}

std::unique_ptr<QPdfDocument> openPdfDocument(QIODevice* device)
{
    auto document = std::make_unique<QPdfDocument>();
    document->load(device);
    const QPdfDocument::Error result = document->error();
    return loadedOrNothing(std::move(document), result);
}

QSizeF pdfPageSizeInPoints(const QPdfDocument& document, int pageIndex)
{
    if (pageIndex < 0 || pageIndex >= document.pageCount())
        return {};
    const QSizeF size = document.pagePointSize(pageIndex);
    if (!size.isValid() || size.isEmpty() || !std::isfinite(size.width()) || !std::isfinite(size.height()))
        return {};
    return size;
}

bool pdfPageAvailable(const QPdfDocument& document, int pageIndex)
{
    return !pdfPageSizeInPoints(document, pageIndex).isEmpty();
}

QImage renderPdfPage(QPdfDocument& document, int pageIndex, double density)
{
    const QSizeF points = pdfPageSizeInPoints(document, pageIndex);
    if (points.isEmpty())
        return {};
    // Two rendered copies (the page and its white-backed result) exist for a moment, so each
    // gets half of the budget.
    const double used = densityWithinBudget(points, density, kMaxPageImageBytes / 2);
    if (used <= 0.0)
        return {};
    const QSize pixels(static_cast<int>(std::lround(points.width() * used)),
                       static_cast<int>(std::lround(points.height() * used)));
    const QImage page = document.render(pageIndex, pixels);
    if (page.isNull())
        return {};

    QImage result(pixels, QImage::Format_ARGB32_Premultiplied);
    if (result.isNull())
        return {};
    result.fill(Qt::white);
    {
        QPainter painter(&result);
        painter.drawImage(QPoint(0, 0), page);
    }
    result.setDevicePixelRatio(used);
    // The pixels are the size rounded to whole pixels; the page keeps its own.
    setPagePointSize(result, points);
    return result;
}
