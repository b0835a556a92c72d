#include "tests/ui/WindowFixture.h"

#include "ui/VideoPreviewCanvas.h"

#include <QAbstractButton>
#include <QLabel>

namespace {

VideoPreviewCanvas* canvasOf(WindowFixture& fixture)
{
    auto* canvas = fixture.find<VideoPreviewCanvas>(QStringLiteral("videoPreviewCanvas"));
    EXPECT_NE(canvas, nullptr);
    return canvas;
}

bool isClose(const QColor& a, const QColor& b, int tolerance = 12)
{
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

TEST(VideoPreviewTest, WithNoImagesAndNoAudioThePlaceholderIsShown)
{
    WindowFixture fixture;
    fixture.show();
    VideoPreviewCanvas* canvas = canvasOf(fixture);
    EXPECT_EQ(canvas->content(), VideoPreviewCanvas::Content::placeholder);
    EXPECT_EQ(VideoPreviewCanvas::placeholderText(), QStringLiteral("Nincs betöltött kép"));
    // The placeholder draws grey over the fill colour somewhere in the middle.
    const QImage picture = canvas->grab().toImage();
    bool sawGrey = false;
    for (int y = picture.height() / 2 - 60; y < picture.height() / 2 + 60 && !sawGrey; ++y) {
        for (int x = picture.width() / 2 - 40; x < picture.width() / 2 + 40; ++x) {
            if (picture.pixelColor(x, y) != fixture.editor().fillColor()) {
                sawGrey = true;
                break;
            }
        }
    }
    EXPECT_TRUE(sawGrey);
}

TEST(VideoPreviewTest, WithImagesButNoAudioTheFirstImageIsShownFittedOverTheFillColour)
{
    WindowFixture fixture;
    fixture.show();
    fixture.editor().setFillColor(QColor(0, 0, 255));
    fixture.addPages({makePageImage(100, 400, QColor(255, 0, 0)), makePageImage(400, 100, Qt::green)});
    VideoPreviewCanvas* canvas = canvasOf(fixture);
    ASSERT_EQ(canvas->content(), VideoPreviewCanvas::Content::firstImage);
    const QRectF shown = canvas->pictureRect();
    // Fitted: the full height of the area, a quarter as wide, centred.
    EXPECT_NEAR(shown.height(), canvas->height(), 1.0);
    EXPECT_NEAR(shown.width(), canvas->height() / 4.0, 1.0);
    EXPECT_NEAR(shown.center().x(), canvas->width() / 2.0, 1.0);

    const QImage picture = canvas->grab().toImage();
    EXPECT_TRUE(isClose(picture.pixelColor(picture.width() / 2, picture.height() / 2), QColor(255, 0, 0)));
    EXPECT_TRUE(isClose(picture.pixelColor(10, picture.height() / 2), QColor(0, 0, 255)));
}

TEST(VideoPreviewTest, SwitchingTheFormatChangesThePreviewsAspect)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(2.0);
    fixture.addPages({makePageImage(200, 200, Qt::red)});
    VideoPreviewCanvas* canvas = canvasOf(fixture);
    ASSERT_EQ(canvas->content(), VideoPreviewCanvas::Content::renderedFrame);
    EXPECT_EQ(canvas->picture().size(), QSize(1920, 1080));
    const QRectF landscape = canvas->pictureRect();
    EXPECT_NEAR(landscape.width() / landscape.height(), 16.0 / 9.0, 0.01);

    QTest::mouseClick(fixture.find<QAbstractButton>(QStringLiteral("format9x16")), Qt::LeftButton);
    EXPECT_EQ(canvas->picture().size(), QSize(1080, 1920));
    const QRectF portrait = canvas->pictureRect();
    EXPECT_NEAR(portrait.width() / portrait.height(), 9.0 / 16.0, 0.01);
}

TEST(VideoPreviewTest, RecIndicatorShowsExactlyWhileRecording)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(3.0);
    fixture.addPages({makePageImage(80, 100, Qt::red)});
    auto* indicator = fixture.find<QWidget>(QStringLiteral("recordingIndicator"));
    ASSERT_NE(indicator, nullptr);
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("recordingLabel"))->text(), QStringLiteral("REC"));
    EXPECT_FALSE(indicator->isVisible());
    fixture.editor().play();
    EXPECT_FALSE(indicator->isVisible());
    fixture.editor().pause();
    fixture.editor().startRecording();
    EXPECT_TRUE(indicator->isVisible());
    fixture.editor().stopRecording();
    EXPECT_FALSE(indicator->isVisible());
}

TEST(VideoPreviewTest, ABurstOfChangesRendersTheFrameOnce)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(3.0);
    fixture.addPages({makePageImage(80, 100, Qt::red)});
    VideoPreviewCanvas* canvas = canvasOf(fixture);
    drainEvents();
    const int before = canvas->renderCount();
    for (int i = 1; i <= 10; ++i)
        fixture.editor().seekTo(i * 0.1);
    EXPECT_EQ(canvas->renderCount(), before); // nothing rendered until the event loop runs
    ASSERT_TRUE(waitUntil([&] { return canvas->renderCount() > before; }));
    drainEvents();
    EXPECT_EQ(canvas->renderCount(), before + 1);
}

TEST(VideoPreviewTest, WindowGrabWithALoadedProjectShowsThePageWhereExpected)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(2.0);
    // A portrait page on a landscape canvas: the page in the middle, the fill colour at the sides.
    fixture.editor().setFillColor(QColor(0, 0, 0));
    fixture.editor().updateFillColor(QColor(0, 0, 0));
    fixture.addPages(
            {makePageImage(300, 400, QColor(220, 40, 40)), makePageImage(300, 400, QColor(40, 200, 40))});
    fixture.editor().startRecording();
    fixture.editor().playbackTick();
    fixture.editor().stopRecording();
    fixture.editor().seekTo(0.0);
    drainEvents();

    VideoPreviewCanvas* canvas = canvasOf(fixture);
    ASSERT_EQ(canvas->content(), VideoPreviewCanvas::Content::renderedFrame);
    const QImage grab = fixture.window().grab().toImage();
    const QPoint canvasTopLeft = canvas->mapTo(&fixture.window(), QPoint(0, 0));
    const QRectF shown = canvas->pictureRect().translated(canvasTopLeft);
    // The middle of the preview shows the first page's colour.
    const QColor middle = grab.pixelColor(shown.center().toPoint());
    EXPECT_TRUE(isClose(middle, QColor(220, 40, 40))) << middle.name().toStdString();
    // Beside the page, inside the 16:9 picture, the fill colour.
    const QPoint side(qRound(shown.left() + shown.width() * 0.08), qRound(shown.center().y()));
    EXPECT_TRUE(isClose(grab.pixelColor(side), QColor(0, 0, 0)))
            << grab.pixelColor(side).name().toStdString();
}
