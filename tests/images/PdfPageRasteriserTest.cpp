#include "images/PdfPageRasteriser.h"
#include "images/CompactPagePicture.h"
#include "images/ImageMerging.h"
#include "images/PagePointSize.h"
#include "images/PdfRendering.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QPainter>
#include <QPdfDocument>
#include <QTemporaryDir>
#include <QUuid>

#include <algorithm>
#include <vector>

namespace {

struct PdfPages {
    QString path;
    std::vector<ImageItem> items;
};

// The pages of a PDF as the page import makes them: one picture per page at two pixels per
// point, with its 1-based page number.
PdfPages importedPages(const QTemporaryDir& dir, int pages, QSizeF size,
                       const PdfFixtures::PageDrawer& draw = PdfFixtures::drawMarkedPage)
{
    PdfPages result;
    result.path = dir.filePath(QStringLiteral("score.pdf"));
    EXPECT_TRUE(PdfFixtures::writePdf(result.path, pages, size, draw));
    auto document = openPdfDocument(result.path);
    EXPECT_NE(document, nullptr);
    for (int i = 0; document && i < pages; ++i)
        result.items.emplace_back(QUuid::createUuid(), compactIfGrey(renderPdfPage(*document, i)),
                                  result.path, i + 1);
    return result;
}

// The darkest grey of each run of rows darker than the paper down one column.
std::vector<int> darkestOfEachLine(const QImage& page, int x)
{
    std::vector<int> lines;
    bool inLine = false;
    for (int y = 0; y < page.height(); ++y) {
        const int gray = qGray(page.pixel(x, y));
        if (gray >= 230) {
            inLine = false;
            continue;
        }
        if (!inLine)
            lines.push_back(gray);
        inLine = true;
        lines.back() = std::min(lines.back(), gray);
    }
    return lines;
}

} // namespace

TEST(PdfPageRasteriser, OriginsNameThePdfPagesAndLeaveImageFilesOut)
{
    QTemporaryDir dir;
    PdfPages pdf = importedPages(dir, 2, QSizeF(300, 200));
    QImage photo(40, 30, QImage::Format_RGB32);
    photo.fill(Qt::gray);
    pdf.items.emplace_back(QUuid::createUuid(), photo, QStringLiteral("/pages/photo.png"));
    pdf.items.emplace_back(QUuid::createUuid(), mergeHorizontally(pdf.items[0].image(), pdf.items[1].image()),
                           pdf.path, 1, 2);
    const std::vector<PdfPageOrigin> origins = pdfPageOrigins(pdf.items);
    ASSERT_EQ(origins.size(), 3u);
    EXPECT_EQ(origins[0].imageKey, pdf.items[0].image().cacheKey());
    EXPECT_EQ(origins[0].path, pdf.path);
    EXPECT_EQ(origins[0].pageNumber, 1);
    EXPECT_FALSE(origins[0].pairedPageNumber.has_value());
    EXPECT_EQ(origins[1].pageNumber, 2);
    EXPECT_EQ(origins[2].imageKey, pdf.items[3].image().cacheKey());
    EXPECT_EQ(origins[2].pairedPageNumber, 2);
}

TEST(PdfPageRasteriser, PageIsDrawnFromTheDocumentAtTheSizeAskedFor)
{
    QTemporaryDir dir;
    const PdfPages pdf = importedPages(dir, 2, QSizeF(300, 200));
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    // Four pixels per point: twice the page list's picture.
    const QImage page = rasteriser.render(pdf.items[1].image(), QSize(1200, 800));
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.size(), QSize(1200, 800));
    // The second page's mark (a 40-point square) covers 160 pixels now; beyond it, white.
    EXPECT_EQ(QColor(page.pixel(80, 80)), PdfFixtures::pageColor(1));
    EXPECT_EQ(QColor(page.pixel(156, 156)), PdfFixtures::pageColor(1));
    EXPECT_EQ(QColor(page.pixel(170, 170)), QColor(Qt::white));
    EXPECT_EQ(QColor(page.pixel(1100, 700)), QColor(Qt::white));
    EXPECT_EQ(rasteriser.pagesRendered(), 1);
}

TEST(PdfPageRasteriser, PairIsDrawnSideBySideAtTheHeightAskedFor)
{
    QTemporaryDir dir;
    PdfPages pdf = importedPages(dir, 2, QSizeF(300, 200));
    pdf.items.emplace_back(QUuid::createUuid(), mergeHorizontally(pdf.items[0].image(), pdf.items[1].image()),
                           pdf.path, 1, 2);
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    const QImage pair = rasteriser.render(pdf.items[2].image(), QSize(2400, 800));
    ASSERT_FALSE(pair.isNull());
    EXPECT_EQ(pair.size(), QSize(2400, 800));
    EXPECT_EQ(QColor(pair.pixel(80, 80)), PdfFixtures::pageColor(0));
    EXPECT_EQ(QColor(pair.pixel(1200 + 80, 80)), PdfFixtures::pageColor(1));
    EXPECT_EQ(QColor(pair.pixel(1200 + 170, 170)), QColor(Qt::white));
    EXPECT_EQ(rasteriser.pagesRendered(), 2);
}

TEST(PdfPageRasteriser, AGreyPairIsDrawnInPremultipliedArgbForTheExport)
{
    // The page list holds grey pages in one byte per pixel; what the export draws is used
    // once, at once, in the format it is drawn in.
    QTemporaryDir dir;
    PdfPages pdf = importedPages(dir, 2, QSizeF(300, 200), [](QPainter& painter, int, QSizeF size) {
        painter.setPen(QPen(Qt::black, 0.5));
        painter.drawLine(QPointF(20, 50), QPointF(size.width() - 20, 50));
    });
    ASSERT_EQ(pdf.items[0].image().format(), QImage::Format_Grayscale8);
    pdf.items.emplace_back(QUuid::createUuid(),
                           compactIfGrey(mergeHorizontally(pdf.items[0].image(), pdf.items[1].image())),
                           pdf.path, 1, 2);
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    EXPECT_EQ(rasteriser.render(pdf.items[0].image(), QSize(900, 600)).format(),
              QImage::Format_ARGB32_Premultiplied);
    const QImage pair = rasteriser.render(pdf.items[2].image(), QSize(1800, 600));
    ASSERT_FALSE(pair.isNull());
    EXPECT_EQ(pair.format(), QImage::Format_ARGB32_Premultiplied);
}

TEST(PdfPageRasteriser, PicturesWithoutAPdfOriginAreLeftToTheCaller)
{
    QTemporaryDir dir;
    const PdfPages pdf = importedPages(dir, 1, QSizeF(300, 200));
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    QImage photo(40, 30, QImage::Format_RGB32);
    photo.fill(Qt::gray);
    EXPECT_TRUE(rasteriser.render(photo, QSize(80, 60)).isNull());
    // A copy of the page list's picture is the same picture; a changed copy is not.
    QImage copy = pdf.items[0].image();
    EXPECT_FALSE(rasteriser.render(copy, QSize(600, 400)).isNull());
    copy.setPixel(0, 0, qRgb(1, 2, 3));
    EXPECT_TRUE(rasteriser.render(copy, QSize(600, 400)).isNull());
}

TEST(PdfPageRasteriser, DocumentThatIsGoneOrChangedGivesNothing)
{
    QTemporaryDir dir;
    const PdfPages pdf = importedPages(dir, 1, QSizeF(300, 200));
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    ASSERT_TRUE(QFile::remove(pdf.path));
    EXPECT_TRUE(rasteriser.render(pdf.items[0].image(), QSize(600, 400)).isNull());

    // The same file name now holds a page of another shape: not the page of the video.
    ASSERT_TRUE(PdfFixtures::writePdf(pdf.path, 1, QSizeF(200, 300)));
    PdfPageRasteriser again(pdfPageOrigins(pdf.items));
    EXPECT_TRUE(again.render(pdf.items[0].image(), QSize(600, 400)).isNull());
}

TEST(PdfPageRasteriser, OneDocumentIsOpenedOnceForItsPagesInTurn)
{
    QTemporaryDir dir;
    const PdfPages pdf = importedPages(dir, 3, QSizeF(300, 200));
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    for (const ImageItem& item : pdf.items)
        EXPECT_FALSE(rasteriser.render(item.image(), QSize(900, 600)).isNull());
    EXPECT_EQ(rasteriser.documentsOpened(), 1);
    EXPECT_EQ(rasteriser.pagesRendered(), 3);
}

TEST(PdfPageRasteriser, ThinStaffLinesReachFullBlackWhereverTheyFallOnThePixelGrid)
{
    // An A4 page at the height of a 4K frame: a 0.5-point line is 1.28 pixels thick, so a
    // smooth rendering alone leaves a line that straddles two rows grey in both.
    QTemporaryDir dir;
    const PdfPages pdf = importedPages(dir, 1, QSizeF(595.276, 841.89), PdfFixtures::drawStaffPage);
    PdfPageRasteriser rasteriser(pdfPageOrigins(pdf.items));
    const QImage page = rasteriser.render(pdf.items[0].image(), QSize(1527, 2160));
    ASSERT_FALSE(page.isNull());
    const std::vector<int> lines = darkestOfEachLine(page, page.width() / 2);
    ASSERT_EQ(lines.size(), size_t(PdfFixtures::kStaffCount * 5));
    for (size_t i = 0; i < lines.size(); ++i)
        EXPECT_LT(lines[i], 60) << "line " << i;
}
