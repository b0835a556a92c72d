// Picture import from a file's bytes: the reader Vornik uses for a page image (any format Qt
// reads, EXIF orientation applied), then what the page list does with a fresh picture: its
// orientation and, for a pair, the side-by-side join.
#include "FuzzSupport.h"

#include "images/ImageLoading.h"
#include "images/ImageMerging.h"
#include "images/PageListRules.h"

#include <QImageReader>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initialiseFuzzTarget(argc, argv);
    // The program allows pictures of up to 1 GiB (main() raises Qt's limit). Here 64 MiB
    // keeps each input fast and far from the fuzzer's memory limit; the size check that
    // refuses a larger picture is the same code at either limit.
    QImageReader::setAllocationLimit(64);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::optional<QImage> image = loadImageData(fuzzInput(data, size));
    if (!image)
        return 0;
    if (image->isNull() || image->width() <= 0 || image->height() <= 0 || image->devicePixelRatio() != 1.0)
        fuzzCheckFailed("loadImageData returned an empty picture or one not at one pixel per point");
    (void)pageOrientation(*image);
    // A small picture beside it, as when two pages are joined; skipped for large pictures to
    // keep each run short.
    if (qint64(image->width()) * image->height() <= 1024 * 1024) {
        QImage partner(7, 11, QImage::Format_RGB32);
        partner.fill(Qt::black);
        const QImage joined = mergeHorizontally(*image, partner);
        if (joined.isNull())
            fuzzCheckFailed("joining a picture with a small page gave nothing");
    }
    return 0;
}
