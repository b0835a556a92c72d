#include "images/PdfRendering.h"
#include "images/PagePointSize.h"
#include "tests/support/HostileFiles.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QPainter>
#include <QPdfDocument>
#include <QTemporaryDir>

namespace {

QString writePdfFile(const QTemporaryDir& dir, const QString& name, int pages, QSizeF size,
                     const PdfFixtures::PageDrawer& draw = PdfFixtures::drawMarkedPage)
{
    const QString path = dir.filePath(name);
    EXPECT_TRUE(PdfFixtures::writePdf(path, pages, size, draw));
    return path;
}

bool isWhite(const QColor& color)
{
    return color.red() == 255 && color.green() == 255 && color.blue() == 255 && color.alpha() == 255;
}

} // namespace

TEST(PdfRendering, PageIsRenderedAtTwoPixelsPerPointWithItsSizeInPoints)
{
    QTemporaryDir dir;
    const QString path = writePdfFile(dir, QStringLiteral("a.pdf"), 1, QSizeF(300, 200));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(pdfPageSizeInPoints(*document, 0), QSizeF(300, 200));
    const QImage page = renderPdfPage(*document, 0);
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.size(), QSize(600, 400));
    EXPECT_DOUBLE_EQ(page.devicePixelRatio(), 2.0);
    EXPECT_EQ(page.deviceIndependentSize(), QSizeF(300, 200));
}

TEST(PdfRendering, AnA4PageKeepsItsExactSizeInPointsAtTwoPixelsPerPoint)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a4.pdf"));
    ASSERT_TRUE(HostileFiles::writeFile(path, HostileFiles::pdfWithManyPages(1, 595.276, 841.89)));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    const QImage page = renderPdfPage(*document, 0);
    ASSERT_FALSE(page.isNull());
    // 1190.552 x 1683.78 pixels, rounded to whole ones.
    EXPECT_EQ(page.size(), QSize(1191, 1684));
    EXPECT_DOUBLE_EQ(page.devicePixelRatio(), 2.0);
    // Not 595.5 x 842, the half points the pixels would give.
    EXPECT_NEAR(pagePointSize(page).width(), 595.276, 1e-4);
    EXPECT_NEAR(pagePointSize(page).height(), 841.89, 1e-4);
    EXPECT_EQ(pagePointSize(page), pdfPageSizeInPoints(*document, 0));
    // Copies carry it too.
    const QImage copy = page.copy();
    EXPECT_EQ(pagePointSize(copy), pagePointSize(page));
}

TEST(PdfRendering, ThinBlackLineIsPresentInTheRasterisedPage)
{
    QTemporaryDir dir;
    // A half-point horizontal line from x = 20 to 180 pt covering y = 50.0...50.5 pt, which is
    // exactly pixel row 100 at two pixels per point.
    const auto drawLine = [](QPainter& painter, int, QSizeF) {
        painter.setPen(QPen(Qt::black, 0.5, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(QPointF(20, 50.25), QPointF(180, 50.25));
    };
    const QString path = writePdfFile(dir, QStringLiteral("line.pdf"), 1, QSizeF(200, 100), drawLine);
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    const QImage page = renderPdfPage(*document, 0);
    ASSERT_EQ(page.size(), QSize(400, 200));
    // Take the darkest of a few rows around the line at several places along it.
    for (int x : {60, 200, 340}) {
        int darkest = 255;
        for (int y = 97; y <= 103; ++y)
            darkest = std::min(darkest, qGray(page.pixel(x, y)));
        EXPECT_LT(darkest, 100) << "x = " << x;
    }
    // Away from the line and past its ends the page is white.
    EXPECT_TRUE(isWhite(page.pixelColor(200, 60)));
    EXPECT_TRUE(isWhite(page.pixelColor(200, 140)));
    EXPECT_TRUE(isWhite(page.pixelColor(10, 100)));
    EXPECT_TRUE(isWhite(page.pixelColor(390, 100)));
}

TEST(PdfRendering, TransparentBackgroundComesOutWhite)
{
    QTemporaryDir dir;
    const QString path = writePdfFile(dir, QStringLiteral("clear.pdf"), 1, QSizeF(200, 150));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    // The page itself has no background: rendered as it is, its empty area is transparent.
    const QImage raw = document->render(0, QSize(400, 300));
    ASSERT_FALSE(raw.isNull());
    EXPECT_EQ(raw.pixelColor(300, 200).alpha(), 0);

    const QImage page = renderPdfPage(*document, 0);
    ASSERT_FALSE(page.isNull());
    EXPECT_TRUE(isWhite(page.pixelColor(300, 200)));
    EXPECT_TRUE(isWhite(page.pixelColor(399, 299)));
    // The drawn mark keeps its colour.
    EXPECT_EQ(page.pixelColor(20, 20), PdfFixtures::pageColor(0));
}

TEST(PdfRendering, PageOutsideTheDocumentCannotBeSupplied)
{
    QTemporaryDir dir;
    const QString path = writePdfFile(dir, QStringLiteral("two.pdf"), 2, QSizeF(100, 100));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    EXPECT_TRUE(pdfPageAvailable(*document, 1));
    EXPECT_FALSE(pdfPageAvailable(*document, 2));
    EXPECT_FALSE(pdfPageAvailable(*document, -1));
    EXPECT_TRUE(renderPdfPage(*document, 2).isNull());
}

TEST(PdfRendering, TextFileNamedPdfDoesNotOpen)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("notes.pdf"));
    ASSERT_TRUE(PdfFixtures::writeFile(path, "This is a text file, not a PDF.\n"));
    EXPECT_EQ(openPdfDocument(path), nullptr);
}

TEST(PdfRendering, MissingFileDoesNotOpen)
{
    QTemporaryDir dir;
    EXPECT_EQ(openPdfDocument(dir.filePath(QStringLiteral("absent.pdf"))), nullptr);
}

TEST(PdfRendering, PasswordProtectedPdfDoesNotOpen)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("locked.pdf"));
    ASSERT_TRUE(PdfFixtures::writeFile(path, PdfFixtures::passwordProtectedPdf()));
    QPdfDocument raw;
    EXPECT_EQ(raw.load(path), QPdfDocument::Error::IncorrectPassword);
    EXPECT_EQ(openPdfDocument(path), nullptr);
}

TEST(PdfRendering, ZeroPagePdfOpensWithNoPages)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("empty.pdf"));
    ASSERT_TRUE(PdfFixtures::writeFile(path, PdfFixtures::zeroPagePdf()));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->pageCount(), 0);
    EXPECT_TRUE(renderPdfPage(*document, 0).isNull());
}

TEST(PdfRendering, PdfCutInHalfDoesNotOpen)
{
    QTemporaryDir dir;
    const QString full = writePdfFile(dir, QStringLiteral("full.pdf"), 4, QSizeF(200, 100));
    QFile file(full);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const QString path = dir.filePath(QStringLiteral("half.pdf"));
    ASSERT_TRUE(PdfFixtures::writeFile(path, bytes.left(bytes.size() / 2)));
    EXPECT_EQ(openPdfDocument(path), nullptr);
}

TEST(PdfRendering, PagesOfDifferentSizesKeepTheirOwnSizes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("mixed.pdf"));
    ASSERT_TRUE(PdfFixtures::writePdf(path, {QSizeF(100, 200), QSizeF(300, 150)}));
    auto document = openPdfDocument(path);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(renderPdfPage(*document, 0).deviceIndependentSize(), QSizeF(100, 200));
    EXPECT_EQ(renderPdfPage(*document, 1).deviceIndependentSize(), QSizeF(300, 150));
    EXPECT_EQ(renderPdfPage(*document, 1).pixelColor(20, 20), PdfFixtures::pageColor(1));
}
