#include "render/FrameRenderer.h"
#include "model/Frames.h"
#include "render/FrameSnapshot.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/ExportFixtures.h"

#include <gtest/gtest.h>

namespace {

class FrameRendering : public ::testing::Test {
protected:
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
};

} // namespace

TEST_F(FrameRendering, FrameWithoutImageIsAPlainColourFieldInBothRenderers)
{
    ensureFrames(editor, 3);
    assignFrames(editor, 0, 3, std::nullopt, QRect(0, 0, 1920, 1080), QColor(10, 200, 30));
    const auto preview = renderFrame(editor.getFrameManager(), 1, nullptr, QSize(64, 36));
    ASSERT_TRUE(preview.has_value());
    EXPECT_EQ(preview->size(), QSize(64, 36));
    const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 1, QSizeF(64, 36));
    ASSERT_TRUE(buffer.has_value());
    for (const QImage& image : {*preview, *buffer}) {
        for (int y = 0; y < image.height(); y += 5)
            for (int x = 0; x < image.width(); x += 7)
                ASSERT_EQ(image.pixel(x, y), qRgb(10, 200, 30));
    }
}

TEST_F(FrameRendering, RenderFrameOutsideTheStoreIsNone)
{
    ensureFrames(editor, 2);
    EXPECT_FALSE(renderFrame(editor.getFrameManager(), -1).has_value());
    EXPECT_FALSE(renderFrame(editor.getFrameManager(), 2).has_value());
    const auto image = renderFrame(editor.getFrameManager(), 1);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->size(), QSize(1920, 1080));
}

TEST_F(FrameRendering, RenderFrameDrawsIntoAGivenCanvas)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 1);
    assignFrames(editor, 0, 1, 0, QRect(0, 0, 100, 100));
    QImage canvas(200, 100, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    const auto image = renderFrame(editor.getFrameManager(), 0, &canvas, QSize(200, 100));
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(canvas.pixel(50, 50), qRgb(255, 0, 0));
    EXPECT_EQ(canvas.pixel(150, 50), qRgb(255, 255, 255));
    EXPECT_EQ(image->pixel(150, 50), qRgb(255, 255, 255));
}

TEST_F(FrameRendering, RectangleIsMeasuredFromTheLowerLeftCorner)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 1);
    assignFrames(editor, 0, 1, 0, QRect(10, 20, 100, 50));
    for (const QImage& image : {*renderFrame(editor.getFrameManager(), 0),
                                *EditorTestAccess::createSimplePixelBuffer(editor, 0, QSizeF(1920, 1080))}) {
        // y = 20 from the bottom: rows 1080 - 20 - 50 = 1010 to 1059 from the top.
        EXPECT_EQ(image.pixel(50, 1030), qRgb(255, 0, 0));
        EXPECT_EQ(image.pixel(50, 1009), qRgb(255, 255, 255));
        EXPECT_EQ(image.pixel(50, 1060), qRgb(255, 255, 255));
        EXPECT_EQ(image.pixel(9, 1030), qRgb(255, 255, 255));
        EXPECT_EQ(image.pixel(110, 1030), qRgb(255, 255, 255));
    }
}

TEST_F(FrameRendering, PixelBufferBytesAreBlueGreenRedAlpha)
{
    setPages(editor, {solidPage(QColor(200, 100, 50))});
    ensureFrames(editor, 1);
    assignFrames(editor, 0, 1, 0);
    const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 0, QSizeF(1920, 1080));
    ASSERT_TRUE(buffer.has_value());
    EXPECT_EQ(buffer->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(buffer->size(), QSize(1920, 1080));
    const uchar* bytes = buffer->constScanLine(500) + 4 * 700;
    EXPECT_EQ(bytes[0], 50);
    EXPECT_EQ(bytes[1], 100);
    EXPECT_EQ(bytes[2], 200);
    EXPECT_EQ(bytes[3], 255);
}

TEST_F(FrameRendering, PagesAreSmoothScaled)
{
    // One-pixel black and white stripes shrunk to half: smooth scaling averages them to
    // grey where nearest-pixel sampling would keep pure black or white.
    QImage stripes(400, 400, QImage::Format_RGB32);
    for (int x = 0; x < 400; ++x)
        for (int y = 0; y < 400; ++y)
            stripes.setPixel(x, y, x % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    setPages(editor, {stripes});
    ensureFrames(editor, 1);
    assignFrames(editor, 0, 1, 0, QRect(0, 0, 200, 200));
    const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 0, QSizeF(400, 400));
    ASSERT_TRUE(buffer.has_value());
    for (int x = 20; x < 180; x += 13) {
        const int grey = qGreen(buffer->pixel(x, 300));
        EXPECT_GT(grey, 90) << x;
        EXPECT_LT(grey, 165) << x;
    }
}

TEST_F(FrameRendering, FadeDrawsThePreviousPageThenTheNewOneOverTheFill)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 40);
    assignFrames(editor, 0, 10, 0);
    assignFrames(editor, 10, 40, 1);
    const QColor white(255, 255, 255);
    for (int k = 0; k < 15; ++k) {
        const double b = double(k + 1) / 15.0;
        const QColor expected =
                k == 14 ? QColor(0, 0, 255) : blend(blend(white, Qt::red, 1.0 - b), Qt::blue, b);
        const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 10 + k, QSizeF(1920, 1080));
        ASSERT_TRUE(buffer.has_value());
        const QRgb pixel = buffer->pixel(960, 540);
        EXPECT_TRUE(colorNear(pixel, expected, 2)) << k << " " << describe(pixel).toStdString();
    }
}

TEST_F(FrameRendering, FadeFromAFrameWithoutImageDrawsOnlyTheNewPageAtItsOpacity)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 20);
    assignFrames(editor, 0, 5, 0);
    assignFrames(editor, 5, 20, 1);
    editor.getFrameManager().getFrame(4)->bgImage.reset(); // assigned, but its image is gone
    const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 5, QSizeF(1920, 1080));
    ASSERT_TRUE(buffer.has_value());
    const QRgb pixel = buffer->pixel(960, 540);
    EXPECT_TRUE(colorNear(pixel, blend(Qt::white, Qt::blue, 1.0 / 15.0), 2)) << describe(pixel).toStdString();
}

TEST_F(FrameRendering, PreviousPageFadesOutAtItsOwnPlacement)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 20);
    assignFrames(editor, 0, 5, 0, QRect(0, 0, 100, 1080));
    assignFrames(editor, 5, 20, 1, QRect(1000, 0, 100, 1080));
    const auto buffer = EditorTestAccess::createSimplePixelBuffer(editor, 12, QSizeF(1920, 1080));
    ASSERT_TRUE(buffer.has_value());
    const double b = 8.0 / 15.0;
    EXPECT_TRUE(colorNear(buffer->pixel(50, 500), blend(Qt::white, Qt::red, 1.0 - b), 2));
    EXPECT_TRUE(colorNear(buffer->pixel(1050, 500), blend(Qt::white, Qt::blue, b), 2));
    EXPECT_EQ(buffer->pixel(500, 500), qRgb(255, 255, 255));
}

TEST_F(FrameRendering, MissingFrameZeroIsLoggedOthersAreSilent)
{
    LogCapture log;
    EXPECT_FALSE(EditorTestAccess::createSimplePixelBuffer(editor, 0, QSizeF(1920, 1080)).has_value());
    EXPECT_FALSE(EditorTestAccess::createSimplePixelBuffer(editor, 5, QSizeF(1920, 1080)).has_value());
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[Export] ERROR: getFrame(0) returned nil!")});
}

TEST_F(FrameRendering, ImpossibleBufferSizeIsLoggedWithItsStatus)
{
    ensureFrames(editor, 1);
    LogCapture log;
    EXPECT_FALSE(EditorTestAccess::createSimplePixelBuffer(editor, 0, QSizeF(0, 1080)).has_value());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.lines()[0].startsWith(
            QStringLiteral("[Export] ERROR: CVPixelBufferCreate failed with status -")));
}

TEST_F(FrameRendering, RenderCurrentFrameNeedsAudio)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 60);
    assignFrames(editor, 0, 60, 0);
    EXPECT_FALSE(editor.renderCurrentFrame().has_value());
}

TEST_F(FrameRendering, RenderCurrentFrameShowsTheFrameUnderThePlayheadAtTheVideoSize)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 60);
    assignFrames(editor, 0, 30, 0);
    assignFrames(editor, 30, 60, 1);
    editor.setDuration(2.0);
    editor.setCurrentTime(0.99);
    EXPECT_EQ(editor.renderCurrentFrame()->pixel(960, 540), qRgb(255, 0, 0));
    editor.setCurrentTime(1.0);
    // No fade in the preview: frame 30 is the new page at full opacity.
    EXPECT_EQ(editor.renderCurrentFrame()->pixel(960, 540), qRgb(0, 0, 255));
    editor.setVideoFormat(VideoFormat::portrait);
    EXPECT_EQ(editor.renderCurrentFrame()->size(), QSize(1080, 1920));
    editor.setCurrentTime(2.5);
    EXPECT_FALSE(editor.renderCurrentFrame().has_value());
}

TEST_F(FrameRendering, EachPageIsScaledOncePerRectangle)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 120);
    assignFrames(editor, 0, 60, 0, QRect(100, 0, 800, 600));
    assignFrames(editor, 60, 90, 1, QRect(100, 0, 800, 600));
    assignFrames(editor, 90, 120, 1, QRect(0, 0, 400, 300));
    const std::vector<FrameSnapshot> frames = snapshotFrames(editor.getFrameManager());
    SnapshotRenderer renderer(frames, 0.5, 30);
    QImage canvas(1920, 1080, QImage::Format_ARGB32_Premultiplied);
    for (int64_t i = 0; i < 120; ++i)
        ASSERT_TRUE(renderer.render(i, canvas));
    EXPECT_EQ(renderer.cache().scalingCount(), 3);
}

TEST_F(FrameRendering, UnchangedFramesOutsideFadesAreRecognised)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 60);
    assignFrames(editor, 0, 20, 0);
    assignFrames(editor, 20, 50, 1);
    assignFrames(editor, 50, 60, 1, QRect(0, 0, 1920, 1080), Qt::black);
    const std::vector<FrameSnapshot> frames = snapshotFrames(editor.getFrameManager());
    const SnapshotRenderer renderer(frames, 0.5, 30);
    EXPECT_FALSE(renderer.samePictureAsPrevious(0));
    EXPECT_TRUE(renderer.samePictureAsPrevious(1));
    EXPECT_TRUE(renderer.samePictureAsPrevious(19));
    for (int64_t i = 20; i <= 35; ++i)
        EXPECT_FALSE(renderer.samePictureAsPrevious(i)) << i; // fade frames 20...34 and the one after
    EXPECT_TRUE(renderer.samePictureAsPrevious(36));
    EXPECT_FALSE(renderer.samePictureAsPrevious(50)); // colour changed
    EXPECT_TRUE(renderer.samePictureAsPrevious(51));
}

TEST_F(FrameRendering, SnapshotIsUnaffectedByLaterEdits)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 5);
    assignFrames(editor, 0, 5, 0, QRect(1, 2, 3, 4), Qt::green);
    const std::vector<FrameSnapshot> frames = snapshotFrames(editor.getFrameManager());
    assignFrames(editor, 0, 5, std::nullopt, QRect(0, 0, 10, 10), Qt::black);
    editor.getFrameManager().clear();
    ASSERT_EQ(frames.size(), 5u);
    EXPECT_EQ(frames[3].rect, QRect(1, 2, 3, 4));
    EXPECT_EQ(frames[3].color, QColor(Qt::green));
    EXPECT_EQ(frames[3].pageIndex, 0);
    ASSERT_TRUE(frames[3].image.has_value());
    EXPECT_EQ(frames[3].image->pixel(0, 0), qRgb(255, 0, 0));
}
