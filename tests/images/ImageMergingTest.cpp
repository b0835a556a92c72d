#include "images/ImageMerging.h"

#include <gtest/gtest.h>

namespace {

QImage solid(int width, int height, const QColor& color, double density = 1.0)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setDevicePixelRatio(density);
    return image;
}

} // namespace

TEST(ImageMerging, WideAndTallImagesJoinAtTheTallerHeight)
{
    // 1000 x 500 scaled to the height 1000 is 2000 x 1000; with the 500 x 1000 beside it the
    // result is 2500 x 1000.
    const QImage merged = mergeHorizontally(solid(1000, 500, Qt::red), solid(500, 1000, Qt::blue));
    ASSERT_FALSE(merged.isNull());
    EXPECT_EQ(merged.deviceIndependentSize(), QSizeF(2500, 1000));
    EXPECT_EQ(merged.size(), QSize(2500, 1000));
    EXPECT_EQ(merged.pixelColor(10, 10), QColor(Qt::red));
    EXPECT_EQ(merged.pixelColor(1990, 990), QColor(Qt::red));
    EXPECT_EQ(merged.pixelColor(2010, 10), QColor(Qt::blue));
    EXPECT_EQ(merged.pixelColor(2499, 999), QColor(Qt::blue));
}

TEST(ImageMerging, MergedSizeIsComputedInPoints)
{
    EXPECT_EQ(mergedSizeInPoints({solid(1000, 500, Qt::red), solid(500, 1000, Qt::blue)}),
              QSizeF(2500, 1000));
    // A page at two pixels per point counts with its size in points.
    EXPECT_EQ(mergedSizeInPoints({solid(400, 600, Qt::red, 2.0), solid(300, 300, Qt::blue)}),
              QSizeF(200 + 300, 300));
}

TEST(ImageMerging, ResultTakesTheHighestPixelDensity)
{
    // Left: 200 x 300 points at two pixels per point; right: 300 x 300 points at one.
    const QImage merged = mergeHorizontally(solid(400, 600, Qt::red, 2.0), solid(300, 300, Qt::blue));
    EXPECT_DOUBLE_EQ(merged.devicePixelRatio(), 2.0);
    EXPECT_EQ(merged.size(), QSize(1000, 600));
    EXPECT_EQ(merged.deviceIndependentSize(), QSizeF(500, 300));
    // The boundary lies at 200 points, pixel 400.
    EXPECT_EQ(merged.pixelColor(395, 300), QColor(Qt::red));
    EXPECT_EQ(merged.pixelColor(405, 300), QColor(Qt::blue));
    EXPECT_EQ(merged.pixelColor(999, 599), QColor(Qt::blue));
}

TEST(ImageMerging, TransparentAreasComeOutWhite)
{
    const QImage merged = mergeHorizontally(solid(100, 100, Qt::transparent), solid(100, 100, Qt::black));
    EXPECT_EQ(merged.pixelColor(50, 50), QColor(Qt::white));
    EXPECT_EQ(merged.pixelColor(150, 50), QColor(Qt::black));
}

TEST(ImageMerging, ListMergeJoinsLeftToRightWithoutSpacing)
{
    const QImage merged = mergeHorizontally(
            {solid(100, 100, Qt::red), solid(50, 50, Qt::green), solid(100, 200, Qt::blue)});
    // Height 200: 200 + 200 + 100 wide.
    EXPECT_EQ(merged.deviceIndependentSize(), QSizeF(500, 200));
    EXPECT_EQ(merged.pixelColor(199, 100), QColor(Qt::red));
    EXPECT_EQ(merged.pixelColor(201, 100), QColor(Qt::green));
    EXPECT_EQ(merged.pixelColor(399, 100), QColor(Qt::green));
    EXPECT_EQ(merged.pixelColor(401, 100), QColor(Qt::blue));
}

TEST(ImageMerging, HeightIsOneHundredWhenNoImageHasOne)
{
    EXPECT_EQ(mergedSizeInPoints({QImage(), QImage()}), QSizeF(0, 100));
    EXPECT_EQ(mergedSizeInPoints({}), QSizeF(0, 100));
}

TEST(ImageMerging, DensityIsLoweredOnlyAsFarAsTheBudgetNeeds)
{
    EXPECT_DOUBLE_EQ(densityWithinBudget(QSizeF(600, 800), 2.0, kMaxPageImageBytes), 2.0);
    // 10000 x 10000 points at density d takes 4e8 d^2 bytes; a 4e8-byte budget allows d = 1.
    EXPECT_NEAR(densityWithinBudget(QSizeF(10000, 10000), 2.0, 400'000'000), 1.0, 1e-9);
    EXPECT_DOUBLE_EQ(densityWithinBudget(QSizeF(0, 100), 2.0, kMaxPageImageBytes), 0.0);
}
