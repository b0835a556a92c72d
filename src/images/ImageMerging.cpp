#include "images/ImageMerging.h"

#include "images/PagePointSize.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kHeightWhenUnknown = 100.0;

double scaledWidth(const QImage& image, double targetHeight)
{
    const QSizeF size = pagePointSize(image);
    if (image.isNull() || size.height() <= 0.0)
        return 0.0;
    return size.width() * (targetHeight / size.height());
}

} // namespace

QSizeF mergedSizeInPoints(const std::vector<QImage>& images)
{
    double height = 0.0;
    for (const QImage& image : images) {
        if (!image.isNull())
            height = std::max(height, pagePointSize(image).height());
    }
    if (height <= 0.0)
        height = kHeightWhenUnknown;
    double width = 0.0;
    for (const QImage& image : images)
        width += scaledWidth(image, height);
    return {width, height};
}

double densityWithinBudget(QSizeF sizeInPoints, double wantedDensity, qint64 maxBytes)
{
    const double area = sizeInPoints.width() * sizeInPoints.height();
    if (!(area > 0.0) || !std::isfinite(area))
        return 0.0;
    double density = wantedDensity;
    const double bytesAtWanted = area * density * density * 4.0;
    if (bytesAtWanted > static_cast<double>(maxBytes))
        density = std::sqrt(static_cast<double>(maxBytes) / (area * 4.0));
    // Every side must stay a valid QImage dimension and at least one pixel.
    const double longestSide = std::max(sizeInPoints.width(), sizeInPoints.height());
    density = std::min(density, 32767.0 / longestSide);
    if (std::lround(sizeInPoints.width() * density) < 1 || std::lround(sizeInPoints.height() * density) < 1)
        return 0.0;
    return density;
}

QImage mergeHorizontally(const std::vector<QImage>& images)
{
    const QSizeF size = mergedSizeInPoints(images);
    double wantedDensity = 1.0;
    for (const QImage& image : images) {
        if (!image.isNull())
            wantedDensity = std::max(wantedDensity, image.devicePixelRatio());
    }
    const double density = densityWithinBudget(size, wantedDensity, kMaxPageImageBytes);
    if (density <= 0.0)
        return {};
    const QSize pixels(static_cast<int>(std::lround(size.width() * density)),
                       static_cast<int>(std::lround(size.height() * density)));
    QImage merged(pixels, QImage::Format_ARGB32_Premultiplied);
    if (merged.isNull())
        return {};
    merged.fill(Qt::white);
    {
        QPainter painter(&merged);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        // Drawing coordinates are points; the painter maps them onto the pixels.
        painter.scale(static_cast<double>(pixels.width()) / size.width(),
                      static_cast<double>(pixels.height()) / size.height());
        double x = 0.0;
        for (const QImage& image : images) {
            const double width = scaledWidth(image, size.height());
            if (width <= 0.0)
                continue;
            painter.drawImage(QRectF(x, 0.0, width, size.height()), image, QRectF(image.rect()));
            x += width;
        }
    }
    merged.setDevicePixelRatio(density);
    setPagePointSize(merged, size);
    return merged;
}

QImage mergeHorizontally(const QImage& left, const QImage& right)
{
    return mergeHorizontally(std::vector<QImage>{left, right});
}
