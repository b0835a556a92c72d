#include "images/CompactPagePicture.h"

namespace {

bool isOpaqueGrey(QRgb pixel)
{
    return qAlpha(pixel) == 255 && qRed(pixel) == qGreen(pixel) && qGreen(pixel) == qBlue(pixel);
}

} // namespace

QImage compactIfGrey(const QImage& picture)
{
    if (picture.isNull() || picture.format() == QImage::Format_Grayscale8)
        return picture;
    // Only the 32-bit formats are read in place; a picture in any other format is one Vornik
    // did not render itself and stays as it came.
    const QImage::Format format = picture.format();
    if (format != QImage::Format_ARGB32_Premultiplied && format != QImage::Format_ARGB32 &&
        format != QImage::Format_RGB32)
        return picture;
    const bool opaqueByFormat = format == QImage::Format_RGB32;
    QImage grey(picture.size(), QImage::Format_Grayscale8);
    if (grey.isNull())
        return picture;
    for (int y = 0; y < picture.height(); ++y) {
        const auto* source = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        uchar* target = grey.scanLine(y);
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = opaqueByFormat ? (source[x] | 0xff000000u) : source[x];
            if (!isOpaqueGrey(pixel))
                return picture;
            target[x] = static_cast<uchar>(qBlue(pixel));
        }
    }
    grey.setDevicePixelRatio(picture.devicePixelRatio());
    grey.setDotsPerMeterX(picture.dotsPerMeterX());
    grey.setDotsPerMeterY(picture.dotsPerMeterY());
    for (const QString& key : picture.textKeys())
        grey.setText(key, picture.text(key));
    return grey;
}
