#include "ui/ImageSidebarView.h"

#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EventLoop.h"
#include "tests/support/PdfFixtures.h"
#include "tests/support/PlaybackFixtures.h"
#include "tests/support/ScriptedDialogs.h"
#include "ui/DeleteButton.h"
#include "ui/ImageThumbnailView.h"

#include <QColorDialog>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

EditorEnvironment environmentWith(Dialogs* dialogs)
{
    EditorEnvironment environment;
    environment.dialogs = dialogs;
    return environment;
}

class ImageSidebarViewTest : public ::testing::Test {
protected:
    ImageSidebarViewTest()
        : editor(environmentWith(&dialogs))
        , sidebar(editor, dialogs)
    {
        sidebar.resize(325, 800);
        sidebar.show();
    }

    void setPages(int count)
    {
        std::vector<QImage> pictures;
        for (int i = 0; i < count; ++i)
            pictures.push_back(makePageImage(40, 60, QColor::fromHsv(i * 40, 200, 200)));
        editor.setImages(makePageItems(pictures));
    }

    ImageThumbnailView* cell(int index) { return sidebar.thumbnails().at(static_cast<size_t>(index)); }

    void click(int index, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(cell(index), Qt::LeftButton, modifiers, QPoint(20, 20));
    }

    QString path(const QString& name) const { return folder.filePath(name); }

    QPushButton* mergeButton() { return sidebar.findChild<QPushButton*>(QStringLiteral("mergeButton")); }

    QTemporaryDir folder;
    ScriptedDialogs dialogs;
    VideoEditorViewModel editor;
    ImageSidebarView sidebar;
};

// Sends a drag carrying `mime` onto `target` and drops it there.
void dragAndDrop(QWidget* target, QMimeData* mime)
{
    const QPoint at(target->width() / 2, target->height() / 2);
    QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &enter);
    QDropEvent drop(QPointF(at), Qt::CopyAction | Qt::MoveAction, mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &drop);
}

std::vector<QUuid> idsOf(const std::vector<ImageItem>& images)
{
    std::vector<QUuid> ids;
    for (const ImageItem& item : images)
        ids.push_back(item.id());
    return ids;
}

} // namespace

TEST_F(ImageSidebarViewTest, DroppingAPdfAndTwoPngsImportsAllThreeAndThePdfAsksItsQuestion)
{
    ASSERT_TRUE(PdfFixtures::writePdf(path(QStringLiteral("score.pdf")), 2, QSizeF(200, 280)));
    ASSERT_TRUE(makePageImage(30, 40, Qt::red).save(path(QStringLiteral("a.png"))));
    ASSERT_TRUE(makePageImage(50, 40, Qt::blue).save(path(QStringLiteral("b.PNG")), "PNG"));
    dialogs.queueQuestionAnswer(0); // "Oldalanként"

    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path(QStringLiteral("a.png"))),
                  QUrl::fromLocalFile(path(QStringLiteral("score.pdf"))),
                  QUrl::fromLocalFile(path(QStringLiteral("b.PNG")))});
    dragAndDrop(&sidebar, &mime);
    // The drop is accepted before anything is imported.
    EXPECT_TRUE(editor.images().empty());

    ASSERT_TRUE(waitUntil([&] { return editor.images().size() == 4; }));
    drainEvents();
    const std::vector<ImageItem>& images = editor.images();
    ASSERT_EQ(images.size(), 4u);
    EXPECT_EQ(images[0].url(), path(QStringLiteral("a.png")));
    EXPECT_EQ(images[1].pageNumber, 1);
    EXPECT_EQ(images[2].pageNumber, 2);
    EXPECT_EQ(images[3].url(), path(QStringLiteral("b.PNG")));
    ASSERT_EQ(dialogs.questions().size(), 1u);
    EXPECT_EQ(dialogs.questions()[0].message, QStringLiteral("PDF importálás"));
    EXPECT_EQ(sidebar.thumbnails().size(), 4u);
}

TEST_F(ImageSidebarViewTest, DroppedLocationsThatAreNoFilesAreIgnored)
{
    EXPECT_TRUE(sidebar.handleDrop({QUrl(QStringLiteral("https://example.org/page.png")),
                                    QUrl::fromLocalFile(path(QStringLiteral("missing.png")))}));
    drainEvents();
    EXPECT_TRUE(editor.images().empty());
    EXPECT_TRUE(dialogs.requests().empty());
}

TEST_F(ImageSidebarViewTest, DragOverWithFilesHighlightsUntilItLeaves)
{
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path(QStringLiteral("a.png")))});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&sidebar, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_TRUE(sidebar.isDraggingOver());
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(&sidebar, &leave);
    EXPECT_FALSE(sidebar.isDraggingOver());
}

TEST_F(ImageSidebarViewTest, AddButtonAsksForImagesAndPdfsAndImportsThemInOrder)
{
    ASSERT_TRUE(PdfFixtures::writePdf(path(QStringLiteral("one.pdf")), 1, QSizeF(200, 280)));
    ASSERT_TRUE(makePageImage(30, 40, Qt::red).save(path(QStringLiteral("a.jpg"))));
    dialogs.queueOpenPaths({path(QStringLiteral("one.pdf")), path(QStringLiteral("a.jpg"))});
    dialogs.queueQuestionAnswer(0);

    auto* add = sidebar.findChild<QPushButton*>(QStringLiteral("addImagesButton"));
    ASSERT_NE(add, nullptr);
    EXPECT_EQ(add->text(), QStringLiteral("Képek/PDF hozzáadása"));
    QTest::mouseClick(add, Qt::LeftButton);

    ASSERT_EQ(dialogs.openRequests().size(), 1u);
    const OpenFileRequest request = dialogs.openRequests()[0];
    EXPECT_TRUE(request.allowsMultipleSelection);
    EXPECT_FALSE(request.canChooseDirectories);
    // The chooser opens on pictures and PDF scores together, then the four single kinds.
    ASSERT_EQ(request.allowedTypes.size(), 5u);
    EXPECT_EQ(request.allowedTypes[0].name, QStringLiteral("Képek és PDF"));
    for (const QString& extension : request.allowedTypes[1].extensions)
        EXPECT_TRUE(request.allowedTypes[0].extensions.contains(extension)) << extension.toStdString();
    EXPECT_TRUE(request.allowedTypes[0].extensions.contains(QStringLiteral("pdf")));
    EXPECT_TRUE(request.allowedTypes[1].extensions.contains(QStringLiteral("png")));
    EXPECT_TRUE(request.allowedTypes[1].extensions.contains(QStringLiteral("jpg")));
    EXPECT_FALSE(request.allowedTypes[1].extensions.contains(QStringLiteral("pdf")));
    EXPECT_EQ(request.allowedTypes[2].extensions, QStringList{QStringLiteral("pdf")});
    EXPECT_EQ(request.allowedTypes[3].extensions, QStringList{QStringLiteral("png")});
    EXPECT_TRUE(request.allowedTypes[4].extensions.contains(QStringLiteral("jpeg")));

    ASSERT_EQ(editor.images().size(), 2u);
    EXPECT_EQ(editor.images()[0].url(), path(QStringLiteral("one.pdf")));
    EXPECT_EQ(editor.images()[1].url(), path(QStringLiteral("a.jpg")));
}

TEST_F(ImageSidebarViewTest, MergeButtonReflectsTheMultiSelectionCount)
{
    setPages(4);
    EXPECT_TRUE(mergeButton()->isHidden());
    click(0, Qt::ControlModifier);
    EXPECT_EQ(mergeButton()->text(), QStringLiteral("Összefűzés (1 kép)"));
    click(2, Qt::ControlModifier);
    click(3, Qt::ControlModifier);
    EXPECT_EQ(mergeButton()->text(), QStringLiteral("Összefűzés (3 kép)"));
    EXPECT_FALSE(mergeButton()->isHidden());
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{0, 2, 3}));
    click(2, Qt::ControlModifier);
    EXPECT_EQ(mergeButton()->text(), QStringLiteral("Összefűzés (2 kép)"));

    QTest::mouseClick(mergeButton(), Qt::LeftButton);
    EXPECT_EQ(editor.images().size(), 3u);
}

TEST_F(ImageSidebarViewTest, MergeWithFewerThanTwoOnlyPrintsItsMessage)
{
    setPages(3);
    const auto before = idsOf(editor.images());
    click(1, Qt::ControlModifier);
    LogCapture log;
    QTest::mouseClick(mergeButton(), Qt::LeftButton);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] Legalább 2 kép kell az összefűzéshez")});
    EXPECT_EQ(idsOf(editor.images()), before);
}

TEST_F(ImageSidebarViewTest, CommandClickTogglesAndMarksCellsWithACheckmark)
{
    setPages(3);
    click(1, Qt::ControlModifier);
    EXPECT_TRUE(cell(1)->isMultiSelected());
    EXPECT_FALSE(cell(1)->findChild<QLabel*>(QStringLiteral("checkmark"))->isHidden());
    EXPECT_TRUE(cell(0)->findChild<QLabel*>(QStringLiteral("checkmark"))->isHidden());
    // Ctrl-click changes nothing but the multi-selection.
    EXPECT_EQ(editor.selectedImageIndex(), std::nullopt);
    click(1, Qt::ControlModifier);
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_TRUE(cell(1)->findChild<QLabel*>(QStringLiteral("checkmark"))->isHidden());
}

TEST_F(ImageSidebarViewTest, PlainClickAfterCommandClicksClearsTheMultiSelection)
{
    setPages(3);
    click(0, Qt::ControlModifier);
    click(2, Qt::ControlModifier);
    ASSERT_EQ(editor.selectedImageIndices().size(), 2u);
    click(1);
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    EXPECT_TRUE(cell(1)->isSelected());
    EXPECT_FALSE(cell(0)->isMultiSelected());
    EXPECT_TRUE(mergeButton()->isHidden());
}

TEST_F(ImageSidebarViewTest, DraggingAThumbnailOverOthersReordersLiveWithoutAutosave)
{
    setPages(3);
    const auto original = idsOf(editor.images());
    QSignalSpy autosaves(&editor, &VideoEditorViewModel::autoSaveScheduled);
    sidebar.setDraggedItem(original[0]);

    QMimeData mime;
    mime.setText(original[0].toString(QUuid::WithoutBraces));
    // Entering the third cell moves the first entry there at once.
    QDragEnterEvent overThird(QPoint(20, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(cell(2), &overThird);
    EXPECT_TRUE(overThird.isAccepted());
    EXPECT_EQ(idsOf(editor.images()), (std::vector<QUuid>{original[1], original[2], original[0]}));
    EXPECT_EQ(cell(2)->item().id(), original[0]);

    // Entering the cell that now shows the dragged entry changes nothing.
    QDragEnterEvent overItself(QPoint(20, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(cell(2), &overItself);
    EXPECT_EQ(idsOf(editor.images()), (std::vector<QUuid>{original[1], original[2], original[0]}));

    // Back up over the first cell.
    QDragEnterEvent overFirst(QPoint(20, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(cell(0), &overFirst);
    EXPECT_EQ(idsOf(editor.images()), (std::vector<QUuid>{original[0], original[1], original[2]}));

    QDragMoveEvent move(QPoint(20, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(cell(1), &move);
    EXPECT_EQ(move.dropAction(), Qt::MoveAction);

    QDropEvent drop(QPointF(20, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(cell(0), &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_EQ(sidebar.draggedItem(), std::nullopt);
    EXPECT_EQ(autosaves.count(), 0);
}

TEST_F(ImageSidebarViewTest, PageLabelShowsThePageNumberOnlyWhenThereIsOne)
{
    std::vector<ImageItem> items =
            makePageItems({makePageImage(40, 60, Qt::red), makePageImage(40, 60, Qt::blue)});
    items[1].pageNumber = 7;
    editor.setImages(items);
    EXPECT_TRUE(cell(0)->findChild<QLabel*>(QStringLiteral("pageLabel"))->isHidden());
    auto* label = cell(1)->findChild<QLabel*>(QStringLiteral("pageLabel"));
    EXPECT_FALSE(label->isHidden());
    EXPECT_EQ(label->text(), QStringLiteral("Oldal 7"));
}

TEST_F(ImageSidebarViewTest, DeleteButtonLogsTheIndexAndRemovesTheEntry)
{
    setPages(3);
    const auto before = idsOf(editor.images());
    auto* button = cell(1)->findChild<DeleteButton*>(QStringLiteral("deleteButton"));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QStringLiteral("Törlés"));
    LogCapture log;
    QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_FALSE(log.lines().isEmpty());
    EXPECT_EQ(log.lines().first(), QStringLiteral("[DELETE] Törlés: 1"));
    EXPECT_EQ(idsOf(editor.images()), (std::vector<QUuid>{before[0], before[2]}));
    EXPECT_EQ(sidebar.thumbnails().size(), 2u);
    // The click on the button is not a click on the cell.
    EXPECT_EQ(editor.selectedImageIndex(), std::nullopt);
}

TEST_F(ImageSidebarViewTest, ZoomButtonsChangeTheThumbnailSizeWithinLimits)
{
    setPages(1);
    auto* zoomIn = sidebar.findChild<QToolButton*>(QStringLiteral("zoomInButton"));
    auto* zoomOut = sidebar.findChild<QToolButton*>(QStringLiteral("zoomOutButton"));
    auto* picture = cell(0)->findChild<QLabel*>(QStringLiteral("thumbnailPicture"));
    const int before = picture->width();
    QTest::mouseClick(zoomOut, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(sidebar.thumbnailScale(), 0.75);
    EXPECT_LT(picture->width(), before);
    for (int i = 0; i < 10; ++i)
        zoomOut->click();
    EXPECT_DOUBLE_EQ(sidebar.thumbnailScale(), ImageSidebarView::kMinThumbnailScale);
    EXPECT_FALSE(zoomOut->isEnabled());
    for (int i = 0; i < 10; ++i)
        zoomIn->click();
    EXPECT_DOUBLE_EQ(sidebar.thumbnailScale(), ImageSidebarView::kMaxThumbnailScale);
    EXPECT_FALSE(zoomIn->isEnabled());
    EXPECT_GT(picture->width(), before);
}

TEST_F(ImageSidebarViewTest, BackgroundControlSetsTheFillColourAndRecoloursTheFrames)
{
    editor.getFrameManager().ensureFrameCount(1.0, VideoEditorViewModel::FPS);
    auto* button = sidebar.findChild<QPushButton*>(QStringLiteral("fillColorButton"));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(sidebar.findChild<QLabel*>(QStringLiteral("fillColorLabel"))->text(),
              QStringLiteral("Háttér:"));
    EXPECT_EQ(sidebar.findChild<QLabel*>(QStringLiteral("sidebarTitle"))->text(), QStringLiteral("Képek"));
    QTest::mouseClick(button, Qt::LeftButton);
    auto* dialog = sidebar.findChild<QColorDialog*>(QStringLiteral("fillColorDialog"));
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(dialog->isVisible());
    dialog->setCurrentColor(QColor(10, 20, 30));
    dialog->accept();
    EXPECT_EQ(editor.fillColor(), QColor(10, 20, 30));
    EXPECT_EQ(editor.getFrameManager().getFrame(0)->bgColor, QColor(10, 20, 30));
    EXPECT_EQ(editor.getFrameManager().defaultFillColor(), QColor(10, 20, 30));
}

TEST(ImageSidebarRecordingTest, ClickDuringRecordingRecordsTheClickedPageFromThePlayhead)
{
    PlaybackEditor playback(10.0);
    VideoEditorViewModel& editor = playback.editor();
    editor.setImages(makePageItems({makePageImage(40, 60, Qt::red), makePageImage(40, 60, Qt::green),
                                    makePageImage(40, 60, Qt::blue)}));
    ScriptedDialogs dialogs;
    ImageSidebarView sidebar(editor, dialogs);
    sidebar.show();
    editor.startRecording();
    playback.player().advance(2.0);
    playback.tickAt(2.0);
    ASSERT_EQ(playback.pageOfFrame(59), 0);

    QTest::mouseClick(sidebar.thumbnails()[2], Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
    EXPECT_EQ(editor.currentAssignmentIndex(), 2);
    EXPECT_EQ(editor.selectedImageIndex(), 2);
    EXPECT_EQ(playback.pageOfFrame(60), 2);
    EXPECT_EQ(playback.pageOfFrame(59), 0);
}

TEST(ImageSidebarRecordingTest, ClickWhileNotRecordingOnlySelects)
{
    PlaybackEditor playback(10.0);
    VideoEditorViewModel& editor = playback.editor();
    editor.setImages(makePageItems({makePageImage(40, 60, Qt::red), makePageImage(40, 60, Qt::green)}));
    ScriptedDialogs dialogs;
    ImageSidebarView sidebar(editor, dialogs);
    sidebar.show();
    QTest::mouseClick(sidebar.thumbnails()[1], Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    EXPECT_EQ(playback.pageOfFrame(0), std::nullopt);
}

TEST_F(ImageSidebarViewTest, ThumbnailsFitANarrowSidebar)
{
    setPages(2);
    sidebar.resize(220, 600);
    drainEvents();
    auto* list = sidebar.findChild<QScrollArea*>(QStringLiteral("thumbnailList"));
    auto* picture = cell(0)->findChild<QLabel*>(QStringLiteral("thumbnailPicture"));
    EXPECT_LT(picture->width() + 2 * 6, list->viewport()->width());
}

TEST_F(ImageSidebarViewTest, TheListScrollsToTheSelectedPage)
{
    setPages(10);
    sidebar.resize(325, 400);
    drainEvents();
    auto* list = sidebar.findChild<QScrollArea*>(QStringLiteral("thumbnailList"));
    ASSERT_EQ(list->verticalScrollBar()->value(), 0);
    editor.setSelectedImageIndex(9);
    drainEvents();
    EXPECT_GT(list->verticalScrollBar()->value(), 0);
    const QRect shown = list->viewport()->rect();
    const QRect cellArea(cell(9)->mapTo(list->viewport(), QPoint(0, 0)), cell(9)->size());
    EXPECT_TRUE(shown.intersects(cellArea));
}
