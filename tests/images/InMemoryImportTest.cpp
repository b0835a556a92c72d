// The import entry points for bytes already in memory (used by the fuzz targets): a picture's
// bytes, a PDF read from a device, and PDF pages rendered at another density.
#include "images/ImageLoading.h"
#include "images/PdfRendering.h"
#include "tests/support/ImageFixtures.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QPdfDocument>
#include <QTemporaryDir>

namespace {

QByteArray pngBytes(const QImage& image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

QByteArray pdfBytes(int pages, QSizeF size)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("score.pdf"));
    if (!PdfFixtures::writePdf(path, pages, size))
        return {};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

} // namespace

TEST(InMemoryImport, PictureBytesLoadAtOnePointPerPixel)
{
    const std::optional<QImage> image = loadImageData(pngBytes(ImageFixtures::quadrantImage(120, 80)));
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(120, 80));
    EXPECT_DOUBLE_EQ(image->devicePixelRatio(), 1.0);
    EXPECT_EQ(image->pixelColor(10, 10), QColor(Qt::red));
}

TEST(InMemoryImport, PictureBytesGetTheirExifOrientationApplied)
{
    // Orientation 6: turned 90 degrees clockwise, the stored bottom-left (blue) quadrant is at
    // the top-left.
    const std::optional<QImage> image =
            loadImageData(ImageFixtures::jpegWithExifOrientation(ImageFixtures::quadrantImage(200, 100), 6));
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(100, 200));
    const QColor topLeft = image->pixelColor(25, 50);
    EXPECT_LT(topLeft.red(), 60);
    EXPECT_LT(topLeft.green(), 60);
    EXPECT_GT(topLeft.blue(), 200);
}

TEST(InMemoryImport, BrokenOrEmptyPictureBytesGiveNothing)
{
    EXPECT_FALSE(loadImageData(QByteArray()).has_value());
    EXPECT_FALSE(loadImageData(QByteArray("this is not a picture")).has_value());
    EXPECT_FALSE(loadImageData(ImageFixtures::zeroSizePng()).has_value());
    const QByteArray png = pngBytes(ImageFixtures::quadrantImage(64, 64));
    EXPECT_FALSE(loadImageData(png.left(png.size() / 3)).has_value());
}

TEST(InMemoryImport, PdfOpensFromADeviceWithItsPages)
{
    QBuffer buffer;
    buffer.setData(pdfBytes(3, QSizeF(300, 200)));
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
    const std::unique_ptr<QPdfDocument> document = openPdfDocument(&buffer);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(pdfPageSizeInPoints(*document, 2), QSizeF(300, 200));
    const QImage page = renderPdfPage(*document, 1);
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.size(), QSize(600, 400));
}

TEST(InMemoryImport, BytesThatAreNoPdfDoNotOpenFromADevice)
{
    QBuffer text;
    text.setData(QByteArray("%PDF-1.4 and then nothing of a document"));
    ASSERT_TRUE(text.open(QIODevice::ReadOnly));
    EXPECT_EQ(openPdfDocument(&text), nullptr);

    QBuffer locked;
    locked.setData(PdfFixtures::passwordProtectedPdf());
    ASSERT_TRUE(locked.open(QIODevice::ReadOnly));
    EXPECT_EQ(openPdfDocument(&locked), nullptr);
}

TEST(InMemoryImport, PdfPageRendersAtTheDensityAskedFor)
{
    QBuffer buffer;
    buffer.setData(pdfBytes(1, QSizeF(300, 200)));
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
    const std::unique_ptr<QPdfDocument> document = openPdfDocument(&buffer);
    ASSERT_NE(document, nullptr);
    const QImage page = renderPdfPage(*document, 0, 0.5);
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.size(), QSize(150, 100));
    EXPECT_DOUBLE_EQ(page.devicePixelRatio(), 0.5);
    EXPECT_EQ(page.deviceIndependentSize(), QSizeF(300, 200));
    // The page's marker square keeps its colour at any density.
    EXPECT_EQ(page.pixelColor(5, 5), PdfFixtures::pageColor(0));
}
