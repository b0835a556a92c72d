#include "model/Frames.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/PlaybackFixtures.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

namespace {

Placement placement(int x, int y, int width, int height)
{
    return Placement{x, y, width, height};
}

void setRectangle(FrameData& frame, const Placement& p)
{
    frame.bgImageX = p.x;
    frame.bgImageY = p.y;
    frame.bgImageWidth = p.width;
    frame.bgImageHeight = p.height;
}

Placement rectangleOf(const FrameData& frame)
{
    return Placement{frame.bgImageX, frame.bgImageY, frame.bgImageWidth, frame.bgImageHeight};
}

} // namespace

TEST(PagePlacement, PlacementWithoutCanvasUsesTheCurrentFormat)
{
    PlaybackEditor fixture(1.0);
    VideoEditorViewModel& editor = fixture.editor();
    const QImage page = makePageImage(1240, 1754, Qt::red);
    EXPECT_EQ(editor.computePlacement(page), placement(578, 0, 764, 1080));
    editor.setVideoFormat(VideoFormat::portrait);
    EXPECT_EQ(editor.computePlacement(page), placement(0, 196, 1080, 1528));
}

TEST(PagePlacement, PlacementUsesTheImageSizeInPoints)
{
    PlaybackEditor fixture(1.0);
    // A PDF page kept at devicePixelRatio 2: 2480 x 3508 pixels are 1240 x 1754 points.
    const QImage pdfPage = makePageImage(2480, 3508, Qt::white, 2.0);
    EXPECT_EQ(fixture.editor().computePlacement(pdfPage), placement(578, 0, 764, 1080));
}

TEST(PagePlacement, GivenCanvasOverridesTheFormat)
{
    PlaybackEditor fixture(1.0);
    const QImage page = makePageImage(3508, 2480, Qt::blue);
    EXPECT_EQ(fixture.editor().computePlacement(page, QSizeF(1080, 1920)), placement(0, 578, 1080, 764));
}

TEST(PagePlacement, FormatChangeRefitsEveryAssignedFrame)
{
    PlaybackEditor fixture(1.0);
    VideoEditorViewModel& editor = fixture.editor();
    const QImage portraitPage = makePageImage(1240, 1754, Qt::red);
    const QImage landscapePage = makePageImage(3508, 2480, Qt::blue);
    editor.setImages(makePageItems({portraitPage, landscapePage}));
    EditorTestAccess::assignImageWithIndex(editor, portraitPage, 0, 0);
    EditorTestAccess::assignImageWithIndex(editor, landscapePage, 1, 1);
    const QColor background(10, 20, 30);
    editor.getFrameManager().getFrame(1)->bgColor = background;

    editor.setVideoFormat(VideoFormat::portrait);
    editor.recalculatePlacementsForFormat();

    const auto first = editor.getFrameManager().getFrame(0);
    const auto second = editor.getFrameManager().getFrame(1);
    EXPECT_EQ(rectangleOf(*first), placement(0, 196, 1080, 1528));
    EXPECT_EQ(rectangleOf(*second), placement(0, 578, 1080, 764));
    // Image, colour and page index stay as they were.
    EXPECT_EQ(second->bgImage->cacheKey(), landscapePage.cacheKey());
    EXPECT_EQ(second->bgColor, background);
    EXPECT_EQ(second->assignedImageIndex, 1);
}

TEST(PagePlacement, FramesWithoutAnAssignedImageKeepTheirPlacementThroughAFormatChange)
{
    PlaybackEditor fixture(1.0);
    VideoEditorViewModel& editor = fixture.editor();
    editor.setImages(makePageItems({makePageImage(1240, 1754, Qt::red)}));
    const Placement odd = placement(7, 8, 9, 10);
    setRectangle(*editor.getFrameManager().getFrame(3), odd);

    editor.setVideoFormat(VideoFormat::portrait);
    editor.recalculatePlacementsForFormat();

    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(3)), odd);
    // Untouched new frames keep the whole landscape canvas, also in portrait format.
    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(4)), placement(0, 0, 1920, 1080));
}

TEST(PagePlacement, FrameWhosePageNoLongerExistsKeepsItsPlacement)
{
    PlaybackEditor fixture(1.0);
    VideoEditorViewModel& editor = fixture.editor();
    const QImage page = makePageImage(1240, 1754, Qt::red);
    editor.setImages(makePageItems({page}));
    EditorTestAccess::assignImageWithIndex(editor, page, 5, 3);

    editor.setVideoFormat(VideoFormat::portrait);
    editor.recalculatePlacementsForFormat();

    EXPECT_EQ(rectangleOf(*editor.getFrameManager().getFrame(5)), placement(578, 0, 764, 1080));
}

TEST(PagePlacement, FormatRefitAnnouncesTheChangeThenSchedulesAnAutosave)
{
    PlaybackEditor fixture(1.0);
    VideoEditorViewModel& editor = fixture.editor();
    QStringList events;
    QObject::connect(&editor, &VideoEditorViewModel::changed, [&] { events << QStringLiteral("changed"); });
    QObject::connect(&editor, &VideoEditorViewModel::autoSaveScheduled,
                     [&] { events << QStringLiteral("autosave"); });
    editor.recalculatePlacementsForFormat();
    EXPECT_EQ(events, (QStringList{QStringLiteral("changed"), QStringLiteral("autosave")}));
}
