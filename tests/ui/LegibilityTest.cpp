// What the window draws can be seen: the preview's placeholder symbol, readable ruler labels,
// the page of the frame the counter shows, text sized in the same unit as the geometry, and a
// progress panel that is translucent while the window around it stays as it was.
#include "tests/ui/WindowFixture.h"

#include "tests/support/EditorTestAccess.h"
#include "ui/ProgressOverlay.h"
#include "ui/VideoPreviewCanvas.h"
#include "ui/WaveformCanvas.h"

#include <QLabel>

#include <cmath>

namespace {

// Relative luminance of an sRGB colour, as used for contrast ratios of text.
double luminance(const QColor& color)
{
    auto channel = [](double value) {
        value /= 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.red()) + 0.7152 * channel(color.green()) + 0.0722 * channel(color.blue());
}

double contrast(const QColor& a, const QColor& b)
{
    const double la = luminance(a);
    const double lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

bool isClose(const QColor& a, const QColor& b, int tolerance)
{
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

TEST(LegibilityTest, ThePlaceholderDrawsItsSymbolAboveTheText)
{
    WindowFixture fixture;
    fixture.show();
    auto* canvas = fixture.find<VideoPreviewCanvas>(QStringLiteral("videoPreviewCanvas"));
    ASSERT_NE(canvas, nullptr);
    ASSERT_EQ(canvas->content(), VideoPreviewCanvas::Content::placeholder);
    const QImage picture = canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
    // The 60-point symbol sits above the text, both centred: its area reaches from about 45
    // points above the middle to 15 below it, the text starts further down.
    const QColor fill = fixture.editor().fillColor();
    const int middle = picture.height() / 2;
    int symbolPixels = 0;
    for (int y = middle - 40; y < middle + 10; ++y) {
        for (int x = picture.width() / 2 - 28; x < picture.width() / 2 + 28; ++x) {
            if (!isClose(picture.pixelColor(x, y), fill, 8))
                ++symbolPixels;
        }
    }
    EXPECT_GT(symbolPixels, 100);
}

TEST(LegibilityTest, RulerLabelsHaveAContrastOfAtLeastFourAndAHalfAgainstTheStrip)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(8.0);
    auto* canvas = fixture.find<WaveformCanvas>(QStringLiteral("waveformCanvas"));
    ASSERT_NE(canvas, nullptr);
    ASSERT_TRUE(canvas->isVisible());
    const QImage picture = canvas->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QColor strip = picture.pixelColor(picture.width() - 2, 1);
    // The labels are the text above the tick marks; their strongest pixels are the glyphs' cores.
    double best = 1.0;
    int labelPixels = 0;
    for (int y = 0; y < WaveformCanvas::kRulerHeight - 7; ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double ratio = contrast(picture.pixelColor(x, y), strip);
            if (ratio > 1.5)
                ++labelPixels;
            best = std::max(best, ratio);
        }
    }
    EXPECT_GT(labelPixels, 20);
    EXPECT_GE(best, 4.5) << "strip " << strip.name().toStdString();
}

TEST(LegibilityTest, ThePreviewShowsThePageOfTheFrameTheCounterShows)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(6.0);
    fixture.addPages({makePageImage(200, 200, Qt::red), makePageImage(200, 200, Qt::blue)});
    const QImage red = fixture.editor().images()[0].image();
    const QImage blue = fixture.editor().images()[1].image();
    // Page 2 starts at frame 123, whose start time 123 / 30 times 30 is a hair below 123.
    for (int64_t frame = 0; frame < 123; ++frame)
        EditorTestAccess::assignImageWithIndex(fixture.editor(), red, frame, 0);
    for (int64_t frame = 123; frame < 180; ++frame)
        EditorTestAccess::assignImageWithIndex(fixture.editor(), blue, frame, 1);
    fixture.editor().seekTo(123.0 / 30.0);
    ASSERT_EQ(fixture.editor().frameIndexForTime(fixture.editor().currentTime()), 123);
    auto* canvas = fixture.find<VideoPreviewCanvas>(QStringLiteral("videoPreviewCanvas"));
    ASSERT_EQ(canvas->content(), VideoPreviewCanvas::Content::renderedFrame);
    const QImage picture = canvas->picture();
    const QColor centre = picture.pixelColor(picture.width() / 2, picture.height() / 2);
    EXPECT_TRUE(isClose(centre, QColor(Qt::blue), 12)) << centre.name().toStdString();
}

TEST(LegibilityTest, TextSizesAreInPixelsLikeTheGeometry)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(2.0);
    auto* time = fixture.find<QLabel>(QStringLiteral("currentTimeLabel"));
    auto* counter = fixture.find<QLabel>(QStringLiteral("frameCounter"));
    ASSERT_NE(time, nullptr);
    ASSERT_NE(counter, nullptr);
    EXPECT_EQ(time->font().pixelSize(), 20);
    EXPECT_EQ(counter->font().pixelSize(), 11);
    auto* title = fixture.find<QLabel>(QStringLiteral("progressTitle"));
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->font().pixelSize(), 18);
    auto* text = fixture.find<QLabel>(QStringLiteral("progressText"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->font().pixelSize(), 16);
}

TEST(LegibilityTest, OnlyTheProgressPanelCarriesTheTranslucentBackground)
{
    WindowFixture fixture;
    fixture.show();
    fixture.editor().setFillColor(QColor(200, 30, 30));
    drainEvents();
    ContentView& view = fixture.window().contentView();
    const QImage before = view.grab().toImage().convertToFormat(QImage::Format_RGB32);

    fixture.editor().setIsSavingProject(true);
    fixture.editor().setSavingProgress(0.5);
    drainEvents();
    auto* overlay = fixture.find<ProgressOverlay>(QStringLiteral("progressOverlay"));
    auto* panel = fixture.find<QWidget>(QStringLiteral("progressPanel"));
    ASSERT_NE(overlay, nullptr);
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(overlay->isVisible());
    const QImage during = view.grab().toImage().convertToFormat(QImage::Format_RGB32);

    // Outside the panel the window is unchanged: the preview's fill colour shows as it was.
    const QPoint outside =
            fixture.find<QWidget>(QStringLiteral("videoPreviewCanvas"))->mapTo(&view, QPoint(5, 5));
    ASSERT_FALSE(panel->geometry().contains(overlay->mapFrom(&view, outside)));
    EXPECT_EQ(during.pixelColor(outside), before.pixelColor(outside));

    // Inside, a spot of plain background: 0.8 of the panel colour over what lies beneath.
    const QPoint inside = panel->mapTo(&view, QPoint(20, panel->height() / 2));
    const QColor panelColor = overlay->panelColor();
    const QColor beneath = before.pixelColor(inside);
    const QColor expected(qRound(0.8 * panelColor.red() + 0.2 * beneath.red()),
                          qRound(0.8 * panelColor.green() + 0.2 * beneath.green()),
                          qRound(0.8 * panelColor.blue() + 0.2 * beneath.blue()));
    EXPECT_TRUE(isClose(during.pixelColor(inside), expected, 3))
            << during.pixelColor(inside).name().toStdString() << " vs " << expected.name().toStdString();
    fixture.editor().setIsSavingProject(false);
}
