#include "render/FrameSnapshot.h"
#include "tests/support/ExportFixtures.h"

#include <gtest/gtest.h>

namespace {

class ScaledExportRendering : public ::testing::Test {
protected:
    QImage renderAt(int64_t index, int scale, PageRasteriser rasteriser = {})
    {
        frames = snapshotFrames(editor.getFrameManager());
        SnapshotRenderer renderer(frames, transition, 30, scale, std::move(rasteriser));
        QImage canvas(1920 * scale, 1080 * scale, QImage::Format_ARGB32_Premultiplied);
        EXPECT_TRUE(renderer.render(index, canvas));
        return canvas;
    }

    ScriptedDialogs dialogs;
    VideoEditorViewModel editor{testEnvironment(dialogs)};
    std::vector<FrameSnapshot> frames;
    double transition = 0.5;
};

} // namespace

TEST_F(ScaledExportRendering, AtTwiceTheScaleEveryRectangleIsDoubledFromTheLowerLeft)
{
    setPages(editor, {solidPage(Qt::red)});
    ensureFrames(editor, 1);
    assignFrames(editor, 0, 1, 0, QRect(100, 50, 600, 400), QColor(0, 0, 90));
    const QImage uhd = renderAt(0, 2);
    // 1080p: x 100...699, rows 1080 - 450 = 630 ... 1029. At 4K all of it doubled.
    EXPECT_EQ(uhd.pixel(200, 1260), qRgb(255, 0, 0));
    EXPECT_EQ(uhd.pixel(1399, 2059), qRgb(255, 0, 0));
    EXPECT_EQ(uhd.pixel(199, 1600), qRgb(0, 0, 90));
    EXPECT_EQ(uhd.pixel(1400, 1600), qRgb(0, 0, 90));
    EXPECT_EQ(uhd.pixel(800, 1259), qRgb(0, 0, 90));
    EXPECT_EQ(uhd.pixel(800, 2060), qRgb(0, 0, 90));
    EXPECT_EQ(uhd.pixel(3839, 0), qRgb(0, 0, 90));
}

TEST_F(ScaledExportRendering, FadeFramesAtTwiceTheScaleMatchThe1080pFrame)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 20);
    assignFrames(editor, 0, 10, 0, QRect(0, 0, 960, 1080), Qt::white);
    assignFrames(editor, 10, 20, 1, QRect(480, 270, 960, 540), Qt::white);
    for (int64_t index : {10, 14, 19}) {
        const QImage hd = renderAt(index, 1);
        const QImage uhd = renderAt(index, 2);
        for (const QPoint point :
             {QPoint(100, 100), QPoint(700, 540), QPoint(1000, 540), QPoint(1800, 1000)}) {
            EXPECT_EQ(uhd.pixel(point * 2), hd.pixel(point)) << index << " " << point.x() << "," << point.y();
            EXPECT_EQ(uhd.pixel(point * 2 + QPoint(1, 1)), hd.pixel(point));
        }
    }
}

TEST_F(ScaledExportRendering, PagesComeFromTheRasteriserAtTheSizeTheyAreShown)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue)});
    ensureFrames(editor, 2);
    assignFrames(editor, 0, 1, 0, QRect(0, 0, 400, 300));
    assignFrames(editor, 1, 2, 1, QRect(0, 0, 400, 300));
    const qint64 redKey = editor.images()[0].image().cacheKey();
    transition = 0.0; // no fade: each frame draws its own page only
    std::vector<QSize> asked;
    const PageRasteriser greenForRed = [&](const QImage& page, QSize size) {
        asked.push_back(size);
        if (page.cacheKey() != redKey)
            return QImage();
        QImage drawn(size, QImage::Format_RGB32);
        drawn.fill(Qt::green);
        return drawn;
    };
    // The red page has a source and is drawn from it; the blue one has none and keeps its
    // own pixels.
    EXPECT_EQ(renderAt(0, 2, greenForRed).pixel(400, 2000), qRgb(0, 255, 0));
    EXPECT_EQ(renderAt(1, 2, greenForRed).pixel(400, 2000), qRgb(0, 0, 255));
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0], QSize(800, 600));
    EXPECT_EQ(asked[1], QSize(800, 600));
}

TEST_F(ScaledExportRendering, AtTwiceTheScaleOnlyThePageShownAndTheOneFadingOutAreKept)
{
    setPages(editor, {solidPage(Qt::red), solidPage(Qt::blue), solidPage(Qt::green)});
    ensureFrames(editor, 90);
    assignFrames(editor, 0, 30, 0, QRect(0, 0, 400, 300));
    assignFrames(editor, 30, 60, 1, QRect(0, 0, 400, 300));
    assignFrames(editor, 60, 90, 2, QRect(0, 0, 400, 300));
    frames = snapshotFrames(editor.getFrameManager());
    SnapshotRenderer renderer(frames, 0.5, 30, 2);
    QImage canvas(3840, 2160, QImage::Format_ARGB32_Premultiplied);
    for (int64_t i = 0; i < 90; ++i) {
        ASSERT_TRUE(renderer.render(i, canvas));
        EXPECT_LE(renderer.cache().entryCount(), 2) << i;
    }
    // Each page is drawn once, fades included.
    EXPECT_EQ(renderer.cache().scalingCount(), 3);
}
