#include "images/ImageLoading.h"

#include <QBuffer>
#include <QImageReader>

namespace {

std::optional<QImage> readPageImage(QImageReader& reader)
{
    // Rotates and mirrors by the EXIF orientation tag (JPEG, TIFF, WebP...).
    reader.setAutoTransform(true);
    // The reader checks the picture's declared size against QImageReader::allocationLimit()
    // before it allocates anything, so a huge picture fails here instead of exhausting memory.
    QImage image;
    if (!reader.read(&image) || image.isNull() || image.width() <= 0 || image.height() <= 0)
        return std::nullopt;
    image.setDevicePixelRatio(1.0);
    return image;
}

} // namespace

std::optional<QImage> loadImageFile(const QString& path)
{
    QImageReader reader(path);
    return readPageImage(reader);
}

std::optional<QImage> loadImageData(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return std::nullopt;
    QImageReader reader(&buffer);
    return readPageImage(reader);
}
