// The editor's page-list edits: remove, delete all, delete by orientation, merge, move.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Log.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/ImageFixtures.h"
#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

#include <algorithm>

namespace {

QImage solid(int width, int height, const QColor& color, double density = 1.0)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setDevicePixelRatio(density);
    return image;
}

const QColor kColors[] = {Qt::red, Qt::green, Qt::blue, Qt::cyan, Qt::magenta, Qt::yellow, Qt::gray};

class ImageListEditing : public ::testing::Test {
protected:
    ImageListEditing()
        : editor(environment())
        , autoSaves(&editor, &VideoEditorViewModel::autoSaveScheduled)
        , changes(&editor, &VideoEditorViewModel::changed)
    {}

    EditorEnvironment environment()
    {
        EditorEnvironment env;
        env.dialogs = &dialogs;
        return env;
    }

    // Puts `count` entries in the list, entry i a 100 x 100 square in kColors[i] from "/pages/<i>.png".
    void fillList(int count)
    {
        std::vector<ImageItem> images;
        for (int i = 0; i < count; ++i)
            images.emplace_back(QUuid::createUuid(), solid(100, 100, kColors[i]),
                                QStringLiteral("/pages/%1.png").arg(i));
        setList(std::move(images));
    }

    void setList(std::vector<ImageItem> images)
    {
        editor.setImages(std::move(images));
        autoSaves.clear();
        changes.clear();
    }

    // The list's entries by their original position, read from their file names.
    std::vector<int> listOrder() const
    {
        std::vector<int> order;
        for (const ImageItem& item : editor.images())
            order.push_back(item.url().section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, 0).toInt());
        return order;
    }

    // Records 60 frames: frames 0...29 show entry 0, frames 30...59 entry 2.
    void recordFrames()
    {
        Frames& frames = editor.getFrameManager();
        frames.ensureFrameCount(2.0, VideoEditorViewModel::FPS);
        for (int64_t i = 0; i < frames.getFrameCount(); ++i) {
            const int index = i < 30 ? 0 : 2;
            frames.getFrame(i)->bgImage = editor.images()[static_cast<size_t>(index)].image();
            frames.getFrame(i)->assignedImageIndex = index;
        }
    }

    void expectFramesAsRecorded(const QImage& first, const QImage& third)
    {
        const Frames& frames = editor.getFrameManager();
        ASSERT_EQ(frames.getFrameCount(), 60);
        for (int64_t i = 0; i < frames.getFrameCount(); ++i) {
            const auto frame = frames.getFrame(i);
            ASSERT_TRUE(frame->bgImage.has_value());
            EXPECT_EQ(*frame->bgImage, i < 30 ? first : third) << "frame " << i;
            EXPECT_EQ(frame->assignedImageIndex, i < 30 ? 0 : 2) << "frame " << i;
        }
    }

    ScriptedDialogs dialogs;
    VideoEditorViewModel editor;
    QSignalSpy autoSaves;
    QSignalSpy changes;
};

} // namespace

TEST_F(ImageListEditing, RemoveImageTakesOutTheEntryAndLogsTheCounts)
{
    fillList(4);
    LogCapture log;
    editor.removeImage(1);
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 2, 3}));
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[removeImage] Törlés előtt: 4 kép"),
                                        QStringLiteral("[removeImage] Törlés után: 3 kép")}));
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
    EXPECT_GE(changes.count(), 1);
}

TEST_F(ImageListEditing, RemoveImageWithAnInvalidIndexIsReportedAndChangesNothing)
{
    fillList(3);
    editor.setSelectedImageIndex(1);
    editor.setSelectedImageIndices({0, 2});
    changes.clear();
    LogCapture log;
    editor.removeImage(3);
    editor.removeImage(-1);
    EXPECT_EQ(log.lines(),
              (QStringList{QStringLiteral("[removeImage] HIBA: érvénytelen index: 3, images.count: 3"),
                           QStringLiteral("[removeImage] HIBA: érvénytelen index: -1, images.count: 3")}));
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{0, 2}));
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(ImageListEditing, RemovingTheSelectedEntryClearsTheSingleSelection)
{
    fillList(4);
    editor.setSelectedImageIndex(2);
    editor.removeImage(2);
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
}

TEST_F(ImageListEditing, RemovingAnEntryBeforeTheSelectionShiftsItDownByOne)
{
    fillList(4);
    editor.setSelectedImageIndex(2);
    editor.removeImage(0);
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    // An entry after the selection leaves it where it is.
    editor.removeImage(2);
    EXPECT_EQ(editor.selectedImageIndex(), 1);
}

TEST_F(ImageListEditing, MultiSelectionOneThreeFiveAfterRemovingThreeBecomesOneFour)
{
    fillList(7);
    editor.setSelectedImageIndices({1, 3, 5});
    editor.removeImage(3);
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{1, 4}));
}

TEST_F(ImageListEditing, FramesKeepTheirPicturesAndIndicesAfterRemovingAnImage)
{
    fillList(4);
    const QImage first = editor.images()[0].image();
    const QImage third = editor.images()[2].image();
    recordFrames();
    editor.removeImage(0);
    expectFramesAsRecorded(first, third);
    // Index 2 now names what was entry 3: the frames are deliberately not re-pointed.
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 2, 3}));
}

TEST_F(ImageListEditing, FramesKeepTheirPicturesAndIndicesAfterEveryOtherEdit)
{
    fillList(5);
    const QImage first = editor.images()[0].image();
    const QImage third = editor.images()[2].image();
    recordFrames();
    editor.moveImage({0}, 5);
    expectFramesAsRecorded(first, third);
    editor.setSelectedImageIndices({0, 1});
    editor.mergeSelectedImages();
    expectFramesAsRecorded(first, third);
    editor.deleteLandscapeImages();
    expectFramesAsRecorded(first, third);
    editor.deletePortraitImages();
    expectFramesAsRecorded(first, third);
    editor.deleteAllImages();
    expectFramesAsRecorded(first, third);
    EXPECT_TRUE(editor.images().empty());
}

TEST_F(ImageListEditing, DeleteAllImagesEmptiesTheListAndSelections)
{
    fillList(3);
    editor.setSelectedImageIndex(1);
    editor.setSelectedImageIndices({0, 1});
    autoSaves.clear();
    LogCapture log;
    editor.deleteAllImages();
    EXPECT_TRUE(editor.images().empty());
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_TRUE(editor.getFrameManager().images().isEmpty());
    EXPECT_EQ(autoSaves.count(), 1);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[deleteAllImages] 3 kép törölve")});
}

TEST_F(ImageListEditing, DeleteAllImagesOnAnEmptyListDoesNothingAtAll)
{
    editor.setSelectedImageIndex(4);
    changes.clear();
    LogCapture log;
    editor.deleteAllImages();
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(editor.selectedImageIndex(), 4);
}

TEST_F(ImageListEditing, DeletingPortraitsFromOnlySquaresRemovesNothingButLogsZeroAndClearsSelections)
{
    fillList(3);
    editor.setSelectedImageIndex(2);
    editor.setSelectedImageIndices({0, 2});
    autoSaves.clear();
    LogCapture log;
    editor.deletePortraitImages();
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[deletePortraitImages] 0 álló kép törölve")});
    EXPECT_FALSE(editor.selectedImageIndex().has_value());
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_EQ(autoSaves.count(), 1);
}

TEST_F(ImageListEditing, DeletingLandscapesFromOnlySquaresRemovesNothingButLogsZero)
{
    fillList(2);
    LogCapture log;
    editor.deleteLandscapeImages();
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1}));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[deleteLandscapeImages] 0 fekvő kép törölve")});
    EXPECT_EQ(autoSaves.count(), 1);
}

namespace {

std::vector<ImageItem> mixedOrientations()
{
    // 0 portrait, 1 landscape, 2 square, 3 portrait in points at two pixels per point (300 x 400
    // pixels), 4 landscape at two pixels per point.
    std::vector<ImageItem> images;
    images.emplace_back(QUuid::createUuid(), solid(100, 200, Qt::red), QStringLiteral("/p/0.png"));
    images.emplace_back(QUuid::createUuid(), solid(200, 100, Qt::red), QStringLiteral("/p/1.png"));
    images.emplace_back(QUuid::createUuid(), solid(150, 150, Qt::red), QStringLiteral("/p/2.png"));
    images.emplace_back(QUuid::createUuid(), solid(300, 400, Qt::red, 2.0), QStringLiteral("/p/3.pdf"), 1);
    images.emplace_back(QUuid::createUuid(), solid(400, 300, Qt::red, 2.0), QStringLiteral("/p/4.pdf"), 2);
    return images;
}

} // namespace

TEST_F(ImageListEditing, DeletePortraitImagesRemovesOnlyPagesNarrowerThanTall)
{
    setList(mixedOrientations());
    LogCapture log;
    editor.deletePortraitImages();
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[deletePortraitImages] 2 álló kép törölve")});
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
}

TEST_F(ImageListEditing, DeleteLandscapeImagesRemovesOnlyPagesWiderThanTall)
{
    setList(mixedOrientations());
    LogCapture log;
    editor.deleteLandscapeImages();
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 2, 3}));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[deleteLandscapeImages] 2 fekvő kép törölve")});
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
}

TEST_F(ImageListEditing, MergeWithFewerThanTwoSelectedIsReportedAndChangesNothing)
{
    fillList(3);
    editor.setSelectedImageIndex(0);
    editor.setSelectedImageIndices({1});
    changes.clear();
    LogCapture log;
    editor.mergeSelectedImages();
    EXPECT_EQ(changes.count(), 0);
    editor.setSelectedImageIndices({});
    changes.clear();
    editor.mergeSelectedImages();
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("[merge] Legalább 2 kép kell az összefűzéshez"),
                                        QStringLiteral("[merge] Legalább 2 kép kell az összefűzéshez")}));
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(editor.selectedImageIndex(), 0);
    EXPECT_EQ(autoSaves.count(), 0);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(ImageListEditing, MergeCountsOnlySelectedIndicesThatNameAnEntry)
{
    fillList(3);
    editor.setSelectedImageIndices({1, 9});
    LogCapture log;
    editor.mergeSelectedImages();
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] Legalább 2 kép kell az összefűzéshez")});
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(autoSaves.count(), 0);
}

TEST_F(ImageListEditing, MergingEntriesFourAndTwoYieldsOneEntryAtPositionTwoShowingTwoThenFour)
{
    fillList(6);
    // Selected by clicking 4 first, then 2.
    std::set<int> selection;
    selection.insert(4);
    selection.insert(2);
    editor.setSelectedImageIndices(selection);
    autoSaves.clear();
    LogCapture log;
    editor.mergeSelectedImages();

    ASSERT_EQ(editor.images().size(), 5u);
    const ImageItem& merged = editor.images()[2];
    EXPECT_EQ(merged.url(), QStringLiteral("/pages/2.png"));
    EXPECT_FALSE(merged.pageNumber.has_value());
    EXPECT_FALSE(merged.pairedPageNumber.has_value());
    EXPECT_EQ(merged.image().deviceIndependentSize(), QSizeF(200, 100));
    EXPECT_EQ(merged.image().pixelColor(50, 50), kColors[2]);
    EXPECT_EQ(merged.image().pixelColor(150, 50), kColors[4]);
    // The others keep their order around it.
    EXPECT_EQ(editor.images()[0].url(), QStringLiteral("/pages/0.png"));
    EXPECT_EQ(editor.images()[1].url(), QStringLiteral("/pages/1.png"));
    EXPECT_EQ(editor.images()[3].url(), QStringLiteral("/pages/3.png"));
    EXPECT_EQ(editor.images()[4].url(), QStringLiteral("/pages/5.png"));

    EXPECT_EQ(editor.selectedImageIndex(), 2);
    EXPECT_TRUE(editor.selectedImageIndices().empty());
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] 2 kép összefűzve, méret: 200x100")});
}

TEST_F(ImageListEditing, MergingAWideAndATallImageScalesBothToTheTallerHeight)
{
    std::vector<ImageItem> images;
    images.emplace_back(QUuid::createUuid(), solid(1000, 500, Qt::red), QStringLiteral("/w.png"));
    images.emplace_back(QUuid::createUuid(), solid(500, 1000, Qt::blue), QStringLiteral("/t.png"));
    setList(std::move(images));
    editor.setSelectedImageIndices({0, 1});
    LogCapture log;
    editor.mergeSelectedImages();
    ASSERT_EQ(editor.images().size(), 1u);
    const QImage& merged = editor.images()[0].image();
    // The 1000 x 500 image becomes 2000 x 1000; the 500 x 1000 one keeps its size beside it.
    EXPECT_EQ(merged.deviceIndependentSize(), QSizeF(2500, 1000));
    EXPECT_EQ(merged.pixelColor(1990, 990), QColor(Qt::red));
    EXPECT_EQ(merged.pixelColor(2010, 10), QColor(Qt::blue));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] 2 kép összefűzve, méret: 2500x1000")});
}

TEST_F(ImageListEditing, MergeSizesAreInPointsAtTheHigherPixelDensity)
{
    std::vector<ImageItem> images;
    images.emplace_back(QUuid::createUuid(), solid(200, 300, Qt::red, 2.0), QStringLiteral("/a.pdf"), 1);
    images.emplace_back(QUuid::createUuid(), solid(100, 150, Qt::blue), QStringLiteral("/b.png"));
    images.emplace_back(QUuid::createUuid(), solid(100, 100, Qt::green), QStringLiteral("/c.png"));
    setList(std::move(images));
    editor.setSelectedImageIndices({0, 1, 2});
    LogCapture log;
    editor.mergeSelectedImages();
    ASSERT_EQ(editor.images().size(), 1u);
    const QImage& merged = editor.images()[0].image();
    // Height 150 points: 100 + 100 + 150 wide.
    EXPECT_EQ(merged.deviceIndependentSize(), QSizeF(350, 150));
    EXPECT_DOUBLE_EQ(merged.devicePixelRatio(), 2.0);
    EXPECT_EQ(merged.size(), QSize(700, 300));
    EXPECT_EQ(editor.images()[0].url(), QStringLiteral("/a.pdf"));
    EXPECT_FALSE(editor.images()[0].pageNumber.has_value());
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] 3 kép összefűzve, méret: 350x150")});
}

TEST_F(ImageListEditing, MoveImageUsesListMoveSemantics)
{
    fillList(5);
    editor.setSelectedImageIndex(1);
    editor.setSelectedImageIndices({0, 3});
    autoSaves.clear();
    changes.clear();
    LogCapture log;
    editor.moveImage({0, 3}, 2);
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 0, 3, 2, 4}));
    // The single selection stays where it was; the multi-selection follows its pages.
    EXPECT_EQ(editor.selectedImageIndex(), 1);
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{1, 2}));
    EXPECT_TRUE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 1);
    EXPECT_GE(changes.count(), 1);
    EXPECT_TRUE(log.lines().isEmpty());

    editor.moveImage({1}, 5);
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 3, 2, 4, 0}));
    EXPECT_EQ(autoSaves.count(), 2);
}

TEST_F(ImageListEditing, MultiSelectionFollowsItsPagesWhenADragReordersTheList)
{
    fillList(4);
    editor.setSelectedImageIndices({0, 1});
    // A drag moves the entries live through the page list itself.
    std::vector<ImageItem> images = editor.images();
    std::rotate(images.begin(), images.begin() + 1, images.end());
    editor.setImages(std::move(images));
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 2, 3, 0}));
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{0, 3}));

    // The merge joins the two pages that were selected, in list order.
    LogCapture log;
    editor.mergeSelectedImages();
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("[merge] 2 kép összefűzve, méret: 200x100")});
    ASSERT_EQ(editor.images().size(), 3u);
    EXPECT_EQ(editor.images()[0].image().pixelColor(50, 50), kColors[1]);
    EXPECT_EQ(editor.images()[0].image().pixelColor(150, 50), kColors[0]);
}

TEST_F(ImageListEditing, MultiSelectionNeverNamesAPageThatIsGone)
{
    fillList(4);
    editor.setSelectedImageIndices({1, 3});
    std::vector<ImageItem> images = editor.images();
    images.pop_back();
    editor.setImages(std::move(images));
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{1}));
    editor.removeImage(1);
    EXPECT_TRUE(editor.selectedImageIndices().empty());
}

TEST_F(ImageListEditing, MovingDuringADragPutsTheDraggedEntryWhereTheTargetStood)
{
    fillList(5);
    EditorTestAccess::updateFrameManagerImages(editor);
    editor.setSelectedImageIndices({0});
    autoSaves.clear();
    std::vector<QUuid> ids;
    for (const ImageItem& item : editor.images())
        ids.push_back(item.id());

    editor.moveImageDuringDrag(ids[0], ids[3]);
    EXPECT_EQ(listOrder(), (std::vector<int>{1, 2, 3, 0, 4}));
    EXPECT_EQ(editor.selectedImageIndices(), (std::set<int>{3}));
    editor.moveImageDuringDrag(ids[4], ids[1]);
    EXPECT_EQ(listOrder(), (std::vector<int>{4, 1, 2, 3, 0}));

    // Only the finished edit of the list updates the frame store and asks for an autosave.
    EXPECT_FALSE(ImageFixtures::frameStoreMatchesPageList(editor));
    EXPECT_EQ(autoSaves.count(), 0);
}

TEST_F(ImageListEditing, MovingDuringADragOntoItselfOrAMissingEntryChangesNothing)
{
    fillList(3);
    const QUuid first = editor.images()[0].id();
    editor.moveImageDuringDrag(first, first);
    editor.moveImageDuringDrag(first, QUuid::createUuid());
    editor.moveImageDuringDrag(QUuid::createUuid(), first);
    EXPECT_EQ(listOrder(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(changes.count(), 0);
}
