#include "images/CompactPagePicture.h"
#include "images/PagePointSize.h"
#include "images/PdfRendering.h"
#include "project/ProjectPages.h"
#include "render/ScaledPageCache.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <QPainter>
#include <QPdfDocument>
#include <QTemporaryDir>

namespace {

// Every grey level once, in a row, on a page with a point size and two pixels per point.
QImage everyGreyLevel()
{
    QImage page(256, 3, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x)
            page.setPixel(x, y, qRgb(x, x, x));
    }
    page.setDevicePixelRatio(2.0);
    setPagePointSize(page, QSizeF(128.0, 1.5));
    return page;
}

// A staff of thin lines, drawn smoothly so that its edges hold every shade of grey.
void drawStaff(QPainter& painter, int, QSizeF size)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 0.5));
    for (int line = 0; line < 5; ++line) {
        const double y = 40.0 + line * 3.7;
        painter.drawLine(QPointF(20.0, y), QPointF(size.width() - 20.0, y));
    }
    painter.setBrush(Qt::black);
    painter.drawEllipse(QPointF(60.0, 47.4), 2.1, 1.6);
}

} // namespace

TEST(CompactPagePicture, AGreyPageIsHeldInOneBytePerPixelWithTheSamePixels)
{
    const QImage page = everyGreyLevel();
    const QImage compact = compactIfGrey(page);
    EXPECT_EQ(compact.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(compact.size(), page.size());
    EXPECT_EQ(compact.sizeInBytes() * 4, page.sizeInBytes());
    // Back in the format every page is drawn from, nothing has changed.
    EXPECT_EQ(compact.convertToFormat(QImage::Format_ARGB32_Premultiplied), page);
}

TEST(CompactPagePicture, TheDensityAndTheSizeInPointsStay)
{
    const QImage compact = compactIfGrey(everyGreyLevel());
    EXPECT_DOUBLE_EQ(compact.devicePixelRatio(), 2.0);
    EXPECT_EQ(pagePointSize(compact), QSizeF(128.0, 1.5));
}

TEST(CompactPagePicture, OneColouredPixelKeepsThePageAsItIs)
{
    QImage page = everyGreyLevel();
    page.setPixel(200, 2, qRgb(200, 200, 201));
    const QImage kept = compactIfGrey(page);
    EXPECT_EQ(kept.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(kept, page);
}

TEST(CompactPagePicture, OneTranslucentPixelKeepsThePageAsItIs)
{
    QImage page = everyGreyLevel();
    page.setPixel(10, 1, qRgba(5, 5, 5, 128));
    EXPECT_EQ(compactIfGrey(page).format(), QImage::Format_ARGB32_Premultiplied);
}

TEST(CompactPagePicture, PicturesInOtherFormatsStayAsTheyCame)
{
    QImage indexed(4, 4, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    indexed.fill(1);
    EXPECT_EQ(compactIfGrey(indexed).format(), QImage::Format_Indexed8);
    EXPECT_TRUE(compactIfGrey(QImage()).isNull());
}

TEST(CompactPagePicture, ABlackAndWhitePdfPageIsHeldGreyAndScalesToTheSamePixels)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("staff.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, 1, QSizeF(300, 120), drawStaff));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    const QImage rendered = renderPdfPage(*document, 0);
    ASSERT_FALSE(rendered.isNull());
    EXPECT_EQ(rendered.format(), QImage::Format_ARGB32_Premultiplied);
    const QImage page = compactIfGrey(rendered);
    EXPECT_EQ(page.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(page.size(), QSize(600, 240));
    EXPECT_EQ(pagePointSize(page), QSizeF(300, 120));

    // The page as the export draws it, shrunk to its rectangle and enlarged past it, is the
    // same whether it was held in one byte or in four.
    const QImage wide = page.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (const QSize size : {QSize(385, 154), QSize(1500, 600)}) {
        ScaledPageCache fromGrey(1);
        ScaledPageCache fromArgb(1);
        EXPECT_EQ(fromGrey.scaled(page, size), fromArgb.scaled(wide, size)) << size.width();
    }
}

TEST(CompactPagePicture, APdfPageWithColourKeepsItsColour)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("marked.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, 1, QSizeF(200, 150)));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    const QImage page = renderPdfPage(*document, 0);
    EXPECT_EQ(page.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(page.pixelColor(20, 20), PdfFixtures::pageColor(0));
}

TEST(CompactPagePicture, PdfPagesAndPairsRebuiltForAProjectAreHeldGrey)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("staff.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, 3, QSizeF(300, 120), drawStaff));
    ImagePathInfo single;
    single.path = path;
    single.pageNumber = 1;
    ImagePathInfo pair;
    pair.path = path;
    pair.pageNumber = 2;
    pair.pairedPageNumber = 3;
    const std::vector<ImageItem> pages = rebuildProjectPages({single, pair});
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].image().format(), QImage::Format_Grayscale8);
    EXPECT_EQ(pages[1].image().format(), QImage::Format_Grayscale8);
    EXPECT_EQ(pagePointSize(pages[1].image()), QSizeF(600, 120));
}
