#include "tests/ui/WindowFixture.h"

#include "ui/DividerHandle.h"
#include "ui/ProgressOverlay.h"
#include "ui/ResizableSplitView.h"

#include <QAbstractButton>
#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>

namespace {

// Drags the divider by `dx` in steps, as a pointer would.
void dragDivider(DividerHandle* divider, int dx)
{
    const QPoint start = divider->rect().center();
    // The pointer's screen positions do not follow the divider as it moves.
    const QPoint globalStart = divider->mapToGlobal(start);
    QTest::mousePress(divider, Qt::LeftButton, Qt::NoModifier, start);
    const int steps = 10;
    for (int i = 1; i <= steps; ++i) {
        const QPoint global = globalStart + QPoint(dx * i / steps, 0);
        QMouseEvent move(QEvent::MouseMove, QPointF(divider->mapFromGlobal(global)), QPointF(global),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(divider, &move);
    }
    QTest::mouseRelease(divider, Qt::LeftButton, Qt::NoModifier, start + QPoint(dx, 0));
}

} // namespace

TEST(ContentViewTest, LayoutHasItsPanesAndMinimumSize)
{
    WindowFixture fixture;
    fixture.show();
    EXPECT_EQ(fixture.window().contentView().minimumSize(), QSize(1400, 800));
    auto* split = fixture.find<ResizableSplitView>(QStringLiteral("resizableSplitView"));
    ASSERT_NE(split, nullptr);
    EXPECT_EQ(split->leftWidth(), 325);
    auto* sidebar = fixture.find<QWidget>(QStringLiteral("imageSidebar"));
    ASSERT_NE(sidebar, nullptr);
    EXPECT_EQ(sidebar->width(), 325);
    auto* divider = fixture.find<DividerHandle>(QStringLiteral("dividerHandle"));
    EXPECT_EQ(divider->width(), 6);
    EXPECT_EQ(divider->x(), 325);
    EXPECT_EQ(divider->height(), split->height());
    EXPECT_EQ(split->rightPane()->x(), 331);
    EXPECT_EQ(split->rightPane()->width(), split->width() - 331);
    EXPECT_NE(fixture.find<QWidget>(QStringLiteral("waveformView")), nullptr);
    EXPECT_NE(fixture.find<QWidget>(QStringLiteral("controlButtons")), nullptr);
}

TEST(ContentViewTest, DraggingTheDividerFarLeftStopsAt220AndFarRightAt420)
{
    WindowFixture fixture;
    fixture.show();
    auto* split = fixture.find<ResizableSplitView>(QStringLiteral("resizableSplitView"));
    auto* divider = fixture.find<DividerHandle>(QStringLiteral("dividerHandle"));
    dragDivider(divider, 50);
    EXPECT_EQ(split->leftWidth(), 375);
    dragDivider(divider, -600);
    EXPECT_EQ(split->leftWidth(), 220);
    EXPECT_EQ(fixture.find<QWidget>(QStringLiteral("imageSidebar"))->width(), 220);
    dragDivider(divider, 900);
    EXPECT_EQ(split->leftWidth(), 420);
    EXPECT_EQ(divider->x(), 420);
}

TEST(ContentViewTest, DividerHasItsNameCursorAndHoverShade)
{
    WindowFixture fixture;
    fixture.show();
    auto* divider = fixture.find<DividerHandle>(QStringLiteral("dividerHandle"));
    EXPECT_EQ(divider->accessibleName(), QStringLiteral("Resizable divider"));
    EXPECT_EQ(divider->cursor().shape(), Qt::SizeHorCursor);
    EXPECT_DOUBLE_EQ(divider->fillOpacity(), 0.08);
    QEnterEvent enter(QPointF(2, 2), QPointF(2, 2), divider->mapToGlobal(QPointF(2, 2)));
    QApplication::sendEvent(divider, &enter);
    EXPECT_TRUE(divider->isHovering());
    EXPECT_DOUBLE_EQ(divider->fillOpacity(), 0.14);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(divider, &leave);
    EXPECT_DOUBLE_EQ(divider->fillOpacity(), 0.08);
}

TEST(ContentViewTest, ASecondAppearanceDoesNotLoadTheAutosaveAgain)
{
    WindowFixture fixture;
    QSignalSpy loads(&fixture.window().contentView(), &ContentView::autoLoadStarted);
    EXPECT_FALSE(fixture.window().contentView().didAutoLoad());
    fixture.show();
    EXPECT_EQ(loads.count(), 1);
    EXPECT_TRUE(fixture.window().contentView().didAutoLoad());
    fixture.window().hide();
    fixture.show();
    EXPECT_EQ(loads.count(), 1);
}

TEST(ContentViewTest, OverlayAppearsForAnExportWithTheExportTitle)
{
    WindowFixture fixture;
    fixture.show();
    fixture.loadAudio(1.0);
    fixture.addPages({makePageImage(80, 100, Qt::red)});
    auto* overlay = fixture.find<ProgressOverlay>(QStringLiteral("progressOverlay"));
    ASSERT_NE(overlay, nullptr);
    EXPECT_FALSE(overlay->isVisible());

    fixture.dialogs().queueSavePath(fixture.path(QStringLiteral("out.mov")));
    QTest::mouseClick(fixture.find<QAbstractButton>(QStringLiteral("exportButton")), Qt::LeftButton);
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_EQ(overlay->geometry(), fixture.window().contentView().rect());
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("progressTitle"))->text(),
              QStringLiteral("Export folyamatban..."));
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("progressText"))->text(), QStringLiteral("0%\nIndítás..."));
    EXPECT_EQ(fixture.find<QProgressBar>(QStringLiteral("progressBar"))->width(), 300);

    ASSERT_TRUE(waitUntil([&] { return !fixture.editor().isSavingProject(); }, 60000));
    EXPECT_FALSE(overlay->isVisible());
}

TEST(ContentViewTest, OverlayAppearsForASaveWithTheExportTitle)
{
    // A save publishes the same three values as an export; the overlay shows whatever runs.
    WindowFixture fixture;
    fixture.show();
    auto* overlay = fixture.find<ProgressOverlay>(QStringLiteral("progressOverlay"));
    fixture.editor().setIsSavingProject(true);
    fixture.editor().setSavingProgress(0.429);
    fixture.editor().setSavingProgressText(QStringLiteral("42%\nMentés..."));
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("progressTitle"))->text(),
              QStringLiteral("Export folyamatban..."));
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("progressPercent"))->text(), QStringLiteral("42%"));
    EXPECT_EQ(fixture.find<QLabel>(QStringLiteral("progressText"))->text(), QStringLiteral("42%\nMentés..."));
    EXPECT_EQ(fixture.find<QProgressBar>(QStringLiteral("progressBar"))->value(), 429);
    // Above everything: a click in the middle of the window reaches the overlay.
    const QPoint middle = fixture.window().contentView().rect().center();
    QWidget* hit = fixture.window().contentView().childAt(middle);
    ASSERT_NE(hit, nullptr);
    EXPECT_TRUE(hit == overlay || overlay->isAncestorOf(hit));
    fixture.editor().setIsSavingProject(false);
    EXPECT_FALSE(overlay->isVisible());
}

TEST(ContentViewTest, PercentIsTheIntegerPartOfTheProgress)
{
    EXPECT_EQ(ProgressOverlay::percentText(0.0), QStringLiteral("0%"));
    EXPECT_EQ(ProgressOverlay::percentText(0.999), QStringLiteral("99%"));
    EXPECT_EQ(ProgressOverlay::percentText(1.0), QStringLiteral("100%"));
}
