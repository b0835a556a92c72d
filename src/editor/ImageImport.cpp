// The editor's page import: image files and PDF documents appended to the page list. Runs on
// the main thread, synchronously, the PDF question included; the decoding and rendering are
// the free functions of images/.
#include "editor/VideoEditorViewModel.h"
#include "images/CompactPagePicture.h"
#include "images/ImageLoading.h"
#include "images/ImageMerging.h"
#include "images/PageListRules.h"
#include "images/PdfRendering.h"
#include "project/ProjectFormat.h"
#include "support/Dialogs.h"

#include <QPdfDocument>

namespace {

enum PdfImportAnswer { kOnePerPage = 0, kTwoSideBySide = 1, kCancel = 2 };

// The page list never holds more pages than a project file may: an import that would take it
// past that adds nothing and says so. True when `adding` more pages fit after `current`.
bool roomForPages(Dialogs* dialogs, size_t current, size_t adding)
{
    const size_t total = current + adding;
    if (total <= size_t(kMaxProjectPages))
        return true;
    if (dialogs)
        dialogs->alert(AlertStyle::critical, QStringLiteral("Túl sok oldal"),
                       QStringLiteral("Egy projektben legfeljebb %1 oldal lehet; ez a hozzáadás %2 oldalra "
                                      "növelné.")
                               .arg(kMaxProjectPages)
                               .arg(total));
    return false;
}

} // namespace

void VideoEditorViewModel::addImage(const QString& path)
{
    if (!roomForPages(m_environment.dialogs, m_pages.size(), 1))
        return;
    std::optional<QImage> image = loadImageFile(path);
    if (!image)
        return;
    std::vector<ImageItem> added;
    added.emplace_back(QUuid::createUuid(), std::move(*image), path);
    publishPageListChanges(m_pages.append(std::move(added)));
    updateFrameManagerImages();
    scheduleAutoSave();
}

void VideoEditorViewModel::addPDF(const QString& path)
{
    std::unique_ptr<QPdfDocument> document = openPdfDocument(path);
    if (!document)
        return;
    if (document->pageCount() > kMaxPdfImportPages) {
        m_environment.dialogs->alert(
                AlertStyle::warning, QStringLiteral("PDF importálás"),
                QStringLiteral("A PDF túl sok oldalas (") + QString::number(document->pageCount()) +
                        QStringLiteral(" oldal); legfeljebb ") + QString::number(kMaxPdfImportPages) +
                        QStringLiteral(" oldalas PDF importálható."));
        return;
    }
    const int answer = m_environment.dialogs->question(
            AlertStyle::informational, QStringLiteral("PDF importálás"),
            QStringLiteral("Hogyan importáljuk a ") + QString::number(document->pageCount()) +
                    QStringLiteral(" oldalas PDF-et?"),
            {QStringLiteral("Oldalanként"), QStringLiteral("2 oldal egymás mellé"), QStringLiteral("Mégse")});
    if (answer == kCancel)
        return;
    const auto available = [&document](int index) { return pdfPageAvailable(*document, index); };
    const size_t adding = answer == kTwoSideBySide
                                  ? pairedPdfPageGroups(document->pageCount(), available).size()
                                  : singlePdfPageGroups(document->pageCount(), available).size();
    if (!roomForPages(m_environment.dialogs, m_pages.size(), adding))
        return;
    if (answer == kTwoSideBySide)
        addPDFPaired(*document, path);
    else
        addPDFSingle(*document, path);
    updateFrameManagerImages();
    scheduleAutoSave();
}

void VideoEditorViewModel::addPDFSingle(QPdfDocument& document, const QString& url)
{
    const auto available = [&document](int index) { return pdfPageAvailable(document, index); };
    std::vector<ImageItem> added;
    for (const PdfPageGroup& group : singlePdfPageGroups(document.pageCount(), available)) {
        QImage page = renderPDFPage(document, group.firstPageIndex);
        // A page that has a size but still cannot be rasterised (out of memory) is skipped
        // like a page the document cannot supply.
        if (page.isNull())
            continue;
        added.emplace_back(QUuid::createUuid(), std::move(page), url, group.firstPageIndex + 1);
    }
    if (!added.empty())
        publishPageListChanges(m_pages.append(std::move(added)));
}

void VideoEditorViewModel::addPDFPaired(QPdfDocument& document, const QString& url)
{
    const auto available = [&document](int index) { return pdfPageAvailable(document, index); };
    std::vector<ImageItem> added;
    for (const PdfPageGroup& group : pairedPdfPageGroups(document.pageCount(), available)) {
        // The halves are drawn in full colour: only what enters the list is compacted.
        const QImage left = renderPdfPage(document, group.firstPageIndex);
        const QImage right =
                group.secondPageIndex ? renderPdfPage(document, *group.secondPageIndex) : QImage();
        if (left.isNull())
            continue;
        // A right-hand page that could not be rasterised after all leaves the left one alone.
        if (right.isNull()) {
            added.emplace_back(QUuid::createUuid(), compactIfGrey(left), url, group.firstPageIndex + 1);
            continue;
        }
        QImage pair = mergeImagesHorizontally(left, right);
        if (pair.isNull())
            continue;
        added.emplace_back(QUuid::createUuid(), std::move(pair), url, group.firstPageIndex + 1,
                           *group.secondPageIndex + 1);
    }
    if (!added.empty())
        publishPageListChanges(m_pages.append(std::move(added)));
}

QImage VideoEditorViewModel::renderPDFPage(QPdfDocument& document, int pageIndex)
{
    return compactIfGrey(renderPdfPage(document, pageIndex));
}
