#include "render/ScaledPageCache.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>

namespace {

QImage page(QSize size, QColor color)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

} // namespace

TEST(ScaledPageCache, APageShownAgainAtTheSameSizeIsScaledOnce)
{
    ScaledPageCache cache;
    const QImage source = page(QSize(200, 100), Qt::black);
    const QImage& first = cache.scaled(source, QSize(100, 50));
    EXPECT_EQ(first.size(), QSize(100, 50));
    cache.scaled(source, QSize(100, 50));
    EXPECT_EQ(cache.scalingCount(), 1);
    cache.scaled(source, QSize(50, 25));
    EXPECT_EQ(cache.scalingCount(), 2);
}

TEST(ScaledPageCache, TheLeastRecentlyUsedPageLeavesAFullCache)
{
    ScaledPageCache cache(2);
    const QImage a = page(QSize(20, 10), Qt::red);
    const QImage b = page(QSize(20, 10), Qt::green);
    const QImage c = page(QSize(20, 10), Qt::blue);
    cache.scaled(a, QSize(10, 5));
    cache.scaled(b, QSize(10, 5));
    cache.scaled(a, QSize(10, 5)); // a is now the most recent
    cache.scaled(c, QSize(10, 5)); // b leaves
    EXPECT_EQ(cache.entryCount(), 2);
    EXPECT_EQ(cache.scalingCount(), 3);
    cache.scaled(a, QSize(10, 5));
    EXPECT_EQ(cache.scalingCount(), 3);
    cache.scaled(b, QSize(10, 5));
    EXPECT_EQ(cache.scalingCount(), 4);
}

TEST(ScaledPageCache, AGreyPageComesBackAsPremultipliedArgbAtRatioOne)
{
    ScaledPageCache cache;
    QImage grey(40, 20, QImage::Format_Grayscale8);
    grey.fill(128);
    grey.setDevicePixelRatio(2.0);
    const QImage& scaled = cache.scaled(grey, QSize(40, 20));
    EXPECT_EQ(scaled.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(scaled.devicePixelRatio(), 1.0);
    EXPECT_EQ(scaled.pixel(5, 5), qRgb(128, 128, 128));
}

TEST(ScaledPageCache, APageDrawnAfreshAtTheSizeAskedForIsKeptWithoutACopy)
{
    // At 4K a page drawn from its PDF is 33 MB: the cache keeps the drawn picture itself.
    const uchar* drawnPixels = nullptr;
    ScaledPageCache cache(2, [&](const QImage&, QSize size) {
        QImage drawn = page(size, Qt::white);
        drawn.setDevicePixelRatio(2.0);
        drawnPixels = drawn.constBits();
        return drawn;
    });
    const QImage& scaled = cache.scaled(page(QSize(100, 140), Qt::gray), QSize(300, 420));
    ASSERT_NE(drawnPixels, nullptr);
    EXPECT_EQ(scaled.size(), QSize(300, 420));
    EXPECT_EQ(scaled.devicePixelRatio(), 1.0);
    EXPECT_EQ(scaled.constBits(), drawnPixels);
    EXPECT_EQ(scaled.pixel(10, 10), qRgb(255, 255, 255));
}
