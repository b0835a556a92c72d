#include "project/ProjectPages.h"

#include "images/CompactPagePicture.h"
#include "images/ImageLoading.h"
#include "images/ImageMerging.h"
#include "images/PdfRendering.h"

#include <QPdfDocument>
#include <QUuid>

#include <map>
#include <memory>

namespace {

// The pages of one PDF usually follow each other in the list: each document is opened once
// per load. A document that cannot be opened is remembered as such.
class PdfDocuments {
public:
    QPdfDocument* open(const QString& path)
    {
        auto found = m_documents.find(path);
        if (found == m_documents.end())
            found = m_documents.emplace(path, openPdfDocument(path)).first;
        return found->second.get();
    }

private:
    std::map<QString, std::unique_ptr<QPdfDocument>> m_documents;
};

// A 1-based page number as a page index the document has, or -1.
int pageIndex(const QPdfDocument& document, std::optional<int> pageNumber)
{
    if (!pageNumber || *pageNumber < 1 || !pdfPageAvailable(document, *pageNumber - 1))
        return -1;
    return *pageNumber - 1;
}

QImage pdfPicture(QPdfDocument& document, const ImagePathInfo& info)
{
    const int left = pageIndex(document, info.pageNumber);
    if (left < 0)
        return {};
    if (!info.pairedPageNumber)
        return compactIfGrey(renderPdfPage(document, left));
    const int right = pageIndex(document, info.pairedPageNumber);
    if (right < 0)
        return {};
    const QImage leftPicture = renderPdfPage(document, left);
    const QImage rightPicture = renderPdfPage(document, right);
    if (leftPicture.isNull() || rightPicture.isNull())
        return {};
    return compactIfGrey(mergeHorizontally(leftPicture, rightPicture));
}

} // namespace

std::vector<ImageItem> rebuildProjectPages(const std::vector<ImagePathInfo>& paths)
{
    std::vector<ImageItem> pages;
    PdfDocuments documents;
    for (const ImagePathInfo& info : paths) {
        QImage picture;
        if (info.path.toLower().endsWith(QStringLiteral(".pdf"))) {
            if (QPdfDocument* document = documents.open(info.path))
                picture = pdfPicture(*document, info);
        } else if (std::optional<QImage> loaded = loadImageFile(info.path)) {
            picture = std::move(*loaded);
        }
        if (picture.isNull())
            continue;
        pages.emplace_back(QUuid::createUuid(), std::move(picture), info.path, info.pageNumber,
                           info.pairedPageNumber);
    }
    return pages;
}
