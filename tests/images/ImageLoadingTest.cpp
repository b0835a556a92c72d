#include "images/ImageLoading.h"
#include "tests/support/ImageFixtures.h"
#include "tests/support/PdfFixtures.h"

#include <gtest/gtest.h>

#include <QImageReader>
#include <QTemporaryDir>

namespace {

QString writeBytes(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes)
{
    const QString path = dir.filePath(name);
    EXPECT_TRUE(PdfFixtures::writeFile(path, bytes));
    return path;
}

} // namespace

TEST(ImageLoading, PngLoadsAtOnePointPerPixel)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("page.png"));
    ASSERT_TRUE(ImageFixtures::quadrantImage(120, 80).save(path));
    const std::optional<QImage> image = loadImageFile(path);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(120, 80));
    EXPECT_DOUBLE_EQ(image->devicePixelRatio(), 1.0);
    EXPECT_EQ(image->deviceIndependentSize(), QSizeF(120, 80));
    EXPECT_EQ(image->pixelColor(10, 10), QColor(Qt::red));
}

TEST(ImageLoading, CommonFormatsLoad)
{
    QTemporaryDir dir;
    const QImage source = ImageFixtures::quadrantImage(64, 48);
    for (const char* format : {"png", "jpg", "bmp", "tiff", "webp"}) {
        if (!QImageReader::supportedImageFormats().contains(format))
            continue;
        const QString path = dir.filePath(QStringLiteral("page.") + QString::fromLatin1(format));
        ASSERT_TRUE(source.save(path, format)) << format;
        const std::optional<QImage> image = loadImageFile(path);
        ASSERT_TRUE(image.has_value()) << format;
        EXPECT_EQ(image->size(), QSize(64, 48)) << format;
    }
}

TEST(ImageLoading, ExifOrientationTurnsAPhotoUpright)
{
    QTemporaryDir dir;
    // Orientation 6: the stored picture must be turned 90 degrees clockwise to be upright.
    const QString path =
            writeBytes(dir, QStringLiteral("photo.jpg"),
                       ImageFixtures::jpegWithExifOrientation(ImageFixtures::quadrantImage(200, 100), 6));
    const std::optional<QImage> image = loadImageFile(path);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(100, 200));
    // Turned clockwise, the stored bottom-left (blue) quadrant is now at the top-left.
    const QColor topLeft = image->pixelColor(25, 50);
    EXPECT_LT(topLeft.red(), 60);
    EXPECT_LT(topLeft.green(), 60);
    EXPECT_GT(topLeft.blue(), 190);
    EXPECT_DOUBLE_EQ(image->devicePixelRatio(), 1.0);
}

TEST(ImageLoading, MissingFileIsNotLoaded)
{
    QTemporaryDir dir;
    EXPECT_FALSE(loadImageFile(dir.filePath(QStringLiteral("absent.png"))).has_value());
}

TEST(ImageLoading, TextFileNamedPngIsNotLoaded)
{
    QTemporaryDir dir;
    const QString path = writeBytes(dir, QStringLiteral("notes.png"), "just some text, not a picture\n");
    EXPECT_FALSE(loadImageFile(path).has_value());
}

TEST(ImageLoading, ZeroByZeroImageIsNotLoaded)
{
    QTemporaryDir dir;
    const QString path = writeBytes(dir, QStringLiteral("empty.png"), ImageFixtures::zeroSizePng());
    EXPECT_FALSE(loadImageFile(path).has_value());
}

TEST(ImageLoading, PictureBeyondTheAllocationLimitIsRefused)
{
    QTemporaryDir dir;
    const QString path = writeBytes(dir, QStringLiteral("huge.png"), ImageFixtures::blackPng(30000, 30000));
    // The file itself is a valid PNG: its header is readable.
    QImageReader reader(path);
    EXPECT_EQ(reader.size(), QSize(30000, 30000));
    EXPECT_FALSE(loadImageFile(path).has_value());
}

TEST(ImageLoading, CraftedPngOfReasonableSizeLoads)
{
    // The hand-built PNG used for the oversized case is a real PNG: at a small size it decodes.
    QTemporaryDir dir;
    const QString path = writeBytes(dir, QStringLiteral("small.png"), ImageFixtures::blackPng(30, 20));
    const std::optional<QImage> image = loadImageFile(path);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(30, 20));
    EXPECT_EQ(image->pixelColor(5, 5), QColor(Qt::black));
}

TEST(ImageLoading, TruncatedPngDoesNotCrash)
{
    QTemporaryDir dir;
    const QString full = dir.filePath(QStringLiteral("full.png"));
    ASSERT_TRUE(ImageFixtures::quadrantImage(300, 300).save(full));
    QFile file(full);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    const QString path = writeBytes(dir, QStringLiteral("half.png"), bytes.left(bytes.size() / 2));
    EXPECT_FALSE(loadImageFile(path).has_value());
}
