#include "media/PictureConverter.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

QImage canvas(QColor color)
{
    QImage image(64, 36, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

} // namespace

TEST(PictureConverter, PicturesAreMadeInTheMemoryOfReleasedOnes)
{
    PictureConverter converter(64, 36);
    for (int frame = 0; frame < 40; ++frame) {
        const VideoPicture picture = converter.convert(canvas(frame % 2 ? Qt::white : Qt::black));
        ASSERT_TRUE(picture);
    }
    EXPECT_EQ(converter.buffersAllocated(), 1);
}

TEST(PictureConverter, AsManyBuffersAsPicturesHeldAtOnce)
{
    // The export holds the picture before the current one (for fades and still frames).
    PictureConverter converter(64, 36);
    VideoPicture previous;
    for (int frame = 0; frame < 40; ++frame) {
        VideoPicture current = converter.convert(canvas(frame % 2 ? Qt::white : Qt::black));
        ASSERT_TRUE(current);
        previous = std::move(current);
    }
    EXPECT_EQ(converter.buffersAllocated(), 2);
}

TEST(PictureConverter, AHeldPictureKeepsItsPixelsWhileOthersAreMade)
{
    PictureConverter converter(64, 36);
    const VideoPicture red = converter.convert(canvas(Qt::red));
    ASSERT_TRUE(red);
    const uint8_t redLuma = red->data[0][0];
    for (int frame = 0; frame < 5; ++frame) {
        const VideoPicture blue = converter.convert(canvas(Qt::blue));
        ASSERT_TRUE(blue);
        EXPECT_NE(blue->data[0], red->data[0]);
        EXPECT_NE(blue->data[0][0], redLuma);
    }
    EXPECT_EQ(red->data[0][0], redLuma);
    EXPECT_EQ(red->data[0][64 * 35 + 63], redLuma);
}

TEST(PictureConverter, PicturesOutliveTheirConverter)
{
    VideoPicture kept;
    uint8_t luma = 0;
    {
        PictureConverter converter(64, 36);
        kept = converter.convert(canvas(Qt::white));
        ASSERT_TRUE(kept);
        luma = kept->data[0][0];
    }
    EXPECT_EQ(kept->data[0][0], luma);
    EXPECT_EQ(kept->width, 64);
    EXPECT_EQ(kept->format, AV_PIX_FMT_YUV420P);
}
