// PDF import from a document's bytes: opening it, the page groups of both import choices
// (one entry per page, two pages side by side) and the rendering of the first few entries,
// each pair joined, as the page list does. Pages are rendered at a low density so that a run
// stays fast; the size arithmetic and memory budget are the same as at full density.
#include "FuzzSupport.h"

#include "images/ImageMerging.h"
#include "images/PageListRules.h"
#include "images/PdfRendering.h"

#include <QBuffer>
#include <QPdfDocument>

namespace {

constexpr double kFuzzPageDensity = 0.25;
constexpr int kMaxRenderedPages = 4;

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initialiseFuzzTarget(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QBuffer buffer;
    buffer.setData(fuzzInput(data, size));
    if (!buffer.open(QIODevice::ReadOnly))
        return 0;
    const std::unique_ptr<QPdfDocument> document = openPdfDocument(&buffer);
    if (!document)
        return 0;

    const int pageCount = document->pageCount();
    const auto available = [&document](int index) { return pdfPageAvailable(*document, index); };
    const std::vector<PdfPageGroup> single = singlePdfPageGroups(pageCount, available);
    const std::vector<PdfPageGroup> paired = pairedPdfPageGroups(pageCount, available);
    for (const PdfPageGroup& group : single) {
        if (group.firstPageIndex < 0 || group.firstPageIndex >= pageCount || group.secondPageIndex)
            fuzzCheckFailed("a single-page group names a page the document does not have");
    }

    int rendered = 0;
    for (const PdfPageGroup& group : paired) {
        if (rendered >= kMaxRenderedPages)
            break;
        const QImage left = renderPdfPage(*document, group.firstPageIndex, kFuzzPageDensity);
        ++rendered;
        if (!group.secondPageIndex || left.isNull())
            continue;
        const QImage right = renderPdfPage(*document, *group.secondPageIndex, kFuzzPageDensity);
        ++rendered;
        if (!right.isNull())
            (void)mergeHorizontally(left, right);
    }
    return 0;
}
