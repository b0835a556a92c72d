#include "images/ThinLineContrast.h"

#include <gtest/gtest.h>

namespace {

QImage whitePage(int width, int height)
{
    QImage page(width, height, QImage::Format_ARGB32_Premultiplied);
    page.fill(Qt::white);
    return page;
}

int inkAt(const QImage& page, int x, int y)
{
    return 255 - qGray(page.pixel(x, y));
}

} // namespace

TEST(ThinLineContrast, LineInOneBlockGetsADarkCoreAndKeepsItsInk)
{
    QImage page = whitePage(6, 8);
    for (int x = 0; x < 6; ++x) {
        page.setPixel(x, 2, qRgb(100, 100, 100));
        page.setPixel(x, 3, qRgb(92, 92, 92));
    }
    concentrateThinLines(page);
    for (int x = 0; x < 6; ++x) {
        // The darker row becomes the core; the lighter one gives up what the core took.
        EXPECT_EQ(inkAt(page, x, 3), kThinLineCoreInk) << x;
        EXPECT_EQ(inkAt(page, x, 2), (255 - 92) + (255 - 100) - kThinLineCoreInk) << x;
        EXPECT_EQ(inkAt(page, x, 1), 0);
        EXPECT_EQ(inkAt(page, x, 4), 0);
    }
}

TEST(ThinLineContrast, LineAcrossTwoBlocksOnlyDarkensItsCore)
{
    QImage page = whitePage(6, 8);
    for (int x = 0; x < 6; ++x) {
        page.setPixel(x, 3, qRgb(92, 92, 92));
        page.setPixel(x, 4, qRgb(100, 100, 100));
    }
    concentrateThinLines(page);
    for (int x = 0; x < 6; ++x) {
        EXPECT_EQ(inkAt(page, x, 3), kThinLineCoreInk) << x;
        EXPECT_EQ(inkAt(page, x, 4), 255 - 100) << x;
    }
}

TEST(ThinLineContrast, VerticalLinesAreTreatedAlike)
{
    QImage page = whitePage(8, 6);
    for (int y = 0; y < 6; ++y) {
        page.setPixel(0, y, qRgb(140, 140, 140)); // at the picture's edge
        page.setPixel(1, y, qRgb(90, 90, 90));
        page.setPixel(4, y, qRgb(150, 150, 150));
        page.setPixel(5, y, qRgb(170, 170, 170));
    }
    concentrateThinLines(page);
    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(inkAt(page, 1, y), kThinLineCoreInk) << y;
        EXPECT_EQ(inkAt(page, 0, y), 115 + 165 - kThinLineCoreInk) << y;
        // A line with less ink than a core holds stays as drawn.
        EXPECT_EQ(inkAt(page, 4, y), 105) << y;
        EXPECT_EQ(inkAt(page, 5, y), 85) << y;
    }
}

TEST(ThinLineContrast, LinesAlreadyDarkAndWiderShapesAreLeftAlone)
{
    QImage page = whitePage(4, 16);
    for (int x = 0; x < 4; ++x) {
        page.setPixel(x, 1, qRgb(0, 0, 0)); // a black row with a soft edge
        page.setPixel(x, 2, qRgb(200, 200, 200));
        page.setPixel(x, 5, qRgb(120, 120, 120)); // the soft edge of a wider shape
        page.setPixel(x, 6, qRgb(120, 120, 120));
        page.setPixel(x, 7, qRgb(120, 120, 120));
        page.setPixel(x, 10, qRgb(100, 100, 100)); // one grey row alone
    }
    const QImage before = page;
    concentrateThinLines(page);
    // Rows are wide runs across the four columns, so only columns could have changed.
    EXPECT_EQ(page, before);
}

TEST(ThinLineContrast, EachColourChannelKeepsItsOwnInk)
{
    QImage page = whitePage(3, 6);
    for (int x = 0; x < 3; ++x) {
        page.setPixel(x, 2, qRgb(100, 255, 150));
        page.setPixel(x, 3, qRgb(110, 255, 160));
    }
    // Red has ink for a core (155 + 145), blue does not (105 + 95): blue stays as drawn.
    concentrateThinLines(page);
    const QRgb core = page.pixel(1, 2);
    const QRgb rest = page.pixel(1, 3);
    EXPECT_EQ(255 - qRed(core), kThinLineCoreInk);
    EXPECT_EQ(qGreen(core), 255);
    EXPECT_EQ(255 - qBlue(core), 105);
    EXPECT_EQ(255 - qBlue(rest), 95);
    EXPECT_EQ((255 - qRed(core)) + (255 - qRed(rest)), 155 + 145);
}
