#include "export/VideoWriter.h"
#include "media/PictureConverter.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixfmt.h>
}

namespace {

// Writes `count` frames of a solid colour; returns the writer's final status.
VideoWriterStatus writeSolid(const QString& path, int count, int fps, QSize size, const QColor& color,
                             QString* error = nullptr)
{
    VideoWriter writer(path, size.width(), size.height(), fps);
    QString prepareError;
    if (!writer.prepare(&prepareError) || !writer.startWriting()) {
        if (error)
            *error = prepareError.isEmpty() ? writer.errorText() : prepareError;
        return writer.status();
    }
    PictureConverter converter(size.width(), size.height());
    QImage canvas(size, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(color);
    const VideoPicture picture = converter.convert(canvas);
    for (int i = 0; i < count; ++i)
        writer.append(picture, i);
    writer.finishWriting();
    if (error)
        *error = writer.errorText();
    return writer.status();
}

} // namespace

TEST(VideoWriter, ThirtyFramesAtThirtyFpsLastExactlyOneSecond)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("one.mov"));
    ASSERT_EQ(writeSolid(path, 30, 30, QSize(1920, 1080), Qt::red), VideoWriterStatus::completed);
    const VideoProbe probe = probeVideo(path);
    ASSERT_TRUE(probe.opened);
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoStreams, 1);
    EXPECT_EQ(probe.audioStreams, 0);
    EXPECT_EQ(probe.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(probe.videoProfile, FF_PROFILE_H264_HIGH);
    EXPECT_EQ(probe.width, 1920);
    EXPECT_EQ(probe.height, 1080);
    EXPECT_EQ(probe.pixelFormat, QStringLiteral("yuv420p"));
    EXPECT_EQ(probe.colorPrimaries, AVCOL_PRI_BT709);
    EXPECT_EQ(probe.colorTransfer, AVCOL_TRC_BT709);
    EXPECT_EQ(probe.colorSpace, AVCOL_SPC_BT709);
    EXPECT_EQ(probe.colorRange, AVCOL_RANGE_MPEG);
    EXPECT_EQ(probe.videoPackets, 30);
    EXPECT_EQ(countDecodedFrames(path), 30);
    EXPECT_NEAR(probe.videoDuration, 1.0, 1e-9);
    EXPECT_NEAR(probe.formatDuration, 1.0, 1e-6);
}

TEST(VideoWriter, KeyframeAtLeastEveryTwoSeconds)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.mov"));
    ASSERT_EQ(writeSolid(path, 200, 30, QSize(320, 240), Qt::blue), VideoWriterStatus::completed);
    const VideoProbe probe = probeVideo(path);
    EXPECT_EQ(probe.videoPackets, 200);
    EXPECT_GE(probe.keyPackets, 4);
    EXPECT_LE(probe.longestKeyframeGap, 60);
}

TEST(VideoWriter, MovContainerWhateverTheExtension)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("clip.mp4"));
    ASSERT_EQ(writeSolid(path, 10, 30, QSize(320, 240), Qt::green), VideoWriterStatus::completed);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray head = file.read(12);
    EXPECT_EQ(head.mid(4, 8), QByteArray("ftypqt  "));
    EXPECT_EQ(probeVideo(path).majorBrand, QStringLiteral("qt  "));
}

TEST(VideoWriter, StartWritingFailsWhenTheFolderIsMissing)
{
    VideoWriter writer(QStringLiteral("/nonexistent-folder/x/video.mov"), 320, 240, 30);
    ASSERT_TRUE(writer.prepare(nullptr));
    EXPECT_FALSE(writer.startWriting());
    EXPECT_EQ(writer.status(), VideoWriterStatus::failed);
    EXPECT_FALSE(writer.errorText().isEmpty());
}

TEST(VideoWriter, OddSizeOrZeroRateCannotBePrepared)
{
    QString error;
    EXPECT_FALSE(VideoWriter(QStringLiteral("/tmp/x.mov"), 321, 240, 30).prepare(&error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(VideoWriter(QStringLiteral("/tmp/x.mov"), 320, 240, 0).prepare(&error));
}

TEST(VideoWriter, ZeroFramesMakeAFileThatCompletes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("empty.mov"));
    ASSERT_EQ(writeSolid(path, 0, 30, QSize(320, 240), Qt::green), VideoWriterStatus::completed);
    const VideoProbe probe = probeVideo(path);
    EXPECT_TRUE(probe.opened);
    EXPECT_EQ(probe.videoPackets, 0);
}

TEST(VideoWriter, ConvertedColoursComeBackWithinCodecTolerance)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("colour.mov"));
    ASSERT_EQ(writeSolid(path, 3, 30, QSize(640, 360), QColor(40, 160, 220)), VideoWriterStatus::completed);
    const auto frames = decodeVideoFrames(path, {0, 2});
    ASSERT_EQ(frames.size(), 2u);
    const QRgb pixel = frames.at(2).pixel(320, 180);
    EXPECT_NEAR(qRed(pixel), 40, 4);
    EXPECT_NEAR(qGreen(pixel), 160, 4);
    EXPECT_NEAR(qBlue(pixel), 220, 4);
}

TEST(VideoWriter, StillFramesBecomeSkipPicturesUnlessEveryFrameIsAsked)
{
    QTemporaryDir dir;
    PictureConverter converter(640, 360);
    QImage canvas(640, 360, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::darkCyan);
    const VideoPicture picture = converter.convert(canvas);
    for (const VideoEncoding encoding : {VideoEncoding::changesOnly, VideoEncoding::everyFrame}) {
        const QString path = dir.filePath(encoding == VideoEncoding::everyFrame ? QStringLiteral("every.mov")
                                                                                : QStringLiteral("skip.mov"));
        VideoWriter writer(path, 640, 360, 30, encoding);
        ASSERT_TRUE(writer.prepare(nullptr));
        EXPECT_EQ(writer.writesSkipPictures(), encoding == VideoEncoding::changesOnly);
        ASSERT_TRUE(writer.startWriting());
        for (int i = 0; i < 150; ++i)
            ASSERT_TRUE(writer.append(picture, i));
        writer.finishWriting();
        ASSERT_EQ(writer.status(), VideoWriterStatus::completed);
        const VideoProbe probe = probeVideo(path);
        EXPECT_EQ(probe.videoPackets, 150);
        EXPECT_LE(probe.longestKeyframeGap, 60);
        EXPECT_GE(probe.keyPackets, 3);
        EXPECT_EQ(countDecodedFrames(path), 150);
    }
}

TEST(VideoWriter, MissingFrameOrANewPictureEndsAStillStretch)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("gaps.mov"));
    PictureConverter converter(640, 360);
    QImage canvas(640, 360, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::yellow);
    const VideoPicture yellow = converter.convert(canvas);
    VideoWriter writer(path, 640, 360, 24);
    ASSERT_TRUE(writer.prepare(nullptr));
    ASSERT_TRUE(writer.startWriting());
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(writer.append(yellow, i));
    // Frame 10 is missing; 11 to 19 show the same picture again, then an equal copy.
    for (int i = 11; i < 20; ++i)
        ASSERT_TRUE(writer.append(yellow, i));
    const VideoPicture copy = converter.convert(canvas);
    for (int i = 20; i < 30; ++i)
        ASSERT_TRUE(writer.append(copy, i));
    writer.finishWriting();
    ASSERT_EQ(writer.status(), VideoWriterStatus::completed);
    EXPECT_EQ(probeVideo(path).videoPackets, 29);
    EXPECT_EQ(countDecodedFrames(path), 29);
    const std::map<int64_t, QImage> frames = decodeVideoFrames(path, {0, 9, 15, 25});
    ASSERT_EQ(frames.size(), 4U);
    for (const auto& [index, image] : frames)
        EXPECT_TRUE(colorNear(image.pixel(320, 180), Qt::yellow, 6))
                << index << describe(image.pixel(320, 180)).toStdString();
}
